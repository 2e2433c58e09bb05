// Watching a directory for changes.
//
// CN4FileDirWatchThread watches one directory (not its subdirectories) on a
// worker thread of its own for files created, deleted, renamed, resized or
// rewritten, and posts a message to a window once a burst of changes has
// been followed by 100 ms of quiet. The window also receives one message as
// soon as the watch starts, before any change. Destroying the object stops
// the worker.
//
// On Windows the window is a real window and the message is posted with
// PostMessage. Elsewhere the "window" is an n4::MessageQueue that the
// application creates and waits on; its handle stands for the window. An
// n4::MessageQueue exists on Windows too, as a message-only window, so that
// a program without windows of its own can watch the same way everywhere.
//
// Thread safety: a CN4FileDirWatchThread is created and destroyed on one
// thread. An n4::MessageQueue may be posted to from any thread; on Windows
// it is waited on and destroyed by the thread that created it (a window
// belongs to its thread), elsewhere by any thread. n4::PostMessageTo may be
// called from any thread.
#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "n4file/Export.h"
#include "n4file/Types.h"

#if !defined(_WIN32) && !defined(INFINITE)
#define INFINITE 0xFFFFFFFFu  // a time-out that never ends, as on Windows
#endif

namespace n4 {

// The fields of a Windows MSG record that a posted message carries.
struct Message {
  HWND hwnd;
  UINT message;
  std::uintptr_t wParam;
  std::intptr_t lParam;
};

namespace detail {
struct MessageQueueState;
}

// A thread-safe first-in first-out queue of posted messages that stands in
// for a window; on Windows it is a message-only window whose queue Wait
// pumps. Once the queue is destroyed, posts to its handle fail instead of
// reaching another queue (elsewhere handles are never reused; Windows gives
// a new window a new handle too).
class N4FILE_API MessageQueue {
 public:
  MessageQueue();
  ~MessageQueue();
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  // The handle to give the library in place of a window.
  HWND GetHandle() const;
  // Queues a message; 1 when posted, 0 when not. Never waits for a receiver.
  int Post(UINT message, std::uintptr_t wParam, std::intptr_t lParam);
  // Takes the oldest message, waiting up to timeoutMs (INFINITE: no limit);
  // empty when none arrived in time.
  std::optional<Message> Wait(DWORD timeoutMs);

 private:
  std::shared_ptr<detail::MessageQueueState> m_state;
};

// Posts to the queue behind a handle: 1 when posted, 0 for a handle that is
// not a queue's or whose queue has been destroyed.
N4FILE_API int PostMessageTo(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace n4

namespace n4 {
class StopEvent;
}

class N4FILE_API CN4FileDirWatchThread {
 public:
  // Starts watching `directory` at once: `message` is posted to `window`
  // with both parameters 0. A directory that cannot be watched (missing, not
  // a directory) posts nothing and reports nothing.
  CN4FileDirWatchThread(HWND window, UINT message, const std::string& directory);
  // Stops the worker (ExitThread). A worker that does not end in time is
  // left to end by itself; it never touches the destroyed object.
  virtual ~CN4FileDirWatchThread();
  CN4FileDirWatchThread(const CN4FileDirWatchThread&) = delete;
  CN4FileDirWatchThread& operator=(const CN4FileDirWatchThread&) = delete;

 protected:
  // The worker's body; returns its exit code: 1 when the directory could not
  // be watched, 0 when it was told to stop or the watch ended. `object` is
  // the worker's record (its copy of the window, the message, the directory
  // and the stop event), which the worker owns together with this object.
  static UINT ThreadFunction(void* object);
  // Posts the message to the window; 1 when posted, else 0.
  int HandleDirectoryChange();
  // Signals the stop event and waits up to 3000 ms for the worker to end:
  // 1 when it ended (or none was running), 0 when it is still running (it
  // then stays recorded).
  int ExitThread();

 private:
  struct Worker;

  std::unique_ptr<std::thread> m_pThread;  // null once a stop has succeeded
  std::shared_ptr<n4::StopEvent> m_pStopEvent;
  HWND m_hWnd;
  UINT m_uMessage;
  std::string m_strDirectory;
  std::future<UINT> m_exitCode;  // ready when the worker has ended
};
