// The video codec of method 6 (Cinepak), behind SN4BulbCompInfo's codec state.
//
// Frames cross this interface as the sign stores them: bottom-up bitmap rows
// padded to 32 bits, 16-bit (5-5-5) or 24-bit BGR pixels. Everything about
// the codec library stays in VideoCodec.cpp; built without it, Create()
// returns null and method 6 falls back to raw.
//
// A codec object is used by one thread at a time; separate objects may code
// frames on separate threads at once, as they share nothing mutable. A
// compressed frame depends only on its bitmap and the sequence's quality,
// not on the frames compressed before it.
#pragma once

#include <memory>
#include <vector>

#include "n4file/BulbData.h"

namespace n4 {

class VideoCodec {
 public:
  virtual ~VideoCodec() = default;

  // A codec, or null when the library has none.
  static std::unique_ptr<VideoCodec, VideoCodecDeleter> Create();

  // A compression sequence for width x height frames of bitCount (16 or 24)
  // bits; every frame is a key frame. quality runs from 0 to 10000 (best),
  // as in the codec settings record.
  virtual bool BeginCompress(LONG width, LONG height, int bitCount, LONG quality) = 0;
  // Encodes one bitmap of the sequence's geometry into `out`.
  virtual bool CompressFrame(const BYTE* bitmap, DWORD size, std::vector<BYTE>& out, bool& keyFrame) = 0;
  virtual void EndCompress() = 0;

  virtual bool BeginDecompress(LONG width, LONG height, int bitCount) = 0;
  // Decodes one codec frame into a bitmap of the decompressor's geometry,
  // writing whole rows only and at most `capacity` bytes. Returns the bytes
  // written; 0 when the data does not decode.
  virtual DWORD DecompressFrame(const BYTE* data, DWORD size, bool keyFrame, BYTE* bitmap, DWORD capacity) = 0;
  virtual void EndDecompress() = 0;
};

namespace bulb {

// Bytes in one bitmap row of `width` pixels, padded to 32 bits.
constexpr DWORD BitmapStride(DWORD width, int bitCount) { return ((width * static_cast<DWORD>(bitCount) + 31) / 32) * 4; }

// Bitmap rows (bottom-up, 16-bit 5-5-5 or 24-bit BGR) to top-down RGB24
// rows of `outWidth` x `outHeight`, the edge pixels repeated into any extra
// columns and rows. REQUIRES: bitmap holds BitmapStride(width) * height bytes.
void BitmapToRgb(const BYTE* bitmap, int width, int height, int bitCount, BYTE* rgb, int rgbStride, int outWidth,
                 int outHeight);
// Top-down RGB24 rows back to bitmap rows; writes only whole rows that fit
// in capacity and returns the bytes written. Row padding is zeroed.
DWORD RgbToBitmap(const BYTE* rgb, int rgbStride, int width, int height, int bitCount, BYTE* bitmap, DWORD capacity);

}  // namespace bulb
}  // namespace n4
