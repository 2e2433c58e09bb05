// Change notification on a directory, a stop event to end a wait on it, and
// posting a window message: what a directory watch needs from the system.
//
// On Windows these are the system's change notification, an auto-reset event
// and PostMessage. On Linux the notification is inotify, the event a pipe,
// and a message goes to the n4::MessageQueue behind the handle.
//
// Thread safety: StopEvent::Signal may be called from any thread while
// another waits. A DirChangeNotification belongs to the thread that waits.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Errors.h"

namespace n4 {

// The platform's filter bits for a change notification.
enum DirChangeFilter : DWORD {
  kChangeFileName = 0x01,   // a file created, deleted or renamed
  kChangeSize = 0x08,       // a file's size
  kChangeLastWrite = 0x10,  // a file's last-write time
};

constexpr DWORD kWaitForever = 0xFFFFFFFFu;

// Unnamed, automatic reset, initially not signalled: one wait consumes a signal.
class StopEvent {
 public:
  virtual ~StopEvent() = default;
  virtual void Signal() = 0;
};

enum class DirWaitResult { Stopped, Changed, TimedOut, Failed };

class DirChangeNotification {
 public:
  virtual ~DirChangeNotification() = default;
  // Waits up to timeoutMs (kWaitForever: no limit) for the stop event or a
  // change that passes the filter, whichever comes first; when both are
  // pending the stop event wins. A change stays reported until Rearm.
  virtual DirWaitResult Wait(StopEvent& stop, DWORD timeoutMs) = 0;
  // Arms the notification for the next change; false when it can no longer
  // report any (the directory was removed).
  virtual bool Rearm() = 0;
};

std::unique_ptr<StopEvent> CreateStopEvent(SysError* err);

// Watches the entries of directory (and of its subdirectories when
// watchSubtree) for the changes in filter. Null when the directory cannot be
// watched (missing, not a directory, no permission).
// REQUIRES: Wait is given a StopEvent made by CreateStopEvent.
std::unique_ptr<DirChangeNotification> OpenDirChangeNotification(const std::string& directory, bool watchSubtree,
                                                                 DWORD filter, SysError* err);

// Posts (never sends) a message to a window; 1 when it was queued, else 0.
int PostWindowMessage(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace n4
