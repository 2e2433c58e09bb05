#include "support/FaultEnv.h"

namespace n4test {

namespace {

// Fails growth beyond the environment's limit; everything else is the real view.
class FaultMappedView final : public n4::MappedView {
 public:
  FaultMappedView(std::unique_ptr<n4::MappedView> target, FaultEnv* env) : target_(std::move(target)), env_(env) {
    Sync();
  }
  bool Flush(n4::SysError* err) override { return target_->Flush(err); }
  bool Grow(std::uint64_t newSize, n4::SysError* err) override {
    if (env_->failMapAbove && newSize > env_->failMapAbove) return n4::Fail(err, env_->mapFailure);
    bool ok = target_->Grow(newSize, err);
    Sync();
    return ok;
  }
  void Populate(std::uint64_t offset, std::uint64_t length, bool forWrite) override {
    target_->Populate(offset, length, forWrite);
  }

 private:
  void Sync() {
    data_ = target_->data();
    size_ = target_->size();
  }
  std::unique_ptr<n4::MappedView> target_;
  FaultEnv* env_;
};

class FaultFileHandle final : public n4::FileHandle {
 public:
  FaultFileHandle(std::unique_ptr<n4::FileHandle> target, FaultEnv* env) : target_(std::move(target)), env_(env) {}
  bool GetSize(std::uint64_t* size, n4::SysError* err) override { return target_->GetSize(size, err); }
  bool SetLength(std::uint64_t length, n4::SysError* err) override { return target_->SetLength(length, err); }
  std::unique_ptr<n4::MappedView> Map(std::uint64_t size, bool writable, n4::SysError* err) override {
    if (writable && env_->failMapAbove && size > env_->failMapAbove) {
      n4::Fail(err, env_->mapFailure);
      return nullptr;
    }
    auto view = target_->Map(size, writable, err);
    if (!view) return nullptr;
    return std::make_unique<FaultMappedView>(std::move(view), env_);
  }
  bool GetInformation(BY_HANDLE_FILE_INFORMATION* info, n4::SysError* err) override {
    return target_->GetInformation(info, err);
  }
  bool Sync(n4::SysError* err) override { return target_->Sync(err); }
  void MarkMapped() override { target_->MarkMapped(); }

 private:
  std::unique_ptr<n4::FileHandle> target_;
  FaultEnv* env_;
};

}  // namespace

std::unique_ptr<n4::FileHandle> FaultEnv::OpenFile(const std::string& path, n4::FileAccess access,
                                                   n4::FileShare share, n4::FileDisposition disposition,
                                                   n4::SysError* err) {
  auto handle = target()->OpenFile(path, access, share, disposition, err);
  if (!handle) return nullptr;
  return std::make_unique<FaultFileHandle>(std::move(handle), this);
}

bool FaultEnv::GetTempDirectory(std::string* dir, n4::SysError* err) {
  if (tempDir.empty()) return target()->GetTempDirectory(dir, err);
  *dir = tempDir;
  return true;
}

bool FaultEnv::ReplaceFile(const std::string& from, const std::string& to, n4::SysError* err) {
  ++replaceCalls;
  if (replaceFailure) return n4::Fail(err, replaceFailure);
  return target()->ReplaceFile(from, to, err);
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
