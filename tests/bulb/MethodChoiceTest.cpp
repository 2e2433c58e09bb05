// The choice of a packing method when its estimate was too kind.
#include <gtest/gtest.h>

#include "BulbChunk.h"

namespace {

using n4test::Bytes;

// Eight zeros between eight different values: run-length finds no runs and
// falls back to raw, the four-value estimate (14 bytes) beats the raw 16,
// but the packed stream needs 18. Method 1's result stands: the raw frame.
TEST(MethodChoice, APackingThatOutgrowsTheFrameKeepsTheRunLengthResult) {
  Bytes frame;
  for (BYTE v = 1; v <= 8; ++v) frame.insert(frame.end(), {0, v});
  SN4BulbCompInfo info;
  info.SetSizeAndColor(8, 16, Mono1);
  ASSERT_EQ(info.FrameSize(), frame.size());
  const n4test::Stored stored = n4test::Compress(frame, info, -30);
  EXPECT_EQ(stored.method, N4_BULB_COMPRESS_NONE);
  EXPECT_EQ(stored.body, frame);
  EXPECT_EQ(n4test::Expand(stored, info), frame);
}

}  // namespace
