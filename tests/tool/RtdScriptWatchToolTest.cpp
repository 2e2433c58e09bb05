// n4file rtd, script, watch and info on configurations end to end: the built
// binary on configuration and script files made through the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include <n4file/Rtd.h>

#include "../support/RtdSample.h"
#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::ReadAll;
using n4tooltest::Result;

class NewFilesToolTest : public n4tooltest::ToolRunner {
 protected:
  // The configuration tests' sample: every field set, text that is not UTF-8.
  void WriteConfiguration(const std::string& name) {
    CN4FileCRtd rtd;
    ASSERT_EQ(rtd.ReadFile(Path(name)), 0);
    rtdtest::FillSample(rtd);
    ASSERT_EQ(rtd.WriteFile(), 1);
  }
};

TEST_F(NewFilesToolTest, RtdRoundTripsThroughJsonToTheByte) {
  WriteConfiguration("show.rtd");
  ASSERT_EQ(Run({"rtd", "export", "show.rtd", "-o", "show.json"}).status, 0);
  const auto doc = nlohmann::ordered_json::parse(ReadAll(Path("show.json")));
  EXPECT_EQ(doc["transmissions"][0]["syncs"][0]["bytes"], nlohmann::ordered_json({2, 3, 300}));
  EXPECT_TRUE(doc["description"].contains("hex"));
  // Without -o the same document goes to standard output.
  const Result printed = Run({"rtd", "export", "show.rtd"});
  ASSERT_EQ(printed.status, 0) << printed.err;
  EXPECT_EQ(nlohmann::ordered_json::parse(printed.out), doc);

  const Result imported = Run({"rtd", "import", "show.json", "-o", "again.rtd"});
  ASSERT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(ReadAll(Path("again.rtd")), ReadAll(Path("show.rtd")));
}

TEST_F(NewFilesToolTest, RtdBadInputFailsWithOneLineAndWritesNothing) {
  WriteConfiguration("show.rtd");
  ASSERT_EQ(Run({"rtd", "export", "show.rtd", "-o", "show.json"}).status, 0);
  const auto good = nlohmann::ordered_json::parse(ReadAll(Path("show.json")));
  auto wrongType = good;
  wrongType["transmissions"][0]["syncs"][0]["bytes"][1] = "x";
  std::ofstream(Path("type.json")) << wrongType.dump();
  std::ofstream(Path("text.json")) << "{ not json";
  std::string bytes = ReadAll(Path("show.rtd"));
  bytes.resize(bytes.size() / 2);
  std::ofstream(Path("cut.rtd"), std::ios::binary) << bytes;
  std::ofstream(Path("notes.rtd"), std::ios::binary) << "hello worl";  // loads, as the library must, as empty

  ExpectTranscript("rtd-bad-input.transcript",
                   {{"rtd", "import", "type.json", "-o", "o.rtd"},
                    {"rtd", "import", "gone.json", "-o", "o.rtd"},
                    {"rtd", "export", "gone.rtd", "-o", "o.rtd"},
                    {"rtd", "export", "cut.rtd", "-o", "o.rtd"},
                    {"rtd", "export", "notes.rtd", "-o", "o.rtd"},
                    {"rtd", "import", "show.json"}},
                   [&] { EXPECT_FALSE(fs::exists(Path("o.rtd"))); });
  // The JSON parser's own words are not pinned.
  const Result notJson = Run({"rtd", "import", "text.json", "-o", "o.rtd"});
  EXPECT_EQ(notJson.status, 1);
  EXPECT_EQ(notJson.err.rfind("n4file: text.json: not JSON", 0), 0u) << notJson.err;
  EXPECT_EQ(std::count(notJson.err.begin(), notJson.err.end(), '\n'), 1);
  EXPECT_FALSE(fs::exists(Path("o.rtd")));
  // A refused import leaves an existing configuration as it was.
  EXPECT_EQ(Run({"rtd", "import", "type.json", "-o", "show.rtd"}).status, 1);
  EXPECT_EQ(Run({"rtd", "export", "show.rtd", "-o", "after.json"}).status, 0);
  EXPECT_EQ(ReadAll(Path("after.json")), ReadAll(Path("show.json")));
}

TEST_F(NewFilesToolTest, InfoDescribesAConfigurationAndLeavesOtherFilesAlone) {
  WriteConfiguration("show.rtd");
  ExpectTranscript("info-rtd.transcript", {{"info", "show.rtd"}, {"info", "--json", "show.rtd"}});
  // A file that does not load as a configuration is not taken for one.
  std::ofstream(Path("notes.txt")) << "plain text";
  EXPECT_NE(Run({"info", "notes.txt"}).err.find("unknown kind of file"), std::string::npos);
}

TEST_F(NewFilesToolTest, ScriptTokensShowEachLine) {
  std::ofstream(Path("start.scr"), std::ios::binary)
      << "load \"big show\" now\r\n"
         "say \"\"\r\n"
         "\r\n"
         "tail \"open ended\n";
  ExpectTranscript("script-tokens.transcript",
                   {{"script", "tokens", "start.scr"}, {"script", "tokens", "--json", "start.scr"}});
}

TEST_F(NewFilesToolTest, MissingFilesAndDirectoriesFailWithOneLine) {
  // `watch` runs until interrupted, so only its refusals are run here.
  fs::create_directories(Path("folder"));
  ExpectTranscript("missing-files.transcript",
                   {{"script", "tokens", "gone.scr"}, {"script", "tokens", "folder"}, {"watch", "gone"}});
}

}  // namespace
