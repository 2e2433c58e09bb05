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
// Both directions also replay repeats (see RepeatMemo.h): identical bit planes
// are coded and decoded once and copied after that.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "bulb/ByteScan.h"
#include "bulb/RepeatMemo.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

// Room the fast steps of the encoder may write into: a literal's control byte
// and 32 bytes of copy, then a repeat's two bytes.
constexpr DWORD kEncodeSlack = 40;

// Replaying fewer bytes than this from an earlier repeat costs more than
// coding them.
constexpr DWORD kMinReplay = 48;
// Repeats closer than this are rows, not planes: checking them cost more than
// the few tokens a replay saved.
constexpr DWORD kMinDistance = 256;

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

// Whether to look for a repeat at a token: about one token in eight, chosen
// by its control byte so that both copies of a repeat choose the same ones.
inline bool Sampled(BYTE control) { return (control & 7) == 7; }

struct Position {
  DWORD in;
  DWORD out;
};

struct RoomyStop {
  Position at;
  bool sampled;  // stopped before a sampled token rather than for room
};

// Decodes tokens while each fits on both sides with room for the fixed
// 16-byte steps, which may write past the token but never past limit. With
// kSample it stops before each sampled token but the first when that one was
// just looked at. No calls inside: the position stays in registers.
template <bool kSample>
RoomyStop DecodeRoomy(const BYTE* src, DWORD length, BYTE* dst, DWORD limit, Position at, bool skipFirst) {
  DWORD in = at.in;
  DWORD out = at.out;
  bool skip = skipFirst;
  while (length - in >= 33 && limit - out >= 32) {
    const BYTE c = src[in];
    if constexpr (kSample) {
      if (Sampled(c) && !skip) return {{in, out}, true};
      skip = false;
    }
    if (c <= 127) {
      const DWORD n = DWORD{c} + 1;
      if (n <= 32) {
        Copy16(dst + out, src + in + 1);
        Copy16(dst + out + 16, src + in + 17);
      } else if (length - in >= 129 && limit - out >= 128) {
        for (DWORD k = 0; k < n; k += 16) Copy16(dst + out + k, src + in + 1 + k);
      } else {
        break;
      }
      out += n;
      in += n + 1;
    } else {
      const DWORD n = DWORD{c} - 127;
      const BYTE v = src[in + 1];
      if (n <= 32) {
        Fill16(dst + out, v);
        Fill16(dst + out + 16, v);
      } else if (limit - out >= 128) {
        for (DWORD k = 0; k < n; k += 16) Fill16(dst + out + k, v);
      } else {
        break;
      }
      out += n;
      in += 2;
    }
  }
  return {{in, out}, false};
}

// At a sampled token edge: marks it and, when the stream from here repeats
// what followed an earlier mark far enough back, copies what that decoded to
// and returns the edge after the copy; otherwise returns `at`.
Position ReplayDecoded(RepeatMemo& memo, const BYTE* src, DWORD length, BYTE* dst, DWORD limit, Position at) {
  if (length - at.in < 8) return at;
  const DWORD seen = memo.Record(RepeatMemo::Hash(detail::Load64(src + at.in)), {at.in, at.out, 0});
  if (seen == RepeatMemo::kNone || at.in - memo[seen].in < kMinDistance) return at;
  const CodeMark& then = memo[seen];
  const CodeMark& upto = memo[ReplayableMarks(memo, seen, 0, src, at.in - then.in, length)];
  const DWORD produced = upto.out - then.out;
  if (produced < kMinReplay || produced > limit - at.out) return at;
  std::memcpy(dst + at.out, dst + then.out, produced);
  return {at.in + (upto.in - then.in), at.out + produced};
}

// The encoder between two steps: the next byte to look at, the literal bytes
// before it not yet written (1 to 3 here), and the bytes written.
struct EncodeState {
  DWORD i;
  DWORD run;
  DWORD pos;
};

// At a sampled step of the encoder: marks it and, when the input from the
// pending literal on repeats what followed an earlier mark in the same state
// far enough back, copies what was written for it then and returns the state
// after the copy; otherwise returns `at`. The copy is taken only when the
// coder could not have fallen back to raw inside it.
EncodeState ReplayEncoded(RepeatMemo& memo, std::uint64_t hash, const BYTE* src, DWORD length, BYTE* dst,
                          DWORD capacity, EncodeState at) {
  const DWORD seen = memo.Record(hash, {at.i, at.pos, at.run});
  if (seen == RepeatMemo::kNone) return at;
  const CodeMark& then = memo[seen];
  if (then.state != at.run || at.i - then.in < kMinDistance) return at;
  const CodeMark& upto = memo[ReplayableMarks(memo, seen, at.run, src, at.i - then.in, length)];
  const DWORD written = upto.out - then.out;
  if (upto.in - then.in < kMinReplay || std::uint64_t{at.pos} + written + upto.state + 1 > length ||
      written > capacity - at.pos) {
    return at;
  }
  std::memcpy(dst + at.pos, dst + then.out, written);
  return {at.i + (upto.in - then.in), upto.state, at.pos + written};
}

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
  RepeatMemo* memo = length >= RepeatMemo::kMinLength ? &RepeatMemo::Begin(length) : nullptr;
  for (;;) {
    // Input that repeats input already coded, from the same state, codes to
    // what that did.
    if (memo && length - (i - run) >= 8) {
      const std::uint64_t hash = RepeatMemo::Hash(detail::Load64(src + i - run));
      if (RepeatMemo::Sampled(hash)) {
        const EncodeState next = ReplayEncoded(*memo, hash, src, length, dst, capacity, {i, run, out.pos});
        i = next.i;
        run = next.run;
        out.pos = next.pos;
      }
    }
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
  RepeatMemo* memo = length >= RepeatMemo::kMinLength ? &RepeatMemo::Begin(length) : nullptr;
  Position at{4, 0};
  bool sampledHere = false;
  while (at.out < limit && at.in < length) {
    const RoomyStop stop = memo ? DecodeRoomy<true>(src, length, dst, limit, at, sampledHere)
                                : DecodeRoomy<false>(src, length, dst, limit, at, false);
    at = stop.at;
    sampledHere = false;
    if (stop.sampled) {
      // Tokens that repeat earlier tokens decode to what those did.
      const Position next = ReplayDecoded(*memo, src, length, dst, limit, at);
      sampledHere = next.in == at.in;
      at = next;
      continue;
    }
    if (at.out >= limit || at.in >= length) break;
    // A token near either end: moved exactly, or cut short where the
    // stream or the output ends.
    const BYTE c = src[at.in++];
    if (c <= 127) {
      const DWORD available = std::min(DWORD{c} + 1, length - at.in);
      const DWORD n = std::min(available, limit - at.out);
      if (n != 0) CopyExact(dst + at.out, src + at.in, n);
      at.out += n;
      at.in += available;
    } else {
      if (at.in >= length) break;
      const DWORD n = std::min(DWORD{c} - 127, limit - at.out);
      FillExact(dst + at.out, src[at.in++], n);
      at.out += n;
    }
  }
  return at.out;
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
