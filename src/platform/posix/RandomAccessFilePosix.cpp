// POSIX random-access files: a descriptor and its own file offset.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "platform/RandomAccessFile.h"
#include "platform/posix/ErrorsPosix.h"
#include "platform/posix/ShareLocks.h"

namespace n4 {

namespace {

bool FailNegativeSeek(SysError* err) {
  if (err) {
    err->code = kErrNegativeSeek;
    err->text = "An attempt was made to move the file pointer before the beginning of the file.";
  }
  return false;
}

class PosixRandomAccessFile final : public RandomAccessFile {
 public:
  PosixRandomAccessFile(int fd, bool writable) : fd_(fd), writable_(writable) {}
  ~PosixRandomAccessFile() override {
    if (fd_ >= 0) close(fd_);
  }
  PosixRandomAccessFile(const PosixRandomAccessFile&) = delete;
  PosixRandomAccessFile& operator=(const PosixRandomAccessFile&) = delete;

  bool Seek(std::int64_t offset, SeekFrom from, std::uint64_t* position, SysError* err) override {
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    std::int64_t base = 0;
    if (from == SeekFrom::Current) {
      base = lseek(fd_, 0, SEEK_CUR);
      if (base < 0) return FailErrno(err, errno);
    } else if (from == SeekFrom::End) {
      struct stat st {};
      if (fstat(fd_, &st) != 0) return FailErrno(err, errno);
      base = st.st_size;
    }
    // Checked here, so that the sum can neither overflow nor go negative.
    if (offset < 0 ? offset < -base : offset > std::numeric_limits<off_t>::max() - base) {
      return offset < 0 ? FailNegativeSeek(err) : Fail(err, kErrInvalidParameter);
    }
    const off_t target = static_cast<off_t>(base + offset);
    if (lseek(fd_, target, SEEK_SET) < 0) return FailErrno(err, errno);
    if (position) *position = static_cast<std::uint64_t>(target);
    return true;
  }

  bool Read(void* buffer, std::size_t size, std::size_t* bytesRead, SysError* err) override {
    *bytesRead = 0;
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    auto* out = static_cast<char*>(buffer);
    while (*bytesRead < size) {
      const ssize_t n = read(fd_, out + *bytesRead, size - *bytesRead);
      if (n < 0) {
        if (errno == EINTR) continue;
        return FailErrno(err, errno);
      }
      if (n == 0) break;  // end of file
      *bytesRead += static_cast<std::size_t>(n);
    }
    return true;
  }

  // Changing a file opened for reading only is refused as Windows refuses it.
  bool Write(const void* data, std::size_t size, SysError* err) override {
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    if (!writable_) return Fail(err, kErrAccessDenied);
    const auto* in = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < size) {
      const ssize_t n = write(fd_, in + done, size - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        return FailErrno(err, errno);
      }
      done += static_cast<std::size_t>(n);
    }
    return true;
  }

  bool SetEndOfFile(SysError* err) override {
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    if (!writable_) return Fail(err, kErrAccessDenied);
    const off_t position = lseek(fd_, 0, SEEK_CUR);
    if (position < 0 || ftruncate(fd_, position) != 0) return FailErrno(err, errno);
    return true;
  }

  bool GetLength(std::uint64_t* length, SysError* err) override {
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    struct stat st {};
    if (fstat(fd_, &st) != 0) return FailErrno(err, errno);
    *length = static_cast<std::uint64_t>(st.st_size);
    return true;
  }

  bool Close(SysError* err) override {
    if (fd_ < 0) return Fail(err, kErrInvalidHandle);
    const int rc = close(fd_);
    fd_ = -1;
    // The descriptor is gone either way; a failure reports lost data (NFS).
    if (rc != 0 && errno != EINTR) return FailErrno(err, errno);
    return true;
  }

 private:
  int fd_;
  bool writable_;
};

}  // namespace

const char* TextLineEnd() { return "\n"; }

std::unique_ptr<RandomAccessFile> OpenPlatformRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                               FileShare share, SysError* err) {
  const bool writes = mode != RandomAccessMode::ReadOnly;
  int flags = O_CLOEXEC | (writes ? O_RDWR : O_RDONLY);
  // Never truncate before the sharing check: the file may be in use.
  if (mode == RandomAccessMode::OpenOrCreate || mode == RandomAccessMode::CreateTruncate) flags |= O_CREAT;
  const int fd = open(path.c_str(), flags, 0666);
  if (fd < 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  auto file = std::make_unique<PosixRandomAccessFile>(fd, writes);
  struct stat st {};
  if (fstat(fd, &st) != 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  if (S_ISDIR(st.st_mode)) {
    FailErrno(err, EISDIR);  // access denied, as Windows says of a directory
    return nullptr;
  }
  if (!ClaimSharing(fd, writes, share)) {
    Fail(err, kErrSharingViolation);
    return nullptr;
  }
  if (mode == RandomAccessMode::CreateTruncate && ftruncate(fd, 0) != 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  return file;
}

}  // namespace n4
