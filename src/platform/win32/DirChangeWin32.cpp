// Directory change notification, the stop event and posted window messages
// on Windows: the system's own objects.
#include <windows.h>

#include "platform/DirChange.h"
#include "platform/win32/ErrorsWin32.h"

namespace n4 {

namespace {

class Win32StopEvent final : public StopEvent {
 public:
  explicit Win32StopEvent(HANDLE event) : event_(event) {}
  ~Win32StopEvent() override { ::CloseHandle(event_); }
  Win32StopEvent(const Win32StopEvent&) = delete;
  Win32StopEvent& operator=(const Win32StopEvent&) = delete;
  void Signal() override { ::SetEvent(event_); }
  HANDLE handle() const { return event_; }

 private:
  HANDLE event_;
};

class Win32DirChangeNotification final : public DirChangeNotification {
 public:
  explicit Win32DirChangeNotification(HANDLE notification) : notification_(notification) {}
  ~Win32DirChangeNotification() override { ::FindCloseChangeNotification(notification_); }
  Win32DirChangeNotification(const Win32DirChangeNotification&) = delete;
  Win32DirChangeNotification& operator=(const Win32DirChangeNotification&) = delete;

  // The stop event comes first, so that it wins when both are signalled.
  DirWaitResult Wait(StopEvent& stop, DWORD timeoutMs) override {
    const HANDLE handles[2] = {static_cast<Win32StopEvent&>(stop).handle(), notification_};
    switch (::WaitForMultipleObjects(2, handles, FALSE, timeoutMs == kWaitForever ? INFINITE : timeoutMs)) {
      case WAIT_OBJECT_0: return DirWaitResult::Stopped;
      case WAIT_OBJECT_0 + 1: return DirWaitResult::Changed;
      case WAIT_TIMEOUT: return DirWaitResult::TimedOut;
      default: return DirWaitResult::Failed;
    }
  }

  bool Rearm() override { return ::FindNextChangeNotification(notification_) != FALSE; }

 private:
  HANDLE notification_;
};

}  // namespace

std::unique_ptr<StopEvent> CreateStopEvent(SysError* err) {
  HANDLE event = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);  // auto-reset, not signalled, unnamed
  if (event == nullptr) {
    FailLastError(err);
    return nullptr;
  }
  return std::make_unique<Win32StopEvent>(event);
}

std::unique_ptr<DirChangeNotification> OpenDirChangeNotification(const std::string& directory, bool watchSubtree,
                                                                 DWORD filter, SysError* err) {
  HANDLE notification = ::FindFirstChangeNotificationA(directory.c_str(), watchSubtree ? TRUE : FALSE, filter);
  if (notification == INVALID_HANDLE_VALUE) {
    FailLastError(err);
    return nullptr;
  }
  return std::make_unique<Win32DirChangeNotification>(notification);
}

// A null window would post to the calling thread itself; nothing is posted.
int PostWindowMessage(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  if (window == nullptr) return 0;
  return ::PostMessageA(window, message, static_cast<WPARAM>(wParam), static_cast<LPARAM>(lParam)) ? 1 : 0;
}

}  // namespace n4
