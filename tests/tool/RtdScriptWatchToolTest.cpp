// n4file rtd, script, watch and info on configurations end to end: the built
// binary on configuration and script files made through the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include <n4file/Rtd.h>

#include "../rtd/RtdSample.h"
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

  const struct {
    const char* what;
    std::vector<std::string> args;
    int status;
    const char* message;
  } cases[] = {
      {"wrong type", {"rtd", "import", "type.json", "-o", "o.rtd"}, 1,
       "n4file: type.json: transmissions[0].syncs[0].bytes[1]"},
      {"not JSON", {"rtd", "import", "text.json", "-o", "o.rtd"}, 1, "n4file: text.json: not JSON"},
      {"missing JSON", {"rtd", "import", "gone.json", "-o", "o.rtd"}, 1, "n4file: gone.json: cannot be read\n"},
      {"missing configuration", {"rtd", "export", "gone.rtd", "-o", "o.rtd"}, 1, "n4file: gone.rtd: cannot be read\n"},
      {"damaged configuration", {"rtd", "export", "cut.rtd", "-o", "o.rtd"}, 1,
       "n4file: cut.rtd: damaged configuration"},
      {"text file", {"rtd", "export", "notes.rtd", "-o", "o.rtd"}, 1,
       "n4file: notes.rtd: not a real-time data configuration of version 1"},
      {"no output", {"rtd", "import", "show.json"}, 2, "--output is required"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Result r = Run(c.args);
    EXPECT_EQ(r.status, c.status);
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), c.status == 1 ? 1 : 2) << r.err;
    EXPECT_FALSE(fs::exists(Path("o.rtd")));
  }
  // A refused import leaves an existing configuration as it was.
  EXPECT_EQ(Run({"rtd", "import", "type.json", "-o", "show.rtd"}).status, 1);
  EXPECT_EQ(Run({"rtd", "export", "show.rtd", "-o", "after.json"}).status, 0);
  EXPECT_EQ(ReadAll(Path("after.json")), ReadAll(Path("show.json")));
}

TEST_F(NewFilesToolTest, InfoDescribesAConfigurationAndLeavesOtherFilesAlone) {
  WriteConfiguration("show.rtd");
  const Result text = Run({"info", "show.rtd"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("show.rtd: real-time data configuration"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("transmissions: 2"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("\"score \xE2\x82\xAC\" (disabled), 2 syncs, 1 commands"), std::string::npos) << text.out;
  const Result json = Run({"info", "--json", "show.rtd"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto j = nlohmann::ordered_json::parse(json.out);
  EXPECT_EQ(j["kind"], "rtd");
  EXPECT_EQ(j["transmissions"][0]["description"], "score \xE2\x82\xAC");
  EXPECT_EQ(j["input"]["baud"], 9600);
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
  const Result text = Run({"script", "tokens", "start.scr"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("1: load \"big show\" now\n  [load] [big show] [now]\n"), std::string::npos) << text.out;
  const Result json = Run({"script", "tokens", "--json", "start.scr"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto j = nlohmann::ordered_json::parse(json.out);
  ASSERT_EQ(j["lines"].size(), 4u);
  const struct {
    int line;
    nlohmann::ordered_json tokens;
  } expected[] = {
      {1, {"say", ""}},
      {2, nlohmann::ordered_json::array()},
  };
  for (const auto& e : expected) {
    SCOPED_TRACE(e.line);
    EXPECT_EQ(j["lines"][e.line]["line"], e.line + 1);
    EXPECT_EQ(j["lines"][e.line]["tokens"], e.tokens);
  }
  EXPECT_EQ(j["lines"][1]["text"], "say \"\"");  // no carriage return
}

TEST_F(NewFilesToolTest, MissingFilesAndDirectoriesFailWithOneLine) {
  // `watch` runs until interrupted, so only its refusals are run here.
  fs::create_directories(Path("folder"));
  const struct {
    const char* what;
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {"missing script", {"script", "tokens", "gone.scr"}, "n4file: gone.scr: no such file\n"},
      {"script is a directory", {"script", "tokens", "folder"}, "n4file: folder: is a directory\n"},
      {"missing directory", {"watch", "gone"}, "n4file: gone: no such directory\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Result r = Run(c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.message);
    EXPECT_EQ(r.out, "");
  }
}

}  // namespace
