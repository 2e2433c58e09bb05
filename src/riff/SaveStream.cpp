#include "riff/SaveStream.h"

#include <algorithm>
#include <cstring>

namespace n4 {

std::byte* SaveStream::Reserve(std::size_t bytes) {
  if (!EndRun() || !WriteWholeBlocks()) return nullptr;
  MakeRoom(bytes);
  std::byte* at = stage_.get() + used_;
  // Records skip their pad bytes: they must read as zero, as in a new file.
  std::memset(at, 0, bytes);
  return at;
}

void SaveStream::Commit(const std::byte* end) { used_ = static_cast<std::size_t>(end - stage_.get()); }

void SaveStream::MakeRoom(std::size_t bytes) {
  if (capacity_ - used_ >= bytes) return;
  // Two blocks, so that a record reserved near a block's end seldom needs
  // more. Left uninitialised: a small file touches, and pays for, only the
  // pages it fills.
  const std::size_t capacity = std::max(used_ + bytes, 2 * kBlock);
  auto larger = std::make_unique_for_overwrite<std::byte[]>(capacity);
  if (used_ > 0) std::memcpy(larger.get(), stage_.get(), used_);
  stage_ = std::move(larger);
  capacity_ = capacity;
}

bool SaveStream::Append(const std::byte* data, std::size_t size) {
  return EndRun() && StageBytes(data, 0, size, false);
}

bool SaveStream::StageBytes(const std::byte* data, std::uint64_t offset, std::size_t size, bool fromSource) {
  if (!WriteWholeBlocks()) return false;
  while (size > 0) {
    // Invariant here: less than a block is staged.
    const std::size_t part = std::min(size, kBlock - used_);
    if (used_ == 0 && part == kBlock && !fromSource) {
      // A whole block of bytes already in memory goes out as it is.
      if (!WriteOut(data, part)) return false;
    } else {
      MakeRoom(part);
      std::byte* to = stage_.get() + used_;
      if (fromSource) {
        if (!source_->Read(offset, to, part, err_)) return false;
      } else {
        std::memcpy(to, data, part);
      }
      used_ += part;
      if (!WriteWholeBlocks()) return false;
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
    // Read from the source's file: one system call for the whole run, and
    // no page of the view faulted in.
    if (at >= start && source_->Holds(at - start, size)) return StageBytes(run, at - start, size, true);
  }
  return StageBytes(run, 0, size, false);
}

bool SaveStream::WriteWholeBlocks() {
  if (used_ < kBlock) return true;
  const std::size_t whole = used_ / kBlock * kBlock;
  if (!WriteOut(stage_.get(), whole)) return false;
  used_ -= whole;
  std::memmove(stage_.get(), stage_.get() + whole, used_);
  return true;
}

bool SaveStream::WriteOut(const std::byte* data, std::size_t size) {
  if (!file_->WriteAt(written_, data, size, err_)) return false;
  written_ += size;
  // The save syncs the file before it replaces the original: its disk
  // writes start a block at a time as the save goes, instead of all at the
  // end.
  if (written_ - writebackFrom_ >= kBlock) {
    file_->StartWriteback(writebackFrom_, written_ - writebackFrom_);
    writebackFrom_ = written_;
  }
  return true;
}

bool SaveStream::Flush() {
  if (!EndRun() || !WriteWholeBlocks()) return false;
  if (used_ == 0) return true;
  if (!WriteOut(stage_.get(), used_)) return false;
  used_ = 0;
  return true;
}

}  // namespace n4
