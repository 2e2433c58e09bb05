// n4file calib and `info` on calibration files, end to end.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include <n4file/Calibration.h>

#include "Tool.h"
#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::Result;
using n4tooltest::ShellQuote;

class CalibToolTest : public n4tooltest::ToolRunner {
 protected:
  void SetUp() override {
    ToolRunner::SetUp();
    fs::create_directories(dir_ / "data");
    env_ = "N4_REGISTRY_DIR=" + ShellQuote(Path("registry"));
    ASSERT_EQ(Run({"registry", "set", "File Locations", "DataPath", Path("data")}).status, 0);
  }

  // A 2 x 3 face; pixel i has red -i, green i * 10, blue 100 - i.
  void WriteFace(const std::string& name) {
    CN4FileCalibrationEx cal(2, 3);
    cal.InitializeDataBuffer(static_cast<unsigned char>(0), 24);
    for (LONG i = 0; i < 6; ++i) {
      CPoint pt{i % 3, i / 3};
      const RGBTRIPLE value{static_cast<BYTE>(100 - i), static_cast<BYTE>(i * 10), static_cast<BYTE>(-i)};
      ASSERT_EQ(cal.SetPixelCalData(&pt, value), 1);
    }
    ASSERT_EQ(cal.Open(Path(name).c_str(), 0, 1, 0), 1);
    ASSERT_EQ(cal.WriteFile(), 1);
  }
};

TEST_F(CalibToolTest, ShowAndInfoGiveSignedComponentStatistics) {
  WriteFace("face.CA4");
  ExpectTranscript("calib-show.transcript", {{"calib", "show", "--json", "face.CA4"},
                                             {"info", "--json", "face.CA4"},
                                             {"calib", "show", "face.CA4"}});
}

TEST_F(CalibToolTest, RenderDrawsPanelsOrOneColourPicture) {
  WriteFace("face.CA4");
  ASSERT_EQ(Run({"calib", "render", "face.CA4", "-o", "grey.png"}).status, 0);
  ASSERT_EQ(Run({"calib", "render", "face.CA4", "-o", "rgb.png", "--rgb"}).status, 0);
  n4tool::Picture grey, rgb;
  std::string cause;
  ASSERT_TRUE(n4tool::ReadPng(Path("grey.png"), grey, cause)) << cause;
  ASSERT_TRUE(n4tool::ReadPng(Path("rgb.png"), rgb, cause)) << cause;
  ASSERT_EQ(grey.width, 9u);
  ASSERT_EQ(grey.height, 2u);
  ASSERT_EQ(rgb.width, 3u);
  // Pixel (2, 1) is number 5: red -5, green 50, blue 95.
  const size_t pixel = (1 * 3 + 2) * 3;
  EXPECT_EQ(rgb.rgb[pixel], 123);
  EXPECT_EQ(rgb.rgb[pixel + 1], 178);
  EXPECT_EQ(rgb.rgb[pixel + 2], 223);
  for (int panel = 0; panel < 3; ++panel) {
    SCOPED_TRACE(panel);
    const size_t at = (1 * 9 + panel * 3 + 2) * 3;
    EXPECT_EQ(grey.rgb[at], rgb.rgb[pixel + panel]);
    EXPECT_EQ(grey.rgb[at + 1], grey.rgb[at]);
  }
}

TEST_F(CalibToolTest, NewNamePrintsTheNameForTheFace) {
  const Result first = Run({"calib", "new-name", "Lobby", "--face", "2"});
  ASSERT_EQ(first.status, 0) << first.err;
  const std::regex form(R"(Lobby\.(\d\d\w{3}\d\d|\d\d_\d\d_\d\d)\.FB\.R01\.CA4\n)");
  ASSERT_TRUE(std::regex_match(first.out, form)) << first.out;
  EXPECT_EQ(Run({"calib", "new-name", "Lobby", "--face", "x"}).status, 2);
}

TEST_F(CalibToolTest, BadInputsFailWithOneLine) {
  std::ofstream(Path("junk.CA4")) << "not a bitmap at all, just text";
  std::ofstream(Path("eight.bmp"), std::ios::binary)
      << std::string("BM") + std::string(12, '\0') + std::string("\x28\0\0\0", 4) + std::string(10, '\0') +
             std::string("\x08\0", 2) + std::string(30, '\0');
  ExpectTranscript("calib-bad-input.transcript", {{"calib", "show", "missing.CA4"},
                                                  {"calib", "show", "junk.CA4"},
                                                  {"calib", "show", "eight.bmp"},
                                                  {"info", "junk.CA4"},
                                                  {"calib", "render", "junk.CA4", "-o", "x.png"},
                                                  {"calib", "render", "missing.CA4"},
                                                  {"calib", "new-name", "Lobby"}});
}

}  // namespace
