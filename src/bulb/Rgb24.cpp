// Method 7: per-channel run-length (RGB16MB frames).
//
// Blue, green and red vary independently in pictures, so each channel is run
// on its own: byte 0, 3, 6, ... first, then the bytes at 1 and 2 onward. Each
// channel uses the byte scheme of method 1 (the same run rules, pieces of
// 128), closed at the channel's end.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

constexpr DWORD kStride = 3;

class PlaneOutput {
 public:
  PlaneOutput(BYTE* dst, DWORD capacity) : dst_(dst), capacity_(capacity) {}
  DWORD pos() const { return pos_; }
  void Skip(DWORD n) { pos_ += n; }
  bool Repeat(DWORD run, BYTE v) {
    if (capacity_ - pos_ < 2) return false;
    dst_[pos_++] = static_cast<BYTE>(127 + run);
    dst_[pos_++] = v;
    return true;
  }
  // `run` samples of the plane ending just before sample `end`.
  bool Literal(const BYTE* plane, DWORD end, DWORD run) {
    if (capacity_ - pos_ < run + 1) return false;
    dst_[pos_++] = static_cast<BYTE>(run - 1);
    for (DWORD s = end - run; s < end; ++s) dst_[pos_++] = plane[s * kStride];
    return true;
  }

 private:
  BYTE* dst_;
  DWORD capacity_;
  DWORD pos_ = 0;
};

bool EncodePlane(const BYTE* plane, DWORD samples, PlaneOutput& out) {
  if (samples == 0) return true;
  bool repeat = false;
  DWORD run = 1;
  for (DWORD s = 1; s < samples; ++s) {
    const BYTE b = plane[s * kStride];
    const BYTE prev = plane[(s - 1) * kStride];
    if (b == prev) {
      if (repeat) {
        if (++run == 128) {
          if (!out.Repeat(128, b)) return false;
          run = 0;
        }
      } else {
        if (run >= 2) {
          if (!out.Literal(plane, s, run)) return false;
          run = 1;
        } else {
          ++run;
        }
        repeat = true;
      }
    } else {
      if (repeat && run >= 3) {
        if (!out.Repeat(run, prev)) return false;
        run = 0;
      }
      repeat = false;
      if (++run == 128) {
        if (!out.Literal(plane, s + 1, 128)) return false;
        run = 0;
      }
    }
  }
  if (run == 0) return true;
  return repeat ? out.Repeat(run, plane[(samples - 1) * kStride]) : out.Literal(plane, samples, run);
}

DWORD Samples(DWORD length, DWORD channel) { return length > channel ? (length - channel + kStride - 1) / kStride : 0; }

}  // namespace

DWORD EncodeRgb24(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, int* method) {
  const DWORD limit = std::min(capacity, length);
  if (limit < 4) return StoreRaw(src, length, dst, method);
  WriteLE32(dst, length);
  PlaneOutput out(dst, limit);
  out.Skip(4);
  for (DWORD channel = 0; channel < kStride; ++channel) {
    if (!EncodePlane(src + channel, Samples(length, channel), out)) return StoreRaw(src, length, dst, method);
  }
  if (method) *method = N4_BULB_COMPRESS_RGB24;
  return out.pos();
}

DWORD DecodeRgb24(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (length < 5) return 0;
  const DWORD limit = std::min<DWORD>(ReadLE32(src), capacity);
  DWORD in = 4;
  DWORD written = 0;
  for (DWORD channel = 0; channel < kStride && in < length; ++channel) {
    std::uint64_t out = channel;
    while (out < limit && in < length) {
      const BYTE c = src[in++];
      if (c <= 127) {
        // A literal running past the channel's end is consumed but dropped.
        const DWORD available = std::min(DWORD{c} + 1, length - in);
        for (DWORD k = 0; k < available && out < limit; ++k, out += kStride, ++written) dst[out] = src[in + k];
        in += available;
      } else {
        if (in >= length) break;
        const BYTE v = src[in++];
        for (DWORD k = DWORD{c} - 127; k != 0 && out < limit; --k, out += kStride, ++written) dst[out] = v;
      }
    }
  }
  return written;
}

}  // namespace n4::bulb

DWORD CN4BulbData::CompressRGB24(const void* src, void* dst, DWORD length, int* method) {
  return n4::bulb::EncodeRgb24(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst),
                               n4::CompressBound(length), method);
}

DWORD CN4BulbData::DecompressRGB24(const void* src, void* dst, DWORD length) {
  return DecompressRGB24(src, dst, length, n4::StreamCount(src, length));
}

DWORD CN4BulbData::DecompressRGB24(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeRgb24(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst), capacity);
}
