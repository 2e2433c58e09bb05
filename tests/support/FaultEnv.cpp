#include "support/FaultEnv.h"

#include <vector>

#include "platform/Path.h"

namespace n4test {

namespace {

constexpr DWORD kErrNotReady = 21;  // what calls return once the power is cut

// Paths as the tables key them: one spelling per file, whichever separators
// the caller composed it with (Windows accepts both).
std::string Key(const std::string& path) { return n4::path::WithSeparators(path); }

std::string WithoutTrailingSeparator(std::string dir) {
  while (dir.size() > 1 && (dir.back() == '/' || dir.back() == '\\')) dir.pop_back();
  return dir;
}

// Fails growth beyond the environment's limit, or moves the view as it grows;
// everything else is the real view.
class FaultMappedView final : public n4::MappedView {
 public:
  // `file` maps the view again when it moves; the handle outlives its views.
  FaultMappedView(std::unique_ptr<n4::MappedView> target, FaultEnv* env, n4::FileHandle* file)
      : target_(std::move(target)), env_(env), file_(file) {
    Sync();
  }
  bool Flush(n4::SysError* err) override { return target_->Flush(err); }
  bool Grow(std::uint64_t newSize, n4::SysError* err) override {
    if (env_->failMapAbove && newSize > env_->failMapAbove) return n4::Fail(err, n4::kErrDiskFull);
    if (env_->moveViewsOnGrow) {
      // Mapped while the old view still holds its addresses: the new one
      // cannot land on them.
      auto moved = file_->Map(newSize, true, err);
      if (!moved) return false;
      target_ = std::move(moved);
      Sync();
      return true;
    }
    bool ok = target_->Grow(newSize, err);
    Sync();
    return ok;
  }
  void Populate(std::uint64_t offset, std::uint64_t length, bool forWrite) override {
    target_->Populate(offset, length, forWrite);
  }
  bool Write(std::uint64_t offset, const void* bytes, std::size_t size, n4::SysError* err) override {
    return target_->Write(offset, bytes, size, err);
  }

 private:
  void Sync() {
    data_ = target_->data();
    size_ = target_->size();
  }
  std::unique_ptr<n4::MappedView> target_;
  FaultEnv* env_;
  n4::FileHandle* file_;
};

class FaultFileHandle final : public n4::FileHandle {
 public:
  FaultFileHandle(std::unique_ptr<n4::FileHandle> target, FaultEnv* env, std::string path)
      : target_(std::move(target)), env_(env), path_(std::move(path)) {}
  bool GetSize(std::uint64_t* size, n4::SysError* err) override { return target_->GetSize(size, err); }
  bool SetLength(std::uint64_t length, n4::SysError* err) override {
    return env_->Step(FaultEnv::Kind::Write, err) && target_->SetLength(length, err);
  }
  std::unique_ptr<n4::MappedView> Map(std::uint64_t size, bool writable, n4::SysError* err) override {
    auto view = target_->Map(size, writable, err);
    if (!view) return nullptr;
    return std::make_unique<FaultMappedView>(std::move(view), env_, target_.get());
  }
  bool GetInformation(BY_HANDLE_FILE_INFORMATION* info, n4::SysError* err) override {
    return target_->GetInformation(info, err);
  }
  bool WriteAt(std::uint64_t offset, const void* data, std::size_t size, n4::SysError* err) override {
    return env_->Step(FaultEnv::Kind::Write, err) && target_->WriteAt(offset, data, size, err);
  }
  bool Sync(n4::SysError* err) override {
    if (!env_->Step(FaultEnv::Kind::Sync, err) || !target_->Sync(err)) return false;
    env_->FileSynced(path_, Content());
    return true;
  }
  void MarkMapped() override { target_->MarkMapped(); }

 private:
  // The file's bytes read through this handle: another open may be refused
  // while it is held (Windows sharing modes).
  std::string Content() {
    std::uint64_t size = 0;
    n4::SysError ignored;
    if (!target_->GetSize(&size, &ignored) || size == 0) return {};
    auto view = target_->Map(size, false, &ignored);
    if (!view) return {};
    return std::string(reinterpret_cast<const char*>(view->data()), static_cast<std::size_t>(size));
  }

  std::unique_ptr<n4::FileHandle> target_;
  FaultEnv* env_;
  std::string path_;
};

class FaultWritableFile final : public n4::WritableFile {
 public:
  FaultWritableFile(std::unique_ptr<n4::WritableFile> target, FaultEnv* env, std::string path)
      : target_(std::move(target)), env_(env), path_(std::move(path)) {}
  bool Append(const void* data, std::size_t size, n4::SysError* err) override {
    if (!env_->Step(FaultEnv::Kind::Write, err) || !target_->Append(data, size, err)) return false;
    written_.append(static_cast<const char*>(data), size);
    return true;
  }
  bool Sync(n4::SysError* err) override {
    if (!env_->Step(FaultEnv::Kind::Sync, err) || !target_->Sync(err)) return false;
    env_->FileSynced(path_, written_);
    return true;
  }
  bool Close(n4::SysError* err) override {
    return env_->Step(FaultEnv::Kind::Other, err) && target_->Close(err);
  }

 private:
  std::unique_ptr<n4::WritableFile> target_;
  FaultEnv* env_;
  std::string path_;
  std::string written_;
};

}  // namespace

bool FaultEnv::Tracked(const std::string& path) const {
  return trackedDirs_.count(WithoutTrailingSeparator(n4::DirectoryOf(Key(path)))) != 0;
}

void FaultEnv::NewFile(const std::string& path) {
  if (!Tracked(path)) return;
  const int file = nextFile_++;
  liveNames_[Key(path)] = file;
  durableData_[file] = std::string();
}

void FaultEnv::TrackDurability(const std::string& dir) {
  const std::string key = WithoutTrailingSeparator(Key(dir));
  trackedDirs_.insert(key);
  std::vector<std::string> names;
  n4::SysError ignored;
  target()->ListDirectory(key, &names, &ignored);
  for (const auto& name : names) {
    const std::string path = n4::JoinPath(key, name);
    if (!target()->FileExists(path)) continue;
    const int file = nextFile_++;
    liveNames_[path] = durableNames_[path] = file;
    durableData_[file] = ReadFile(path);
  }
}

void FaultEnv::CutPowerAfter(int steps) {
  stepsLeft_ = steps;
  cut_ = false;
}

void FaultEnv::PowerCut() {
  n4::SysError ignored;
  for (const auto& dir : trackedDirs_) {
    std::vector<std::string> names;
    target()->ListDirectory(dir, &names, &ignored);
    for (const auto& name : names) {
      const std::string path = n4::JoinPath(dir, name);
      if (target()->FileExists(path)) target()->DeleteFile(path, &ignored);
    }
  }
  for (const auto& [path, file] : durableNames_) WriteFile(path, durableData_[file]);
  liveNames_ = durableNames_;
  stepsLeft_ = -1;
  cut_ = false;
}

bool FaultEnv::Step(Kind kind, n4::SysError* err) {
  if (cut_) return n4::Fail(err, kErrNotReady);
  if (stepsLeft_ == 0) {
    cut_ = true;
    return n4::Fail(err, kErrNotReady);
  }
  if (stepsLeft_ > 0) --stepsLeft_;
  FailNth* nth = kind == Kind::Write ? &failWrite : kind == Kind::Sync ? &failSync
                 : kind == Kind::Rename ? &failRename : nullptr;
  if (nth != nullptr && ++nth->calls == nth->at) return n4::Fail(err, nth->code);
  return true;
}

void FaultEnv::FileSynced(const std::string& path, const std::string& content) {
  auto it = liveNames_.find(Key(path));
  if (it != liveNames_.end()) durableData_[it->second] = content;
}


std::unique_ptr<n4::FileHandle> FaultEnv::OpenFile(const std::string& path, n4::FileAccess access,
                                                   n4::FileShare share, n4::FileDisposition disposition,
                                                   n4::SysError* err) {
  const bool creates = disposition == n4::FileDisposition::CreateAlways;
  if (creates && !Step(Kind::Other, err)) return nullptr;
  auto handle = target()->OpenFile(path, access, share, disposition, err);
  if (!handle) return nullptr;
  if (creates && liveNames_.count(Key(path)) == 0) NewFile(path);
  return std::make_unique<FaultFileHandle>(std::move(handle), this, path);
}

bool FaultEnv::GetTempDirectory(std::string* dir, n4::SysError* err) {
  if (tempDir.empty()) return target()->GetTempDirectory(dir, err);
  *dir = tempDir;
  return true;
}

bool FaultEnv::CreateTempFile(const std::string& dir, const std::string& prefix, std::string* path,
                              n4::SysError* err) {
  if (!Step(Kind::Other, err) || !target()->CreateTempFile(dir, prefix, path, err)) return false;
  NewFile(*path);
  return true;
}

std::unique_ptr<n4::WritableFile> FaultEnv::NewWritableFile(const std::string& path, n4::SysError* err) {
  if (!Step(Kind::Other, err)) return nullptr;
  auto file = target()->NewWritableFile(path, err);
  if (!file) return nullptr;
  NewFile(path);
  return std::make_unique<FaultWritableFile>(std::move(file), this, path);
}

bool FaultEnv::SyncDirectory(const std::string& dir, n4::SysError* err) {
  if (!Step(Kind::Sync, err) || !target()->SyncDirectory(dir, err)) return false;
  const std::string key = WithoutTrailingSeparator(Key(dir));
  auto inDir = [&](const std::string& path) { return WithoutTrailingSeparator(n4::DirectoryOf(path)) == key; };
  std::erase_if(durableNames_, [&](const auto& entry) { return inDir(entry.first); });
  for (const auto& [path, file] : liveNames_) {
    if (inDir(path)) durableNames_[path] = file;
  }
  return true;
}

bool FaultEnv::CopyPermissions(const std::string& from, const std::string& to, n4::SysError* err) {
  return Step(Kind::Other, err) && target()->CopyPermissions(from, to, err);
}

bool FaultEnv::DeleteFile(const std::string& path, n4::SysError* err) {
  if (!Step(Kind::Other, err) || !target()->DeleteFile(path, err)) return false;
  liveNames_.erase(Key(path));
  return true;
}

bool FaultEnv::RenameFile(const std::string& from, const std::string& to, n4::SysError* err) {
  if (!Step(Kind::Rename, err)) return false;
  if (directoriesAreVolumes && WithoutTrailingSeparator(n4::DirectoryOf(Key(from))) !=
                                   WithoutTrailingSeparator(n4::DirectoryOf(Key(to)))) {
    return n4::Fail(err, n4::kErrNotSameDevice);
  }
  if (!target()->RenameFile(from, to, err)) return false;
  auto it = liveNames_.find(Key(from));
  if (it != liveNames_.end()) {
    const int file = it->second;
    liveNames_.erase(it);
    if (Tracked(to)) liveNames_[Key(to)] = file;
  } else if (Tracked(to)) {
    NewFile(to);
    durableData_[liveNames_[Key(to)]] = ReadFile(to);
  }
  return true;
}

bool FaultEnv::GetDiskFreeSpace(const std::string& root, n4::DiskFreeSpace* space, n4::SysError* err) {
  if (freeBytes < 0) return target()->GetDiskFreeSpace(root, space, err);
  space->bytesPerSector = 512;
  space->sectorsPerCluster = 8;
  space->freeClusters = static_cast<DWORD>(freeBytes / 4096);
  space->totalClusters = space->freeClusters + 1000;
  return true;
}

}  // namespace n4test
