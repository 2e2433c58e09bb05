// The n4file tool end to end: the built binary run on real files, the way a
// user runs it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include <nlohmann/json.hpp>

#include <n4file/Files.h>

#include "Tool.h"
#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::ReadAll;
using n4tooltest::Result;
using n4tooltest::ShellQuote;

class ToolTest : public n4tooltest::ToolRunner {
 protected:
  void WritePicture(const std::string& name, const n4tool::Picture& p) {
    std::string cause;
    ASSERT_TRUE(n4tool::WritePng(Path(name), p, cause)) << cause;
  }

  n4tool::Picture ReadPicture(const std::string& name) {
    n4tool::Picture p;
    std::string cause;
    EXPECT_TRUE(n4tool::ReadPng(Path(name), p, cause)) << cause;
    return p;
  }
};

n4tool::Picture RandomPicture(DWORD rows, DWORD cols, std::uint32_t seed) {
  std::mt19937 rng(seed);
  n4tool::Picture p;
  p.width = cols;
  p.height = rows;
  p.rgb.resize(static_cast<size_t>(rows) * cols * 3);
  for (auto& b : p.rgb) b = static_cast<BYTE>(rng());
  return p;
}

// A fixed picture: stripes and a block, the same bytes on every run.
n4tool::Picture FixedPicture(DWORD rows, DWORD cols, int shift) {
  n4tool::Picture p = RandomPicture(rows, cols, 0);
  for (DWORD y = 0; y < rows; ++y)
    for (DWORD x = 0; x < cols; ++x) {
      BYTE* px = &p.rgb[(static_cast<size_t>(y) * cols + x) * 3];
      const bool on = ((x + shift) / 4) % 2 == 0 || (y > rows / 2 && x < cols / 3);
      px[0] = on ? 255 : 0;
      px[1] = on ? static_cast<BYTE>(x * 255 / cols) : 0;
      px[2] = 0;
    }
  return p;
}

TEST_F(ToolTest, CreateThenRenderIsExactForEveryColourTechnology) {
  for (int color = 0; color < 15; ++color) {
    const std::string name = n4tool::Lowercase(n4::kColorTechNames[color]);
    SCOPED_TRACE(name);
    WritePicture("in.png", RandomPicture(5, 13, 100 + color));
    // First pass: any picture, quantised to the technology by the sign.
    ASSERT_EQ(Run({"create", "-o", "a.SQ4", "--size", "5x13", "--color", name, "in.png"}).status, 0);
    ASSERT_EQ(Run({"render", "a.SQ4", "--frame", "1", "--scale", "1", "-o", "q.png"}).status, 0);
    const n4tool::Picture quantised = ReadPicture("q.png");
    ASSERT_EQ(quantised.width, 13u);
    ASSERT_EQ(quantised.height, 5u);
    // Second pass: a quantised picture comes back byte for byte.
    ASSERT_EQ(Run({"create", "-o", "b.SQ4", "--size", "5x13", "--color", name, "q.png"}).status, 0);
    ASSERT_EQ(Run({"render", "b.SQ4", "--frame", "1", "--scale", "1", "-o", "r.png"}).status, 0);
    EXPECT_EQ(ReadPicture("r.png").rgb, quantised.rgb);
  }
}

// Text and JSON forms of one sequence; the JSON run also lists a plain RIFF
// file's chunks and gives a damaged file its entry with the error.
TEST_F(ToolTest, InfoMatchesTheGoldenFiles) {
  WritePicture("a.png", FixedPicture(16, 48, 0));
  WritePicture("b.png", FixedPicture(16, 48, 1));
  ASSERT_EQ(Run({"create", "-o", "golden.SQ4", "--size", "16x48", "--color", "Mono4", "--entry", "coalesce",
                 "--exit", "Scroll Up", "--hold", "0.5", "--comment", "golden", "--copyright", "N4FILE",
                 "--created", "2001-02-03", "a.png", "b.png"})
                .status,
            0);
  WritePicture("c.png", FixedPicture(8, 32, 0));
  WritePicture("d.png", FixedPicture(8, 32, 2));
  ASSERT_EQ(Run({"create", "-o", "s.SQ4", "--size", "8x32", "--color", "TRI256", "--pixel", "l", "--entry",
                 "wand LEFT", "--hold", "1.5", "--exit", "dissolve", "--comment", "hello", "--created",
                 "2001-02-03", "c.png", "d.png"})
                .status,
            0);
  const char riff[] = "RIFF\x1e\0\0\0demoabcd\x06\0\0\0hello\0LIST\x04\0\0\0xyzw";
  std::ofstream(Path("plain.bin"), std::ios::binary).write(riff, sizeof riff - 1);
  std::ofstream(Path("junk.SQ4")) << "not a sequence";
  ExpectTranscript("info.transcript",
                   {{"info", "golden.SQ4"}, {"info", "--json", "s.SQ4"}, {"info", "--json", "plain.bin", "junk.SQ4"}});
}

TEST_F(ToolTest, CompressReportsEveryFrameAndKeepsThePixels) {
  WritePicture("a.png", FixedPicture(16, 40, 0));
  WritePicture("b.png", FixedPicture(16, 40, 3));
  ASSERT_EQ(Run({"create", "-o", "raw.SQ4", "--size", "16x40", "--color", "rgb64", "--compress", "0", "a.png",
                 "b.png"})
                .status,
            0);
  const Result r = Run({"compress", "raw.SQ4", "--level", "30", "-o", "small.SQ4"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("frame 1: none,"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("frame 2: none,"), std::string::npos) << r.out;
  EXPECT_LT(fs::file_size(Path("small.SQ4")), fs::file_size(Path("raw.SQ4")));
  for (int frame : {1, 2}) {
    ASSERT_EQ(Run({"render", "raw.SQ4", "--frame", std::to_string(frame), "-o", "x.png"}).status, 0);
    ASSERT_EQ(Run({"render", "small.SQ4", "--frame", std::to_string(frame), "-o", "y.png"}).status, 0);
    EXPECT_EQ(ReadPicture("x.png").rgb, ReadPicture("y.png").rgb);
  }
  // In place, without -o.
  EXPECT_EQ(Run({"compress", "raw.SQ4", "--level", "1"}).status, 0);
  EXPECT_EQ(nlohmann::json::parse(Run({"info", "--json", "raw.SQ4"}).out)["compression"], 1);
}

TEST_F(ToolTest, RenderDrawsBulbsAndContactSheets) {
  WritePicture("a.png", FixedPicture(6, 20, 0));
  ASSERT_EQ(Run({"create", "-o", "s.SQ4", "--size", "6x20", "--color", "RGB16MB", "a.png", "a.png", "a.png"}).status,
            0);
  ASSERT_EQ(Run({"render", "s.SQ4", "--frame", "2", "-o", "f.png"}).status, 0);
  const n4tool::Picture frame = ReadPicture("f.png");
  EXPECT_EQ(frame.width, 20u * 8);
  EXPECT_EQ(frame.height, 6u * 8);
  ASSERT_EQ(Run({"render", "s.SQ4", "--sheet", "-o", "sheet.png"}).status, 0);
  const n4tool::Picture sheet = ReadPicture("sheet.png");
  EXPECT_GT(sheet.width, 3u * 20 * 8);
  EXPECT_GT(sheet.height, 6u * 8);
  EXPECT_EQ(Run({"render", "s.SQ4", "--frame", "4", "-o", "end.png"}).status, 1);  // the end marker
  EXPECT_EQ(Run({"render", "s.SQ4", "-o", "none.png"}).status, 2);
}

// One case per kind of bad input: the exit status, the error line, and
// nothing left behind.
TEST_F(ToolTest, BadInputFailsWithOneLineAndLeavesNoOutput) {
  WritePicture("right.png", FixedPicture(8, 16, 0));
  WritePicture("wrong.png", FixedPicture(9, 16, 0));
  std::ofstream(Path("text.png")) << "plain text";
  ASSERT_EQ(Run({"create", "-o", "good.SQ4", "--size", "8x16", "--color", "Mono1", "right.png"}).status, 0);
  std::string bytes = ReadAll(Path("good.SQ4"));
  bytes.resize(bytes.size() * 2 / 3);
  std::ofstream(Path("cut.SQ4"), std::ios::binary) << bytes;
  std::ofstream(Path("keep.SQ4")) << "keep me";
  const char riff[] = "RIFF\x12\0\0\0demoabcd\x36\0\0\0hello\0";
  std::ofstream(Path("cut.riff"), std::ios::binary).write(riff, sizeof riff - 1);

  // --fit accepts the picture of another size; the other files are still shown.
  ASSERT_EQ(Run({"create", "-o", "fit.SQ4", "--size", "8x16", "--color", "Mono1", "--fit", "--created", "2001-02-03",
                 "wrong.png"})
                .status,
            0);
  ExpectTranscript("bad-input.transcript",
                   {{"info", "missing.SQ4"},
                    {"create", "-o", "o.SQ4", "--size", "8x16", "--color", "Mono1", "gone.png"},
                    {"create", "-o", "o.SQ4", "--size", "8x16", "--color", "Mono1", "text.png"},
                    {"create", "-o", "keep.SQ4", "--size", "8x16", "--color", "Mono1", "right.png", "wrong.png"},
                    {"create", "-o", "o.SQ4", "--size", "8x16", "--color", "rgb4k", "--pixel", "I", "right.png"},
                    {"create", "-o", "o.SQ4", "--size", "8x16", "--color", "purple", "right.png"},
                    {"info", "cut.SQ4"},
                    {"info", "cut.riff"},
                    {"info", "text.png"},
                    {"info", "missing.SQ4", "fit.SQ4"}},
                   [&] { EXPECT_FALSE(fs::exists(Path("o.SQ4"))); });
  EXPECT_EQ(ReadAll(Path("keep.SQ4")), "keep me");
}

TEST_F(ToolTest, PathBuildsAndParsesBack) {
  const Result built = Run({"path", "build", "--share", "/srv/shows", "--size", "16x80", "--color", "quad16m",
                            "--library", "Weather", "--file", "Rain"});
  ASSERT_EQ(built.status, 0) << built.err;
  const std::string path = built.out.substr(0, built.out.find('\n'));
  const Result parsed = Run({"path", "parse", "--json", path});
  ASSERT_EQ(parsed.status, 0) << parsed.err;
  EXPECT_EQ(nlohmann::json::parse(parsed.out),
            nlohmann::json::parse(R"({"share": "/srv/shows", "rows": 16, "columns": 80, "color": "Quad16M",
              "pixel": "I", "palette": false, "library": "Weather", "file": "Rain", "extension": "SQ4", "kind": "seq4"})"));
  EXPECT_EQ(Run({"path", "parse", "/srv/shows/readme.txt"}).status, 1);
}

TEST_F(ToolTest, RegistryValuesRoundTrip) {
  env_ = "N4_REGISTRY_DIR=" + ShellQuote(Path("registry"));
  ExpectTranscript("registry-set-get.transcript",
                   {{"registry", "set", "File Locations", "DataPath", "/srv/n4000"},
                    {"registry", "set", "--user", "--dword", "Window Settings", "Width", "640"},
                    {"registry", "get", "File Locations", "DataPath"},
                    {"registry", "get", "--user", "Window Settings", "Width"},
                    {"registry", "get", "File Locations", "Nothing"},
                    {"registry", "export", "-o", "machine.reg"}});
  // Exported, the store emptied, imported again.
  fs::remove_all(Path("registry"));
  ExpectTranscript("registry-import.transcript", {{"registry", "get", "File Locations", "DataPath"},
                                                  {"registry", "import", "machine.reg"},
                                                  {"registry", "get", "File Locations", "DataPath"},
                                                  {"registry", "import", "stdout.txt"}});
}

TEST_F(ToolTest, EveryCommandHasHelpWithAnExample) {
  const std::vector<std::vector<std::string>> commands = {
      {"info"},   {"create"}, {"render"},           {"compress"},         {"registry"},
      {"path"},   {"rtd"},    {"rtd", "export"},    {"rtd", "import"},    {"script"},
      {"script", "tokens"},   {"watch"},            {"calib"},            {"dc"}};
  for (auto command : commands) {
    SCOPED_TRACE(command.back());
    command.push_back("--help");
    const Result r = Run(command);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Example:"), std::string::npos);
  }
  const Result v = Run({"--version"});
  EXPECT_EQ(v.status, 0);
  EXPECT_NE(v.out.find("n4file "), std::string::npos);
  EXPECT_EQ(Run({"frobnicate"}).status, 2);
  EXPECT_EQ(Run({}).status, 2);
}

}  // namespace
