#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "RtdJson.h"
#include "n4file/Rtd.h"
#include "support/RtdSample.h"
#include "support/TestSupport.h"

namespace {

using Json = nlohmann::ordered_json;

TEST(RtdJson, FileToJsonToFileIsByteForByte) {
  n4test::TempDir dir;
  CN4FileCRtd original;
  original.ReadFile(dir.File("a.rtd"));
  rtdtest::FillSample(original);
  ASSERT_EQ(original.WriteFile(), 1);

  CN4FileCRtd loaded;
  ASSERT_EQ(loaded.ReadFile(dir.File("a.rtd")), 1);
  const std::string text = n4tool::RtdToJson(loaded).dump(2);
  EXPECT_NE(text.find("\"hex\": \"636166e9\""), std::string::npos);
  EXPECT_NE(text.find("score \xE2\x82\xAC"), std::string::npos);

  CN4FileCRtd imported;
  imported.ReadFile(dir.File("b.rtd"));
  ASSERT_EQ(n4tool::RtdFromJson(Json::parse(text), imported), "");
  ASSERT_EQ(imported.WriteFile(), 1);
  EXPECT_EQ(n4test::ReadFile(dir.File("b.rtd")), n4test::ReadFile(dir.File("a.rtd")));
}

TEST(RtdJson, BadDocumentsNameTheFieldAndChangeNothing) {
  CN4FileCRtd source;
  rtdtest::FillSample(source);
  const Json good = n4tool::RtdToJson(source);
  struct Case {
    std::function<void(Json&)> damage;
    const char* error;
  } cases[] = {
      {[](Json& j) { j = Json::array(); }, "document: expected an object"},
      {[](Json& j) { j["extra"] = 1; }, "document: unknown key \"extra\""},
      {[](Json& j) { j.erase("input"); }, "document: missing field \"input\""},
      {[](Json& j) { j["maxTransmissionLength"] = 1LL << 31; }, "maxTransmissionLength: expected a 32-bit integer"},
      {[](Json& j) { j["maxTransmissionLength"] = 1.5; }, "maxTransmissionLength: expected a 32-bit integer"},
      {[](Json& j) { j["transmissions"][0]["syncs"][0]["bytes"][2] = 65536; },
       "transmissions[0].syncs[0].bytes[2]: expected an integer 0-65535"},
      {[](Json& j) { j["transmissions"][0]["syncs"][0]["bytes"][1] = "3"; },
       "transmissions[0].syncs[0].bytes[1]: expected an integer 0-65535"},
      {[](Json& j) { j["transmissions"][1]["commands"] = Json::object(); },
       "transmissions[1].commands: expected an array"},
      {[](Json& j) { j["transmissions"][0]["commands"][0]["params"][1] = 7; },
       "transmissions[0].commands[0].params[1]: expected a string or {\"hex\": \"<pairs of hex digits>\"}"},
      {[](Json& j) { j["description"] = Json{{"hex", "6g"}}; },
       "description: expected a string or {\"hex\": \"<pairs of hex digits>\"}"},
      {[](Json& j) { j["outputs"][0].erase("ringTransition"); }, "outputs[0]: missing field \"ringTransition\""},
      {[](Json& j) { j["input"]["Name"] = "x"; }, "input: unknown key \"Name\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.error);
    Json doc = good;
    c.damage(doc);
    CN4FileCRtd target;
    target.SetFileDescription("kept");
    target.AddOutput(-1, nullptr);
    EXPECT_EQ(n4tool::RtdFromJson(doc, target), c.error);
    EXPECT_EQ(target.GetFileDescription(), "kept");
    EXPECT_EQ(target.GetOutputCount(), 1);
  }
}

}  // namespace
