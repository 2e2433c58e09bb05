#include "platform/posix/ShareLocks.h"

#include <fcntl.h>
#include <unistd.h>

namespace n4 {

namespace {

// Must match FilePosix.cpp: the same base far beyond any real data and the
// same byte for each claim. Advisory locks never block reads or writes of the
// data itself.
constexpr off_t kLockBase = off_t{0x7FFF0000} << 32;
enum LockByte : off_t {
  kHasRead = 0,
  kHasWrite = 1,
  kDeniesRead = 2,
  kDeniesWrite = 3,
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

}  // namespace n4
