#include "bulb/RepeatMemo.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace n4::bulb {

RepeatMemo& RepeatMemo::Begin(DWORD length) {
  thread_local RepeatMemo memo;
  // About one slot per 32 input bytes: marks come every eighth coding step,
  // and steps every few bytes.
  const int bits = std::clamp(static_cast<int>(std::bit_width(length / 32)), 8, 16);
  const size_t slots = size_t{1} << bits;
  if (memo.slots_.size() < slots) {
    memo.slots_.assign(slots, Slot{0, 0});
    memo.stamp_ = 0;
  }
  if (++memo.stamp_ == 0) {
    std::fill(memo.slots_.begin(), memo.slots_.end(), Slot{0, 0});
    memo.stamp_ = 1;
  }
  // Sampled hashes all have their top three bits clear; the slot comes from
  // the bits below them.
  memo.shift_ = 59 - bits;
  memo.marks_.clear();
  return memo;
}

DWORD RepeatMemo::Record(std::uint64_t hash, const CodeMark& mark) {
  const size_t mask = (size_t{1} << (59 - shift_)) - 1;
  Slot& slot = slots_[static_cast<size_t>(hash >> shift_) & mask];
  const DWORD before = slot.stamp == stamp_ ? slot.mark : kNone;
  slot = Slot{stamp_, static_cast<std::uint32_t>(marks_.size())};
  marks_.push_back(mark);
  return before;
}

DWORD ReplayableMarks(const RepeatMemo& memo, DWORD from, DWORD lead, const BYTE* base, DWORD distance, DWORD end) {
  DWORD checked = memo[from].in - lead;
  DWORD last = from;
  for (DWORD k = from + 1; k < memo.size(); ++k) {
    const DWORD upto = memo[k].in;
    if (std::uint64_t{upto} + distance > end) break;
    if (std::memcmp(base + checked, base + checked + distance, upto - checked) != 0) break;
    checked = upto;
    last = k;
  }
  return last;
}

}  // namespace n4::bulb
