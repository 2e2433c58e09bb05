// The saved file written front to back through a staging buffer, in whole
// runs: records are copied into the buffer and the buffer is written at the
// file's end when it fills. Writing the system's cache this way costs one
// copy per byte; writing through a fresh mapping costs a page fault and the
// zeroing of every page besides.
//
// Thread safety: one object belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/Env.h"

namespace n4 {

class SaveStream {
 public:
  // `source`, when given, is the view in-place runs lie in: they go from its
  // file to this one without passing through memory where the system can.
  SaveStream(FileHandle* file, SysError* err, const MappedView* source = nullptr)
      : file_(file), err_(err), source_(source) {}

  // Zeroed room for `bytes` at the end of the stream, after writing out what
  // is staged when the buffer lacks room; null when that write failed.
  // REQUIRES: Commit before the next Reserve or Append.
  std::byte* Reserve(std::size_t bytes);
  // The reserved bytes up to `end` belong to the stream.
  void Commit(const std::byte* end);
  bool Append(const std::byte* data, std::size_t size);
  // As Append, for bytes that stay in place until Flush (a mapped file):
  // records that lie side by side join into one run, and a run of some size
  // is written from where it lies (from file to file when it lies in the
  // source view) without a copy into the buffer.
  bool AppendInPlace(const std::byte* data, std::size_t size);
  // Writes out what is staged.
  bool Flush();
  // Bytes in the stream so far, written out or staged.
  std::uint64_t Length() const { return written_ + used_ + runSize_; }

 private:
  static constexpr std::size_t kRun = 4u << 20;
  // Below this a copy into the buffer is cheaper than a write of its own.
  static constexpr std::size_t kInPlaceAtLeast = 16u << 10;

  // Appends to the buffer (or writes at once what would fill it).
  bool Stage(const std::byte* data, std::size_t size);
  // Stages a short run, or writes a long one after what is staged.
  bool EndRun();
  bool WriteRun(const std::byte* run, std::size_t size);
  // Counts size bytes written at the stream's end.
  void Written(std::size_t size);
  // After a flush: room for at least `bytes`.
  void Grow(std::size_t bytes);

  FileHandle* file_;
  SysError* err_;
  const MappedView* source_;
  std::unique_ptr<std::byte[]> stage_;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;
  // Where the bytes whose disk writes have not been started begin.
  std::uint64_t writebackFrom_ = 0;
  // A run of in-place bytes after the staged ones, neither staged nor written.
  const std::byte* run_ = nullptr;
  std::size_t runSize_ = 0;
};

}  // namespace n4
