// The directory watch: one worker thread per watched directory that turns a
// burst of changes into one posted message.
#include <chrono>
#include <exception>
#include <system_error>

#include "n4file/DirWatch.h"
#include "platform/DirChange.h"

namespace {

// Changes that follow each other within this time are merged into one message.
constexpr DWORD kQuietPeriodMs = 100;
constexpr auto kStopTimeout = std::chrono::milliseconds(3000);
constexpr DWORD kWatchFilter = n4::kChangeFileName | n4::kChangeSize | n4::kChangeLastWrite;  // 0x19

}  // namespace

// What the worker reads. It is its own copy, held by the thread, so that a
// worker left running after its object was destroyed reads nothing freed.
struct CN4FileDirWatchThread::Worker {
  std::shared_ptr<n4::StopEvent> stopEvent;
  HWND window;
  UINT message;
  std::string directory;
};

CN4FileDirWatchThread::CN4FileDirWatchThread(HWND window, UINT message, const std::string& directory)
    : m_hWnd(window), m_uMessage(message), m_strDirectory(directory) {
  m_pStopEvent = n4::CreateStopEvent(nullptr);
  // Without a stop event the worker could never be stopped: none is started,
  // and the window hears nothing, as for a directory that cannot be watched.
  if (!m_pStopEvent) return;
  std::promise<UINT> exitCode;
  m_exitCode = exitCode.get_future();
  try {
    m_pThread = std::make_unique<std::thread>(
        [worker = Worker{m_pStopEvent, m_hWnd, m_uMessage, m_strDirectory}, exitCode = std::move(exitCode)]() mutable {
          UINT code = 1;
          try {
            code = ThreadFunction(&worker);
          } catch (const std::exception&) {
            // Out of memory setting up the watch: end as for a directory that
            // cannot be watched rather than take the process down.
          }
          exitCode.set_value(code);
        });
  } catch (const std::system_error&) {
    m_pThread.reset();  // no thread to be had; nothing runs
  }
}

CN4FileDirWatchThread::~CN4FileDirWatchThread() {
  if (!ExitThread() && m_pThread) {
    // Still running after the stop timeout: it ends by itself once it gets
    // to run, on its own copy of what it reads.
    m_pThread->detach();
  }
}

UINT CN4FileDirWatchThread::ThreadFunction(void* object) {
  const auto& worker = *static_cast<const Worker*>(object);
  // Closed when the worker ends; the messages do not depend on it.
  std::unique_ptr<n4::DirChangeNotification> notification =
      n4::OpenDirChangeNotification(worker.directory, false, kWatchFilter, nullptr);
  if (!notification) return 1;
  // The first wait has no time to give, so the window hears from the watch
  // at once; that first message is relied on by applications.
  DWORD timeout = 0;
  for (;;) {
    switch (notification->Wait(*worker.stopEvent, timeout)) {
      case n4::DirWaitResult::Stopped:
        return 0;
      case n4::DirWaitResult::Changed:
        timeout = kQuietPeriodMs;
        if (!notification->Rearm()) return 0;
        break;
      case n4::DirWaitResult::TimedOut:
        n4::PostWindowMessage(worker.window, worker.message, 0, 0);  // a failed post is ignored
        timeout = n4::kWaitForever;
        break;
      case n4::DirWaitResult::Failed:
        break;  // wait again with the same time-out
    }
  }
}

int CN4FileDirWatchThread::HandleDirectoryChange() {
  return n4::PostWindowMessage(m_hWnd, m_uMessage, 0, 0) ? 1 : 0;
}

int CN4FileDirWatchThread::ExitThread() {
  if (!m_pThread) return 1;
  m_pStopEvent->Signal();
  if (m_exitCode.wait_for(kStopTimeout) != std::future_status::ready) return 0;
  m_pThread->join();  // the worker has returned; this only collects it
  m_pThread.reset();
  return 1;
}
