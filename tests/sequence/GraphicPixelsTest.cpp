// n4::GraphicFramePixels refuses what is no frame. The pixels it hands out
// are checked by every sequence test that reads frames back.
#include <gtest/gtest.h>

#include "SequenceTestSupport.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

TEST(GraphicFramePixels, ADamagedStreamGivesNothing) {
  n4test::TempDir dir;
  const std::string path = dir.File("d.sq4");
  const Bytes pixels = n4test::FrameContent(16, 48, Mono1, 3);
  n4test::SaveSequence(path, 16, 48, Mono1, 1, {pixels});
  CN4SequenceFile f;
  ASSERT_EQ(f.Open(path.c_str(), OpenModify), 1);
  auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(1));
  ASSERT_NE(g, nullptr);
  // Editing expands the frame; marking it packed again with a count that is
  // not one frame stands for a stream written for another sign.
  g->GphHdr()->dwCompressMethod = N4_BULB_COMPRESS_RLE;
  n4::WriteLE32(g->BulbData(), 5);
  EXPECT_TRUE(n4::GraphicFramePixels(g).empty());
  g->GphHdr()->dwCompressMethod = 99;
  EXPECT_TRUE(n4::GraphicFramePixels(g).empty());
  EXPECT_TRUE(n4::GraphicFramePixels(nullptr).empty());
}

}  // namespace
