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
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <utility>
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
  // Puts size bytes at offset of a writable view, as a copy into data()
  // would. Where the system keeps file writes and views coherent the bytes go
  // through the file, so that pages not yet touched are filled without first
  // being faulted in and zeroed; elsewhere they are copied into the view.
  virtual bool Write(std::uint64_t offset, const void* bytes, std::size_t size, SysError* err) {
    if (!Holds(offset, size)) return Fail(err, kErrInvalidParameter);
    std::memcpy(data_ + offset, bytes, size);
    return true;
  }
  // Copies size bytes at offset of the view to dest, as a copy from data()
  // would. Where the system keeps file reads and views coherent the bytes come
  // through the file, so that no page of the view is faulted in.
  virtual bool Read(std::uint64_t offset, void* dest, std::size_t size, SysError* err) const {
    if (!Holds(offset, size)) return Fail(err, kErrInvalidParameter);
    std::memcpy(dest, data_ + offset, size);
    return true;
  }
  // As Write(offset, source.data() + sourceOffset, size). Where the system
  // copies between files itself, the bytes go from the source's file to this
  // one without passing through either view: no page of either is faulted in.
  // REQUIRES: the source's file holds what its view shows (a writable view,
  // or a read-only one nothing was written through).
  virtual bool CopyFrom(std::uint64_t offset, const MappedView& source, std::uint64_t sourceOffset,
                        std::size_t size, SysError* err) {
    if (!source.Holds(sourceOffset, size)) return Fail(err, kErrInvalidParameter);
    return Write(offset, source.data() + sourceOffset, size, err);
  }
  bool Holds(std::uint64_t offset, std::uint64_t size) const { return offset <= size_ && size <= size_ - offset; }

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
  // Writes all of data at offset (extending the file), or fails; a full disk
  // is kErrDiskFull. Writing whole runs this way fills the system's cache
  // without first zeroing fresh pages, as writing through a new mapping does.
  virtual bool WriteAt(std::uint64_t offset, const void* data, std::size_t size, SysError* err) = 0;
  virtual bool Sync(SysError* err) = 0;
  // A hint that [offset, offset + length) is written for good: the system may
  // start putting it on the disk now, so that a later Sync waits for less.
  virtual void StartWriteback(std::uint64_t offset, std::uint64_t length) {
    (void)offset;
    (void)length;
  }
  // Announces that this handle's file is mapped by a reader, so that a save
  // over it reports kErrUserMappedFile as it would on Windows.
  virtual void MarkMapped() {}
};

// A file written front to back, as a save writes it. Nothing written is
// durable before Sync succeeds. Closed (errors unreported) when destroyed.
class WritableFile {
 public:
  virtual ~WritableFile() = default;
  virtual bool Append(const void* data, std::size_t size, SysError* err) = 0;
  // Makes the bytes appended so far and the file's length durable.
  virtual bool Sync(SysError* err) = 0;
  virtual bool Close(SysError* err) = 0;
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

// What a cache compares to tell that a file changed since it was read: its
// size, its last write time and, where the platform has one cheaply, the
// identity of the file behind the name (a file replaced by a rename gets a new
// one even when size and time happen to match).
struct FileStamp {
  std::uint64_t size = 0;
  std::int64_t modified = 0;  // nanoseconds since 1970-01-01 UTC
  std::uint64_t identity = 0;
  bool operator==(const FileStamp&) const = default;
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

  // Creates a new file for writing; fails with kErrFileExists when the name
  // is taken. New files get the platform's default permissions.
  virtual std::unique_ptr<WritableFile> NewWritableFile(const std::string& path, SysError* err) = 0;
  // Makes the entries of a directory (files created, renamed or deleted in
  // it) durable. Where the system has no such call, renames are made durable
  // as they happen and this succeeds.
  virtual bool SyncDirectory(const std::string& dir, SysError* err) = 0;
  // Gives `to` the access permissions of `from` (both existing files).
  virtual bool CopyPermissions(const std::string& from, const std::string& to, SysError* err) = 0;

  virtual bool DeleteFile(const std::string& path, SysError* err) = 0;
  // Renames `from` over `to`, replacing it. As on Windows, a target that a
  // reader keeps mapped (kErrUserMappedFile) or that an editor holds
  // (kErrSharingViolation) is not replaced. kErrNotSameDevice: the two lie on
  // different volumes.
  virtual bool RenameFile(const std::string& from, const std::string& to, SysError* err) = 0;
  virtual bool FileExists(const std::string& path) = 0;
  virtual bool DirectoryExists(const std::string& path) = 0;
  virtual bool CreateDirectory(const std::string& path, SysError* err) = 0;
  virtual bool GetFileSize(const std::string& path, std::uint64_t* size, SysError* err) = 0;
  virtual bool GetFileAttributes(const std::string& path, DWORD* attributes, SysError* err) = 0;
  // One status call; the default falls back on the size alone.
  virtual bool GetFileStamp(const std::string& path, FileStamp* stamp, SysError* err) {
    *stamp = FileStamp{};
    return GetFileSize(path, &stamp->size, err);
  }
  virtual bool SetReadOnly(const std::string& path, bool readOnly, SysError* err) = 0;
  // Names (not paths) of the entries of a directory, without "." and "..".
  virtual bool ListDirectory(const std::string& path, std::vector<std::string>* names,
                             SysError* err) = 0;
  virtual bool GetDiskFreeSpace(const std::string& root, DiskFreeSpace* space, SysError* err) = 0;

  // Whole-file helpers for small text stores (settings, profiles).
  virtual bool ReadWholeFile(const std::string& path, std::string* data, SysError* err) = 0;
  // Replaces path's content with data through the save protocol
  // (platform/AtomicFile.h): readers and a crash see the old or the new
  // content, never a mix.
  bool WriteFileAtomic(const std::string& path, const std::string& data, SysError* err);
  // Replaces `to` with the content of `from` through the save protocol;
  // the caller deletes `from` afterwards (it may have been moved).
  bool ReplaceFile(const std::string& from, const std::string& to, SysError* err);
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
  // The wall clock. Tests fix it to make dated names predictable.
  virtual std::chrono::system_clock::time_point Now() = 0;
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
  std::unique_ptr<WritableFile> NewWritableFile(const std::string& path, SysError* err) override {
    return target_->NewWritableFile(path, err);
  }
  bool SyncDirectory(const std::string& dir, SysError* err) override {
    return target_->SyncDirectory(dir, err);
  }
  bool CopyPermissions(const std::string& from, const std::string& to, SysError* err) override {
    return target_->CopyPermissions(from, to, err);
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
  bool GetFileStamp(const std::string& path, FileStamp* stamp, SysError* err) override {
    return target_->GetFileStamp(path, stamp, err);
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
  std::chrono::system_clock::time_point Now() override { return target_->Now(); }

 private:
  Env* target_;
};

// The platform with some environment variables set for the library alone,
// not for the process (tests and benchmarks choose a worker count or a
// registry directory this way).
class EnvWithVariables : public EnvWrapper {
 public:
  EnvWithVariables(Env* target, std::map<std::string, std::string> variables)
      : EnvWrapper(target), variables_(std::move(variables)) {}
  std::string GetEnvironmentVariable(const std::string& name) override {
    const auto it = variables_.find(name);
    return it != variables_.end() ? it->second : target()->GetEnvironmentVariable(name);
  }

 private:
  std::map<std::string, std::string> variables_;
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

// The local calendar time of t (the platform's thread-safe conversion).
std::tm ToLocalTime(std::chrono::system_clock::time_point t);

// Joins a directory and a name with the platform's separator (no doubling);
// path::Append (platform/Path.h) with the native style.
std::string JoinPath(const std::string& dir, const std::string& name);

// The directory part of a path (accepts both separators); "" when none.
// path::ParentOf.
std::string DirectoryOf(const std::string& path);

}  // namespace n4
