// An Env whose random-access files find the disk full: write calls past the
// first `allowed` fail. Shared by the tests of the files written in place.
#pragma once

#include <memory>
#include <string>

#include "platform/Env.h"
#include "platform/RandomAccessFile.h"

namespace n4test {

class FullDiskEnv : public n4::EnvWrapper {
 public:
  explicit FullDiskEnv(int allowed = 0) : EnvWrapper(n4::Env::Default()), allowed_(allowed) {}
  std::unique_ptr<n4::RandomAccessFile> OpenRandomAccessFile(const std::string& path, n4::RandomAccessMode mode,
                                                             n4::FileShare share, n4::SysError* err) override {
    auto file = target()->OpenRandomAccessFile(path, mode, share, err);
    if (!file) return nullptr;
    return std::make_unique<File>(std::move(file), &allowed_);
  }

 private:
  class File final : public n4::RandomAccessFile {
   public:
    File(std::unique_ptr<n4::RandomAccessFile> target, int* allowed) : target_(std::move(target)), allowed_(allowed) {}
    bool Seek(std::int64_t offset, n4::SeekFrom from, std::uint64_t* position, n4::SysError* err) override {
      return target_->Seek(offset, from, position, err);
    }
    bool Read(void* buffer, std::size_t size, std::size_t* bytesRead, n4::SysError* err) override {
      return target_->Read(buffer, size, bytesRead, err);
    }
    bool Write(const void* data, std::size_t size, n4::SysError* err) override {
      if ((*allowed_)-- <= 0) return n4::Fail(err, n4::kErrDiskFull);
      return target_->Write(data, size, err);
    }
    bool SetEndOfFile(n4::SysError* err) override { return target_->SetEndOfFile(err); }
    bool GetLength(std::uint64_t* length, n4::SysError* err) override { return target_->GetLength(length, err); }
    bool Close(n4::SysError* err) override { return target_->Close(err); }

   private:
    std::unique_ptr<n4::RandomAccessFile> target_;
    int* allowed_;
  };
  int allowed_;
};

}  // namespace n4test
