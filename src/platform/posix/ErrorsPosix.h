#pragma once

#include "platform/Errors.h"

namespace n4 {

DWORD ErrnoToCode(int err);
// Fills err from an errno value (mapped code, the platform's text); returns false.
bool FailErrno(SysError* err, int errnum);

}  // namespace n4
