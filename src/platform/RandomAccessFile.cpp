#include "platform/RandomAccessFile.h"

namespace n4 {

std::unique_ptr<RandomAccessFile> Env::OpenRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                            FileShare share, SysError* err) {
  return OpenPlatformRandomAccessFile(path, mode, share, err);
}

// Defined here rather than in the header, where RandomAccessFile is incomplete.
std::unique_ptr<RandomAccessFile> EnvWrapper::OpenRandomAccessFile(const std::string& path, RandomAccessMode mode,
                                                                   FileShare share, SysError* err) {
  return target_->OpenRandomAccessFile(path, mode, share, err);
}

}  // namespace n4
