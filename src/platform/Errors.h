// System error numbers, the same on every platform.
//
// Callers compare error codes against the Windows system error numbers, so the
// POSIX implementation maps errno onto them. The text stays the platform's own.
#pragma once

#include <string>

#include "n4file/Types.h"

namespace n4 {

enum SysErrorCode : DWORD {
  kErrSuccess = 0,
  kErrFileNotFound = 2,
  kErrPathNotFound = 3,
  kErrTooManyOpenFiles = 4,
  kErrAccessDenied = 5,
  kErrInvalidHandle = 6,
  kErrNotEnoughMemory = 8,
  kErrWriteProtect = 19,
  kErrSharingViolation = 32,
  kErrLockViolation = 33,
  kErrHandleDiskFull = 39,
  kErrNotSupported = 50,
  kErrFileExists = 80,
  kErrInvalidParameter = 87,
  kErrBrokenPipe = 109,
  kErrDiskFull = 112,
  kErrInvalidName = 123,
  kErrNegativeSeek = 131,
  kErrDirNotEmpty = 145,
  kErrBusy = 170,
  kErrAlreadyExists = 183,
  kErrFilenameTooLong = 206,
  kErrFileInvalid = 1006,
  kErrUserMappedFile = 1224,
  kErrTimeout = 1460,
};

// A failed system call: its Windows error number and the platform's text.
struct SysError {
  DWORD code = kErrSuccess;
  std::string text;

  void Clear() {
    code = kErrSuccess;
    text.clear();
  }
};

// The platform's message for a system error number.
std::string SystemErrorText(DWORD code);

// Fills err (when not null) with code and its platform text; returns false so
// that failing paths can end with `return Fail(err, code);`.
bool Fail(SysError* err, DWORD code);

}  // namespace n4
