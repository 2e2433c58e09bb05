// errno values mapped onto the Windows system error numbers callers test.
#include "platform/posix/ErrorsPosix.h"

#include <cerrno>
#include <cstring>

namespace n4 {

namespace {
struct Mapping {
  int err;
  DWORD code;
};

constexpr Mapping kMappings[] = {
    {ENOENT, kErrFileNotFound},     {ENOTDIR, kErrPathNotFound},
    {EMFILE, kErrTooManyOpenFiles}, {ENFILE, kErrTooManyOpenFiles},
    {EACCES, kErrAccessDenied},     {EPERM, kErrAccessDenied},
    {EISDIR, kErrAccessDenied},     {EBADF, kErrInvalidHandle},
    {ENOMEM, kErrNotEnoughMemory},  {EROFS, kErrWriteProtect},
    {ETXTBSY, kErrSharingViolation}, {EWOULDBLOCK, kErrLockViolation},
    {EOPNOTSUPP, kErrNotSupported}, {EEXIST, kErrFileExists},
    {EINVAL, kErrInvalidParameter}, {EPIPE, kErrBrokenPipe},
    {ENOSPC, kErrDiskFull},         {EDQUOT, kErrDiskFull},
    {EFBIG, kErrDiskFull},          {ENOTEMPTY, kErrDirNotEmpty},
    {EBUSY, kErrBusy},              {ENAMETOOLONG, kErrFilenameTooLong},
    {ELOOP, kErrPathNotFound},      {ETIMEDOUT, kErrTimeout},
    {EXDEV, kErrNotSameDevice},
};

// Texts for the numbers that have no errno counterpart, as Windows words them.
const char* WindowsOnlyText(DWORD code) {
  switch (code) {
    case kErrSuccess: return "The operation completed successfully.";
    case kErrSharingViolation:
      return "The process cannot access the file because it is being used by another process.";
    case kErrLockViolation:
      return "The process cannot access the file because another process has locked a portion of the file.";
    case kErrDiskFull: return "There is not enough space on the disk.";
    case kErrFileInvalid: return "The volume for a file has been externally altered so that the opened file is no longer valid.";
    case kErrUserMappedFile:
      return "The requested operation cannot be performed on a file with a user-mapped section open.";
    default: return nullptr;
  }
}
}  // namespace

DWORD ErrnoToCode(int err) {
  for (const auto& m : kMappings) {
    if (m.err == err) return m.code;
  }
  (void)err;
  return kErrInvalidParameter;  // unknown errors read as a bad request
}

bool FailErrno(SysError* err, int errnum) {
  if (err) {
    err->code = ErrnoToCode(errnum);
    err->text = std::strerror(errnum);
  }
  return false;
}

std::string SystemErrorText(DWORD code) {
  if (const char* text = WindowsOnlyText(code)) return text;
  for (const auto& m : kMappings) {
    if (m.code == code) return std::strerror(m.err);
  }
  return "Unknown error " + std::to_string(code);
}

}  // namespace n4
