#include "platform/AtomicFile.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <random>

#include "platform/Path.h"

namespace n4 {
namespace {

constexpr int kNameAttempts = 16;
constexpr std::size_t kCopyPiece = std::size_t{1} << 20;

std::string DirectoryForSync(const std::string& path) {
  std::string dir = DirectoryOf(path);
  return dir.empty() ? std::string(".") : dir;
}

// Unique among this process's writers, and unlikely to meet another
// process's: the creation is exclusive and retried anyway.
std::string TemporaryNameBeside(const std::string& target) {
  static std::atomic<unsigned> counter{std::random_device{}()};
  char suffix[24];
  std::snprintf(suffix, sizeof suffix, ".~%08x", counter.fetch_add(0x9E3779B9u));
  std::string dir = DirectoryOf(target);
  std::string leaf(1, '.');
  leaf.append(path::FileNameOf(target)).append(suffix);
  return dir.empty() ? leaf : JoinPath(dir, leaf);
}

// A file made elsewhere (a private temporary file) that becomes a new target
// gets the permissions any new file there would get, so that a shared
// library's readers can read it. The system shows them on a scratch file:
// the process's file-creation mask cannot be read without changing it.
bool TakeNewFilePermissions(Env* env, const std::string& file, const std::string& target, SysError* err) {
  const std::string probe = TemporaryNameBeside(target);
  std::unique_ptr<WritableFile> scratch = env->NewWritableFile(probe, err);
  if (!scratch) return false;
  const bool closed = scratch->Close(err);
  const bool copied = closed && env->CopyPermissions(probe, file, err);
  SysError ignored;
  env->DeleteFile(probe, &ignored);
  return copied;
}

bool IsReadOnly(Env* env, const std::string& path) {
  DWORD attributes = 0;
  SysError ignored;
  return env->GetFileAttributes(path, &attributes, &ignored) && (attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
         (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsBusy(DWORD code) {
  return code == kErrSharingViolation || code == kErrAccessDenied || code == kErrUserMappedFile;
}

}  // namespace

AtomicFileWriter::AtomicFileWriter(Env* env, std::string target, std::chrono::milliseconds busyRetry)
    : env_(env), target_(std::move(target)), busyRetry_(busyRetry) {}

AtomicFileWriter::~AtomicFileWriter() { Discard(); }

bool AtomicFileWriter::Begin(SysError* err) {
  Discard();
  if (IsReadOnly(env_, target_)) return Fail(err, kErrAccessDenied);
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    std::string name = TemporaryNameBeside(target_);
    SysError local;
    file_ = env_->NewWritableFile(name, &local);
    if (file_) {
      temp_ = std::move(name);
      break;
    }
    if (local.code != kErrFileExists || attempt + 1 == kNameAttempts) {
      if (err) *err = local;
      return false;
    }
  }
  if (env_->FileExists(target_) && !env_->CopyPermissions(target_, temp_, err)) {
    Discard();
    return false;
  }
  return true;
}

bool AtomicFileWriter::Append(const void* data, std::size_t size, SysError* err) {
  if (!file_) return Fail(err, kErrInvalidHandle);
  return file_->Append(data, size, err);
}

bool AtomicFileWriter::RenameOverTarget(SysError* err) {
  // Attempts spaced 2 ms apart.
  long long attempts = 1 + busyRetry_.count() / 2;
  for (;;) {
    SysError local;
    if (env_->RenameFile(temp_, target_, &local)) return true;
    if (--attempts <= 0 || !IsBusy(local.code) || IsReadOnly(env_, target_)) {
      if (err) *err = local;
      return false;
    }
    env_->SleepFor(std::chrono::milliseconds(2));
  }
}

bool AtomicFileWriter::Commit(SysError* err) {
  if (!file_) return Fail(err, kErrInvalidHandle);
  bool ok = file_->Sync(err);
  if (ok) ok = file_->Close(err);
  file_.reset();
  if (ok) ok = RenameOverTarget(err);
  if (!ok) {
    Discard();
    return false;
  }
  temp_.clear();
  return env_->SyncDirectory(DirectoryForSync(target_), err);
}

void AtomicFileWriter::Discard() {
  file_.reset();
  if (temp_.empty()) return;
  SysError ignored;
  env_->DeleteFile(temp_, &ignored);
  temp_.clear();
}

bool WriteFileAtomic(Env* env, const std::string& path, std::string_view data, SysError* err) {
  // Readers of small stores hold the file only while they read it.
  AtomicFileWriter out(env, path, std::chrono::seconds(2));
  return out.Begin(err) && out.Append(data.data(), data.size(), err) && out.Commit(err);
}

bool ReplaceFileAtomic(Env* env, const std::string& from, const std::string& to, SysError* err) {
  if (IsReadOnly(env, to)) return Fail(err, kErrAccessDenied);
  {
    // The finished file itself becomes the target when it can be renamed.
    std::unique_ptr<FileHandle> finished =
        env->OpenFile(from, FileAccess::ReadWrite, FileShare::None, FileDisposition::OpenExisting, err);
    if (!finished || !finished->Sync(err)) return false;
  }
  if (env->FileExists(to) ? !env->CopyPermissions(to, from, err) : !TakeNewFilePermissions(env, from, to, err)) {
    return false;
  }
  SysError local;
  if (env->RenameFile(from, to, &local)) return env->SyncDirectory(DirectoryForSync(to), err);
  if (local.code != kErrNotSameDevice) {
    if (err) *err = local;
    return false;
  }

  // Another volume: copy beside the target.
  std::unique_ptr<FileHandle> source =
      env->OpenFile(from, FileAccess::Read, FileShare::ReadWrite, FileDisposition::OpenExisting, err);
  std::uint64_t size = 0;
  if (!source || !source->GetSize(&size, err)) return false;
  AtomicFileWriter out(env, to);
  if (!out.Begin(err)) return false;
  if (size > 0) {
    std::unique_ptr<MappedView> view = source->Map(size, false, err);
    if (!view) return false;
    view->Populate(0, size, false);
    for (std::uint64_t at = 0; at < size;) {
      const std::size_t piece = static_cast<std::size_t>(std::min<std::uint64_t>(kCopyPiece, size - at));
      if (!out.Append(view->data() + at, piece, err)) return false;
      at += piece;
    }
  }
  return out.Commit(err);
}

bool Env::WriteFileAtomic(const std::string& path, const std::string& data, SysError* err) {
  return n4::WriteFileAtomic(this, path, data, err);
}

bool Env::ReplaceFile(const std::string& from, const std::string& to, SysError* err) {
  return ReplaceFileAtomic(this, from, to, err);
}

}  // namespace n4
