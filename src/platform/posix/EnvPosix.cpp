// The POSIX Env: files, temporary names, atomic replacement, free space.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <thread>
#include <vector>

#include "n4file/Console.h"
#include "platform/Env.h"
#include "platform/posix/ErrorsPosix.h"
#include "platform/posix/Fd.h"
#include "platform/posix/FilePosix.h"

namespace n4 {

std::unique_ptr<ChildProcess> StartPosixProcess(const std::vector<std::string>& argv, SysError* err);

namespace {

bool WriteAll(int fd, const char* data, std::size_t size, SysError* err) {
  while (size > 0) {
    ssize_t n = write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return FailErrno(err, errno);
    }
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

class PosixWritableFile final : public WritableFile {
 public:
  explicit PosixWritableFile(int fd) : fd_(fd) {}
  bool Append(const void* data, std::size_t size, SysError* err) override {
    if (!fd_.valid()) return Fail(err, kErrInvalidHandle);
    return WriteAll(fd_.get(), static_cast<const char*>(data), size, err);
  }
  bool Sync(SysError* err) override {
    if (!fd_.valid()) return Fail(err, kErrInvalidHandle);
    if (fsync(fd_.get()) != 0) return FailErrno(err, errno);
    return true;
  }
  bool Close(SysError* err) override {
    if (!fd_.valid()) return true;
    if (close(fd_.release()) != 0) return FailErrno(err, errno);
    return true;
  }

 private:
  Fd fd_;
};

class PosixFileLock final : public FileLock {
 public:
  explicit PosixFileLock(int fd) : fd_(fd) {}
  ~PosixFileLock() override {
    flock(fd_, LOCK_UN);
    close(fd_);
  }

 private:
  int fd_;
};

class PosixEnv final : public Env {
 public:
  std::unique_ptr<FileHandle> OpenFile(const std::string& path, FileAccess access, FileShare share,
                                       FileDisposition disposition, SysError* err) override {
    return OpenPosixFile(path, access, share, disposition, err);
  }

  bool GetTempDirectory(std::string* dir, SysError* err) override {
    std::string tmp = GetEnvironmentVariable("TMPDIR");
    if (tmp.empty()) tmp = "/tmp";
    struct stat st {};
    if (stat(tmp.c_str(), &st) != 0) return FailErrno(err, errno);
    if (!S_ISDIR(st.st_mode)) return Fail(err, kErrPathNotFound);
    if (tmp.back() != '/') tmp += '/';
    *dir = tmp;
    return true;
  }

  bool CreateTempFile(const std::string& dir, const std::string& prefix, std::string* path,
                      SysError* err) override {
    std::string pattern = JoinPath(dir, prefix + "XXXXXX.tmp");
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    Fd fd(mkostemps(name.data(), 4, O_CLOEXEC));
    if (!fd.valid()) return FailErrno(err, errno);
    *path = name.data();
    return true;
  }

  std::unique_ptr<WritableFile> NewWritableFile(const std::string& path, SysError* err) override {
    // 0666: the process's umask decides, as for any file the user creates.
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
      FailErrno(err, errno);
      return nullptr;
    }
    return std::make_unique<PosixWritableFile>(fd);
  }

  bool SyncDirectory(const std::string& dir, SysError* err) override {
    Fd fd(open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return FailErrno(err, errno);
    if (fsync(fd.get()) != 0) return FailErrno(err, errno);
    return true;
  }

  bool CopyPermissions(const std::string& from, const std::string& to, SysError* err) override {
    struct stat st {};
    if (stat(from.c_str(), &st) != 0) return FailErrno(err, errno);
    if (chmod(to.c_str(), st.st_mode & 07777) != 0) return FailErrno(err, errno);
    return true;
  }

  bool DeleteFile(const std::string& path, SysError* err) override {
    if (unlink(path.c_str()) != 0) return FailErrno(err, errno);
    return true;
  }

  bool RenameFile(const std::string& from, const std::string& to, SysError* err) override {
    // As on Windows, a file that a reader keeps mapped, or that another
    // editor holds, is not replaced under it.
    if (DWORD blocker = ReplaceBlocker(to); blocker != kErrSuccess) return Fail(err, blocker);
    if (rename(from.c_str(), to.c_str()) != 0) return FailErrno(err, errno);
    return true;
  }

  bool FileExists(const std::string& path) override {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
  }

  bool DirectoryExists(const std::string& path) override {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
  }

  bool CreateDirectory(const std::string& path, SysError* err) override {
    if (mkdir(path.c_str(), 0777) != 0) {
      return errno == EEXIST ? Fail(err, kErrAlreadyExists) : FailErrno(err, errno);
    }
    return true;
  }

  bool GetFileSize(const std::string& path, std::uint64_t* size, SysError* err) override {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return FailErrno(err, errno);
    *size = static_cast<std::uint64_t>(st.st_size);
    return true;
  }

  bool GetFileStamp(const std::string& path, FileStamp* stamp, SysError* err) override {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return FailErrno(err, errno);
    stamp->size = static_cast<std::uint64_t>(st.st_size);
    stamp->modified = static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    stamp->identity = static_cast<std::uint64_t>(st.st_ino) ^ (static_cast<std::uint64_t>(st.st_dev) << 40);
    return true;
  }

  bool GetFileAttributes(const std::string& path, DWORD* attributes, SysError* err) override {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return FailErrno(err, errno);
    DWORD a = 0;
    if (S_ISDIR(st.st_mode)) a |= FILE_ATTRIBUTE_DIRECTORY;
    if ((st.st_mode & 0222) == 0) a |= FILE_ATTRIBUTE_READONLY;
    *attributes = a ? a : FILE_ATTRIBUTE_NORMAL;
    return true;
  }

  bool SetReadOnly(const std::string& path, bool readOnly, SysError* err) override {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return FailErrno(err, errno);
    mode_t mode = st.st_mode & 07777;
    // Clearing the attribute gives the owner write access back; what others
    // may do is left to the directory's owner, not guessed from a umask.
    if (readOnly) mode &= ~mode_t{0222};
    else mode |= S_IWUSR;
    if (chmod(path.c_str(), mode) != 0) return FailErrno(err, errno);
    return true;
  }

  bool ListDirectory(const std::string& path, std::vector<std::string>* names, SysError* err) override {
    DIR* dir = opendir(path.c_str());
    if (!dir) return FailErrno(err, errno);
    names->clear();
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name != "." && name != "..") names->push_back(std::move(name));
    }
    closedir(dir);
    std::sort(names->begin(), names->end());
    return true;
  }

  bool GetDiskFreeSpace(const std::string& root, DiskFreeSpace* space, SysError* err) override {
    struct statvfs vfs {};
    if (statvfs(root.c_str(), &vfs) != 0) return FailErrno(err, errno);
    std::uint64_t unit = vfs.f_frsize ? vfs.f_frsize : vfs.f_bsize;
    // Describe the file system in Windows terms: 512-byte sectors grouped
    // into clusters of the file system's block size.
    DWORD bytesPerSector = unit >= 512 ? 512 : static_cast<DWORD>(unit);
    space->bytesPerSector = bytesPerSector;
    space->sectorsPerCluster = static_cast<DWORD>(unit / bytesPerSector);
    space->freeClusters = static_cast<DWORD>(std::min<std::uint64_t>(vfs.f_bavail, 0xFFFFFFFFu));
    space->totalClusters = static_cast<DWORD>(std::min<std::uint64_t>(vfs.f_blocks, 0xFFFFFFFFu));
    return true;
  }

  bool ReadWholeFile(const std::string& path, std::string* data, SysError* err) override {
    Fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) return FailErrno(err, errno);
    data->clear();
    struct stat st {};
    if (fstat(fd.get(), &st) == 0 && st.st_size > 0) data->reserve(static_cast<std::size_t>(st.st_size));
    char buffer[1 << 16];
    for (;;) {
      ssize_t n = read(fd.get(), buffer, sizeof buffer);
      if (n == 0) return true;
      if (n < 0) {
        if (errno == EINTR) continue;
        return FailErrno(err, errno);
      }
      data->append(buffer, static_cast<std::size_t>(n));
    }
  }

  std::unique_ptr<FileLock> LockFile(const std::string& path, bool exclusive,
                                     std::chrono::milliseconds timeout, SysError* err) override {
    Fd fd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!fd.valid()) {
      FailErrno(err, errno);
      return nullptr;
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      if (flock(fd.get(), (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0) {
        return std::make_unique<PosixFileLock>(fd.release());
      }
      if (errno != EWOULDBLOCK && errno != EINTR) {
        FailErrno(err, errno);
        return nullptr;
      }
      if (std::chrono::steady_clock::now() >= deadline) {
        Fail(err, kErrTimeout);
        return nullptr;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  std::string GetEnvironmentVariable(const std::string& name) override {
    const char* value = std::getenv(name.c_str());
    return value ? value : "";
  }

  std::string GetExecutablePath() override {
    std::vector<char> buffer(4096);
    ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    if (n <= 0) return "";
    return std::string(buffer.data(), static_cast<std::size_t>(n));
  }

  char PathSeparator() const override { return '/'; }

  std::unique_ptr<ChildProcess> StartProcess(const std::vector<std::string>& argv, SysError* err) override {
    return StartPosixProcess(argv, err);
  }

  void SleepFor(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }

  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }
};

}  // namespace

std::tm ToLocalTime(std::chrono::system_clock::time_point t) {
  std::time_t seconds = std::chrono::system_clock::to_time_t(t);
  std::tm local{};
  localtime_r(&seconds, &local);
  return local;
}

Env* DefaultPlatformEnv() {
  static PosixEnv env;
  return &env;
}

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

}  // namespace n4
