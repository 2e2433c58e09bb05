#pragma once

#include "platform/Errors.h"

namespace n4 {

// Fills err from the thread's last system error (GetLastError, read before
// anything else can change it); returns false.
bool FailLastError(SysError* err);

}  // namespace n4
