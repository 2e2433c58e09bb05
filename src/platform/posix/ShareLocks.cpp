#include "platform/posix/ShareLocks.h"

#include "platform/Errors.h"

#include <fcntl.h>
#include <unistd.h>

namespace n4 {

namespace {

// Each open holds a shared lock on the bytes that describe it and looks for
// other holders of the bytes that would conflict with it. The base sits far
// beyond any file this library writes; advisory locks never block reads or
// writes of the data itself.
constexpr off_t kLockBase = off_t{0x7FFF0000} << 32;
enum LockByte : off_t {
  kHasRead = 0,
  kHasWrite = 1,
  kDeniesRead = 2,
  kDeniesWrite = 3,
  kMapped = 4,
};

#if defined(F_OFD_SETLK)
constexpr int kSetLock = F_OFD_SETLK;
constexpr int kGetLock = F_OFD_GETLK;
#else
// Process-associated locks: sharing is then enforced between processes only.
constexpr int kSetLock = F_SETLK;
constexpr int kGetLock = F_GETLK;
#endif

bool HoldShared(int fd, LockByte which) {
  struct flock fl {};
  fl.l_type = F_RDLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = kLockBase + which;
  fl.l_len = 1;
  return fcntl(fd, kSetLock, &fl) == 0;
}

bool HeldByOthers(int fd, LockByte which) {
  struct flock fl {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = kLockBase + which;
  fl.l_len = 1;
  if (fcntl(fd, kGetLock, &fl) != 0) return false;
  return fl.l_type != F_UNLCK;
}

}  // namespace

bool ClaimSharing(int fd, bool writes, FileShare share) {
  const bool deniesRead = share == FileShare::None;
  const bool deniesWrite = share != FileShare::ReadWrite;
  const bool held = HoldShared(fd, kHasRead) && (!writes || HoldShared(fd, kHasWrite)) &&
                    (!deniesRead || HoldShared(fd, kDeniesRead)) &&
                    (!deniesWrite || HoldShared(fd, kDeniesWrite));
  const bool conflict = HeldByOthers(fd, kDeniesRead) || (writes && HeldByOthers(fd, kDeniesWrite)) ||
                        (deniesRead && HeldByOthers(fd, kHasRead)) ||
                        (deniesWrite && HeldByOthers(fd, kHasWrite));
  return held && !conflict;
}

void ClaimMapped(int fd) { HoldShared(fd, kMapped); }

DWORD ReplaceBlockerOf(int fd) {
  if (HeldByOthers(fd, kMapped)) return kErrUserMappedFile;
  if (HeldByOthers(fd, kDeniesWrite)) return kErrSharingViolation;
  return kErrSuccess;
}

}  // namespace n4
