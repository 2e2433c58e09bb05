#include "calibration/CalibrationMath.h"

#include <limits>

namespace n4 {

std::optional<std::int32_t> PaddedBitmapSize(std::int64_t w, std::int64_t h) {
  // Callers pass differences of two LONGs, so w * 24 cannot overflow; the
  // product with h can, and is checked before it is formed.
  if (w > (std::int64_t{1} << 40) || w < -(std::int64_t{1} << 40)) return std::nullopt;
  const std::int64_t row = (w * 24 + 31) / 32;
  const std::int64_t absRow = row < 0 ? -row : row;
  const std::int64_t absH = h < 0 ? -h : h;
  constexpr std::int64_t kLimit = std::numeric_limits<std::int32_t>::max();
  if (absRow != 0 && absH > kLimit / absRow) return std::nullopt;
  const std::int64_t size = row * h * 4;
  if (size > kLimit || size < std::numeric_limits<std::int32_t>::min()) return std::nullopt;
  return static_cast<std::int32_t>(size);
}

}  // namespace n4
