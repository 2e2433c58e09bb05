// A graphic frame's pixels as n4::GraphicFramePixels hands them out: from a
// working file, expanded from every lossless method, and refused when damaged.
#include <gtest/gtest.h>

#include "SequenceTestSupport.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

TEST(GraphicFramePixels, ComeBackFromWorkingAndSavedFiles) {
  n4test::TempDir dir;
  const struct {
    DWORD color;
    DWORD level;
  } cases[] = {{Mono4, 0}, {Mono4, 1}, {Quad256, 30}, {RGB32KB, 10}, {RGB16MB, 10}, {RGB4K, 30}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "colour " << c.color << " level " << c.level);
    const std::string path = dir.File("p.sq4");
    const Bytes pixels = n4test::FrameContent(13, 37, c.color, 7);
    {
      CN4SequenceFile f;
      ASSERT_EQ(f.OpenCreate(path.c_str(), 13, 37, static_cast<tag_N4_SIGN_COLOR>(c.color), PixelTechL), 1);
      ASSERT_EQ(n4test::AddGraphic(f, pixels), 1);
      EXPECT_EQ(n4::GraphicFramePixels(dynamic_cast<CN4GphFrame*>(f.Frame(1))), pixels);
      f.RiffHdr()->dwCompression = c.level;
      ASSERT_EQ(f.Update(), 1);
    }
    CN4SequenceFile f;
    ASSERT_EQ(f.Open(path.c_str(), OpenReadOnly), 1);
    EXPECT_EQ(n4::GraphicFramePixels(dynamic_cast<CN4GphFrame*>(f.Frame(1))), pixels);
  }
  EXPECT_TRUE(n4::GraphicFramePixels(nullptr).empty());
}

TEST(GraphicFramePixels, ADamagedStreamGivesNothing) {
  n4test::TempDir dir;
  const std::string path = dir.File("d.sq4");
  const Bytes pixels = n4test::FrameContent(16, 48, Mono1, 3);
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(path.c_str(), 16, 48, Mono1, PixelTechI), 1);
    ASSERT_EQ(n4test::AddGraphic(f, pixels), 1);
    f.RiffHdr()->dwCompression = 1;
    ASSERT_EQ(f.Update(), 1);
  }
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
}

}  // namespace
