#include "archive/ArchiveFile.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/Env.h"

namespace n4 {

bool ArchiveFile::OpenForLoading(const std::string& path, SysError* err) {
  path_ = path;
  position_ = 0;
  data_.clear();
  return Env::Default()->ReadWholeFile(path, &data_, err);
}

void ArchiveFile::OpenBytes(std::string bytes, std::string name) {
  path_ = std::move(name);
  data_ = std::move(bytes);
  position_ = 0;
}

void ArchiveFile::OpenForStoring(const std::string& path) {
  path_ = path;
  data_.clear();
  position_ = 0;
}

std::size_t ArchiveFile::Read(void* buffer, std::size_t count) {
  const std::size_t n = std::min<std::size_t>(count, data_.size() - position_);
  if (n) std::memcpy(buffer, data_.data() + position_, n);
  position_ += n;
  return n;
}

void ArchiveFile::Write(const void* data, std::size_t count) {
  data_.append(static_cast<const char*>(data), count);
}

bool ArchiveFile::Commit(SysError* err) { return Env::Default()->WriteFileAtomic(path_, data_, err); }

}  // namespace n4
