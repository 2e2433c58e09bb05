// The calling thread's last system error, as the file operations record it.
#pragma once

#include "platform/Errors.h"

namespace n4 {

// Every platform call made for a file object reports into this record, so a
// later GetLastErrorString() sees the failure of the most recent call.
SysError& LastSysError();

}  // namespace n4
