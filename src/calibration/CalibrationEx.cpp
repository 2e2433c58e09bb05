// CN4FileCalibrationEx: each pixel's three bytes as signed corrections, with
// mirrored addressing of negative points and saturating arithmetic.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "calibration/CalibrationMath.h"
#include "n4file/Calibration.h"

namespace {

constexpr unsigned long kNoOffset = std::numeric_limits<unsigned long>::max();

signed char AsSigned(BYTE b) { return static_cast<signed char>(b); }

// The rectangle with left <= right and top <= bottom.
CRect Normalised(const CRect& r) {
  CRect n = r;
  if (n.left > n.right) std::swap(n.left, n.right);
  if (n.top > n.bottom) std::swap(n.top, n.bottom);
  return n;
}

// Whether a normalised area may be walked pixel by pixel. Mirrored addressing
// lets a rectangle reach the same pixels many times over (x beyond the width
// runs on into the next rows, negative points fold back), so without a bound
// a hostile rectangle would keep the caller busy for hours. The bound covers
// the face and every mirrored address of it.
bool AreaWalkable(const CRect& n, unsigned long dataSize) {
  const std::uint64_t w = static_cast<std::uint64_t>(std::int64_t{n.right} - n.left);
  const std::uint64_t h = static_cast<std::uint64_t>(std::int64_t{n.bottom} - n.top);
  const std::uint64_t limit = 4 * (std::uint64_t{dataSize} / 3) + 4;
  return w == 0 || h == 0 || h <= limit / w;
}

// Calls visit(point) for each pixel of a normalised area, rows top to bottom.
template <typename Visit>
void ForEachPixel(const CRect& n, Visit visit) {
  if (n.right <= n.left) return;  // no pixels, however many empty rows
  for (std::int64_t y = n.top; y < n.bottom; ++y) {
    for (std::int64_t x = n.left; x < n.right; ++x) {
      CPoint pt(static_cast<LONG>(x), static_cast<LONG>(y));
      visit(pt);
    }
  }
}

// The offset of a whole pixel inside dataSize bytes, or kNoOffset.
unsigned long CheckedOffset(CPoint* pt, unsigned long width, unsigned long dataSize) {
  const unsigned long offset = CN4FileCalibrationEx::GetPixelOffset(pt, width);
  return n4::PixelFits(offset, dataSize) ? offset : kNoOffset;
}

int AverageOf(std::int64_t sum, std::uint64_t count) {
  if (count == 0) return 0;
  const double average = std::trunc(static_cast<double>(sum) / static_cast<double>(count));
  return static_cast<int>(std::clamp(average, -128.0, 127.0));
}

}  // namespace

CN4FileCalibrationEx::CN4FileCalibrationEx(unsigned long rows, unsigned long cols)
    : CN4FileCalibration(rows, cols) {}

CN4FileCalibrationEx::~CN4FileCalibrationEx() = default;

unsigned long CN4FileCalibrationEx::FaceWidth() const {
  const BITMAPINFOHEADER* info = InfoHeader();
  return info ? static_cast<unsigned long>(info->biWidth) : 0;
}

int CN4FileCalibrationEx::Open(const char* name, int bOpenExisting, int bTruncate, int bReadOnly) {
  if (bReadOnly) {
    if (!bOpenExisting) {
      MarkNotOpen();
      return 0;
    }
    return OpenWithMode(name, kOpenReadOnly);
  }
  return OpenWithMode(name, bOpenExisting && !bTruncate ? kOpenReadWrite : kOpenCreate);
}

// ---------------------------------------------------------------------------
// Static helpers.

unsigned long CN4FileCalibrationEx::GetPixelOffset(CPoint* pt, unsigned long width) {
  if (pt == nullptr) return 0;
  const std::int64_t ax = pt->x < 0 ? -std::int64_t{pt->x} : pt->x;
  const std::int64_t ay = pt->y < 0 ? -std::int64_t{pt->y} : pt->y;
  constexpr std::int64_t kLongMax = std::numeric_limits<LONG>::max();
  if (ax <= kLongMax) pt->x = static_cast<LONG>(ax);
  if (ay <= kLongMax) pt->y = static_cast<LONG>(ay);
  if (ax > kLongMax || ay > kLongMax) return kNoOffset;
  // (ay * width + ax) * 3, saturating to kNoOffset.
  const unsigned long x = static_cast<unsigned long>(ax);
  const unsigned long y = static_cast<unsigned long>(ay);
  constexpr unsigned long kIndexLimit = kNoOffset / 3;
  if (x > kIndexLimit) return kNoOffset;
  if (y != 0 && width > (kIndexLimit - x) / y) return kNoOffset;
  return (y * width + x) * 3;
}

char CN4FileCalibrationEx::CalcNewCalDataFromOffset(char value, char offset, int* clipped) {
  int sum = static_cast<signed char>(value) + static_cast<signed char>(offset);
  int saturated = 0;
  if (sum > 127) {
    sum = 127;
    saturated = 1;
  } else if (sum < -128) {
    sum = -128;
    saturated = 1;
  }
  if (clipped != nullptr) *clipped = saturated;
  return static_cast<char>(sum);
}

int CN4FileCalibrationEx::CalcAverage(int sum, unsigned int count) { return AverageOf(sum, count); }

int CN4FileCalibrationEx::SetPixelCalData(CPoint* pt, RGBTRIPLE value, unsigned long width,
                                          unsigned char* data, unsigned long dataSize) {
  if (pt == nullptr || data == nullptr) return 0;
  const unsigned long offset = CheckedOffset(pt, width, dataSize);
  if (offset == kNoOffset) return 0;
  data[offset] = value.rgbtBlue;
  data[offset + 1] = value.rgbtGreen;
  data[offset + 2] = value.rgbtRed;
  return 1;
}

int CN4FileCalibrationEx::GetPixelCalData(CPoint* pt, RGBTRIPLE* value, unsigned long width,
                                          unsigned char* data, unsigned long dataSize) {
  if (pt == nullptr || value == nullptr || data == nullptr) return 0;
  const unsigned long offset = CheckedOffset(pt, width, dataSize);
  if (offset == kNoOffset) return 0;
  value->rgbtBlue = data[offset];
  value->rgbtGreen = data[offset + 1];
  value->rgbtRed = data[offset + 2];
  return 1;
}

int CN4FileCalibrationEx::OffsetPixelCalData(CPoint* pt, RGBTRIPLE offset, unsigned long width,
                                             unsigned char* data, unsigned long dataSize,
                                             int* clipped) {
  if (clipped != nullptr) *clipped = 0;
  if (pt == nullptr || data == nullptr) return 0;
  const unsigned long at = CheckedOffset(pt, width, dataSize);
  if (at == kNoOffset) return 0;
  const BYTE add[3] = {offset.rgbtBlue, offset.rgbtGreen, offset.rgbtRed};
  int any = 0;
  for (int i = 0; i < 3; ++i) {
    int one = 0;
    data[at + i] = static_cast<unsigned char>(
        CalcNewCalDataFromOffset(static_cast<char>(data[at + i]), static_cast<char>(add[i]), &one));
    any |= one;
  }
  if (clipped != nullptr) *clipped = any;
  return 1;
}

int CN4FileCalibrationEx::SetAreaCalData(CRect* area, RGBTRIPLE value, unsigned long width,
                                         unsigned char* data, unsigned long dataSize) {
  if (area == nullptr) return 0;
  const CRect n = Normalised(*area);
  if (!AreaWalkable(n, dataSize)) return 0;
  int result = 0;
  ForEachPixel(n, [&](CPoint& pt) { result = SetPixelCalData(&pt, value, width, data, dataSize); });
  return result;
}

int CN4FileCalibrationEx::OffsetAreaCalData(CRect* area, RGBTRIPLE offset, unsigned long width,
                                            unsigned char* data, unsigned long dataSize,
                                            int* clipped) {
  if (clipped != nullptr) *clipped = 0;
  if (area == nullptr) return 0;
  const CRect n = Normalised(*area);
  if (!AreaWalkable(n, dataSize)) return 0;
  int result = 0;
  int any = 0;
  ForEachPixel(n, [&](CPoint& pt) {
    int one = 0;
    result = OffsetPixelCalData(&pt, offset, width, data, dataSize, &one);
    any |= one;
  });
  if (clipped != nullptr) *clipped = any;
  return result;
}

int CN4FileCalibrationEx::GetAreaAvgCalData(CRect* area, RGBTRIPLE* average, unsigned long width,
                                            unsigned char* data, unsigned long dataSize) {
  if (area == nullptr || average == nullptr) return 0;
  const CRect n = Normalised(*area);
  std::int64_t blue = 0, green = 0, red = 0;
  std::uint64_t count = 0;
  int result = 0;
  // Sums in 64 bits: an int, as the component sums once were, overflows
  // after some 16 million pixels.
  if (AreaWalkable(n, dataSize)) {
    ForEachPixel(n, [&](CPoint& pt) {
      RGBTRIPLE v{};
      result = GetPixelCalData(&pt, &v, width, data, dataSize);
      if (!result) return;
      blue += AsSigned(v.rgbtBlue);
      green += AsSigned(v.rgbtGreen);
      red += AsSigned(v.rgbtRed);
      ++count;
    });
  }
  average->rgbtBlue = static_cast<BYTE>(AverageOf(blue, count));
  average->rgbtGreen = static_cast<BYTE>(AverageOf(green, count));
  average->rgbtRed = static_cast<BYTE>(AverageOf(red, count));
  return result;
}

int CN4FileCalibrationEx::GetAreaTopLeftCalData(CRect* area, RGBTRIPLE* value, unsigned long width,
                                                unsigned char* data, unsigned long dataSize) {
  if (area == nullptr) return 0;
  const CRect n = Normalised(*area);
  CPoint corner(n.left, n.top);
  return GetPixelCalData(&corner, value, width, data, dataSize);
}

// ---------------------------------------------------------------------------
// Members: the static operations on the object's own face.

int CN4FileCalibrationEx::SetPixelCalData(CPoint* pt, RGBTRIPLE value) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return SetPixelCalData(pt, value, FaceWidth(), data, size);
}

int CN4FileCalibrationEx::GetPixelCalData(CPoint* pt, RGBTRIPLE* value) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return GetPixelCalData(pt, value, FaceWidth(), data, size);
}

int CN4FileCalibrationEx::OffsetPixelCalData(CPoint* pt, RGBTRIPLE offset, int* clipped) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return OffsetPixelCalData(pt, offset, FaceWidth(), data, size, clipped);
}

int CN4FileCalibrationEx::SetAreaCalData(CRect* area, RGBTRIPLE value) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return SetAreaCalData(area, value, FaceWidth(), data, size);
}

int CN4FileCalibrationEx::OffsetAreaCalData(CRect* area, RGBTRIPLE offset, int* clipped) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return OffsetAreaCalData(area, offset, FaceWidth(), data, size, clipped);
}

int CN4FileCalibrationEx::GetAreaAvgCalData(CRect* area, RGBTRIPLE* average) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return GetAreaAvgCalData(area, average, FaceWidth(), data, size);
}

int CN4FileCalibrationEx::GetAreaTopLeftCalData(CRect* area, RGBTRIPLE* value) {
  unsigned long size = 0;
  auto* data = reinterpret_cast<unsigned char*>(GetPtrToFileData(&size));
  return GetAreaTopLeftCalData(area, value, FaceWidth(), data, size);
}

namespace {

// width * height of a rectangle as given (not normalised), and whether
// `count` values cover it. A negative product, as an unsigned count, is
// never covered.
bool CountCovers(const CRect& area, unsigned long count) {
  const std::int64_t w = std::int64_t{area.right} - area.left;
  const std::int64_t h = std::int64_t{area.bottom} - area.top;
  if ((w < 0) != (h < 0) && w != 0 && h != 0) return false;
  // |w|, |h| < 2^32, so the product of magnitudes fits 64 bits unsigned.
  const std::uint64_t need = static_cast<std::uint64_t>(w < 0 ? -w : w) *
                             static_cast<std::uint64_t>(h < 0 ? -h : h);
  return std::uint64_t{count} >= need;
}

}  // namespace

int CN4FileCalibrationEx::SetAreaData(CRect* area, RGBTRIPLE* values, unsigned long count) {
  if (area == nullptr || values == nullptr || !CountCovers(*area, count)) return 0;
  if (area->right <= area->left) return 0;
  int result = 0;
  // Only a rectangle with right > left and bottom > top is walked, and then
  // at most width * height <= count values are taken.
  for (std::int64_t y = area->top; y < area->bottom; ++y) {
    for (std::int64_t x = area->left; x < area->right; ++x) {
      CPoint pt(static_cast<LONG>(x), static_cast<LONG>(y));
      result = SetPixelCalData(&pt, *values);
      if (!result) break;
      ++values;
    }
  }
  return result;
}

unsigned long CN4FileCalibrationEx::GetAreaData(CRect* area, RGBTRIPLE* values, unsigned long count) {
  if (area == nullptr || values == nullptr || !CountCovers(*area, count)) return 0;
  if (area->right <= area->left) return 0;
  unsigned long copied = 0;
  for (std::int64_t y = area->top; y < area->bottom; ++y) {
    for (std::int64_t x = area->left; x < area->right; ++x) {
      CPoint pt(static_cast<LONG>(x), static_cast<LONG>(y));
      if (!GetPixelCalData(&pt, values)) break;
      ++values;
      ++copied;
    }
  }
  return copied;
}
