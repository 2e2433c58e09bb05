// Directory change notification on Linux (inotify), the stop event as a pipe,
// and window messages as posts to an n4::MessageQueue.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/inotify.h>
#endif

#include <cerrno>
#include <chrono>

#include "n4file/DirWatch.h"
#include "platform/DirChange.h"
#include "platform/posix/ErrorsPosix.h"
#include "platform/posix/Fd.h"

namespace n4 {

namespace {

bool SetNonBlocking(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

// A pipe: Signal writes a byte, a wait that sees it drains the pipe, so any
// number of signals before a wait release exactly one wait, as with an
// auto-reset event.
class PipeStopEvent final : public StopEvent {
 public:
  PipeStopEvent(int readFd, int writeFd) : read_(readFd), write_(writeFd) {}
  void Signal() override {
    const char byte = 1;
    // A full pipe is already signalled; nothing else can fail here.
    while (write(write_.get(), &byte, 1) < 0 && errno == EINTR) {
    }
  }
  int readFd() const { return read_.get(); }
  // True when the event was signalled; resets it.
  bool Consume() {
    char buffer[64];
    bool signalled = false;
    for (;;) {
      const ssize_t n = read(read_.get(), buffer, sizeof buffer);
      if (n > 0) {
        signalled = true;
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      return signalled;
    }
  }

 private:
  Fd read_;
  Fd write_;
};

#if defined(__linux__)

class InotifyNotification final : public DirChangeNotification {
 public:
  explicit InotifyNotification(int fd) : fd_(fd) {}

  DirWaitResult Wait(StopEvent& stopEvent, DWORD timeoutMs) override {
    auto& stop = static_cast<PipeStopEvent&>(stopEvent);
    using Clock = std::chrono::steady_clock;
    const bool forever = timeoutMs == kWaitForever;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(forever ? 0 : timeoutMs);
    for (;;) {
      int waitMs = -1;
      if (!forever) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        waitMs = left > 0 ? static_cast<int>(left) : 0;
      }
      // A change already reported and not re-armed keeps the notification
      // signalled; the stop event is still looked at first.
      if (signalled_) waitMs = 0;
      pollfd fds[2] = {{stop.readFd(), POLLIN, 0}, {fd_.get(), POLLIN, 0}};
      const int rc = poll(fds, 2, waitMs);
      if (rc < 0) {
        if (errno == EINTR) continue;
        return DirWaitResult::Failed;
      }
      if ((fds[0].revents & POLLIN) && stop.Consume()) return DirWaitResult::Stopped;
      if (fds[1].revents & POLLIN) DrainEvents();
      if (signalled_) return DirWaitResult::Changed;
      if (!forever && Clock::now() >= deadline) return DirWaitResult::TimedOut;
      // Events outside the filter, or a spurious wake-up: wait out the rest.
    }
  }

  bool Rearm() override {
    signalled_ = false;
    return !removed_;
  }

 private:
  // Reads every queued event and notes whether any passes the filter.
  void DrainEvents() {
    alignas(inotify_event) char buffer[8192];
    for (;;) {
      const ssize_t n = read(fd_.get(), buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;
      std::size_t offset = 0;
      const auto size = static_cast<std::size_t>(n);
      while (offset + sizeof(inotify_event) <= size) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
        offset += sizeof(inotify_event) + event->len;
        Note(event->mask);
      }
    }
  }

  void Note(std::uint32_t mask) {
    if (mask & IN_Q_OVERFLOW) {
      signalled_ = true;  // changes were lost; some of them may have mattered
      return;
    }
    if (mask & IN_IGNORED) {
      // The directory is gone (or unmounted): report it once; re-arming fails.
      removed_ = true;
      signalled_ = true;
      return;
    }
    // Subdirectories are not part of the watch: Windows reports their names
    // only under its directory-name bit, which the filter does not hold.
    if (mask & IN_ISDIR) return;
    if (mask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF)) {
      signalled_ = true;
    }
  }

  Fd fd_;
  bool signalled_ = false;
  bool removed_ = false;
};

std::uint32_t InotifyMask(DWORD filter) {
  std::uint32_t mask = IN_DELETE_SELF | IN_ONLYDIR;
  if (filter & kChangeFileName) mask |= IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
  if (filter & kChangeSize) mask |= IN_MODIFY;
  // Times set explicitly (touch, utime) arrive as attribute changes; so do
  // permission changes, which a last-write watch then also reports.
  if (filter & kChangeLastWrite) mask |= IN_MODIFY | IN_ATTRIB;
  return mask;
}

#endif  // __linux__

}  // namespace

std::unique_ptr<StopEvent> CreateStopEvent(SysError* err) {
  int fds[2];
  if (pipe(fds) != 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  auto event = std::make_unique<PipeStopEvent>(fds[0], fds[1]);
  if (fcntl(fds[0], F_SETFD, FD_CLOEXEC) != 0 || fcntl(fds[1], F_SETFD, FD_CLOEXEC) != 0 ||
      !SetNonBlocking(fds[0]) || !SetNonBlocking(fds[1])) {
    FailErrno(err, errno);
    return nullptr;
  }
  return event;
}

std::unique_ptr<DirChangeNotification> OpenDirChangeNotification(const std::string& directory, bool watchSubtree,
                                                                 DWORD filter, SysError* err) {
#if defined(__linux__)
  if (watchSubtree) {
    Fail(err, kErrNotSupported);  // inotify watches one directory; nothing here needs more
    return nullptr;
  }
  const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd < 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  auto notification = std::make_unique<InotifyNotification>(fd);
  if (inotify_add_watch(fd, directory.c_str(), InotifyMask(filter)) < 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  return notification;
#else
  (void)directory;
  (void)watchSubtree;
  (void)filter;
  Fail(err, kErrNotSupported);
  return nullptr;
#endif
}

int PostWindowMessage(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  return PostMessageTo(window, message, wParam, lParam);
}

}  // namespace n4
