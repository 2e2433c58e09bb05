// The saved file written front to back through a staging buffer, in whole
// 4 MiB blocks at 4 MiB boundaries: records are copied into the buffer, and
// each block goes out with one positioned write as soon as it is full.
// Writing the system's cache this way costs one copy per byte; writing
// through a fresh mapping costs a page fault and the zeroing of every page
// besides. Whole aligned writes also let the system keep the new file in
// large pages, which a reader (a player maps the file) maps at a fraction of
// the cost of small ones; writes of odd sizes at odd offsets do not.
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
  // `source`, when given, is the view in-place records lie in: they are read
  // from its file, so that no page of the view is faulted in.
  SaveStream(FileHandle* file, SysError* err, const MappedView* source = nullptr)
      : file_(file), err_(err), source_(source) {}

  bool Append(const std::byte* data, std::size_t size);
  // As Append, for bytes that stay in place until Flush (a mapped file):
  // records that lie side by side join into one run, copied in one go.
  bool AppendInPlace(const std::byte* data, std::size_t size);
  // Writes out everything, the last block short.
  bool Flush();
  // Bytes in the stream so far, written out or staged.
  std::uint64_t Length() const { return written_ + used_ + runSize_; }

 private:
  static constexpr std::size_t kBlock = 4u << 20;

  // Stages size bytes at data, or those at offset of the source view when
  // `fromSource`, writing each block as it fills.
  bool StageBytes(const std::byte* data, std::uint64_t offset, std::size_t size, bool fromSource);
  // Stages the pending run.
  bool EndRun();
  bool WriteOut(const std::byte* data, std::size_t size);

  FileHandle* file_;
  SysError* err_;
  const MappedView* source_;
  std::unique_ptr<std::byte[]> stage_;  // one block, once something is staged
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;
  // A run of in-place bytes after the staged ones, not yet staged.
  const std::byte* run_ = nullptr;
  std::size_t runSize_ = 0;
};

}  // namespace n4
