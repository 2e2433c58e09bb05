#include "riff/SaveStream.h"

#include <algorithm>
#include <cstring>

namespace n4 {

std::byte* SaveStream::Reserve(std::size_t bytes) {
  if (!EndRun()) return nullptr;
  if (capacity_ - used_ < bytes) {
    if (!Flush()) return nullptr;
    Grow(bytes);
  }
  std::byte* at = stage_.get() + used_;
  // Records skip their pad bytes: they must read as zero, as in a new file.
  std::memset(at, 0, bytes);
  return at;
}

void SaveStream::Commit(const std::byte* end) { used_ = static_cast<std::size_t>(end - stage_.get()); }

void SaveStream::Grow(std::size_t bytes) {
  if (capacity_ >= bytes) return;
  // Left uninitialised: a small file touches, and pays for, only the pages
  // it fills.
  capacity_ = std::max(bytes, kRun);
  stage_ = std::make_unique_for_overwrite<std::byte[]>(capacity_);
}

bool SaveStream::Append(const std::byte* data, std::size_t size) {
  return EndRun() && Stage(data, size);
}

bool SaveStream::Stage(const std::byte* data, std::size_t size) {
  if (size >= kRun) {
    // Large results go out as they are, without a copy into the buffer.
    if (!Flush() || !file_->WriteAt(written_, data, size, err_)) return false;
    Written(size);
    return true;
  }
  if (capacity_ - used_ < size) {
    if (!Flush()) return false;
    Grow(size);
  }
  std::memcpy(stage_.get() + used_, data, size);
  used_ += size;
  return true;
}

bool SaveStream::AppendInPlace(const std::byte* data, std::size_t size) {
  if (run_ && data == run_ + runSize_) {
    runSize_ += size;
    return true;
  }
  if (!EndRun()) return false;
  run_ = data;
  runSize_ = size;
  return true;
}

bool SaveStream::EndRun() {
  if (!run_) return true;
  const std::byte* run = run_;
  const std::size_t size = runSize_;
  run_ = nullptr;
  runSize_ = 0;
  // A short run costs less copied into the buffer than written on its own.
  if (size < kInPlaceAtLeast) return Stage(run, size);
  // The staged bytes come first.
  if (!Flush()) return false;
  // In parts, so that the disk writes of one overlap the copy of the next.
  for (std::size_t done = 0; done < size;) {
    const std::size_t part = std::min(size - done, kRun);
    if (!WriteRun(run + done, part)) return false;
    Written(part);
    done += part;
  }
  return true;
}

bool SaveStream::WriteRun(const std::byte* run, std::size_t size) {
  if (source_) {
    const auto start = reinterpret_cast<std::uintptr_t>(source_->data());
    const auto at = reinterpret_cast<std::uintptr_t>(run);
    if (at >= start && source_->Holds(at - start, size)) {
      return file_->WriteFromView(written_, *source_, at - start, size, err_);
    }
  }
  return file_->WriteAt(written_, run, size, err_);
}

void SaveStream::Written(std::size_t size) {
  written_ += size;
  // The save syncs the file before it replaces the original: its disk
  // writes start a few MiB at a time as the save goes, instead of all at the
  // end (and not for every small write, which costs more than it saves).
  if (written_ - writebackFrom_ >= kRun) {
    file_->StartWriteback(writebackFrom_, written_ - writebackFrom_);
    writebackFrom_ = written_;
  }
}

bool SaveStream::Flush() {
  if (!EndRun()) return false;
  if (used_ == 0) return true;
  if (!file_->WriteAt(written_, stage_.get(), used_, err_)) return false;
  Written(used_);
  used_ = 0;
  return true;
}

}  // namespace n4
