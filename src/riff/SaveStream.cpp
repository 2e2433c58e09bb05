#include "riff/SaveStream.h"

#include <algorithm>
#include <cstring>

namespace n4 {

bool SaveStream::Append(const std::byte* data, std::size_t size) {
  return EndRun() && StageBytes(data, 0, size, false);
}

bool SaveStream::StageBytes(const std::byte* data, std::uint64_t offset, std::size_t size, bool fromSource) {
  while (size > 0) {
    // Less than a block is ever staged here: a full one goes out at once.
    const std::size_t part = std::min(size, kBlock - used_);
    if (used_ == 0 && part == kBlock && !fromSource) {
      // A whole block of bytes already in memory goes out as it is.
      if (!WriteOut(data, part)) return false;
    } else {
      // Left uninitialised: a small file touches, and pays for, only the
      // pages it fills.
      if (!stage_) stage_ = std::make_unique_for_overwrite<std::byte[]>(kBlock);
      std::byte* to = stage_.get() + used_;
      if (fromSource) {
        if (!source_->Read(offset, to, part, err_)) return false;
      } else {
        std::memcpy(to, data, part);
      }
      used_ += part;
      if (used_ == kBlock) {
        if (!WriteOut(stage_.get(), kBlock)) return false;
        used_ = 0;
      }
    }
    data += part;
    offset += part;
    size -= part;
  }
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
  if (source_) {
    const auto start = reinterpret_cast<std::uintptr_t>(source_->data());
    const auto at = reinterpret_cast<std::uintptr_t>(run);
    // Read from the source's file a block at a time, and
    // no page of the view faulted in.
    if (at >= start && source_->Holds(at - start, size)) return StageBytes(run, at - start, size, true);
  }
  return StageBytes(run, 0, size, false);
}

bool SaveStream::WriteOut(const std::byte* data, std::size_t size) {
  if (!file_->WriteAt(written_, data, size, err_)) return false;
  // The save syncs the file before it replaces the original: the disk
  // writes of each block start as it goes out, instead of all at the sync.
  file_->StartWriteback(written_, size);
  written_ += size;
  return true;
}

bool SaveStream::Flush() {
  if (!EndRun()) return false;
  if (used_ == 0) return true;
  if (!WriteOut(stage_.get(), used_)) return false;
  used_ = 0;
  return true;
}

}  // namespace n4
