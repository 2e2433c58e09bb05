// The picture <-> bulb data mapping of every colour technology.
#include "n4file/BulbPicture.h"

#include <cstddef>

namespace n4 {
namespace {

// Nearest level of `bits` for a channel value, and the value of a level.
// Round trip: Expand is within half a value step of the exact ratio, which
// is under half a level for every depth used here, so Quantise(Expand(q)) = q.
unsigned Quantise(unsigned v, int bits) {
  const unsigned top = (1u << bits) - 1;
  return (v * top * 2 + 255) / 510;
}

BYTE Expand(unsigned level, int bits) {
  const unsigned top = (1u << bits) - 1;
  return static_cast<BYTE>((level * 255 * 2 + top) / (2 * top));
}

unsigned Luminance(const BYTE* p) { return (299u * p[0] + 587u * p[1] + 114u * p[2] + 500) / 1000; }

// The channel a quad bulb shows: 0 red, 1 green, 2 blue, 3 white.
int QuadChannel(DWORD y, DWORD x) { return static_cast<int>(((y & 1) << 1) | (x & 1)); }

unsigned BulbValue(const BYTE* p, DWORD y, DWORD x, BulbLight light, int n) {
  switch (light) {
    case kLightMono:
      return Quantise(Luminance(p), n);
    case kLightQuad: {
      const int c = QuadChannel(y, x);
      return Quantise(c == 3 ? Luminance(p) : p[c], n);
    }
    case kLightTri:
      return (Quantise(p[0], n) << n) | Quantise(p[1], n);
    default:
      return (Quantise(p[0], n) << (2 * n)) | (Quantise(p[1], n) << n) | Quantise(p[2], n);
  }
}

void ShowValue(unsigned v, DWORD y, DWORD x, BulbLight light, int n, BYTE* p) {
  const unsigned mask = (1u << n) - 1;
  switch (light) {
    case kLightMono:
      p[0] = p[1] = p[2] = Expand(v & mask, n);
      break;
    case kLightQuad: {
      const int c = QuadChannel(y, x);
      p[0] = p[1] = p[2] = 0;
      if (c == 3) {
        p[0] = p[1] = p[2] = Expand(v & mask, n);
      } else {
        p[c] = Expand(v & mask, n);
      }
      break;
    }
    case kLightTri:
      p[0] = Expand((v >> n) & mask, n);
      p[1] = Expand(v & mask, n);
      p[2] = 0;
      break;
    default:
      p[0] = Expand((v >> (2 * n)) & mask, n);
      p[1] = Expand((v >> n) & mask, n);
      p[2] = Expand(v & mask, n);
      break;
  }
}

bool Valid(DWORD height, DWORD width, DWORD color) {
  if (LightOf(color) == kLightUnknown || height == 0 || width == 0) return false;
  return FrameSize(height, width, color) <= kLargestFrameSize;
}

size_t PlaneStride(DWORD width) { return static_cast<size_t>((width + 15) >> 4) * 2; }
size_t BitmapRowBytes(DWORD width, DWORD color) {
  return ((static_cast<size_t>(width) * (color == RGB32KB ? 16 : 24) + 31) / 32) * 4;
}

}  // namespace

BulbLight LightOf(DWORD color) {
  switch (color) {
    case Mono1: case Mono4: case Mono16: case Mono64:
      return kLightMono;
    case Quad16: case Quad256: case Quad64K: case Quad16M:
      return kLightQuad;
    case Tri3: case Tri256:
      return kLightTri;
    case RGB64: case RGB4K: case RGB16M:
      return kLightRgb;
    case RGB32KB: case RGB16MB:
      return kLightBitmap;
    default:
      return kLightUnknown;
  }
}

int BitsPerChannel(DWORD color) {
  switch (LightOf(color)) {
    case kLightMono: case kLightQuad:
      return BitsPerBulb(color);
    case kLightTri:
      return BitsPerBulb(color) / 2;
    case kLightRgb:
      return BitsPerBulb(color) / 3;
    case kLightBitmap:
      return color == RGB32KB ? 5 : 8;
    default:
      return 0;
  }
}

DWORD BestLosslessLevel(DWORD color) {
  const BulbLight light = LightOf(color);
  if (light == kLightUnknown) return 0;
  return light == kLightBitmap ? 10 : 30;
}

std::vector<BYTE> PictureToBulbData(const BYTE* rgb, DWORD height, DWORD width, DWORD color) {
  if (!rgb || !Valid(height, width, color)) return {};
  std::vector<BYTE> frame(FrameSize(height, width, color), 0);
  const BulbLight light = LightOf(color);
  const int n = BitsPerChannel(color);
  if (light == kLightBitmap) {
    const size_t rowBytes = BitmapRowBytes(width, color);
    for (DWORD y = 0; y < height; ++y) {
      BYTE* row = frame.data() + (height - 1 - y) * rowBytes;  // bottom-up
      for (DWORD x = 0; x < width; ++x) {
        const BYTE* p = rgb + (static_cast<size_t>(y) * width + x) * 3;
        if (color == RGB32KB) {
          const unsigned v = (Quantise(p[0], 5) << 10) | (Quantise(p[1], 5) << 5) | Quantise(p[2], 5);
          row[2 * x] = static_cast<BYTE>(v);
          row[2 * x + 1] = static_cast<BYTE>(v >> 8);
        } else {
          row[3 * x] = p[2];
          row[3 * x + 1] = p[1];
          row[3 * x + 2] = p[0];
        }
      }
    }
    return frame;
  }
  const int bits = BitsPerBulb(color);
  const size_t stride = PlaneStride(width);
  const size_t planeBytes = stride * ((static_cast<size_t>(height) + 1) & ~size_t{1});
  for (DWORD y = 0; y < height; ++y) {
    for (DWORD x = 0; x < width; ++x) {
      const unsigned v = BulbValue(rgb + (static_cast<size_t>(y) * width + x) * 3, y, x, light, n);
      const BYTE bit = static_cast<BYTE>(0x80 >> (x % 8));
      BYTE* at = frame.data() + y * stride + x / 8;
      for (int p = 0; p < bits; ++p) {
        if ((v >> p) & 1) at[p * planeBytes] |= bit;
      }
    }
  }
  return frame;
}

std::vector<BYTE> BulbDataToPicture(const BYTE* frame, DWORD length, DWORD height, DWORD width, DWORD color) {
  if (!frame || !Valid(height, width, color) || length < FrameSize(height, width, color)) return {};
  std::vector<BYTE> rgb(static_cast<size_t>(height) * width * 3, 0);
  const BulbLight light = LightOf(color);
  const int n = BitsPerChannel(color);
  if (light == kLightBitmap) {
    const size_t rowBytes = BitmapRowBytes(width, color);
    for (DWORD y = 0; y < height; ++y) {
      const BYTE* row = frame + (height - 1 - y) * rowBytes;
      for (DWORD x = 0; x < width; ++x) {
        BYTE* p = rgb.data() + (static_cast<size_t>(y) * width + x) * 3;
        if (color == RGB32KB) {
          const unsigned v = row[2 * x] | (row[2 * x + 1] << 8);
          p[0] = Expand((v >> 10) & 31, 5);
          p[1] = Expand((v >> 5) & 31, 5);
          p[2] = Expand(v & 31, 5);
        } else {
          p[0] = row[3 * x + 2];
          p[1] = row[3 * x + 1];
          p[2] = row[3 * x];
        }
      }
    }
    return rgb;
  }
  const int bits = BitsPerBulb(color);
  const size_t stride = PlaneStride(width);
  const size_t planeBytes = stride * ((static_cast<size_t>(height) + 1) & ~size_t{1});
  for (DWORD y = 0; y < height; ++y) {
    for (DWORD x = 0; x < width; ++x) {
      const BYTE bit = static_cast<BYTE>(0x80 >> (x % 8));
      const BYTE* at = frame + y * stride + x / 8;
      unsigned v = 0;
      for (int p = 0; p < bits; ++p) {
        if (at[p * planeBytes] & bit) v |= 1u << p;
      }
      ShowValue(v, y, x, light, n, rgb.data() + (static_cast<size_t>(y) * width + x) * 3);
    }
  }
  return rgb;
}

}  // namespace n4
