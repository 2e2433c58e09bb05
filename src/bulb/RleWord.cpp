// Method 5: run-length on 16-bit pixels (RGB32KB frames).
//
// Unlike the byte scheme, a repeat starts only where three equal words begin,
// so literals run straight through pairs.
#include <algorithm>
#include <cstring>

#include "bulb/BulbCodecs.h"
#include "util/ByteOrder.h"

namespace n4::bulb {
namespace {

constexpr DWORD kMaxRun = 32768;

class WordOutput {
 public:
  WordOutput(BYTE* dst, DWORD capacity) : dst_(dst), capacity_(capacity) {}
  DWORD pos() const { return pos_; }
  void Skip(DWORD n) { pos_ += n; }
  // Words [first, first + n) of src as literal pieces.
  bool Literal(const BYTE* words, DWORD n) {
    while (n != 0) {
      const DWORD piece = std::min(n, kMaxRun);
      if (capacity_ - pos_ < 2 + 2 * piece) return false;
      WriteLE16(dst_ + pos_, static_cast<WORD>(piece - 1));
      std::memcpy(dst_ + pos_ + 2, words, 2 * piece);
      pos_ += 2 + 2 * piece;
      words += 2 * piece;
      n -= piece;
    }
    return true;
  }
  bool Repeat(const BYTE* word, DWORD n) {
    while (n != 0) {
      const DWORD piece = std::min(n, kMaxRun);
      if (capacity_ - pos_ < 4) return false;
      WriteLE16(dst_ + pos_, static_cast<WORD>(32767 + piece));
      std::memcpy(dst_ + pos_ + 2, word, 2);
      pos_ += 4;
      n -= piece;
    }
    return true;
  }

 private:
  BYTE* dst_;
  DWORD capacity_;
  DWORD pos_ = 0;
};

inline bool SameWord(const BYTE* a, const BYTE* b) { return a[0] == b[0] && a[1] == b[1]; }

}  // namespace

DWORD EncodeRleWord(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, int* method) {
  // A trailing odd byte has no word to travel in.
  if (length % 2 != 0 || capacity < 4) return StoreRaw(src, length, dst, method);
  // Nothing may grow past the raw frame.
  const DWORD limit = std::min(capacity, length);
  if (limit < 4) return StoreRaw(src, length, dst, method);
  WriteLE32(dst, length);
  WordOutput out(dst, limit);
  out.Skip(4);

  const DWORD words = length / 2;
  DWORD literal = 0;
  DWORD i = 0;
  while (i < words) {
    const BYTE* w = src + 2 * i;
    if (words - i >= 3 && SameWord(w, w + 2) && SameWord(w, w + 4)) {
      if (!out.Literal(src + 2 * literal, i - literal)) return StoreRaw(src, length, dst, method);
      DWORD j = i + 3;
      while (j < words && SameWord(w, src + 2 * j)) ++j;
      if (!out.Repeat(w, j - i)) return StoreRaw(src, length, dst, method);
      i = literal = j;
    } else {
      ++i;
    }
  }
  if (!out.Literal(src + 2 * literal, words - literal)) return StoreRaw(src, length, dst, method);
  if (method) *method = N4_BULB_COMPRESS_RLE_WORD;
  return out.pos();
}

DWORD DecodeRleWord(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity) {
  if (length < 6) return 0;
  // A run that would pass the count is not written at all; the capacity only
  // clips.
  const DWORD countWords = ReadLE32(src) / 2;
  const DWORD roomWords = capacity / 2;
  DWORD in = 4;
  DWORD out = 0;
  while (out < countWords && out < roomWords && length - in >= 2) {
    const WORD c = ReadLE16(src + in);
    in += 2;
    if (c <= 32767) {
      const DWORD n = DWORD{c} + 1;
      if (n > countWords - out) break;
      const DWORD available = std::min(n, (length - in) / 2);
      const DWORD copy = std::min(available, roomWords - out);
      std::memcpy(dst + 2 * out, src + in, 2 * copy);
      out += copy;
      in += 2 * available;
      if (available < n) break;
    } else {
      const DWORD n = DWORD{c} - 32767;
      if (n > countWords - out || length - in < 2) break;
      const DWORD fill = std::min(n, roomWords - out);
      for (DWORD k = 0; k < fill; ++k) std::memcpy(dst + 2 * (out + k), src + in, 2);
      out += fill;
      in += 2;
    }
  }
  return 2 * out;
}

}  // namespace n4::bulb

DWORD CN4BulbData::CompressRLEWord(const void* src, void* dst, DWORD length, int* method) {
  return n4::bulb::EncodeRleWord(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst),
                                 n4::CompressBound(length), method);
}

DWORD CN4BulbData::DecompressRLEWord(const void* src, void* dst, DWORD length) {
  return DecompressRLEWord(src, dst, length, n4::StreamCount(src, length));
}

DWORD CN4BulbData::DecompressRLEWord(const void* src, void* dst, DWORD length, DWORD capacity) {
  return n4::bulb::DecodeRleWord(static_cast<const BYTE*>(src), length, static_cast<BYTE*>(dst), capacity);
}
