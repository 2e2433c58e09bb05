// Methods 2, 3 and 4: most-frequent-value bit packing.
//
// A bulb byte that is one of the chosen values costs 1 + log2(values) bits,
// any other byte 9. Planar frames are mostly background and strokes of one
// value, so blocks of 16 equal bytes are counted and coded in one step.
#include <algorithm>
#include <bit>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "bulb/ByteScan.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

int IndexBits(int values) { return values == 4 ? 2 : values == 2 ? 1 : 0; }

bool ValidValueCount(int values) { return values == 4 || values == 2 || values == 1; }

// Most significant bit first. Codes gather in a 64-bit accumulator; while
// the destination has room, every step stores eight bytes and keeps the
// partly filled one, so no step branches on how many bits it holds. Near the
// end of the destination whole bytes are written one by one, checked.
class BitWriter {
 public:
  // Room for one Step of up to 4 x 16 bytes coded at 9 bits plus the store.
  static constexpr std::ptrdiff_t kStepRoom = 4 * 18 + 8;

  BitWriter(BYTE* dst, DWORD capacity) : p_(dst), end_(dst + capacity) {}

  bool Roomy() const { return end_ - p_ >= kStepRoom; }
  // REQUIRES: Roomy() before the step's first Put, 1 <= bits <= 56.
  void PutFast(std::uint64_t code, int bits) {
    acc_ = (acc_ << bits) | code;
    held_ += bits;
    const std::uint64_t top = acc_ << (64 - held_);
    BYTE bytes[8];
    for (int b = 0; b < 8; ++b) bytes[b] = static_cast<BYTE>(top >> (56 - 8 * b));
    std::memcpy(p_, bytes, 8);
    p_ += held_ >> 3;
    held_ &= 7;
  }
  // REQUIRES: bits <= 56.
  void Put(std::uint64_t code, int bits) {
    acc_ = (acc_ << bits) | code;
    held_ += bits;
    while (held_ >= 8) {
      if (p_ == end_) {
        overflow_ = true;
        held_ = 0;
        return;
      }
      held_ -= 8;
      *p_++ = static_cast<BYTE>(acc_ >> held_);
    }
  }
  bool overflow() const { return overflow_; }

  // Writes the bits held plus one more byte: the stored length has always
  // counted the partly filled byte, even when it is empty. Returns the bytes
  // written in all, or 0 on overflow.
  DWORD Finish(const BYTE* start) {
    if (overflow_ || p_ == end_) return 0;
    *p_++ = static_cast<BYTE>(acc_ << (8 - held_));
    return static_cast<DWORD>(p_ - start);
  }

 private:
  BYTE* p_;
  BYTE* end_;
  std::uint64_t acc_ = 0;
  int held_ = 0;
  bool overflow_ = false;
};

class BitReader {
 public:
  BitReader(const BYTE* p, const BYTE* end) : p_(p), end_(end) {}
  // Tops up to at least 57 bits while input lasts.
  void Refill() {
    while (held_ <= 56 && p_ < end_) {
      buf_ |= std::uint64_t{*p_++} << (56 - held_);
      held_ += 8;
    }
  }
  int held() const { return held_; }
  std::uint32_t Peek(int bits) const { return static_cast<std::uint32_t>(buf_ >> (64 - bits)); }
  void Skip(int bits) {
    buf_ <<= bits;
    held_ -= bits;
  }

 private:
  const BYTE* p_;
  const BYTE* end_;
  std::uint64_t buf_ = 0;
  int held_ = 0;
};

}  // namespace

void CountBytes(const BYTE* src, DWORD length, DWORD* histogram) {
  // Four tables avoid the store-to-load stall of runs of one value; blocks of
  // one value, most of a sign frame, are counted whole.
  DWORD partial[4][256] = {};
  DWORD i = 0;
  for (; length - i >= 16; i += 16) {
    const BYTE* p = src + i;
    if (All16(p, p[0])) {
      partial[0][p[0]] += 16;
      continue;
    }
    for (int k = 0; k < 16; k += 4) {
      ++partial[0][p[k]];
      ++partial[1][p[k + 1]];
      ++partial[2][p[k + 2]];
      ++partial[3][p[k + 3]];
    }
  }
  for (; i < length; ++i) ++partial[0][src[i]];
  for (int v = 0; v < 256; ++v) histogram[v] = partial[0][v] + partial[1][v] + partial[2][v] + partial[3][v];
}

void TopValues(const DWORD* histogram, int count, BYTE* values) {
  bool taken[256] = {};
  for (int k = 0; k < count; ++k) {
    int best = -1;
    for (int v = 0; v < 256; ++v) {
      if (!taken[v] && (best < 0 || histogram[v] > histogram[best])) best = v;
    }
    taken[best] = true;
    values[k] = static_cast<BYTE>(best);
  }
}

DWORD EncodeTop(int values, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, const DWORD* histogram) {
  if (!ValidValueCount(values)) return 0;
  const DWORD header = 4 + static_cast<DWORD>(values);
  if (capacity <= header) return 0;
  DWORD counted[256];
  if (!histogram) {
    CountBytes(src, length, counted);
    histogram = counted;
  }
  BYTE chosen[4];
  TopValues(histogram, values, chosen);

  const int indexBits = IndexBits(values);
  const int shortCode = 1 + indexBits;
  // Each value's code in the high bits and its length in the low byte.
  std::uint32_t table[256];
  for (int v = 0; v < 256; ++v) table[v] = static_cast<std::uint32_t>(((0x100 | v) << 8) | 9);
  // Sixteen copies of a chosen value's code, for blocks of one value.
  std::uint64_t block[4] = {};
  for (int k = values - 1; k >= 0; --k) {
    table[chosen[k]] = static_cast<std::uint32_t>((k << 8) | shortCode);
    for (int copy = 0; copy < 16; ++copy) block[k] = (block[k] << shortCode) | static_cast<std::uint64_t>(k);
  }
  const int blockBits = 16 * shortCode;

  WriteLE32(dst, length);
  std::memcpy(dst + 4, chosen, static_cast<size_t>(values));
  BitWriter out(dst + header, capacity - header);
  DWORD i = 0;
  for (; length - i >= 16 && out.Roomy(); i += 16) {
    const BYTE* p = src + i;
    const std::uint32_t first = table[p[0]];
    if ((first & 0xFF) != 9 && All16(p, p[0])) {
      out.PutFast(block[first >> 8], blockBits);
      continue;
    }
    for (int k = 0; k < 16; k += 4) {
      const std::uint32_t a = table[p[k]], b = table[p[k + 1]], c = table[p[k + 2]], d = table[p[k + 3]];
      std::uint64_t code = a >> 8;
      code = (code << (b & 0xFF)) | (b >> 8);
      code = (code << (c & 0xFF)) | (c >> 8);
      code = (code << (d & 0xFF)) | (d >> 8);
      out.PutFast(code, static_cast<int>((a & 0xFF) + (b & 0xFF) + (c & 0xFF) + (d & 0xFF)));
    }
  }
  for (; i < length && !out.overflow(); ++i) {
    const std::uint32_t e = table[src[i]];
    out.Put(e >> 8, static_cast<int>(e & 0xFF));
  }
  const DWORD written = out.Finish(dst + header);
  return written == 0 ? 0 : header + written;
}

DWORD DecodeTop(int values, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (!ValidValueCount(values)) return 0;
  const DWORD header = 4 + static_cast<DWORD>(values);
  if (length < header) return 0;
  const DWORD count = ReadLE32(src);
  const BYTE* chosen = src + 4;
  const int indexBits = IndexBits(values);
  const int shortCode = 1 + indexBits;
  // Values are written while the number written is <= count: one past it,
  // as the original decoder did into its slack bytes.
  const std::uint64_t limit = std::min<std::uint64_t>(std::uint64_t{count} + 1, capacity);

  BitReader in(src + header, src + length);
  std::uint64_t out = 0;
  while (out < limit) {
    in.Refill();
    if (in.held() >= 8 * shortCode && limit - out >= 8 && in.Peek(8 * shortCode) == 0) {
      std::memset(dst + out, chosen[0], 8);
      out += 8;
      in.Skip(8 * shortCode);
      continue;
    }
    if (in.held() == 0) break;
    if (in.Peek(1) == 0) {
      if (in.held() < shortCode) break;
      const std::uint32_t index = indexBits ? in.Peek(shortCode) & ((1u << indexBits) - 1) : 0;
      dst[out++] = chosen[index];
      in.Skip(shortCode);
    } else {
      if (in.held() < 9) break;
      dst[out++] = static_cast<BYTE>(in.Peek(9));
      in.Skip(9);
    }
  }
  return static_cast<DWORD>(std::min<std::uint64_t>(out, count));
}

TopEstimates EstimateTop(const DWORD* counts, std::int64_t n, std::int64_t k) {
  const auto ceil8 = [](std::int64_t bits) { return bits >= 0 ? (bits + 7) / 8 : -((-bits) / 8); };
  const std::int64_t c1 = counts[0], c2 = counts[1], c3 = counts[2], c4 = counts[3];
  return {ceil8(9 * n - 6 * (c1 + c2 + c3 + c4)) + k, ceil8(9 * n - 7 * (c1 + c2)) + 6, ceil8(9 * n - 8 * c1) + 5};
}

int ChooseBitPacking(const DWORD* histogram, DWORD n, int rleMethod, DWORD rleSize) {
  BYTE values[4];
  TopValues(histogram, 4, values);
  const DWORD counts[4] = {histogram[values[0]], histogram[values[1]], histogram[values[2]], histogram[values[3]]};
  if (rleMethod != N4_BULB_COMPRESS_RLE) {
    const std::int64_t raw = n;
    const TopEstimates t = EstimateTop(counts, raw, 4);
    if (t.top4 < t.top1 && t.top4 < t.top2 && t.top4 < raw) return N4_BULB_COMPRESS_TOP4;
    if (t.top2 < t.top1 && t.top2 < raw) return N4_BULB_COMPRESS_TOP2;
    if (t.top1 < raw) return N4_BULB_COMPRESS_TOP1;
    return N4_BULB_COMPRESS_NONE;
  }
  // The run-length histogram skipped the first byte; its own total stands in
  // for the length, as it always has.
  std::int64_t total = 0;
  for (int v = 0; v < 256; ++v) total += histogram[v];
  const std::int64_t rle = rleSize;
  const TopEstimates t = EstimateTop(counts, total, 8);
  if (t.top4 < t.top1 && t.top4 < t.top2 && t.top4 < rle && t.top4 < total) return N4_BULB_COMPRESS_TOP4;
  if (t.top2 < t.top1 && t.top2 < rle && t.top2 < total) return N4_BULB_COMPRESS_TOP2;
  if (t.top1 < rle && t.top1 < total) return N4_BULB_COMPRESS_TOP1;
  return N4_BULB_COMPRESS_RLE;
}

}  // namespace n4::bulb

namespace {
const BYTE* In(const void* p) { return static_cast<const BYTE*>(p); }
BYTE* Out(void* p) { return static_cast<BYTE*>(p); }
// The historical decoders wrote one value past the count into 4 bytes of slack.
DWORD SlackCapacity(const void* src, DWORD length) {
  const DWORD count = n4::StreamCount(src, length);
  return count > 0xFFFFFFFFu - 4 ? 0xFFFFFFFFu : count + 4;
}
}  // namespace

DWORD CN4BulbData::CompressTop4(const void* src, void* dst, DWORD length, const DWORD* histogram) {
  return n4::bulb::EncodeTop(4, In(src), length, Out(dst), n4::CompressBound(length), histogram);
}
DWORD CN4BulbData::CompressTop2(const void* src, void* dst, DWORD length, const DWORD* histogram) {
  return n4::bulb::EncodeTop(2, In(src), length, Out(dst), n4::CompressBound(length), histogram);
}
DWORD CN4BulbData::CompressTop1(const void* src, void* dst, DWORD length, const DWORD* histogram) {
  return n4::bulb::EncodeTop(1, In(src), length, Out(dst), n4::CompressBound(length), histogram);
}
DWORD CN4BulbData::DecompressTop4(const void* src, void* dst, DWORD length) {
  return DecompressTop4(src, dst, length, SlackCapacity(src, length));
}
DWORD CN4BulbData::DecompressTop4(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeTop(4, In(src), length, Out(dst), capacity);
}
DWORD CN4BulbData::DecompressTop2(const void* src, void* dst, DWORD length) {
  return DecompressTop2(src, dst, length, SlackCapacity(src, length));
}
DWORD CN4BulbData::DecompressTop2(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeTop(2, In(src), length, Out(dst), capacity);
}
DWORD CN4BulbData::DecompressTop1(const void* src, void* dst, DWORD length) {
  return DecompressTop1(src, dst, length, SlackCapacity(src, length));
}
DWORD CN4BulbData::DecompressTop1(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeTop(1, In(src), length, Out(dst), capacity);
}
