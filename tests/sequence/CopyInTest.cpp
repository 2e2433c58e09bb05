// Records copied into a working file: whole frames of any size, and records
// from saved files that must edit like fresh ones.
#include <gtest/gtest.h>

#include <string>

#include "SequenceTestSupport.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

// A frame's size comes from the sign, however large: a caller fills the
// whole frame without reaching into the next chunk, and it survives a
// compressed save.
TEST(CopyIn, AFrameLargerThanTheDefaultCeilingIsWhole) {
  n4test::TempDir dir;
  const std::string path = dir.File("large.sq4");
  constexpr int kRows = 2100, kCols = 4096;
  const DWORD frameSize = n4::FrameSize(kRows, kCols, RGB16MB);
  ASSERT_GT(frameSize, n4::kMaxFrameSize);
  const Bytes picture = n4test::FrameContent(kRows, kCols, RGB16MB, 7);
  ASSERT_EQ(picture.size(), frameSize);
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(path.c_str(), kRows, kCols, RGB16MB, PixelTechI), 1);
    ASSERT_EQ(n4test::AddGraphic(f, picture), 1);
    ASSERT_EQ(f.AddFrame(n4::kFourccCmd, 9999), 2);
    auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(2));
    ASSERT_NE(cmd, nullptr);
    EXPECT_EQ(cmd->AddCommand("after"), 0);
    f.RiffHdr()->dwCompression = 10;
    ASSERT_EQ(f.Update(), 1);
  }
  CN4SequenceFile f;
  ASSERT_EQ(f.Open(path.c_str(), OpenReadOnly), 1);
  auto* frame = dynamic_cast<CN4GphFrame*>(f.Frame(1));
  ASSERT_NE(frame, nullptr);
  EXPECT_TRUE(n4::GraphicFramePixels(frame) == picture);
  auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(2));
  ASSERT_NE(cmd, nullptr);
  EXPECT_STREQ(cmd->GetPtrToCommandString(0), "after");
}

// A command frame read from a saved file holds compacted strings; copied
// into an editable file, whatever mode the caller names, it takes commands
// of any allowed length, as a fresh frame does.
TEST(CopyIn, ACompactedCommandFrameEditsLikeAFreshOne) {
  n4test::TempDir dir;
  const std::string saved = dir.File("saved.sq4");
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(saved.c_str(), 16, 32, Mono1, PixelTechI), 1);
    ASSERT_EQ(f.AddFrame(n4::kFourccCmd, 9999), 1);  // no commands
    ASSERT_EQ(f.AddFrame(n4::kFourccCmd, 9999), 2);
    ASSERT_EQ(dynamic_cast<CN4CmdFrame*>(f.Frame(2))->AddCommand("x"), 0);
    ASSERT_EQ(f.Update(), 1);
  }
  CN4SequenceFile source;
  ASSERT_EQ(source.Open(saved.c_str(), OpenReadOnly), 1);
  const std::string longest(255, 'c');
  for (int mode : {-1, 0, 1}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    CN4SequenceFile target;
    ASSERT_EQ(target.OpenCreate(dir.File("target.sq4").c_str(), 16, 32, Mono1, PixelTechI), 1);
    ASSERT_EQ(target.AddFrame(source.Frame(1), 9999, mode, 0), 1);
    ASSERT_EQ(target.AddFrame(source.Frame(2), 9999, mode, 0), 2);
    auto* empty = dynamic_cast<CN4CmdFrame*>(target.Frame(1));
    auto* one = dynamic_cast<CN4CmdFrame*>(target.Frame(2));
    ASSERT_TRUE(empty && one);
    EXPECT_EQ(empty->AddCommand("abc"), 0);
    EXPECT_EQ(one->GetCommandCount(), 1);
    EXPECT_EQ(one->AddCommand(longest.c_str()), 1);
    EXPECT_EQ(one->InsertCommand(0, longest.c_str()), 1);
    EXPECT_STREQ(one->GetPtrToCommandString(1), "x");
    ASSERT_EQ(target.Update(), 1);
  }
}

}  // namespace
