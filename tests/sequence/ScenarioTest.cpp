// Whole sequences: created for a sign, filled with real pixels and commands,
// saved with and without compression, read back as a player reads them,
// edited and saved again.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "SequenceTestSupport.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

using n4test::Bytes;

struct Sign {
  WORD height;
  WORD width;
  tag_N4_SIGN_COLOR color;
  tag_N4_PIXEL_TECH tech;
};

const Sign kSigns[] = {
    {32, 96, Mono1, PixelTechI},   {31, 90, Mono4, PixelTechI},   {16, 40, Mono16, PixelTechL},
    {24, 64, Tri256, PixelTechL},  {17, 33, Quad16M, PixelTechI}, {16, 48, RGB4K, PixelTechL},
    {12, 40, RGB16M, PixelTechL},  {24, 50, RGB32KB, PixelTechL}, {20, 37, RGB16MB, PixelTechL},
};

// Header compression settings: off, and the three levels callers use.
const DWORD kCompression[] = {0, 1, 10, 30};

// What was written: pixels by frame number, and the commands and where.
struct Expected {
  std::map<int, Bytes> pixels;
  std::vector<std::string> commands;
  int commandFrame = 3;
};

Expected Fill(CN4SequenceFile& f, const Sign& sign) {
  Expected e;
  for (int i = 0; i < 4; ++i) {
    Bytes pixels = n4test::FrameContent(sign.height, sign.width, sign.color, 100 + i);
    const int n = n4test::AddGraphic(f, pixels, 9999, 30 * (i + 1));
    EXPECT_EQ(n, i + 1);
    e.pixels[n] = pixels;
  }
  const int n = f.AddFrame(n4::kFourccCmd, 3);  // between the graphics
  EXPECT_EQ(n, 3);
  auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(n));
  e.commands = {"BRIGHT 50", "SYNC", "CLOCK 12:00"};
  for (const auto& c : e.commands) cmd->AddCommand(c.c_str());
  // Frames after the command frame moved one on.
  std::map<int, Bytes> moved;
  for (auto& [frame, pixels] : e.pixels) moved[frame >= 3 ? frame + 1 : frame] = std::move(pixels);
  e.pixels = std::move(moved);
  return e;
}

// Pixels must come back exactly, except from the lossy video codec, which
// must come back the right size.
void ExpectContent(CN4SequenceFile& f, const Expected& e, const Sign& sign) {
  ASSERT_EQ(f.FrameCount(), static_cast<int>(e.pixels.size()) + 2);
  for (const auto& [n, pixels] : e.pixels) {
    SCOPED_TRACE(n);
    auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(n));
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->GetFrameNumber(), n);
    Bytes decoded = n4::GraphicFramePixels(g);
    if (g->GphHdr()->dwCompressMethod == N4_BULB_COMPRESS_VIDEO) {
      EXPECT_EQ(decoded.size(), pixels.size());
    } else {
      EXPECT_TRUE(decoded == pixels) << "method " << g->GphHdr()->dwCompressMethod;
    }
  }
  auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(e.commandFrame));
  ASSERT_NE(cmd, nullptr);
  ASSERT_EQ(cmd->GetCommandCount(), static_cast<int>(e.commands.size()));
  for (int i = 0; i < cmd->GetCommandCount(); ++i) EXPECT_EQ(cmd->GetPtrToCommandString(i), e.commands[i]);
  EXPECT_NE(dynamic_cast<CN4EosFrame*>(f.Frame(f.FrameCount())), nullptr);
  tag_N4_SOS_FRM* sos = f.SosData();
  EXPECT_EQ(sos->wHeight, sign.height);
  EXPECT_EQ(sos->wWidth, sign.width);
  EXPECT_EQ(sos->wFrameCount, f.FrameCount());
}

TEST(SequenceScenario, EverySignAndCompressionRoundTrips) {
  n4test::TempDir dir;
  n4test::ScopedFaultEnv faults;
  for (const Sign& sign : kSigns) {
    for (DWORD compression : kCompression) {
      SCOPED_TRACE("colour " + std::to_string(sign.color) + " compression " + std::to_string(compression));
      const std::string path = dir.File("seq.sq4");
      Expected e;
      {
        CN4SequenceFile f;
        ASSERT_EQ(f.OpenCreate(path.c_str(), sign.height, sign.width, sign.color, sign.tech), 1);
        f.RiffHdr()->dwCompression = compression;
        e = Fill(f, sign);
        ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
      }
      {
        CN4SequenceFile f;
        ASSERT_EQ(f.Open(path.c_str(), OpenReadOnly), 1);
        EXPECT_EQ(f.IsFileCompressionOn(), compression != 0);
        ExpectContent(f, e, sign);
        // Saved with compression, planar frames say how they were packed.
        if (compression != 0 && !n4::IsDirectColor(sign.color)) {
          auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(1));
          EXPECT_NE(g->GphHdr()->dwCompressMethod, 0u);
        }
      }
      {  // Edit: insert a frame at the front, drop the last graphic, save again.
        CN4SequenceFile f;
        ASSERT_EQ(f.Open(path.c_str(), OpenModify), 1) << f.GetPtrToErrorString();
        for (int n = 1; n <= f.FrameCount(); ++n) {
          if (auto* g = dynamic_cast<CN4GphFrame*>(f.Frame(n))) {
            EXPECT_EQ(g->GphHdr()->dwCompressMethod, 0u);  // expanded for editing
          }
        }
        Bytes front = n4test::FrameContent(sign.height, sign.width, sign.color, 7);
        ASSERT_EQ(n4test::AddGraphic(f, front, 1), 1);
        ASSERT_EQ(f.RemoveFrame(6), 1);
        std::map<int, Bytes> shifted{{1, front}};
        for (auto& [n, pixels] : e.pixels) {
          if (n + 1 != 6) shifted[n + 1] = pixels;
        }
        e.pixels = shifted;
        e.commandFrame = 4;
        ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
      }
      CN4SequenceFile f;
      ASSERT_EQ(f.Open(path.c_str(), OpenReadOnly), 1);
      ASSERT_EQ(f.FrameCount(), 6);
      ExpectContent(f, e, sign);
      EXPECT_EQ(faults.TempFiles(), 0);
    }
  }
}

}  // namespace
