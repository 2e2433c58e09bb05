// CN4FileCalibration's static pixel and module operations: packed pixel
// addressing inside a buffer whose size the caller gives.
#include <cstdint>
#include <limits>

#include "calibration/CalibrationMath.h"
#include "n4file/Calibration.h"

namespace {

// Failure value of the module operations.
constexpr int kModuleFailed = -1;

// Checked pixel position: the offset of pt on the face, or -1.
std::int64_t PixelStart(CPoint* pt, CSize* size, unsigned long bufferSize) {
  const int offset = CN4FileCalibration::GetPixelOffset(pt, size);
  if (offset < 0 || !n4::PixelFits(static_cast<std::uint64_t>(offset), bufferSize)) return -1;
  return offset;
}

// What a module copy of `area` needs (padded rows), or nothing when that
// does not fit an int.
std::optional<std::int32_t> ModuleNeed(const CRect& area) {
  return n4::PaddedBitmapSize(std::int64_t{area.right} - area.left,
                              std::int64_t{area.bottom} - area.top);
}

}  // namespace

int CN4FileCalibration::GetPixelOffset(CPoint* pt, CSize* size) {
  if (pt == nullptr || size == nullptr) return -1;
  if (pt->x >= size->cx || pt->y >= size->cy) return -1;
  // |y * cx| < 2^62 and |x| < 2^31: the sum fits; the * 3 is checked.
  const std::int64_t index = std::int64_t{pt->y} * size->cx + pt->x;
  if (index < 0 || index > std::numeric_limits<int>::max() / 3) return -1;
  return static_cast<int>(index * 3);
}

int CN4FileCalibration::SetPixelData(CPoint* pt, unsigned char first, unsigned char second,
                                     unsigned char third, CSize* size, unsigned char* dest,
                                     unsigned long destSize) {
  if (dest == nullptr) return 0;
  const std::int64_t offset = PixelStart(pt, size, destSize);
  if (offset < 0) return 0;
  dest[offset] = third;
  dest[offset + 1] = second;
  dest[offset + 2] = first;
  return 1;
}

int CN4FileCalibration::GetPixelData(CPoint* pt, unsigned char* first, unsigned char* second,
                                     unsigned char* third, CSize* size, unsigned char* src,
                                     unsigned long srcSize) {
  if (src == nullptr || first == nullptr || second == nullptr || third == nullptr) return 0;
  const std::int64_t offset = PixelStart(pt, size, srcSize);
  if (offset < 0) return 0;
  *third = src[offset];
  *second = src[offset + 1];
  *first = src[offset + 2];
  return 1;
}

int CN4FileCalibration::SetModuleData(CRect* area, unsigned char* src, unsigned long srcSize,
                                      CSize* size, unsigned char* dest, unsigned long destSize) {
  if (area == nullptr) return kModuleFailed;
  const auto need = ModuleNeed(*area);
  if (!need) return kModuleFailed;
  if (src == nullptr || srcSize == 0) return *need;
  // Compared as numbers: an inverted area needs zero or less and copies nothing.
  if (*need > 0 && srcSize < static_cast<unsigned long>(*need)) return kModuleFailed;
  // An area without pixels copies nothing, however many empty rows it spans.
  if (area->right <= area->left || area->bottom <= area->top) return *need;
  // The packed copy reads 3 * w * h bytes, never more than the padded need.
  for (std::int64_t y = area->top; y < area->bottom; ++y) {
    for (std::int64_t x = area->left; x < area->right; ++x) {
      CPoint pt(static_cast<LONG>(x), static_cast<LONG>(y));
      if (!SetPixelData(&pt, src[2], src[1], src[0], size, dest, destSize)) return kModuleFailed;
      src += 3;
    }
  }
  return *need;
}

int CN4FileCalibration::GetModuleData(CRect* area, unsigned char* dest, unsigned long destSize,
                                      CSize* size, unsigned char* src, unsigned long srcSize) {
  if (area == nullptr) return kModuleFailed;
  const auto need = ModuleNeed(*area);
  if (!need) return kModuleFailed;
  if (dest == nullptr || destSize == 0) return *need;
  if (*need > 0 && destSize < static_cast<unsigned long>(*need)) return kModuleFailed;
  if (area->right <= area->left || area->bottom <= area->top) return *need;
  for (std::int64_t y = area->top; y < area->bottom; ++y) {
    for (std::int64_t x = area->left; x < area->right; ++x) {
      CPoint pt(static_cast<LONG>(x), static_cast<LONG>(y));
      // GetPixelData hands back (first, second, third) = (dest[2], dest[1], dest[0]),
      // so the bytes land in the stored order.
      if (!GetPixelData(&pt, &dest[2], &dest[1], &dest[0], size, src, srcSize)) return kModuleFailed;
      dest += 3;
    }
  }
  return *need;
}
