// Run scanning and fixed-size copies shared by the byte run-length codecs.
//
// Sign frames alternate short literals with runs, so the codecs spend their
// time finding the next run edge and moving a few bytes. SSE2 compares find an
// edge 16 bytes at a time; elsewhere eight-byte words do. The fixed-size
// copies move more than asked for: callers check the room on both sides.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <emmintrin.h>
#define N4_BULB_SSE2 1
#endif

#include "n4file/Types.h"

namespace n4::bulb {

// Copies exactly 16 bytes; the regions must not overlap.
inline void Copy16(BYTE* dst, const BYTE* src) {
#if N4_BULB_SSE2
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_loadu_si128(reinterpret_cast<const __m128i*>(src)));
#else
  std::memcpy(dst, src, 16);
#endif
}

inline void Fill16(BYTE* dst, BYTE v) {
#if N4_BULB_SSE2
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_set1_epi8(static_cast<char>(v)));
#else
  std::memset(dst, v, 16);
#endif
}

// Copies exactly n bytes (n >= 1) with a few fixed-size moves, overlapping
// rather than going past the end; the regions must not overlap.
inline void CopyExact(BYTE* dst, const BYTE* src, DWORD n) {
  if (n >= 16) {
    for (DWORD k = 0; k + 16 < n; k += 16) Copy16(dst + k, src + k);
    Copy16(dst + n - 16, src + n - 16);
  } else if (n >= 8) {
    std::memcpy(dst, src, 8);
    std::memcpy(dst + n - 8, src + n - 8, 8);
  } else if (n >= 4) {
    std::memcpy(dst, src, 4);
    std::memcpy(dst + n - 4, src + n - 4, 4);
  } else {
    for (DWORD k = 0; k < n; ++k) dst[k] = src[k];
  }
}

// Sets exactly n bytes (n >= 1) to v, as CopyExact.
inline void FillExact(BYTE* dst, BYTE v, DWORD n) {
  if (n >= 16) {
    for (DWORD k = 0; k + 16 < n; k += 16) Fill16(dst + k, v);
    Fill16(dst + n - 16, v);
  } else {
    const std::uint64_t pattern = 0x0101010101010101ull * v;
    if (n >= 8) {
      std::memcpy(dst, &pattern, 8);
      std::memcpy(dst + n - 8, &pattern, 8);
    } else if (n >= 4) {
      std::memcpy(dst, &pattern, 4);
      std::memcpy(dst + n - 4, &pattern, 4);
    } else {
      for (DWORD k = 0; k < n; ++k) dst[k] = v;
    }
  }
}

namespace detail {
inline std::uint64_t Load64(const BYTE* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
constexpr bool kLittleEndian = std::endian::native == std::endian::little;
}  // namespace detail

// First index k in [i, end) with src[k] == src[k - 1], or end. REQUIRES i >= 1.
inline DWORD NextEqual(const BYTE* src, DWORD i, DWORD end) {
#if N4_BULB_SSE2
  while (end - i >= 16) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i - 1));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(here, before)));
    if (mask != 0) return i + static_cast<DWORD>(std::countr_zero(mask));
    i += 16;
  }
#else
  if constexpr (detail::kLittleEndian) {
    constexpr std::uint64_t kLow = 0x0101010101010101ull;
    constexpr std::uint64_t kHigh = 0x8080808080808080ull;
    while (end - i >= 8) {
      const std::uint64_t x = detail::Load64(src + i) ^ detail::Load64(src + i - 1);
      // The lowest flagged byte is exact; only bytes above a zero can be
      // flagged falsely.
      const std::uint64_t zero = (x - kLow) & ~x & kHigh;
      if (zero != 0) return i + static_cast<DWORD>(std::countr_zero(zero) >> 3);
      i += 8;
    }
  }
#endif
  while (i < end && src[i] != src[i - 1]) ++i;
  return i;
}

// First index k in [i, end) with src[k] != v, or end.
inline DWORD NextDiffer(const BYTE* src, DWORD i, DWORD end, BYTE v) {
#if N4_BULB_SSE2
  const __m128i pattern = _mm_set1_epi8(static_cast<char>(v));
  while (end - i >= 16) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(here, pattern))) ^ 0xFFFFu;
    if (mask != 0) return i + static_cast<DWORD>(std::countr_zero(mask));
    i += 16;
  }
#else
  if constexpr (detail::kLittleEndian) {
    const std::uint64_t pattern = 0x0101010101010101ull * v;
    while (end - i >= 8) {
      const std::uint64_t x = detail::Load64(src + i) ^ pattern;
      if (x != 0) return i + static_cast<DWORD>(std::countr_zero(x) >> 3);
      i += 8;
    }
  }
#endif
  while (i < end && src[i] == v) ++i;
  return i;
}

// Whether the 16 bytes at p all equal v.
inline bool All16(const BYTE* p, BYTE v) {
#if N4_BULB_SSE2
  const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(here, _mm_set1_epi8(static_cast<char>(v)))) == 0xFFFF;
#else
  const std::uint64_t pattern = 0x0101010101010101ull * v;
  return detail::Load64(p) == pattern && detail::Load64(p + 8) == pattern;
#endif
}

}  // namespace n4::bulb
