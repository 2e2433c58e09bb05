// Conversion between the frame's bitmap rows and the codec's RGB24 pictures.
//
// A 16-bit bitmap without colour masks is 5-5-5 with the top bit unused;
// five-bit channels widen by repeating their top bits, so white stays white.
#include <algorithm>

#include "bulb/VideoCodec.h"

namespace n4::bulb {

void BitmapToRgb(const BYTE* bitmap, int width, int height, int bitCount, BYTE* rgb, int rgbStride, int outWidth,
                 int outHeight) {
  const DWORD stride = BitmapStride(static_cast<DWORD>(width), bitCount);
  for (int y = 0; y < outHeight; ++y) {
    const int sy = std::min(y, height - 1);
    const BYTE* row = bitmap + static_cast<size_t>(height - 1 - sy) * stride;
    BYTE* out = rgb + static_cast<size_t>(y) * rgbStride;
    for (int x = 0; x < outWidth; ++x) {
      const int sx = std::min(x, width - 1);
      if (bitCount == 16) {
        const unsigned v = row[2 * sx] | (row[2 * sx + 1] << 8);
        const unsigned r = (v >> 10) & 31, g = (v >> 5) & 31, b = v & 31;
        out[3 * x] = static_cast<BYTE>((r << 3) | (r >> 2));
        out[3 * x + 1] = static_cast<BYTE>((g << 3) | (g >> 2));
        out[3 * x + 2] = static_cast<BYTE>((b << 3) | (b >> 2));
      } else {
        out[3 * x] = row[3 * sx + 2];
        out[3 * x + 1] = row[3 * sx + 1];
        out[3 * x + 2] = row[3 * sx];
      }
    }
  }
}

DWORD RgbToBitmap(const BYTE* rgb, int rgbStride, int width, int height, int bitCount, BYTE* bitmap, DWORD capacity) {
  const DWORD stride = BitmapStride(static_cast<DWORD>(width), bitCount);
  if (stride == 0) return 0;
  const int rows = static_cast<int>(std::min<DWORD>(static_cast<DWORD>(height), capacity / stride));
  // Bottom-up: memory row m holds picture row height - 1 - m.
  for (int m = 0; m < rows; ++m) {
    const BYTE* in = rgb + static_cast<size_t>(height - 1 - m) * rgbStride;
    BYTE* row = bitmap + static_cast<size_t>(m) * stride;
    std::fill(row, row + stride, BYTE{0});
    for (int x = 0; x < width; ++x) {
      if (bitCount == 16) {
        const unsigned v = ((in[3 * x] >> 3) << 10) | ((in[3 * x + 1] >> 3) << 5) | (in[3 * x + 2] >> 3);
        row[2 * x] = static_cast<BYTE>(v);
        row[2 * x + 1] = static_cast<BYTE>(v >> 8);
      } else {
        row[3 * x] = in[3 * x + 2];
        row[3 * x + 1] = in[3 * x + 1];
        row[3 * x + 2] = in[3 * x];
      }
    }
  }
  return static_cast<DWORD>(rows) * stride;
}

}  // namespace n4::bulb
