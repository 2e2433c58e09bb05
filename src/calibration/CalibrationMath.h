// Size and offset arithmetic shared by the calibration classes, done in 64
// bits so that no rectangle, point or header can overflow it.
#pragma once

#include <cstdint>
#include <optional>

#include "n4file/Types.h"

namespace n4 {

// Bytes of a 24-bit bitmap w pixels wide and h rows high with rows padded to
// four bytes: ((w * 24 + 31) / 32) * h * 4, division truncating toward zero
// (so an inverted width or height gives zero or a negative size, as the
// 32-bit formula did). Empty when the result does not fit a signed 32-bit
// value, which the formula was computed in.
std::optional<std::int32_t> PaddedBitmapSize(std::int64_t w, std::int64_t h);

// True when the three bytes of a pixel at `offset` lie inside `size` bytes.
inline bool PixelFits(std::uint64_t offset, std::uint64_t size) {
  return size >= 3 && offset <= size - 3;
}

}  // namespace n4
