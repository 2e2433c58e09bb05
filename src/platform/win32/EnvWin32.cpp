// The Windows Env: files, temporary names, atomic replacement, free space.
//
// Every call uses the system's "A" functions: paths and text are 8-bit in the
// process's code page throughout the library. Error codes are the system's
// own GetLastError values.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "n4file/Console.h"
#include "platform/Env.h"
#include "platform/win32/ErrorsWin32.h"
#include "platform/win32/FileWin32.h"

namespace n4 {

std::unique_ptr<ChildProcess> StartWin32Process(const std::vector<std::string>& argv, SysError* err);

namespace {

class Handle {
 public:
  explicit Handle(HANDLE h = INVALID_HANDLE_VALUE) : h_(h) {}
  ~Handle() { reset(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE get() const { return h_; }
  bool valid() const { return h_ != INVALID_HANDLE_VALUE && h_ != nullptr; }
  HANDLE release() {
    HANDLE h = h_;
    h_ = INVALID_HANDLE_VALUE;
    return h;
  }
  // Closes now, reporting whether the close itself succeeded.
  bool reset() {
    bool ok = true;
    if (valid()) ok = ::CloseHandle(h_) != 0;
    h_ = INVALID_HANDLE_VALUE;
    return ok;
  }

 private:
  HANDLE h_;
};

// Readers of whole files share everything, as POSIX readers effectively do:
// they must not make a writer's rename or a delete fail.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kInvalidAttributes = INVALID_FILE_ATTRIBUTES;

bool WriteAll(HANDLE h, const char* data, std::size_t size, SysError* err) {
  while (size > 0) {
    const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(size, 1u << 30));
    DWORD written = 0;
    if (!::WriteFile(h, data, chunk, &written, nullptr)) return FailLastError(err);
    if (written == 0) return Fail(err, ERROR_WRITE_FAULT);
    data += written;
    size -= written;
  }
  return true;
}

// Why replacing `target` failed, when the system said only "access denied" or
// "sharing violation" (MoveFileEx answers either for a file in use).
//
// Callers need to tell a file that a reader has open (and, in this library,
// mapped: readers always map) from one that an editor holds or that may not
// be written at all; POSIX reports kErrUserMappedFile for the first and the
// system's own code otherwise. Two probes that change nothing decide it:
// - Opening the target for writing alongside its current openers fails when
//   an editor denies writing (32) or writing is not permitted (5). That code
//   is the system's own answer and is returned as it stands.
// - Writing is allowed, so the target is not read-only and no editor holds
//   it. Opening it for deletion then fails with a sharing violation exactly
//   when someone keeps it open without sharing deletion: a reader. A reader
//   whose handle is already closed but whose view is still mapped is not
//   seen by this probe; the move's "access denied" then has no other cause
//   left (the sibling was created in the same directory, so adding files
//   there is allowed), and it is reported as a mapped file too.
DWORD ReplaceFailure(const std::string& target, DWORD moveCode) {
  if (moveCode != ERROR_ACCESS_DENIED && moveCode != ERROR_SHARING_VIOLATION) return moveCode;
  const DWORD attributes = ::GetFileAttributesA(target.c_str());
  if (attributes == kInvalidAttributes || (attributes & FILE_ATTRIBUTE_DIRECTORY)) return moveCode;
  Handle writer(::CreateFileA(target.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!writer.valid()) return ::GetLastError();
  writer.reset();
  Handle deleter(::CreateFileA(target.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!deleter.valid()) {
    const DWORD probe = ::GetLastError();
    return probe == ERROR_SHARING_VIOLATION ? static_cast<DWORD>(ERROR_USER_MAPPED_FILE) : moveCode;
  }
  return moveCode == ERROR_ACCESS_DENIED ? static_cast<DWORD>(ERROR_USER_MAPPED_FILE) : moveCode;
}

class Win32WritableFile final : public WritableFile {
 public:
  explicit Win32WritableFile(HANDLE h) : h_(h) {}
  bool Append(const void* data, std::size_t size, SysError* err) override {
    if (!h_.valid()) return Fail(err, ERROR_INVALID_HANDLE);
    return WriteAll(h_.get(), static_cast<const char*>(data), size, err);
  }
  bool Sync(SysError* err) override {
    if (!h_.valid()) return Fail(err, ERROR_INVALID_HANDLE);
    if (!::FlushFileBuffers(h_.get())) return FailLastError(err);
    return true;
  }
  bool Close(SysError* err) override {
    if (!h_.reset()) return FailLastError(err);
    return true;
  }

 private:
  Handle h_;
};

class Win32FileLock final : public FileLock {
 public:
  explicit Win32FileLock(HANDLE h) : h_(h) {}
  ~Win32FileLock() override {
    OVERLAPPED at{};
    ::UnlockFileEx(h_, 0, 1, 0, &at);
    ::CloseHandle(h_);
  }

 private:
  HANDLE h_;
};

class Win32Env final : public Env {
 public:
  std::unique_ptr<FileHandle> OpenFile(const std::string& path, FileAccess access, FileShare share,
                                       FileDisposition disposition, SysError* err) override {
    return OpenWin32File(path, access, share, disposition, err);
  }

  bool GetTempDirectory(std::string* dir, SysError* err) override {
    char buffer[MAX_PATH + 1];
    const DWORD n = ::GetTempPathA(sizeof buffer, buffer);
    if (n == 0) return FailLastError(err);
    if (n >= sizeof buffer) return Fail(err, ERROR_FILENAME_EXCED_RANGE);
    std::string tmp(buffer, n);
    const DWORD attributes = ::GetFileAttributesA(tmp.c_str());
    if (attributes == kInvalidAttributes) return FailLastError(err);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return Fail(err, ERROR_PATH_NOT_FOUND);
    if (tmp.back() != '\\' && tmp.back() != '/') tmp += '\\';
    *dir = tmp;
    return true;
  }

  // The system picks the unique part and creates the file ("SQ4xxxx.tmp").
  bool CreateTempFile(const std::string& dir, const std::string& prefix, std::string* path,
                      SysError* err) override {
    // The system adds a backslash unless the directory ends with one, so a
    // trailing "/" would leave both in the name.
    std::string where = dir;
    if (!where.empty() && where.back() == '/') where.back() = '\\';
    char name[MAX_PATH];
    if (::GetTempFileNameA(where.c_str(), prefix.c_str(), 0, name) == 0) {
      // The system calls a missing directory an invalid name (267); callers
      // test for a missing one as on every platform.
      const DWORD code = ::GetLastError();
      if (code == ERROR_DIRECTORY && !DirectoryExists(dir)) return Fail(err, ERROR_FILE_NOT_FOUND);
      return Fail(err, code);
    }
    *path = name;
    return true;
  }

  std::unique_ptr<WritableFile> NewWritableFile(const std::string& path, SysError* err) override {
    HANDLE h = ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
      FailLastError(err);
      return nullptr;
    }
    return std::make_unique<Win32WritableFile>(h);
  }

  // Windows has no directory flush; RenameFile writes through instead.
  bool SyncDirectory(const std::string& dir, SysError* err) override {
    (void)dir;
    (void)err;
    return true;
  }

  // A file created in the target's directory already inherits its security;
  // the read-only attribute is refused before a save begins.
  bool CopyPermissions(const std::string& from, const std::string& to, SysError* err) override {
    (void)from;
    (void)to;
    (void)err;
    return true;
  }

  bool DeleteFile(const std::string& path, SysError* err) override {
    if (!::DeleteFileA(path.c_str())) return FailLastError(err);
    return true;
  }

  // As rename(): an existing target is replaced. MOVEFILE_WRITE_THROUGH
  // returns only once the rename is on disk. Without MOVEFILE_COPY_ALLOWED a
  // move to another volume fails with ERROR_NOT_SAME_DEVICE.
  bool RenameFile(const std::string& from, const std::string& to, SysError* err) override {
    if (::MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
    return Fail(err, ReplaceFailure(to, ::GetLastError()));
  }

  bool FileExists(const std::string& path) override {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    return attributes != kInvalidAttributes && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  }

  bool DirectoryExists(const std::string& path) override {
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    return attributes != kInvalidAttributes && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  }

  bool CreateDirectory(const std::string& path, SysError* err) override {
    if (!::CreateDirectoryA(path.c_str(), nullptr)) return FailLastError(err);  // 183 when it exists
    return true;
  }

  // Read from the directory entry, so that a file opened without sharing
  // still reports its size.
  bool GetFileSize(const std::string& path, std::uint64_t* size, SysError* err) override {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return FailLastError(err);
    *size = (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    return true;
  }

  // The file's index is its identity: a file renamed over the name has
  // another, even when size and write time match (the time only moves on at
  // the clock's tick). Asking needs a handle; one that reads attributes only
  // is not subject to sharing, so an editor's file is stamped all the same,
  // and a writer renaming over it meanwhile retries as it does for a reader.
  bool GetFileStamp(const std::string& path, FileStamp* stamp, SysError* err) override {
    Handle h(::CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!h.valid()) return FailLastError(err);
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(h.get(), &info)) return FailLastError(err);
    stamp->size = (static_cast<std::uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    // 100-ns ticks since 1601 to nanoseconds since 1970, as on every platform.
    const std::uint64_t ticks =
        (static_cast<std::uint64_t>(info.ftLastWriteTime.dwHighDateTime) << 32) | info.ftLastWriteTime.dwLowDateTime;
    constexpr std::int64_t kTicksFrom1601To1970 = 116444736000000000;
    stamp->modified = (static_cast<std::int64_t>(ticks) - kTicksFrom1601To1970) * 100;
    stamp->identity = (static_cast<std::uint64_t>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    return true;
  }

  bool GetFileAttributes(const std::string& path, DWORD* attributes, SysError* err) override {
    const DWORD a = ::GetFileAttributesA(path.c_str());
    if (a == kInvalidAttributes) return FailLastError(err);
    *attributes = a;
    return true;
  }

  bool SetReadOnly(const std::string& path, bool readOnly, SysError* err) override {
    DWORD a = ::GetFileAttributesA(path.c_str());
    if (a == kInvalidAttributes) return FailLastError(err);
    a = readOnly ? (a | FILE_ATTRIBUTE_READONLY) : (a & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    // Only settable attributes may be passed back; NORMAL stands alone.
    a &= FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
         FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_OFFLINE | FILE_ATTRIBUTE_TEMPORARY;
    if (!::SetFileAttributesA(path.c_str(), a ? a : FILE_ATTRIBUTE_NORMAL)) return FailLastError(err);
    return true;
  }

  bool ListDirectory(const std::string& path, std::vector<std::string>* names, SysError* err) override {
    std::string pattern = path;
    if (pattern.empty() || (pattern.back() != '\\' && pattern.back() != '/')) pattern += '\\';
    pattern += '*';
    WIN32_FIND_DATAA entry{};
    HANDLE find = ::FindFirstFileA(pattern.c_str(), &entry);
    names->clear();
    if (find == INVALID_HANDLE_VALUE) {
      // A drive's root has no "." entry, so an empty one finds nothing at all.
      if (::GetLastError() == ERROR_FILE_NOT_FOUND && DirectoryExists(path)) return true;
      return FailLastError(err);
    }
    do {
      std::string name = entry.cFileName;
      if (name != "." && name != "..") names->push_back(std::move(name));
    } while (::FindNextFileA(find, &entry));
    const DWORD end = ::GetLastError();
    ::FindClose(find);
    if (end != ERROR_NO_MORE_FILES) return Fail(err, end);
    std::sort(names->begin(), names->end());
    return true;
  }

  bool GetDiskFreeSpace(const std::string& root, DiskFreeSpace* space, SysError* err) override {
    // The system wants a directory with its trailing separator ("C:\",
    // "\\server\share\").
    std::string dir = root;
    if (dir.empty() || (dir.back() != '\\' && dir.back() != '/')) dir += '\\';
    DWORD sectorsPerCluster = 0, bytesPerSector = 0, freeClusters = 0, totalClusters = 0;
    if (!::GetDiskFreeSpaceA(dir.c_str(), &sectorsPerCluster, &bytesPerSector, &freeClusters, &totalClusters)) {
      return FailLastError(err);
    }
    space->sectorsPerCluster = sectorsPerCluster;
    space->bytesPerSector = bytesPerSector;
    space->freeClusters = freeClusters;
    space->totalClusters = totalClusters;
    return true;
  }

  bool ReadWholeFile(const std::string& path, std::string* data, SysError* err) override {
    Handle h(::CreateFileA(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!h.valid()) return FailLastError(err);
    data->clear();
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(h.get(), &size) && size.QuadPart > 0 &&
        static_cast<std::uint64_t>(size.QuadPart) < data->max_size()) {
      data->reserve(static_cast<std::size_t>(size.QuadPart));
    }
    std::vector<char> buffer(1 << 16);
    for (;;) {
      DWORD n = 0;
      if (!::ReadFile(h.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &n, nullptr)) {
        return FailLastError(err);
      }
      if (n == 0) return true;
      data->append(buffer.data(), n);
    }
  }

  // The lock is one byte of the lock file, locked with LockFileEx: released
  // by the system when the holder ends, however it ends.
  std::unique_ptr<FileLock> LockFile(const std::string& path, bool exclusive, std::chrono::milliseconds timeout,
                                     SysError* err) override {
    Handle h(::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!h.valid()) {
      FailLastError(err);
      return nullptr;
    }
    const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      OVERLAPPED at{};
      if (::LockFileEx(h.get(), flags, 0, 1, 0, &at)) return std::make_unique<Win32FileLock>(h.release());
      const DWORD code = ::GetLastError();
      if (code != ERROR_LOCK_VIOLATION && code != ERROR_IO_PENDING) {
        Fail(err, code);
        return nullptr;
      }
      if (std::chrono::steady_clock::now() >= deadline) {
        Fail(err, ERROR_TIMEOUT);
        return nullptr;
      }
      ::Sleep(2);
    }
  }

  std::string GetEnvironmentVariable(const std::string& name) override {
    for (;;) {
      const DWORD needed = ::GetEnvironmentVariableA(name.c_str(), nullptr, 0);
      if (needed == 0) return "";
      std::string value(needed, '\0');
      const DWORD n = ::GetEnvironmentVariableA(name.c_str(), value.data(), needed);
      if (n == 0) return "";
      if (n < needed) {
        value.resize(n);
        return value;
      }
      // The variable grew in between; ask again.
    }
  }

  std::string GetExecutablePath() override {
    std::vector<char> buffer(MAX_PATH);
    for (;;) {
      const DWORD n = ::GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
      if (n == 0) return "";
      if (n < buffer.size()) return std::string(buffer.data(), n);
      if (buffer.size() >= 32768) return "";  // longer than any path the system allows
      buffer.resize(buffer.size() * 2);
    }
  }

  char PathSeparator() const override { return '\\'; }

  std::unique_ptr<ChildProcess> StartProcess(const std::vector<std::string>& argv, SysError* err) override {
    return StartWin32Process(argv, err);
  }

  void SleepFor(std::chrono::milliseconds duration) override {
    const auto ms = std::max<std::chrono::milliseconds::rep>(duration.count(), 0);
    ::Sleep(static_cast<DWORD>(std::min<std::chrono::milliseconds::rep>(ms, INFINITE - 1)));
  }

  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }
};

}  // namespace

std::tm ToLocalTime(std::chrono::system_clock::time_point t) {
  std::time_t seconds = std::chrono::system_clock::to_time_t(t);
  std::tm local{};
  localtime_s(&local, &seconds);
  return local;
}

Env* DefaultPlatformEnv() {
  static Win32Env env;
  return &env;
}

bool StandardErrorIsTerminal() {
  DWORD mode = 0;
  // A console answers for its mode; a file or a pipe does not.
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

}  // namespace n4
