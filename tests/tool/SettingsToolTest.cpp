// n4file dc pages and info on the display controller's settings files, run on
// files written by the library itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <n4file/Settings.h>

#include "ToolRunner.h"

namespace fs = std::filesystem;

namespace {

using n4tooltest::Result;

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

  ExpectTranscript("dc-pages.transcript", {{"dc", "pages", "."}, {"dc", "pages", "--json", "."}});
}

TEST_F(SettingsToolTest, DcPagesRejectsWhatIsNotADirectory) {
  std::ofstream(Path("plain.txt")) << "x";
  ExpectTranscript("dc-pages-refusals.transcript",
                   {{"dc", "pages", "missing"}, {"dc", "pages", "plain.txt"}, {"dc", "pages"}, {"dc"}});
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

  const std::vector<std::string> files = {"Config.dc", "Evening.dcg", "Main.dcp", "Interface.ini",
                                          "Teams.lci", "scores.txt",  "Bad.dcp",  "Bad.dcg"};
  std::vector<std::string> text = {"info"}, json = {"info", "--json"};
  text.insert(text.end(), files.begin(), files.end());
  json.insert(json.end(), files.begin(), files.end());
  ExpectTranscript("info-settings.transcript", {text, json});
}

}  // namespace
