// Method 1: byte run-length.
//
// The encoder's run rules are odd but fixed by the files already written: a
// literal that meets a pair of equal bytes closes with the pair's first byte,
// a repeat shorter than 3 joins the literal that follows it, runs are split
// into pieces of 128 as they grow, and a repeat still open at the end is
// written as a repeat whatever its length. The scanning below works eight
// bytes at a time, because sign frames are mostly long runs.
#include <algorithm>
#include <bit>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

inline std::uint64_t Load64(const BYTE* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// First index in [i, end) whose byte differs from v, or end.
inline DWORD RepeatEnd(const BYTE* src, DWORD i, DWORD end, BYTE v) {
  if constexpr (kLittleEndian) {
    const std::uint64_t pattern = 0x0101010101010101ull * v;
    while (end - i >= 8) {
      const std::uint64_t x = Load64(src + i) ^ pattern;
      if (x != 0) return i + static_cast<DWORD>(std::countr_zero(x) >> 3);
      i += 8;
    }
  }
  while (i < end && src[i] == v) ++i;
  return i;
}

// First index k in [i, end) with src[k] == src[k - 1], or end. REQUIRES i >= 1.
inline DWORD PairStart(const BYTE* src, DWORD i, DWORD end) {
  if constexpr (kLittleEndian) {
    constexpr std::uint64_t kLow = 0x0101010101010101ull;
    constexpr std::uint64_t kHigh = 0x8080808080808080ull;
    while (end - i >= 8) {
      const std::uint64_t x = Load64(src + i) ^ Load64(src + i - 1);
      // The lowest flagged byte is exact; only bytes above a zero can be
      // flagged falsely.
      const std::uint64_t zero = (x - kLow) & ~x & kHigh;
      if (zero != 0) return i + static_cast<DWORD>(std::countr_zero(zero) >> 3);
      i += 8;
    }
  }
  while (i < end && src[i] != src[i - 1]) ++i;
  return i;
}

inline void Count(const BYTE* p, DWORD n, DWORD* histogram) {
  for (DWORD j = 0; j < n; ++j) ++histogram[p[j]];
}

class Output {
 public:
  Output(BYTE* dst, DWORD capacity) : dst_(dst), capacity_(capacity) {}
  DWORD pos() const { return pos_; }
  void Skip(DWORD n) { pos_ += n; }
  bool Repeat(DWORD run, BYTE v) {
    if (capacity_ - pos_ < 2) return false;
    dst_[pos_++] = static_cast<BYTE>(127 + run);
    dst_[pos_++] = v;
    return true;
  }
  bool Literal(const BYTE* p, DWORD run) {
    if (capacity_ - pos_ < run + 1) return false;
    dst_[pos_++] = static_cast<BYTE>(run - 1);
    std::memcpy(dst_ + pos_, p, run);
    pos_ += run;
    return true;
  }

 private:
  BYTE* dst_;
  DWORD capacity_;
  DWORD pos_ = 0;
};

}  // namespace

DWORD StoreRaw(const BYTE* src, DWORD length, BYTE* dst, int* method) {
  if (length != 0) std::memmove(dst, src, length);
  if (method) *method = N4_BULB_COMPRESS_NONE;
  return length;
}

DWORD EncodeRle(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, DWORD* histogram, int* method) {
  if (histogram) std::fill(histogram, histogram + 256, 0u);
  if (capacity < 4) return StoreRaw(src, length, dst, method);
  WriteLE32(dst, length);
  Output out(dst, capacity);
  out.Skip(4);

  // The current run ends just before index i: a literal of `run` bytes (one
  // byte alone may still become a repeat) or a repeat of src[i - 1] with
  // `run` copies not yet written.
  bool repeat = false;
  DWORD run = length != 0 ? 1 : 0;
  DWORD i = 1;
  while (i < length) {
    if (repeat) {
      const BYTE v = src[i - 1];
      const DWORD j = RepeatEnd(src, i, length, v);
      if (histogram) histogram[v] += j - i;
      const DWORD total = run + (j - i);
      for (DWORD piece = 0; piece < total / 128; ++piece) {
        if (!out.Repeat(128, v)) return StoreRaw(src, length, dst, method);
      }
      run = total % 128;
      i = j;
      if (i == length) break;
      if (histogram) ++histogram[src[i]];
      if (run >= 3) {
        if (!out.Repeat(run, v)) return StoreRaw(src, length, dst, method);
        run = 0;
      }
      repeat = false;
      ++run;
      ++i;
      if (std::int64_t{out.pos()} + run + 1 > std::int64_t{length}) return StoreRaw(src, length, dst, method);
      continue;
    }

    const DWORD pair = PairStart(src, i, length);
    while (i < pair) {
      const DWORD grow = std::min<DWORD>(128 - run, pair - i);
      // The size check runs after every byte added to a literal; it first
      // fails at the run length that makes the output longer than the input.
      const std::int64_t failing = std::max<std::int64_t>(std::int64_t{length} - out.pos(), run + 1);
      if (failing <= std::int64_t{run} + grow) {
        if (histogram) Count(src + i, static_cast<DWORD>(failing - run), histogram);
        return StoreRaw(src, length, dst, method);
      }
      if (histogram) Count(src + i, grow, histogram);
      run += grow;
      i += grow;
      if (run == 128) {
        if (!out.Literal(src + i - 128, 128)) return StoreRaw(src, length, dst, method);
        run = 0;
      }
    }
    if (i == length) break;
    // src[i] repeats src[i - 1]: a literal of two or more closes with the
    // pair's first byte and the repeat starts at its second.
    if (histogram) ++histogram[src[i]];
    if (run >= 2) {
      if (!out.Literal(src + i - run, run)) return StoreRaw(src, length, dst, method);
      run = 1;
    } else {
      ++run;
    }
    repeat = true;
    ++i;
  }

  if (run != 0) {
    const bool ok = repeat ? out.Repeat(run, src[length - 1]) : out.Literal(src + length - run, run);
    if (!ok) return StoreRaw(src, length, dst, method);
  }
  if (method) *method = N4_BULB_COMPRESS_RLE;
  return out.pos();
}

DWORD DecodeRle(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (length < 5) return 0;
  const DWORD limit = std::min<DWORD>(ReadLE32(src), capacity);
  DWORD in = 4;
  DWORD out = 0;
  while (out < limit && in < length) {
    const BYTE c = src[in++];
    if (c <= 127) {
      const DWORD available = std::min(DWORD{c} + 1, length - in);
      const DWORD n = std::min(available, limit - out);
      std::memcpy(dst + out, src + in, n);
      out += n;
      in += available;
    } else {
      if (in >= length) break;
      const DWORD n = std::min(DWORD{c} - 127, limit - out);
      std::memset(dst + out, src[in++], n);
      out += n;
    }
  }
  return out;
}

}  // namespace n4::bulb

DWORD n4::StreamCount(const void* src, DWORD length) { return src && length >= 4 ? ReadLE32(src) : 0; }

DWORD CN4BulbData::CompressRLE(const void* src, void* dst, DWORD length, DWORD* histogram, int* method) {
  return n4::bulb::EncodeRle(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst),
                             n4::CompressBound(length), histogram, method);
}

DWORD CN4BulbData::DecompressRLE(const void* src, void* dst, DWORD length) {
  return DecompressRLE(src, dst, length, n4::StreamCount(src, length));
}

DWORD CN4BulbData::DecompressRLE(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeRle(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst), capacity);
}
