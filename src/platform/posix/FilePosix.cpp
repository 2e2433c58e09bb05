#include "platform/posix/FilePosix.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/posix/ErrorsPosix.h"
#include "platform/posix/ShareLocks.h"

namespace n4 {

namespace {

// Extends the file to size with its blocks reserved, so that a full disk
// fails here with an error instead of killing the process when a mapped page
// is first written. The file is left as it was on failure.
bool ReserveLength(int fd, std::uint64_t current, std::uint64_t size, SysError* err) {
  if (size <= current) return true;
  int rc = posix_fallocate(fd, static_cast<off_t>(current), static_cast<off_t>(size - current));
  if (rc == EOPNOTSUPP || rc == EINVAL) rc = ftruncate(fd, static_cast<off_t>(size)) == 0 ? 0 : errno;
  if (rc != 0) {
    if (ftruncate(fd, static_cast<off_t>(current)) != 0) { /* already failing */ }
    return FailErrno(err, rc);
  }
  return true;
}

// All of data at offset, or a failure; a write that makes no progress is a
// full disk.
bool WriteAllAt(int fd, std::uint64_t offset, const void* data, std::size_t size, SysError* err) {
  const auto* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = pwrite(fd, p, size, static_cast<off_t>(offset));
    if (n < 0) {
      if (errno == EINTR) continue;
      return FailErrno(err, errno);
    }
    if (n == 0) return FailErrno(err, ENOSPC);
    p += n;
    size -= static_cast<std::size_t>(n);
    offset += static_cast<std::uint64_t>(n);
  }
  return true;
}

// What CopyRange did: the whole range copied, an error, or nothing the
// caller cannot finish by writing the bytes itself.
enum class RangeCopy { Done, Failed, NotHere };

// Copies within the kernel, from file to file. On NotHere, *copied bytes went
// (the call can refuse after some progress, at a file system's edge).
RangeCopy CopyRange(int from, std::uint64_t fromOffset, int to, std::uint64_t toOffset, std::size_t size,
                    std::size_t* copied, SysError* err) {
  *copied = 0;
#if defined(__linux__)
  auto in = static_cast<off_t>(fromOffset);
  auto out = static_cast<off_t>(toOffset);
  while (*copied < size) {
    const ssize_t n = copy_file_range(from, &in, to, &out, size - *copied, 0);
    if (n < 0) {
      if (errno == EINTR) continue;
      // Different file systems, a kernel or file system without the call, or
      // a file it will not take: the bytes are written the ordinary way.
      if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL || errno == EBADF ||
          errno == EPERM || errno == ETXTBSY) {
        return RangeCopy::NotHere;
      }
      FailErrno(err, errno);
      return RangeCopy::Failed;
    }
    // The source ends early (it shrank under us): the caller's bytes say
    // what the rest is.
    if (n == 0) return RangeCopy::NotHere;
    *copied += static_cast<std::size_t>(n);
  }
  return RangeCopy::Done;
#else
  (void)from, (void)fromOffset, (void)to, (void)toOffset, (void)size, (void)err;
  return RangeCopy::NotHere;
#endif
}

class PosixMappedView final : public MappedView {
 public:
  PosixMappedView(void* p, std::uint64_t size, int fd, bool writable) : fd_(fd), writable_(writable) {
    data_ = static_cast<std::byte*>(p);
    size_ = size;
  }
#if defined(MREMAP_MAYMOVE)
  bool Grow(std::uint64_t newSize, SysError* err) override {
    if (!writable_) return Fail(err, kErrAccessDenied);
    struct stat st {};
    if (fstat(fd_, &st) != 0) return FailErrno(err, errno);
    if (!ReserveLength(fd_, static_cast<std::uint64_t>(st.st_size), newSize, err)) return false;
    void* p = mremap(data_, size_, newSize, MREMAP_MAYMOVE);
    if (p == MAP_FAILED) return FailErrno(err, errno);
    data_ = static_cast<std::byte*>(p);
    size_ = newSize;
    return true;
  }
#endif
  ~PosixMappedView() override { munmap(data_, size_); }
  // Hands dirty pages to the file without waiting for the disk, as flushing
  // a view does on Windows; FileHandle::Sync is what makes data durable.
  bool Flush(SysError* err) override {
    if (msync(data_, size_, MS_ASYNC) != 0) return FailErrno(err, errno);
    return true;
  }
  // Linux keeps a shared mapping and the file's cache one: writing the file
  // is writing the view.
  bool Write(std::uint64_t offset, const void* bytes, std::size_t size, SysError* err) override {
    if (!writable_) return Fail(err, kErrAccessDenied);
    if (offset > size_ || size > size_ - offset) return Fail(err, kErrInvalidParameter);
    return WriteAllAt(fd_, offset, bytes, size, err);
  }

  bool Read(std::uint64_t offset, void* dest, std::size_t size, SysError* err) const override {
    if (!Holds(offset, size)) return Fail(err, kErrInvalidParameter);
    // A view of our own writes (shared) is the file's cache; a read-only view
    // is private, and the file holds what it shows as long as nothing was
    // written through it, which the library never does.
    auto* p = static_cast<char*>(dest);
    while (size > 0) {
      const ssize_t n = pread(fd_, p, size, static_cast<off_t>(offset));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return FailErrno(err, errno);
      // The file ends before the view does: it was cut under us.
      if (n == 0) return Fail(err, kErrFileInvalid);
      p += n;
      size -= static_cast<std::size_t>(n);
      offset += static_cast<std::uint64_t>(n);
    }
    return true;
  }

  bool CopyFrom(std::uint64_t offset, const MappedView& source, std::uint64_t sourceOffset, std::size_t size,
                SysError* err) override {
    if (!writable_) return Fail(err, kErrAccessDenied);
    if (!Holds(offset, size) || !source.Holds(sourceOffset, size)) return Fail(err, kErrInvalidParameter);
    std::size_t copied = 0;
    if (const auto* from = dynamic_cast<const PosixMappedView*>(&source)) {
      switch (CopyRange(from->fd_, sourceOffset, fd_, offset, size, &copied, err)) {
        case RangeCopy::Done: return true;
        case RangeCopy::Failed: return false;
        case RangeCopy::NotHere: break;
      }
    }
    return WriteAllAt(fd_, offset + copied, source.data() + sourceOffset + copied, size - copied, err);
  }

  void Populate(std::uint64_t offset, std::uint64_t length, bool forWrite) override {
    if (offset >= size_) return;
    length = std::min(length, size_ - offset);
    // Page-align the start; the kernel rounds the length up itself.
    const std::uint64_t page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t start = offset / page * page;
    // Older kernels do not know the advice; the pages then fault in as usual.
    madvise(data_ + start, length + (offset - start), forWrite ? kPopulateWrite : kPopulateRead);
  }

 private:
#ifdef MADV_POPULATE_READ
  static constexpr int kPopulateRead = MADV_POPULATE_READ;
  static constexpr int kPopulateWrite = MADV_POPULATE_WRITE;
#else
  static constexpr int kPopulateRead = 22;
  static constexpr int kPopulateWrite = 23;
#endif

  int fd_;  // the mapped file's descriptor; the handle outlives its views
  bool writable_;
};

class PosixFileHandle final : public FileHandle {
 public:
  explicit PosixFileHandle(int fd) : fd_(fd) {}
  ~PosixFileHandle() override { close(fd_); }

  bool GetSize(std::uint64_t* size, SysError* err) override {
    struct stat st {};
    if (fstat(fd_, &st) != 0) return FailErrno(err, errno);
    *size = static_cast<std::uint64_t>(st.st_size);
    return true;
  }

  bool SetLength(std::uint64_t length, SysError* err) override {
    if (ftruncate(fd_, static_cast<off_t>(length)) != 0) return FailErrno(err, errno);
    return true;
  }

  std::unique_ptr<MappedView> Map(std::uint64_t size, bool writable, SysError* err) override {
    std::uint64_t current = 0;
    if (!GetSize(&current, err)) return nullptr;
    if (size == 0) {
      Fail(err, kErrFileInvalid);  // Windows refuses to map nothing the same way
      return nullptr;
    }
    if (size > current) {
      if (!writable) {
        Fail(err, kErrInvalidParameter);
        return nullptr;
      }
      if (!ReserveLength(fd_, current, size, err)) return nullptr;
    }
    // Read-only views are copy-on-write: a write through one changes only
    // this process's pages, never the file, and never faults.
    void* p = mmap(nullptr, size, PROT_READ | PROT_WRITE, writable ? MAP_SHARED : MAP_PRIVATE, fd_, 0);
    if (p == MAP_FAILED) {
      FailErrno(err, errno);
      return nullptr;
    }
    return std::make_unique<PosixMappedView>(p, size, fd_, writable);
  }

  bool GetInformation(BY_HANDLE_FILE_INFORMATION* info, SysError* err) override {
    struct stat st {};
    if (fstat(fd_, &st) != 0) return FailErrno(err, errno);
    *info = {};
    DWORD attributes = 0;
    if (S_ISDIR(st.st_mode)) attributes |= FILE_ATTRIBUTE_DIRECTORY;
    if ((st.st_mode & 0222) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
    info->dwFileAttributes = attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
    info->ftCreationTime = ToFileTime(st.st_ctim);
    info->ftLastAccessTime = ToFileTime(st.st_atim);
    info->ftLastWriteTime = ToFileTime(st.st_mtim);
    info->dwVolumeSerialNumber = static_cast<DWORD>(st.st_dev);
    info->nFileSizeHigh = static_cast<DWORD>(static_cast<std::uint64_t>(st.st_size) >> 32);
    info->nFileSizeLow = static_cast<DWORD>(st.st_size);
    info->nNumberOfLinks = static_cast<DWORD>(st.st_nlink);
    info->nFileIndexHigh = static_cast<DWORD>(static_cast<std::uint64_t>(st.st_ino) >> 32);
    info->nFileIndexLow = static_cast<DWORD>(st.st_ino);
    return true;
  }

  bool WriteAt(std::uint64_t offset, const void* data, std::size_t size, SysError* err) override {
    return WriteAllAt(fd_, offset, data, size, err);
  }

  bool Sync(SysError* err) override {
    if (fsync(fd_) != 0) return FailErrno(err, errno);
    return true;
  }

  void StartWriteback(std::uint64_t offset, std::uint64_t length) override {
#if defined(__linux__)
    // Only starts the writes; a failure shows in the Sync that follows.
    (void)sync_file_range(fd_, static_cast<off_t>(offset), static_cast<off_t>(length), SYNC_FILE_RANGE_WRITE);
#else
    (void)offset;
    (void)length;
#endif
  }

  void MarkMapped() override { ClaimMapped(fd_); }

 private:
  // 100-nanosecond intervals since 1601-01-01, as Windows counts file times.
  static FILETIME ToFileTime(const timespec& ts) {
    constexpr std::uint64_t kEpochDelta = 11644473600ULL;
    std::uint64_t t = (static_cast<std::uint64_t>(ts.tv_sec) + kEpochDelta) * 10000000ULL +
                      static_cast<std::uint64_t>(ts.tv_nsec) / 100;
    return FILETIME{static_cast<DWORD>(t), static_cast<DWORD>(t >> 32)};
  }

  int fd_;
};

}  // namespace

std::unique_ptr<FileHandle> OpenPosixFile(const std::string& path, FileAccess access, FileShare share,
                                          FileDisposition disposition, SysError* err) {
  int flags = O_CLOEXEC | (access == FileAccess::ReadWrite ? O_RDWR : O_RDONLY);
  // Never truncate before the sharing check: the file may be in use.
  if (disposition == FileDisposition::CreateAlways) flags |= O_CREAT;
  int fd = open(path.c_str(), flags, 0666);
  if (fd < 0) {
    FailErrno(err, errno);
    return nullptr;
  }
  struct stat st {};
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    int e = S_ISDIR(st.st_mode) ? EISDIR : errno;
    close(fd);
    FailErrno(err, e);
    return nullptr;
  }

  if (!ClaimSharing(fd, access == FileAccess::ReadWrite, share)) {
    close(fd);
    Fail(err, kErrSharingViolation);
    return nullptr;
  }
  if (disposition == FileDisposition::CreateAlways && ftruncate(fd, 0) != 0) {
    int e = errno;
    close(fd);
    FailErrno(err, e);
    return nullptr;
  }
  return std::make_unique<PosixFileHandle>(fd);
}

DWORD ReplaceBlocker(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return kErrSuccess;
  const DWORD result = ReplaceBlockerOf(fd);
  close(fd);
  return result;
}

}  // namespace n4
