// Lets a coder skip stretches of its input that repeat an earlier stretch.
//
// Sign frames repeat themselves: text drawn at a large size repeats each
// pixel row many times, and full-brightness content makes several bit planes
// identical. A coder whose output from some point depends only on a small
// state and on the bytes it reads from there on (the run-length coders at a
// token edge) produces the same bytes again when it meets the same input in
// the same state. So it notes "marks" as it goes (how far it had read, how
// far it had written, its state), filed by the eight bytes that follow each
// one, and on meeting those bytes again copies what it wrote then instead of
// coding the stretch anew. The output is byte for byte what coding would give.
//
// Marks are taken at about one coding step in eight, chosen by the bytes that
// follow the step (Sampled, or the coder's own cheaper test), so both copies
// of a repeat are marked at the same places while the bookkeeping stays off
// most steps.
//
// Thread safety: each thread has its own memo; a coder uses it for one call.
#pragma once

#include <cstdint>
#include <vector>

#include "n4file/Types.h"

namespace n4::bulb {

struct CodeMark {
  DWORD in;     // bytes read
  DWORD out;    // bytes written
  DWORD state;  // the coder's own state at this point
};

class RepeatMemo {
 public:
  static constexpr DWORD kNone = 0xFFFFFFFFu;
  // Inputs shorter than this gain nothing worth the bookkeeping.
  static constexpr DWORD kMinLength = 1024;

  // The calling thread's memo, emptied for a pass over `length` bytes. The
  // tables are kept between calls; a stamp tells stale entries apart, so no
  // call clears or allocates once the thread has seen its largest frame.
  static RepeatMemo& Begin(DWORD length);

  static std::uint64_t Hash(std::uint64_t key) { return key * 0x9E3779B97F4A7C15ull; }
  static bool Sampled(std::uint64_t hash) { return (hash >> 59) == 0; }

  // Files `mark` under `hash` and returns the mark filed there before it in
  // this pass, or kNone. REQUIRES: marks are added in increasing `in`.
  DWORD Record(std::uint64_t hash, const CodeMark& mark);

  const CodeMark& operator[](DWORD index) const { return marks_[index]; }
  DWORD size() const { return static_cast<DWORD>(marks_.size()); }

 private:
  struct Slot {
    std::uint32_t stamp;
    std::uint32_t mark;
  };
  std::vector<Slot> slots_;
  std::vector<CodeMark> marks_;
  std::uint32_t stamp_ = 0;
  int shift_ = 64;
};

// How far the marks after `from` can be replayed at `here`: the last mark
// `last` such that the bytes at base + [marks[from].in - lead, marks[last].in)
// equal those `distance` bytes further on, without passing `end`. Checked
// mark to mark, so the cost follows the length replayed. Returns `from` when
// not even the next mark can be replayed.
DWORD ReplayableMarks(const RepeatMemo& memo, DWORD from, DWORD lead, const BYTE* base, DWORD distance, DWORD end);

}  // namespace n4::bulb
