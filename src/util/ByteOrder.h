// Little-endian reads and writes at any alignment.
//
// File records are little-endian and packed, so fields are often unaligned;
// these helpers never form a misaligned pointer to a wider type.
#pragma once

#include <cstdint>

namespace n4 {

inline std::uint16_t ReadLE16(const void* p) {
  const auto* b = static_cast<const unsigned char*>(p);
  return static_cast<std::uint16_t>(b[0] | (b[1] << 8));
}

inline std::uint32_t ReadLE32(const void* p) {
  const auto* b = static_cast<const unsigned char*>(p);
  return static_cast<std::uint32_t>(b[0]) | (static_cast<std::uint32_t>(b[1]) << 8) |
         (static_cast<std::uint32_t>(b[2]) << 16) | (static_cast<std::uint32_t>(b[3]) << 24);
}

inline void WriteLE16(void* p, std::uint16_t v) {
  auto* b = static_cast<unsigned char*>(p);
  b[0] = static_cast<unsigned char>(v);
  b[1] = static_cast<unsigned char>(v >> 8);
}

inline void WriteLE32(void* p, std::uint32_t v) {
  auto* b = static_cast<unsigned char*>(p);
  b[0] = static_cast<unsigned char>(v);
  b[1] = static_cast<unsigned char>(v >> 8);
  b[2] = static_cast<unsigned char>(v >> 16);
  b[3] = static_cast<unsigned char>(v >> 24);
}

}  // namespace n4
