// Method 1: byte run-length.
//
// The encoder's run rules are odd but fixed by the files already written: a
// literal that meets a pair of equal bytes closes with the pair's first byte,
// a repeat shorter than 3 joins the literal that follows it, runs are split
// into pieces of 128 as they grow, and a repeat still open at the end is
// written as a repeat whatever its length.
//
// Sign frames are short literals between runs, thousands of each per frame,
// so the encoder steps from run edge to run edge rather than byte by byte, and
// both directions move literals with fixed 16-byte copies while there is room
// for them; the exact, checked forms take over near either end of a buffer.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "bulb/ByteScan.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

// Room the fast steps of the encoder may write into: a literal's control byte
// and 32 bytes of copy, then a repeat's two bytes.
constexpr DWORD kEncodeSlack = 40;

void CountFrom(const BYTE* src, DWORD first, DWORD end, DWORD* histogram) {
  if (!histogram || end <= first) return;
  DWORD counted[256];
  CountBytes(src + first, end - first, counted);
  for (int v = 0; v < 256; ++v) histogram[v] += counted[v];
}

class Output {
 public:
  Output(BYTE* dst, DWORD capacity) : dst_(dst), capacity_(capacity) {}
  DWORD pos = 0;

  bool Roomy() const { return capacity_ - pos >= kEncodeSlack; }
  bool Repeat(DWORD run, BYTE v) {
    if (capacity_ - pos < 2) return false;
    dst_[pos] = static_cast<BYTE>(127 + run);
    dst_[pos + 1] = v;
    pos += 2;
    return true;
  }
  bool Literal(const BYTE* p, DWORD run) {
    if (capacity_ - pos < run + 1) return false;
    dst_[pos] = static_cast<BYTE>(run - 1);
    std::memcpy(dst_ + pos + 1, p, run);
    pos += run + 1;
    return true;
  }
  // REQUIRES: Roomy(), run <= 32 and 32 readable bytes at p.
  void ShortLiteral(const BYTE* p, DWORD run) {
    dst_[pos] = static_cast<BYTE>(run - 1);
    Copy16(dst_ + pos + 1, p);
    Copy16(dst_ + pos + 17, p + 16);
    pos += run + 1;
  }
  // REQUIRES: Roomy(). Writes the two bytes whether or not they are kept, so
  // that the choice costs no branch.
  void RepeatIf(bool keep, DWORD run, BYTE v) {
    dst_[pos] = static_cast<BYTE>(127 + run);
    dst_[pos + 1] = v;
    pos += keep ? 2 : 0;
  }

 private:
  BYTE* dst_;
  DWORD capacity_;
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
  // The histogram covers every byte scanned: all but the first when encoding
  // succeeds, up to the byte that made a literal too long when it falls back.
  const auto fallBack = [&](DWORD scanned) {
    CountFrom(src, 1, scanned, histogram);
    return StoreRaw(src, length, dst, method);
  };
  WriteLE32(dst, length);
  Output out(dst, capacity);
  out.pos = 4;
  if (length == 0) {
    if (method) *method = N4_BULB_COMPRESS_RLE;
    return out.pos;
  }
  // The literal not yet written is the `run` bytes just before index i; the
  // first byte starts it unchecked.
  DWORD run = 1;
  DWORD i = 1;
  for (;;) {
    // Literal: every byte up to the next pair joins it. Each byte added is
    // checked against the input length, so the first that fails is the one
    // at which the check first exceeds it.
    const DWORD pair = NextEqual(src, i, length);
    if (pair - i < 128 - run && std::uint64_t{out.pos} + run + (pair - i) < length) {
      run += pair - i;
      i = pair;
    } else {
      while (i < pair) {
        const DWORD grow = std::min<DWORD>(128 - run, pair - i);
        const std::int64_t failing = std::max<std::int64_t>(std::int64_t{length} - out.pos, run + 1);
        if (failing <= std::int64_t{run} + grow) return fallBack(i + static_cast<DWORD>(failing - run));
        run += grow;
        i += grow;
        if (run == 128) {
          if (!out.Literal(src + i - 128, 128)) return fallBack(length);
          run = 0;
        }
      }
    }
    if (i == length) {
      if (run != 0 && !out.Literal(src + length - run, run)) return fallBack(length);
      break;
    }

    // src[i] repeats src[i - 1]: a literal of two or more closes with the
    // pair's first byte and the repeat starts at its second.
    const BYTE v = src[i];
    if (run >= 2) {
      if (run <= 32 && length - (i - run) >= 32 && out.Roomy()) {
        out.ShortLiteral(src + i - run, run);
      } else if (!out.Literal(src + i - run, run)) {
        return fallBack(length);
      }
      run = 1;
    } else {
      ++run;
    }

    // Repeat: to the first byte that differs, in pieces of 128.
    const DWORD end = NextDiffer(src, i + 1, length, v);
    run += end - i - 1;
    if (run >= 128) {
      for (DWORD piece = run / 128; piece != 0; --piece) {
        if (!out.Repeat(128, v)) return fallBack(length);
      }
      run %= 128;
    }
    if (end == length) {
      if (run != 0 && !out.Repeat(run, v)) return fallBack(length);
      break;
    }
    // A repeat of 3 or more is written; a shorter one joins the literal that
    // the differing byte starts.
    const bool written = run >= 3;
    if (out.Roomy()) {
      out.RepeatIf(written, run, v);
    } else if (written && !out.Repeat(run, v)) {
      return fallBack(length);
    }
    run = (written ? 0 : run) + 1;
    i = end + 1;
    if (std::uint64_t{out.pos} + run + 1 > length) return fallBack(i);
  }

  CountFrom(src, 1, length, histogram);
  if (method) *method = N4_BULB_COMPRESS_RLE;
  return out.pos;
}

DWORD DecodeRle(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (length < 5) return 0;
  const DWORD limit = std::min<DWORD>(ReadLE32(src), capacity);
  DWORD in = 4;
  DWORD out = 0;
  while (out < limit && in < length) {
    const BYTE c = src[in];
    // While a whole token fits on both sides, runs move in fixed 16-byte
    // steps that may write past the run but never past limit.
    if (length - in >= 33 && limit - out >= 32) {
      if (c <= 127) {
        const DWORD n = DWORD{c} + 1;
        if (n <= 32) {
          Copy16(dst + out, src + in + 1);
          Copy16(dst + out + 16, src + in + 17);
          out += n;
          in += n + 1;
          continue;
        }
        if (length - in >= 129 && limit - out >= 128) {
          for (DWORD k = 0; k < n; k += 16) Copy16(dst + out + k, src + in + 1 + k);
          out += n;
          in += n + 1;
          continue;
        }
      } else {
        const DWORD n = DWORD{c} - 127;
        const BYTE v = src[in + 1];
        if (n <= 32) {
          Fill16(dst + out, v);
          Fill16(dst + out + 16, v);
          out += n;
          in += 2;
          continue;
        }
        if (limit - out >= 128) {
          for (DWORD k = 0; k < n; k += 16) Fill16(dst + out + k, v);
          out += n;
          in += 2;
          continue;
        }
      }
    }
    ++in;
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
