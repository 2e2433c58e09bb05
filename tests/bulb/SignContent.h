// Sign-like frame content for tests and benchmarks.
//
// Real sign frames are mostly dark background with lines of text and a few
// graphic shapes, stored as bit planes; colour signs show pictures with flat
// areas and gradients. These generators build such frames deterministically
// from a seed, in the exact layout and size of n4::FrameSize.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "n4file/BulbData.h"

namespace n4test {

using Bytes = std::vector<BYTE>;

// Digits of a 5x7 sign font, one row of 5 bits per byte (leftmost bit 4).
inline constexpr BYTE kFont5x7[10][7] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
};

// Bulb values (0 .. 2^bits - 1) of a text-and-graphics picture, row-major:
// up to three lines of digits sized to the sign (large signs show large
// text), a filled panel, a border and a slanted rule on dark background.
inline std::vector<std::uint32_t> TextAndGraphics(int height, int width, int bits, std::uint32_t seed) {
  std::mt19937 rng(seed);
  const std::uint32_t maxValue = bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
  std::vector<std::uint32_t> bulbs(static_cast<size_t>(height) * width, 0);
  auto set = [&](int y, int x, std::uint32_t v) {
    if (y >= 0 && y < height && x >= 0 && x < width) bulbs[static_cast<size_t>(y) * width + x] = v;
  };
  const int lines = height >= 30 ? 3 : 1;
  const int cell = height / lines;
  const int scale = cell >= 9 ? (cell - 1) / 9 : 1;
  const int textWidth = width * 3 / 4;
  for (int line = 0; line < lines; ++line) {
    const int top = line * cell + 1;
    for (int left = 1; left + 5 * scale <= textWidth; left += 6 * scale) {
      const auto& glyph = kFont5x7[rng() % 10];
      for (int gy = 0; gy < 7 * scale; ++gy)
        for (int gx = 0; gx < 5 * scale; ++gx)
          if ((glyph[gy / scale] >> (4 - gx / scale)) & 1) set(top + gy, left + gx, maxValue);
    }
  }
  const std::uint32_t panel = maxValue > 1 ? maxValue / 2 : 1;
  for (int y = height / 4; y < height * 3 / 4; ++y)
    for (int x = textWidth + 2; x < width - 2; ++x) set(y, x, panel);
  for (int x = 0; x < width; ++x) {
    set(0, x, panel);
    set(height - 1, x, panel);
    set(height - 1 - x * height / (width > 0 ? width : 1), x, maxValue);
  }
  return bulbs;
}

// Packs bulb values into bit planes: plane p holds bit p of every bulb, rows
// padded to 16 bits, row count rounded up to even, leftmost bulb in the most
// significant bit.
inline Bytes PackPlanes(const std::vector<std::uint32_t>& bulbs, int height, int width, DWORD color) {
  const int bits = n4::BitsPerBulb(color);
  const size_t stride = static_cast<size_t>((width + 15) >> 4) * 2;
  const size_t rows = static_cast<size_t>((height + 1) & ~1);
  Bytes frame(n4::FrameSize(static_cast<DWORD>(height), static_cast<DWORD>(width), color), 0);
  for (int p = 0; p < bits; ++p)
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        if ((bulbs[static_cast<size_t>(y) * width + x] >> p) & 1)
          frame[(p * rows + y) * stride + x / 8] |= static_cast<BYTE>(0x80 >> (x % 8));
  return frame;
}

inline Bytes PlanarTextFrame(int height, int width, DWORD color, std::uint32_t seed = 1) {
  return PackPlanes(TextAndGraphics(height, width, n4::BitsPerBulb(color), seed), height, width, color);
}

// An ordered-dither halftone: few distinct bytes and almost no runs, the
// content the bit-packing methods exist for.
inline Bytes DitheredFrame(int height, int width, DWORD color, std::uint32_t seed = 1) {
  std::mt19937 rng(seed);
  std::vector<std::uint32_t> bulbs(static_cast<size_t>(height) * width);
  static const int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const int level = (x * 16 / (width > 0 ? width : 1) + static_cast<int>(rng() % 3)) % 16;
      bulbs[static_cast<size_t>(y) * width + x] = level > kBayer[y % 4][x % 4] ? 1u : 0u;
    }
  return PackPlanes(bulbs, height, width, color);
}

// A colour picture in bitmap rows (bottom-up, padded to 32 bits): a gradient
// sky, flat panels and a text band. bitCount 16 (5-5-5) or 24 (BGR).
inline Bytes ColourPicture(int height, int width, int bitCount, std::uint32_t seed = 1) {
  std::mt19937 rng(seed);
  const DWORD color = bitCount == 16 ? RGB32KB : RGB16MB;
  Bytes frame(n4::FrameSize(static_cast<DWORD>(height), static_cast<DWORD>(width), color), 0);
  const size_t stride = ((static_cast<size_t>(width) * bitCount + 31) / 32) * 4;
  const auto text = TextAndGraphics(height, width, 1, seed);
  for (int y = 0; y < height; ++y) {
    BYTE* row = frame.data() + static_cast<size_t>(height - 1 - y) * stride;
    for (int x = 0; x < width; ++x) {
      int r = 40 + 160 * x / (width > 1 ? width - 1 : 1);
      int g = 60 + 120 * y / (height > 1 ? height - 1 : 1);
      int b = 200 - 100 * y / (height > 1 ? height - 1 : 1);
      if (x > width / 2 && y > height / 3 && y < height * 2 / 3) r = 230, g = 30, b = 30;
      if (text[static_cast<size_t>(y) * width + x]) r = g = b = 255;
      if (rng() % 64 == 0) g = (g + 9) & 0xFF;  // a little sensor noise
      if (bitCount == 16) {
        const unsigned v = ((r >> 3) << 10) | ((g >> 3) << 5) | (b >> 3);
        row[2 * x] = static_cast<BYTE>(v);
        row[2 * x + 1] = static_cast<BYTE>(v >> 8);
      } else {
        row[3 * x] = static_cast<BYTE>(b);
        row[3 * x + 1] = static_cast<BYTE>(g);
        row[3 * x + 2] = static_cast<BYTE>(r);
      }
    }
  }
  return frame;
}

inline Bytes RandomBytes(size_t size, std::uint32_t seed = 1) {
  std::mt19937 rng(seed);
  Bytes out(size);
  for (auto& b : out) b = static_cast<BYTE>(rng());
  return out;
}

// Random runs of random lengths (1 .. maxRun) of random values from a small
// alphabet: exercises every run boundary of the run-length coders.
inline Bytes RunnyBytes(size_t size, int maxRun, int alphabet, std::uint32_t seed = 1) {
  std::mt19937 rng(seed);
  Bytes out;
  out.reserve(size);
  while (out.size() < size) {
    const BYTE v = static_cast<BYTE>(rng() % alphabet);
    const size_t run = 1 + rng() % maxRun;
    for (size_t k = 0; k < run && out.size() < size; ++k) out.push_back(v);
  }
  return out;
}

}  // namespace n4test
