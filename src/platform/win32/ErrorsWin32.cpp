// System error texts on Windows: the codes are already the numbers callers
// test, so only the message needs fetching.
#include "platform/win32/ErrorsWin32.h"

#include <windows.h>

namespace n4 {

bool FailLastError(SysError* err) {
  const DWORD code = ::GetLastError();
  // A failing call that left no code still failed; never report success.
  return Fail(err, code != ERROR_SUCCESS ? code : static_cast<DWORD>(ERROR_GEN_FAILURE));
}

// The text is kept as the system words it, line end included: saving appends
// its own advice after it, and the result then reads as it always has.
std::string SystemErrorText(DWORD code) {
  char* buffer = nullptr;
  const DWORD length = ::FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<char*>(&buffer), 0,
      nullptr);
  if (length == 0 || buffer == nullptr) return "Unknown error " + std::to_string(code);
  std::string text(buffer, length);
  ::LocalFree(buffer);
  return text;
}

}  // namespace n4
