#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsGolden;
using n4test::SettingsTest;

// args: data root. The paste cell is shared by the process, so pasting before
// any copy is tried in a fresh one; exits with PasteCell's result.
N4_TEST_CHILD_MODE(paste_without_copy) {
  n4test::DataDirEnv data(args.at(0));
  CN4FileDCPage page("P");
  return page.PasteCell(0) + 10 * static_cast<int>(page.GetPasteCellPath().size());
}

TEST_F(SettingsTest, GroupHoldsTenPagesAndEmptyNamesRemoveEntries) {
  data_.Put("G.dcg", "[PAGE1]\r\nNAME=Main\r\n[PAGE12]\r\nNAME=x\r\n");
  CN4FileDCGroup group("G");
  EXPECT_EQ(group.GetNumPages(), 10);
  EXPECT_EQ(group.ReadPage(10), 0);
  ASSERT_EQ(group.ReadPage(0), 1);
  EXPECT_EQ(group.GetPageName(), "Main");
  EXPECT_EQ(group.ReadPage(1), 1);
  EXPECT_EQ(group.IsPageValid(), 0);
  group.SetPageName("Second");
  EXPECT_EQ(group.WritePage(1), 1);
  group.ClearPage();
  EXPECT_EQ(group.WritePage(0), 1);
  EXPECT_EQ(data_.Get("G.dcg"), "[PAGE1]\r\n[PAGE12]\r\nNAME=x\r\n\r\n[PAGE2]\r\nNAME=Second\r\n");
}

TEST_F(SettingsTest, PageConfigurationDefaultsAndSignKeysOnlyForQuickDisplay) {
  const struct {
    const char* name;
    const char* file;
    DWORD signRows;
    int isScripting;
  } cases[] = {
      {"no page type", "[CONFIGURATION]\r\nSIGN=S\r\n", 2048, 0},
      {"lower-case quick display", "[CONFIGURATION]\r\nPAGETYPE=quick display\r\nSIGNROWS=16\r\n", 16, 0},
      {"scripting keeps the object's", "[CONFIGURATION]\r\nPAGETYPE=Scripting\r\nSIGNROWS=16\r\n", 7, 1},
      {"interface is scripting too", "[configuration]\r\npagetype=INTERFACE\r\nSIGNROWS=16\r\n", 7, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    data_.Put("P.dcp", c.file);
    CN4FileDCPage page("P");
    page.SetSignRows(7);
    page.ReadPageData();
    EXPECT_EQ(page.GetSignRows(), c.signRows);
    EXPECT_EQ(page.IsScripting(), c.isScripting);
  }
  data_.Put("P.dcp", "[CONFIGURATION]\r\nUSEQUEUEDSTATUS=5\r\n");
  CN4FileDCPage page("P");
  page.ReadPageData();
  EXPECT_EQ(page.GetPageType(), "Quick Display");
  EXPECT_EQ(page.GetSignCols(), 16384u);
  EXPECT_EQ(page.GetUseQueuedStatus(), 1);
  page.SetPageType("Scripting");
  page.WritePageData();
  EXPECT_EQ(data_.Get("P.dcp"), SettingsGolden("scripting-page.dcp"));
}

TEST_F(SettingsTest, CellsReadWithTheirOwnKeyWalk) {
  const struct {
    const char* name;
    const char* section;
    const char* cellName;
    int winNum;
  } cases[] = {
      {"plain", "NAME=Goal\r\nWINDOWNUMBER=0\r\n", "Goal", 0},
      {"blanks and quotes", " NAME = \"Goal\" \r\n", "\"Goal\"", -1},
      {"lower-case key ignored", "name=Goal\r\nWINDOWNUMBER=3\r\n", "", 3},
      {"walk stops at a line without =", "TYPE=Seq\r\nbroken line\r\nNAME=Goal\r\n", "", -1},
      {"comments skipped", "; c\r\nNAME=Goal\r\n", "Goal", -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    data_.Put("P.dcp", std::string("[CELL4]\r\n") + c.section);
    CN4FileDCPage page("P");
    ASSERT_EQ(page.ReadCell(3), 1);
    EXPECT_EQ(page.GetCellName(), c.cellName);
    EXPECT_EQ(page.GetCellWinNum(), c.winNum);
  }
  CN4FileDCPage page("P");
  EXPECT_EQ(page.ReadCell(100), 0);
  EXPECT_EQ(page.ReadCell(-1), 0);
  EXPECT_EQ(page.WriteCell(100), 0);
}

TEST_F(SettingsTest, CellsWriteOnlySetFieldsAndPasteRepeatedly) {
  auto child = n4test::StartChild("paste_without_copy", {dir_.path() + "/child"});
  ASSERT_TRUE(child);
  EXPECT_EQ(child->Wait(), 0);

  CN4FileDCPage page("P");
  page.SetCellType("Seq");
  page.SetCellPath("a.sq4");
  page.SetCellWinNum(0);
  page.SetCellRow(2);
  ASSERT_EQ(page.WriteCell(3), 1);
  page.ClearCell();
  page.SetCellName("Empty");
  page.SetCellWinNum(-1);
  ASSERT_EQ(page.WriteCell(0), 1);
  EXPECT_EQ(data_.Get("P.dcp"), SettingsGolden("cells-written.dcp"));

  EXPECT_EQ(page.CopyCell(3), 1);
  EXPECT_EQ(page.GetPasteCellPath(), "a.sq4");
  EXPECT_EQ(page.PasteCell(4), 1);
  CN4FileDCPage other("Q");
  EXPECT_EQ(other.PasteCell(5), 1);  // shared between pages
  EXPECT_EQ(page.PasteCell(5), 1);
  const std::string cell = "TYPE=Seq\r\nPATH=a.sq4\r\nWINDOWNUMBER=0\r\nROW=2\r\n";
  for (const char* section : {"[CELL5]\r\n", "[CELL6]\r\n"}) {
    EXPECT_NE(data_.Get("P.dcp").find(section + cell), std::string::npos) << section;
  }
  EXPECT_EQ(data_.Get("Q.dcp"), "[CELL6]\r\n" + cell);

  EXPECT_EQ(page.CutCell(0), 1);
  EXPECT_EQ(page.GetPasteCellPath(), "");
  EXPECT_NE(data_.Get("P.dcp").find("[CELL1]\r\n\r\n[CELL5]"), std::string::npos);
}

TEST_F(SettingsTest, FastReadServesCachedCellsUntilTheModeIsSetAgain) {
  data_.Put("P.dcp", "[CELL1]\r\nNAME=One\r\n");
  CN4FileDCPage page("P");
  EXPECT_EQ(page.GetCellNumTimesPlayed(0), 0);  // not cached: no crash
  page.SetCellNumTimesPlayed(5, 0);
  page.SetFastReadMode(1);
  ASSERT_EQ(page.ReadCell(0), 1);
  page.SetCellNumTimesPlayed(3, 0);
  EXPECT_EQ(page.GetCellNumTimesPlayed(0), 3);
  data_.Put("P.dcp", "[CELL1]\r\nNAME=Two\r\n");
  ASSERT_EQ(page.ReadCell(0), 1);
  EXPECT_EQ(page.GetCellName(), "One");
  EXPECT_EQ(page.GetCell().nTimesPlayed, 3);
  page.SetFastReadMode(1);
  ASSERT_EQ(page.ReadCell(0), 1);
  EXPECT_EQ(page.GetCellName(), "Two");
  // Writes keep the cache up to date.
  page.SetCellName("Three");
  ASSERT_EQ(page.WriteCell(1), 1);
  page.ClearCell();
  ASSERT_EQ(page.ReadCell(1), 1);
  EXPECT_EQ(page.GetCellName(), "Three");
}

}  // namespace
