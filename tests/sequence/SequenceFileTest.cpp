#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SequenceTestSupport.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

class SequenceFileTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  n4test::TempDir dir_;
  n4test::ScopedFaultEnv faults_;
};

TEST_F(SequenceFileTest, ANewSequenceHoldsStartAndEndFrames) {
  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(Path("a.sq4").c_str(), 32, 96, Quad16, PixelTechI), 1);
  EXPECT_STREQ(f.GetPtrToSoftware(), "Lyrae 4000 Sequence Designer");
  EXPECT_EQ(f.GetArraySize(), 4);
  EXPECT_EQ(f.FrameCount(), 1);
  EXPECT_NE(dynamic_cast<CN4SosFrame*>(f.Frame(0)), nullptr);
  EXPECT_NE(dynamic_cast<CN4EosFrame*>(f.Frame(1)), nullptr);
  EXPECT_EQ(f.Frame(3), nullptr);
  EXPECT_EQ(f.Frame(-1), nullptr);
  tag_N4_SOS_FRM* sos = f.SosData();
  ASSERT_NE(sos, nullptr);
  EXPECT_EQ(sos->wHeight, 32);
  EXPECT_EQ(sos->wWidth, 96);
  EXPECT_EQ(sos->dwColorTech, static_cast<DWORD>(Quad16));
  EXPECT_EQ(sos->dwPixelTech, static_cast<DWORD>(PixelTechI));
  EXPECT_NE(f.EosData(), nullptr);
  EXPECT_EQ(f.GetFirstFrameObjectNumber(), 3);
  EXPECT_EQ(f.GetGraphicBulbPrototype()->m_dwHeight, 32u);
}

TEST_F(SequenceFileTest, FramesAreInsertedByPositionInFrontOfTheEnd) {
  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(Path("a.sq4").c_str(), 16, 16, Mono1, PixelTechI), 1);
  EXPECT_EQ(f.AddFrame(n4::kFourccSnd, 1), 1);
  EXPECT_NE(dynamic_cast<CN4EosFrame*>(f.Frame(2)), nullptr);
  EXPECT_EQ(f.AddFrame(n4::kFourccCmd, 0), 2);     // below the first: in front of the end
  EXPECT_EQ(f.AddFrame(n4::kFourccTxd, 9999), 3);  // beyond the last: likewise
  EXPECT_EQ(f.AddFrame(n4::kFourccGrp, 1), 1);
  EXPECT_NE(dynamic_cast<CN4GphFrame*>(f.Frame(1)), nullptr);
  EXPECT_NE(dynamic_cast<CN4SndFrame*>(f.Frame(2)), nullptr);
  EXPECT_NE(dynamic_cast<CN4CmdFrame*>(f.Frame(3)), nullptr);
  EXPECT_NE(dynamic_cast<CN4TxdFrame*>(f.Frame(4)), nullptr);
  EXPECT_NE(dynamic_cast<CN4EosFrame*>(f.Frame(5)), nullptr);
  EXPECT_EQ(f.AddFrame(n4::MakeFourCC("zzzz"), 1), -1);
  EXPECT_EQ(f.RemoveFrame(2), 1);
  EXPECT_NE(dynamic_cast<CN4CmdFrame*>(f.Frame(2)), nullptr);
  EXPECT_EQ(f.FrameCount(), 4);
}

TEST_F(SequenceFileTest, TheFrameLimitLeavesTheFileAlone) {
  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(Path("a.sq4").c_str(), 8, 16, Mono1, PixelTechI), 1);
  for (int i = 1; i < n4::kMaxFrames; ++i) ASSERT_EQ(f.AddFrame(n4::kFourccSnd, 9999), i);
  EXPECT_EQ(f.FrameCount(), 5000);
  void* end = f.GetEnd();
  const int objects = f.GetArraySize();
  EXPECT_EQ(f.AddFrame(n4::kFourccSnd, 1), -2);
  EXPECT_EQ(f.AddFrame(f.Frame(1), 1, 0, 0), -2);
  EXPECT_EQ(f.GetEnd(), end);
  EXPECT_EQ(f.GetArraySize(), objects);
  ASSERT_EQ(f.Update(), 1);
  EXPECT_EQ(f.SosData()->wFrameCount, 5000);
}

TEST_F(SequenceFileTest, RunTimeSumsEntriesHoldsAndExits) {
  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(Path("a.sq4").c_str(), 32, 96, Mono1, PixelTechI), 1);
  // Alone, a frame without effects or hold counts 4 ticks.
  ASSERT_EQ(f.AddFrame(n4::kFourccGrp, 9999), 1);
  EXPECT_EQ(f.CalcRunTime(), 33);

  ASSERT_EQ(f.AddFrame(n4::kFourccGrp, 9999), 2);
  tag_N4_GRP_HDR* g = dynamic_cast<CN4GphFrame*>(f.Frame(2))->GphHdr();
  g->lEntryEffect = 15;  // Wand Left: one step per column
  g->lEntryRate = 2;
  g->wEntryDivider = 4;
  g->lHoldTime = 120;
  g->lExitEffect = 2;  // eight steps, never divided
  g->lExitRate = 0;
  g->wExitDivider = 4;
  ASSERT_EQ(f.AddFrame(n4::kFourccInc, 9999), 3);
  ASSERT_EQ(f.AddFrame(n4::kFourccCmd, 9999), 4);
  // 4 + (2 + 4) * 96 / 4 + 120 + (0 + 4) * 8 = 300 ticks = 2500 ms
  EXPECT_EQ(f.CalcRunTime(), 2500);
  EXPECT_EQ(f.SosData()->dwRunTime, 2500u);
  EXPECT_EQ(f.SosData()->wIncludeCount, 1);

  // Negative rates divide towards zero, as signed arithmetic does.
  g->lEntryRate = -7;  // (-7 + 4) * 96 / 4 = -72
  EXPECT_EQ(f.CalcRunTime(), (4 - 72 + 120 + 32) * 1000 / 120);
}

TEST_F(SequenceFileTest, PagesAreSizedFromTheSign) {
  struct Case {
    WORD height, width;
    tag_N4_SIGN_COLOR color;
    DWORD page;
  };
  const Case cases[] = {
      {32, 96, Mono1, 6144},       {32, 96, RGB16MB, 147456},    {31, 90, Mono16, 32 * 6 * 2 * 4 * 16},
      {256, 512, RGB16MB, 393216 * 16}, {512, 1024, RGB16MB, 1572864 * 8}, {1024, 1024, RGB16MB, 3145728 * 4},
      {2048, 1024, RGB16MB, 6291456 * 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.page);
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(Path("p.sq4").c_str(), c.height, c.width, c.color, PixelTechL), 1);
    f.SetMappingPageSize();
    EXPECT_EQ(f.GetMappingPageSize(), c.page);
  }
}

// A file without a start frame has default pages and no preview flag, and
// does not open for reading.
TEST_F(SequenceFileTest, PreviewOnlyNeedsAStartFrame) {
  CN4SequenceFile bare;
  ASSERT_EQ(bare.Open(Path("bare.sq4").c_str(), OpenCreate), 1);
  bare.SetMappingPageSize();
  EXPECT_EQ(bare.GetMappingPageSize(), 65536u);
  EXPECT_EQ(bare.IsPreviewOnly(), 255);
  EXPECT_EQ(bare.SetPreviewOnly(1), 0);
  EXPECT_EQ(bare.FrameCount(), 0);
  ASSERT_EQ(bare.Update(), 1);
  bare.Close();
  CN4SequenceFile reader;
  EXPECT_EQ(reader.Open(Path("bare.sq4").c_str(), OpenReadOnly), 0);  // no start frame

  CN4SequenceFile f;
  ASSERT_EQ(f.OpenCreate(Path("a.sq4").c_str(), 8, 8, Mono1, PixelTechI), 1);
  EXPECT_EQ(f.IsPreviewOnly(), 0);
  EXPECT_EQ(f.SetPreviewOnly(7), 1);
  EXPECT_EQ(f.IsPreviewOnly(), 1);
  ASSERT_EQ(f.Update(), 1);
  f.Close();
  ASSERT_EQ(reader.Open(Path("a.sq4").c_str(), OpenReadOnly), 1);
  EXPECT_EQ(reader.IsPreviewOnly(), 1);
}

TEST_F(SequenceFileTest, CopiedGraphicFramesHandTheMethodOver) {
  // A compressed saved frame, copied into another sequence for editing,
  // arrives expanded with header offset 48 cleared.
  const Bytes pixels = n4test::FrameContent(32, 96, Mono4, 5);
  n4test::SaveSequence(Path("src.sq4"), 32, 96, Mono4, 1, {pixels});
  CN4SequenceFile src;
  ASSERT_EQ(src.Open(Path("src.sq4").c_str(), OpenReadOnly), 1);
  auto* saved = dynamic_cast<CN4GphFrame*>(src.Frame(1));
  ASSERT_NE(saved, nullptr);
  EXPECT_EQ(saved->GphHdr()->dwCompressMethod, static_cast<DWORD>(N4_BULB_COMPRESS_RLE));

  CN4SequenceFile dst;
  ASSERT_EQ(dst.OpenCreate(Path("dst.sq4").c_str(), 32, 96, Mono4, PixelTechI), 1);
  ASSERT_EQ(dst.AddFrame(saved, 1, 1, 1), 1);
  auto* copy = dynamic_cast<CN4GphFrame*>(dst.Frame(1));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->GphHdr()->dwCompressMethod, 0u);
  EXPECT_EQ(n4::GraphicFramePixels(copy), pixels);
  EXPECT_EQ(copy->GetBulbObj()->GetBulbCompInfoPtr(), dst.GetGraphicBulbPrototype());
}

// A frame copied in is expanded with its own sign's geometry, which may be far
// larger than a frame of the sign it is copied into: the copy must stay inside
// the working file's mapping, whatever the two sizes and the stored method.
TEST_F(SequenceFileTest, FramesCopyBetweenSignsOfEverySize) {
  struct Sign { const char* name; WORD height, width; };
  const Sign signs[] = {{"small", 32, 96}, {"large", 2048, 2048}};
  for (const Sign& from : signs) {
    for (int compressed = 0; compressed < 2; ++compressed) {
      const std::string source = Path(std::string(from.name) + std::to_string(compressed) + ".sq4");
      n4test::SaveSequence(source, from.height, from.width, Mono1, static_cast<DWORD>(compressed * 30),
                           {Bytes(n4::FrameSize(from.height, from.width, Mono1), 0)});
      CN4SequenceFile src;
      ASSERT_EQ(src.Open(source.c_str(), OpenReadOnly), 1);
      for (const Sign& to : signs) {
        SCOPED_TRACE(std::string(from.name) + " to " + to.name + (compressed ? ", compressed" : ""));
        CN4SequenceFile dest;
        ASSERT_EQ(dest.OpenCreate(Path("dest.sq4").c_str(), to.height, to.width, Mono1, PixelTechI), 1);
        ASSERT_EQ(dest.AddFrame(src.Frame(1), 1, 1, compressed), 1);
        EXPECT_LE(dest.GetEnd(), dest.GetMappedEnd());
        auto* copy = dynamic_cast<CN4GphFrame*>(dest.Frame(1));
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->GetBulbObj()->GetSize(), n4::FrameSize(from.height, from.width, Mono1));
      }
    }
  }
}

// Frames held in a list chunk grow the file once for the whole list; when
// that fails the frame is refused with the system's error and nothing of it
// is left in the file.
TEST(ListFrames, AFailedGrowthIsReported) {
  n4test::TempDir dir;
  n4test::ScopedFaultEnv faults;
  for (DWORD id : {n4::kFourccCmd, n4::kFourccGrp}) {
    SCOPED_TRACE(id);
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(dir.File("a.sq4").c_str(), 256, 512, Mono1, PixelTechI), 1);
    faults.env.failMapAbove = f.GetMappingSize();
    // Frames fit until the mapping is full.
    int frames = f.FrameCount();
    while (frames < 1000 && f.AddFrame(id, 1) >= 0) ++frames;
    EXPECT_EQ(f.GetLastFileError(), n4::kErrDiskFull);
    EXPECT_EQ(f.FrameCount(), frames);
    faults.env.failMapAbove = 0;
    EXPECT_GE(f.AddFrame(id, 1), 0);
  }
}

}  // namespace
