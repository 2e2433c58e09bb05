// n4file dc pages and info on the display controller's settings files, run on
// files written by the library itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include <n4file/Settings.h>

#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::ReadAll;
using n4tooltest::Result;

// The value at a JSON pointer, null when there is none.
nlohmann::json At(const nlohmann::json& j, const std::string& key) {
  const nlohmann::json::json_pointer pointer(key);
  return j.contains(pointer) ? j.at(pointer) : nlohmann::json();
}

class SettingsToolTest : public n4tooltest::ToolRunner {
 protected:
  void WritePage(const std::string& name, const std::string& type, const std::vector<int>& cells) {
    CN4FileDCPage page(name);
    page.SetPathName(Path(name + ".dcp"));
    page.SetPageType(type);
    page.SetGridRows(4);
    page.SetGridCols(3);
    page.WritePageData();
    for (int cell : cells) {
      page.ClearCell();
      page.SetCellType("Sequence");
      page.SetCellName("Show " + std::to_string(cell));
      page.SetCellPath("/srv/show" + std::to_string(cell) + ".SQ4");
      page.SetCellRow(cell / 3);
      page.SetCellCol(cell % 3);
      ASSERT_EQ(page.WriteCell(cell), 1);
    }
  }
};

TEST_F(SettingsToolTest, DcPagesListsGroupsPagesAndConfiguredCells) {
  CN4FileDCGroup group("Evening");
  group.SetPathName(Path("Evening.dcg"));
  group.SetPageName("Main");
  ASSERT_EQ(group.WritePage(0), 1);
  group.SetPageName("Scores");
  ASSERT_EQ(group.WritePage(2), 1);
  WritePage("Main", "Quick Display", {0, 7, 99});
  WritePage("Scores", "Interface", {});

  const Result r = Run({"dc", "pages", "--json", "."});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j["groups"].size(), 1u);
  EXPECT_EQ(j["groups"][0]["name"], "Evening");
  ASSERT_EQ(j["groups"][0]["pages"].size(), 2u);
  EXPECT_EQ(j["groups"][0]["pages"][1]["number"], 3);
  EXPECT_EQ(j["groups"][0]["pages"][1]["name"], "Scores");
  ASSERT_EQ(j["pages"].size(), 2u);
  const auto& main = j["pages"][0];
  EXPECT_EQ(main["name"], "Main");
  ASSERT_EQ(main["cells"].size(), 3u);
  const int numbers[] = {1, 8, 100};
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(main["cells"][i]["number"], numbers[i]);
  EXPECT_TRUE(j["pages"][1].contains("request_port"));  // an interface page
  EXPECT_TRUE(j["pages"][1]["cells"].empty());

  const Result text = Run({"dc", "pages", "."});
  ASSERT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("page 3: Scores"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Show 99"), std::string::npos) << text.out;
}

TEST_F(SettingsToolTest, DcPagesRejectsWhatIsNotADirectory) {
  std::ofstream(Path("plain.txt")) << "x";
  struct Case {
    std::vector<std::string> args;
    int status;
  } const cases[] = {
      {{"dc", "pages", "missing"}, 1},
      {{"dc", "pages", "plain.txt"}, 1},
      {{"dc", "pages"}, 2},
      {{"dc"}, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    const Result r = Run(c.args);
    EXPECT_EQ(r.status, c.status);
    if (c.status == 1) {
      EXPECT_EQ(r.err.rfind("n4file: " + c.args.back() + ": ", 0), 0u) << r.err;
    }
  }
}

TEST_F(SettingsToolTest, InfoDescribesEverySettingsKind) {
  CN4FileDCConfig config;
  config.SetPathName(Path("Config.dc"));
  ASSERT_EQ(config.AddCategory("News"), 1);
  config.SetCategoryStyle(config.GetCategoryIndex("News"), "Bold");
  config.SetGroupName("Evening");
  config.WriteConfigData();
  CN4FileDCGroup group("Evening");
  group.SetPathName(Path("Evening.dcg"));
  group.SetPageName("Main");
  ASSERT_EQ(group.WritePage(1), 1);
  WritePage("Main", "Scripting", {5});
  std::ofstream(Path("Interface.ini")) << "[Configuration]\r\nComboBox1Label=Visitors:\r\nRequestCommand=802\r\n";
  std::ofstream(Path("Teams.lci")) << "Team\tCity\nLions\tDetroit\nBears\n";
  CN4FileInputTemplate input(Path("scores.txt"));
  input.SetTemplateDesc("Scores");
  input.SetFieldLength(input.AddField("Home", -1), 3);
  input.SetFieldLength(input.AddField("Guest", -1), 4);
  ASSERT_EQ(input.WriteTemplateData(), 1);
  // Damaged settings files read as empty ones.
  std::string garbage(4096, '\0');
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(i * 131 % 251);
  std::ofstream(Path("Bad.dcp"), std::ios::binary) << garbage;
  std::ofstream(Path("Bad.dcg"), std::ios::binary) << garbage;

  struct Case {
    const char* file;
    const char* kind;
    const char* key;
    nlohmann::json expected;
  } const cases[] = {
      {"Config.dc", "dc-config", "/categories/0/style", "Bold"},
      {"Config.dc", "dc-config", "/group", "Evening"},
      {"Evening.dcg", "dc-group", "/pages/0/number", 2},
      {"Main.dcp", "dc-page", "/cells/0/number", 6},
      {"Main.dcp", "dc-page", "/type", "Scripting"},
      {"Main.dcp", "dc-page", "/cells/0/name", "Show 5"},
      {"Main.dcp", "dc-page", "/cells/0/row", 1},
      {"Main.dcp", "dc-page", "/cells/0/column", 2},
      {"Main.dcp", "dc-page", "/grid_rows", 4},
      {"Interface.ini", "interface", "/combo_box_1_label", "Visitors:"},
      {"Interface.ini", "interface", "/combo_box_2_label", "Home:"},
      {"Interface.ini", "interface", "/request_command", 802},
      {"Teams.lci", "selection-list", "/field_names/1", "City"},
      {"Teams.lci", "selection-list", "/selections/1/1", ""},
      {"scores.txt", "input-template", "/total_length", 7},
      {"scores.txt", "input-template", "/fields/1/name", "Guest"},
      {"Bad.dcp", "dc-page", "/cells", nlohmann::json::array()},
      {"Bad.dcg", "dc-group", "/pages", nlohmann::json::array()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.file) + c.key);
    const Result r = Run({"info", "--json", c.file});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["kind"], c.kind);
    EXPECT_EQ(At(j, c.key), c.expected) << r.out;
    EXPECT_FALSE(Run({"info", c.file}).out.empty());
  }
}

}  // namespace
