// Child processes, used by the multi-process tests and the tool.
#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Env.h"
#include "platform/win32/ErrorsWin32.h"

namespace n4 {

namespace {

// Quotes one argument so that the C runtime's command-line parser of the
// child gives it back unchanged: backslashes are literal except before a
// quote, where they must be doubled.
void AppendQuoted(const std::string& arg, std::string* line) {
  if (!arg.empty() && arg.find_first_of(" \t\n\v\"") == std::string::npos) {
    line->append(arg);
    return;
  }
  line->push_back('"');
  for (auto it = arg.begin();; ++it) {
    std::size_t backslashes = 0;
    while (it != arg.end() && *it == '\\') {
      ++it;
      ++backslashes;
    }
    if (it == arg.end()) {
      line->append(backslashes * 2, '\\');  // the closing quote follows
      break;
    }
    if (*it == '"') {
      line->append(backslashes * 2 + 1, '\\');
    } else {
      line->append(backslashes, '\\');
    }
    line->push_back(*it);
  }
  line->push_back('"');
}

class Win32ChildProcess final : public ChildProcess {
 public:
  explicit Win32ChildProcess(HANDLE process) : process_(process) {}
  ~Win32ChildProcess() override {
    if (!reaped_) {
      Kill();
      Wait();
    }
    ::CloseHandle(process_);
  }
  Win32ChildProcess(const Win32ChildProcess&) = delete;
  Win32ChildProcess& operator=(const Win32ChildProcess&) = delete;

  // A child that has already ended cannot be terminated: it keeps its own
  // exit code, as a POSIX child that exited before the signal does.
  void Kill() override {
    if (!reaped_ && ::TerminateProcess(process_, kKilledExitCode)) killed_ = true;
  }

  int Wait() override {
    if (reaped_) return status_;
    reaped_ = true;
    DWORD code = 0;
    if (::WaitForSingleObject(process_, INFINITE) != WAIT_OBJECT_0 || !::GetExitCodeProcess(process_, &code) ||
        killed_) {
      status_ = -1;
      return status_;
    }
    // An unhandled exception ends a process with its exception code (an
    // NTSTATUS error); read it as an abnormal end, like death by a signal.
    status_ = code >= 0xC0000000u ? -1 : static_cast<int>(code);
    return status_;
  }

 private:
  static constexpr UINT kKilledExitCode = 1;

  HANDLE process_;
  bool killed_ = false;
  bool reaped_ = false;
  int status_ = -1;
};

}  // namespace

std::unique_ptr<ChildProcess> StartWin32Process(const std::vector<std::string>& argv, SysError* err) {
  if (argv.empty()) {
    Fail(err, ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  std::string line;
  for (const auto& a : argv) {
    if (!line.empty()) line.push_back(' ');
    AppendQuoted(a, &line);
  }
  std::vector<char> mutableLine(line.begin(), line.end());  // CreateProcessA may write into it
  mutableLine.push_back('\0');

  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION info{};
  // Handles are inherited as descriptors are across posix_spawn: the child
  // shares the standard streams. The library's own handles are never
  // inheritable, so no open file leaks into the child.
  if (!::CreateProcessA(argv[0].c_str(), mutableLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &info)) {
    FailLastError(err);
    return nullptr;
  }
  ::CloseHandle(info.hThread);
  return std::make_unique<Win32ChildProcess>(info.hProcess);
}

}  // namespace n4
