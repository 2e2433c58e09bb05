// The file under an archive.
//
// Loading reads the whole file when it is opened; the archive then takes its
// bytes through its own buffer. Storing collects the bytes and Commit replaces
// the file atomically (written beside it, synced, renamed over it), so a
// failed or interrupted save leaves the previous file whole. This class is the
// one place that knows how archive files reach the disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Errors.h"

namespace n4 {

class ArchiveFile {
 public:
  // Loading: reads path whole. False (err filled) when it cannot be read.
  bool OpenForLoading(const std::string& path, SysError* err);
  // Loading from bytes already in memory (tests, fuzzing); name is used in
  // error messages only.
  void OpenBytes(std::string bytes, std::string name = {});
  // Storing: nothing reaches path before Commit.
  void OpenForStoring(const std::string& path);

  // Copies up to count bytes; fewer at the end of the file.
  std::size_t Read(void* buffer, std::size_t count);
  std::uint64_t BytesLeft() const { return data_.size() - position_; }

  void Write(const void* data, std::size_t count);
  // Replaces the file with everything written. False (err filled) on failure,
  // the previous file then unchanged.
  bool Commit(SysError* err);

  const std::string& GetFilePath() const { return path_; }
  // Storing: the bytes written so far.
  const std::string& Bytes() const { return data_; }

 private:
  std::string path_;
  std::string data_;
  std::size_t position_ = 0;
};

}  // namespace n4
