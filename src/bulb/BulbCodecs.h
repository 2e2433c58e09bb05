// The bulb-data codecs with explicit output capacities.
//
// The public static members of CN4BulbData are thin wrappers over these. The
// chunk copy uses them directly so that an encoding never grows past the raw
// frame it replaces: every encoder here gets a capacity of at least `length`
// and falls back to a raw copy (method 0) rather than write beyond it.
#pragma once

#include <cstdint>

#include "n4file/BulbData.h"

namespace n4::bulb {

// A raw copy of src into dst as the fall-back of every encoder.
// REQUIRES: dst holds length bytes.
DWORD StoreRaw(const BYTE* src, DWORD length, BYTE* dst, int* method);

// Method 1. REQUIRES: capacity >= length.
DWORD EncodeRle(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, DWORD* histogram, int* method);
DWORD DecodeRle(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity);

// Methods 2-4, `values` being 4, 2 or 1. Returns 0 (nothing usable in dst)
// when the encoding needs more than capacity bytes.
DWORD EncodeTop(int values, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, const DWORD* histogram);
DWORD DecodeTop(int values, const BYTE* src, DWORD length, BYTE* dst, DWORD capacity);
// The `count` most frequent byte values, most frequent first; a tie keeps the
// lower value.
void TopValues(const DWORD* histogram, int count, BYTE* values);
void CountBytes(const BYTE* src, DWORD length, DWORD* histogram);

// Method 5. REQUIRES: capacity >= length.
DWORD EncodeRleWord(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, int* method);
DWORD DecodeRleWord(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity);

// Method 7. REQUIRES: capacity >= length.
DWORD EncodeRgb24(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity, int* method);
DWORD DecodeRgb24(const BYTE* src, DWORD length, BYTE* dst, DWORD capacity);

// Size estimates of the bit-packing methods for n bytes whose most frequent
// values occur c[0] >= c[1] >= c[2] >= c[3] times; k is the header allowance
// of the four-value estimate.
struct TopEstimates {
  std::int64_t top4;
  std::int64_t top2;
  std::int64_t top1;
};
TopEstimates EstimateTop(const DWORD* counts, std::int64_t n, std::int64_t k);

// The bit-packing method (2, 3 or 4) worth using for a planar frame of n raw
// bytes, or the run-length result kept: 1 when run-length succeeded with
// rleSize bytes and `histogram` is its partial count; 0 when it fell back and
// `histogram` counts all n bytes.
int ChooseBitPacking(const DWORD* histogram, DWORD n, int rleMethod, DWORD rleSize);

}  // namespace n4::bulb
