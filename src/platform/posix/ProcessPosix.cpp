// Child processes, used by the multi-process tests and the tool.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/Env.h"
#include "platform/posix/ErrorsPosix.h"

extern char** environ;

namespace n4 {

namespace {

class PosixChildProcess final : public ChildProcess {
 public:
  explicit PosixChildProcess(pid_t pid) : pid_(pid) {}
  ~PosixChildProcess() override {
    if (!reaped_) {
      Kill();
      Wait();
    }
  }
  void Kill() override {
    if (!reaped_) kill(pid_, SIGKILL);
  }
  int Wait() override {
    if (reaped_) return status_;
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0) {
      if (errno != EINTR) {
        reaped_ = true;
        status_ = -1;
        return status_;
      }
    }
    reaped_ = true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return status_;
  }

 private:
  pid_t pid_;
  bool reaped_ = false;
  int status_ = -1;
};

}  // namespace

std::unique_ptr<ChildProcess> StartPosixProcess(const std::vector<std::string>& argv, SysError* err) {
  if (argv.empty()) {
    Fail(err, kErrInvalidParameter);
    return nullptr;
  }
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  int rc = posix_spawn(&pid, argv[0].c_str(), nullptr, nullptr, args.data(), environ);
  if (rc != 0) {
    FailErrno(err, rc);
    return nullptr;
  }
  return std::make_unique<PosixChildProcess>(pid);
}

}  // namespace n4
