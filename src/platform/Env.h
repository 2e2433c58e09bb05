// The platform layer: every service the library needs from the operating system.
//
// Core code never includes an OS header; it asks Env. Env::Default() is the
// implementation for the platform being built (posix/ or win32/). Tests swap in
// a wrapper through ScopedEnv to inject faults (a full disk, a failing write).
//
// Thread safety: Env implementations are safe to use from several threads;
// FileHandle and MappedView objects belong to one thread at a time.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "n4file/Types.h"
#include "platform/Errors.h"

namespace n4 {

enum class FileAccess { Read, ReadWrite };

// What other openers of the same file may do while this handle is open, as
// with Windows sharing modes. On POSIX it is enforced between cooperating
// processes with advisory locks; readers never refuse readers.
enum class FileShare { None, Read, ReadWrite };

enum class FileDisposition { OpenExisting, CreateAlways };

class RandomAccessFile;  // platform/RandomAccessFile.h
enum class RandomAccessMode;

// A mapped view of a file. Unmapped when destroyed.
class MappedView {
 public:
  virtual ~MappedView() = default;
  std::byte* data() const { return data_; }
  std::uint64_t size() const { return size_; }
  // Hands dirty pages back to the file (not necessarily to the disk).
  virtual bool Flush(SysError* err) = 0;
  // Extends a writable mapping (and its file) to newSize, keeping the pages
  // already mapped; the view may move. On failure the view is unchanged.
  // kErrNotSupported: the platform cannot; unmap and map again instead.
  virtual bool Grow(std::uint64_t newSize, SysError* err) {
    (void)newSize;
    return Fail(err, kErrNotSupported);
  }
  // A hint that [offset, offset + length) is about to be read or written
  // whole: the pages are brought in at once instead of one fault at a time.
  virtual void Populate(std::uint64_t offset, std::uint64_t length, bool forWrite) {
    (void)offset;
    (void)length;
    (void)forWrite;
  }

 protected:
  std::byte* data_ = nullptr;
  std::uint64_t size_ = 0;
};

class FileHandle {
 public:
  virtual ~FileHandle() = default;
  virtual bool GetSize(std::uint64_t* size, SysError* err) = 0;
  // Sets the file's length, extending with zeros or truncating.
  virtual bool SetLength(std::uint64_t length, SysError* err) = 0;
  // Maps the first `size` bytes. A writable mapping larger than the file
  // extends the file first. A size of 0 maps nothing and fails, as on Windows.
  // A read-only mapping is copy-on-write: writes through it stay private.
  virtual std::unique_ptr<MappedView> Map(std::uint64_t size, bool writable, SysError* err) = 0;
  virtual bool GetInformation(BY_HANDLE_FILE_INFORMATION* info, SysError* err) = 0;
  virtual bool Sync(SysError* err) = 0;
  // Announces that this handle's file is mapped by a reader, so that a save
  // over it reports kErrUserMappedFile as it would on Windows.
  virtual void MarkMapped() {}
};

// An inter-process lock held until destroyed.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

// A child process started by StartProcess; killed (if still running) and
// reaped when destroyed.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;
  virtual void Kill() = 0;
  // Waits for the child to end; returns its exit code, or -1 when it was killed.
  virtual int Wait() = 0;
};

struct DiskFreeSpace {
  DWORD sectorsPerCluster = 0;
  DWORD bytesPerSector = 0;
  DWORD freeClusters = 0;
  DWORD totalClusters = 0;
};

class Env {
 public:
  virtual ~Env() = default;

  // The implementation for this platform, or the one a test installed.
  static Env* Default();

  virtual std::unique_ptr<FileHandle> OpenFile(const std::string& path, FileAccess access,
                                               FileShare share, FileDisposition disposition,
                                               SysError* err) = 0;
  // A file read and written at a position (platform/RandomAccessFile.h). The
  // platform's own implementation unless a wrapper replaces it.
  virtual std::unique_ptr<RandomAccessFile> OpenRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                                 FileShare share, SysError* err);

  virtual bool GetTempDirectory(std::string* dir, SysError* err) = 0;
  // Creates a new empty file named prefix + unique text in dir, exclusively.
  virtual bool CreateTempFile(const std::string& dir, const std::string& prefix,
                              std::string* path, SysError* err) = 0;

  // Replaces `to` with the content of `from` so that a crash at any moment
  // leaves `to` either old or new. The content is synced before it becomes
  // visible. `from` may be moved instead of copied when it lies on the same
  // file system; the caller deletes it afterwards either way.
  virtual bool ReplaceFile(const std::string& from, const std::string& to, SysError* err) = 0;

  virtual bool DeleteFile(const std::string& path, SysError* err) = 0;
  virtual bool RenameFile(const std::string& from, const std::string& to, SysError* err) = 0;
  virtual bool FileExists(const std::string& path) = 0;
  virtual bool DirectoryExists(const std::string& path) = 0;
  virtual bool CreateDirectory(const std::string& path, SysError* err) = 0;
  virtual bool GetFileSize(const std::string& path, std::uint64_t* size, SysError* err) = 0;
  virtual bool GetFileAttributes(const std::string& path, DWORD* attributes, SysError* err) = 0;
  virtual bool SetReadOnly(const std::string& path, bool readOnly, SysError* err) = 0;
  // Names (not paths) of the entries of a directory, without "." and "..".
  virtual bool ListDirectory(const std::string& path, std::vector<std::string>* names,
                             SysError* err) = 0;
  virtual bool GetDiskFreeSpace(const std::string& root, DiskFreeSpace* space, SysError* err) = 0;

  // Whole-file helpers for small text stores (settings, profiles).
  virtual bool ReadWholeFile(const std::string& path, std::string* data, SysError* err) = 0;
  // Writes data to a temporary file beside path, syncs it and renames it over
  // path: readers see the old or the new content, never a mix.
  virtual bool WriteFileAtomic(const std::string& path, const std::string& data, SysError* err) = 0;
  // Takes an inter-process lock on the lock file at path (created when
  // missing), waiting up to timeout. Null on failure or time-out.
  virtual std::unique_ptr<FileLock> LockFile(const std::string& path, bool exclusive,
                                             std::chrono::milliseconds timeout, SysError* err) = 0;

  // Environment variable, empty when not set.
  virtual std::string GetEnvironmentVariable(const std::string& name) = 0;
  virtual std::string GetExecutablePath() = 0;
  virtual char PathSeparator() const = 0;

  // Starts a program with arguments (argv[0] is the program path).
  virtual std::unique_ptr<ChildProcess> StartProcess(const std::vector<std::string>& argv,
                                                     SysError* err) = 0;
  virtual void SleepFor(std::chrono::milliseconds duration) = 0;
};

// Forwards every call to another Env; tests derive from it to change one call.
class EnvWrapper : public Env {
 public:
  explicit EnvWrapper(Env* target) : target_(target) {}
  Env* target() const { return target_; }

  std::unique_ptr<FileHandle> OpenFile(const std::string& path, FileAccess access, FileShare share,
                                       FileDisposition disposition, SysError* err) override {
    return target_->OpenFile(path, access, share, disposition, err);
  }
  std::unique_ptr<RandomAccessFile> OpenRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                         FileShare share, SysError* err) override;
  bool GetTempDirectory(std::string* dir, SysError* err) override {
    return target_->GetTempDirectory(dir, err);
  }
  bool CreateTempFile(const std::string& dir, const std::string& prefix, std::string* path,
                      SysError* err) override {
    return target_->CreateTempFile(dir, prefix, path, err);
  }
  bool ReplaceFile(const std::string& from, const std::string& to, SysError* err) override {
    return target_->ReplaceFile(from, to, err);
  }
  bool DeleteFile(const std::string& path, SysError* err) override {
    return target_->DeleteFile(path, err);
  }
  bool RenameFile(const std::string& from, const std::string& to, SysError* err) override {
    return target_->RenameFile(from, to, err);
  }
  bool FileExists(const std::string& path) override { return target_->FileExists(path); }
  bool DirectoryExists(const std::string& path) override { return target_->DirectoryExists(path); }
  bool CreateDirectory(const std::string& path, SysError* err) override {
    return target_->CreateDirectory(path, err);
  }
  bool GetFileSize(const std::string& path, std::uint64_t* size, SysError* err) override {
    return target_->GetFileSize(path, size, err);
  }
  bool GetFileAttributes(const std::string& path, DWORD* attributes, SysError* err) override {
    return target_->GetFileAttributes(path, attributes, err);
  }
  bool SetReadOnly(const std::string& path, bool readOnly, SysError* err) override {
    return target_->SetReadOnly(path, readOnly, err);
  }
  bool ListDirectory(const std::string& path, std::vector<std::string>* names,
                     SysError* err) override {
    return target_->ListDirectory(path, names, err);
  }
  bool GetDiskFreeSpace(const std::string& root, DiskFreeSpace* space, SysError* err) override {
    return target_->GetDiskFreeSpace(root, space, err);
  }
  bool ReadWholeFile(const std::string& path, std::string* data, SysError* err) override {
    return target_->ReadWholeFile(path, data, err);
  }
  bool WriteFileAtomic(const std::string& path, const std::string& data, SysError* err) override {
    return target_->WriteFileAtomic(path, data, err);
  }
  std::unique_ptr<FileLock> LockFile(const std::string& path, bool exclusive,
                                     std::chrono::milliseconds timeout, SysError* err) override {
    return target_->LockFile(path, exclusive, timeout, err);
  }
  std::string GetEnvironmentVariable(const std::string& name) override {
    return target_->GetEnvironmentVariable(name);
  }
  std::string GetExecutablePath() override { return target_->GetExecutablePath(); }
  char PathSeparator() const override { return target_->PathSeparator(); }
  std::unique_ptr<ChildProcess> StartProcess(const std::vector<std::string>& argv,
                                             SysError* err) override {
    return target_->StartProcess(argv, err);
  }
  void SleepFor(std::chrono::milliseconds duration) override { target_->SleepFor(duration); }

 private:
  Env* target_;
};

// Installs an Env for the lifetime of this object (tests only; not thread-safe).
class ScopedEnv {
 public:
  explicit ScopedEnv(Env* env);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  Env* previous_;
};

// Joins a directory and a name with the platform's separator (no doubling).
std::string JoinPath(const std::string& dir, const std::string& name);

// The directory part of a path (accepts both separators); "" when none.
std::string DirectoryOf(const std::string& path);

}  // namespace n4
