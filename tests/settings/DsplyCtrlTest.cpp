#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsTest;

std::string Category(int number, const std::string& name, const std::string& extra = "") {
  return "[CATEGORY" + std::to_string(number) + "]\r\nNAME=" + name + "\r\n" + extra;
}

TEST_F(SettingsTest, ConfigReadsOnlyNamedSectionsOneToFifty) {
  std::string file = "[GROUP]\r\nFILENAME=Evening\r\n";
  file += Category(1, "Score", "STYLE=BOLD\r\nBACKGROUNDCOLOR=255\r\nTEXTCOLOR=-1\r\n");
  file += "[CATEGORY2]\r\nNAME=\r\nBACKGROUNDCOLOR=5\r\n";  // no name: not loaded
  file += Category(3, "News");                              // the gap is skipped
  for (int i = 4; i <= 51; ++i) file += Category(i, std::string("C").append(std::to_string(i)));
  data_.Put("Config.dc", file);

  CN4FileDCConfig config;
  EXPECT_EQ(config.GetGroupName(), "Evening");
  ASSERT_EQ(config.GetNumCategories(), 49);  // 1, 3 and 4..50
  EXPECT_EQ(config.GetCategoryName(0), "Score");
  EXPECT_EQ(config.GetCategoryStyle(0), "BOLD");
  EXPECT_EQ(config.GetCategoryBkColor(0), 255u);
  EXPECT_EQ(config.GetCategoryTextColor(0), 4294967295u);
  EXPECT_EQ(config.GetCategoryName(1), "News");
  EXPECT_EQ(config.GetCategoryStyle(1), "NORMAL");
  EXPECT_EQ(config.GetCategoryBkColor(1), 4294967295u);
  EXPECT_EQ(config.GetCategoryName(48), "C50");
  EXPECT_EQ(config.GetCategoryIndex("news"), -1);
  EXPECT_EQ(config.GetCategoryIndex("News"), 1);
  EXPECT_EQ(config.AddCategory("full"), 1);
  EXPECT_EQ(config.AddCategory("over"), -1);
}

TEST_F(SettingsTest, ConfigSavesDenselyAndClearsStaleSections) {
  data_.Put("Config.dc", Category(1, "A") + Category(2, "B") + Category(3, "C", "STYLE=X\r\n"));
  CN4FileDCConfig config;
  ASSERT_EQ(config.GetNumCategories(), 3);
  EXPECT_EQ(config.DeleteCategory(0), 1);
  EXPECT_EQ(config.DeleteCategory(5), 0);
  EXPECT_EQ(config.SetCategoryStyle(5, "x"), 0);
  EXPECT_EQ(config.GetCategoryName(5), "");
  EXPECT_EQ(config.GetCategoryBkColor(5), 4294967295u);
  config.WriteConfigData();
  EXPECT_EQ(data_.Get("Config.dc"),
            "[CATEGORY1]\r\nNAME=B\r\nSTYLE=NORMAL\r\nBACKGROUNDCOLOR=-1\r\nTEXTCOLOR=-1\r\n"
            "[CATEGORY2]\r\nNAME=C\r\nSTYLE=X\r\nBACKGROUNDCOLOR=-1\r\nTEXTCOLOR=-1\r\n"
            "[CATEGORY3]\r\n"
            "\r\n[GROUP]\r\nFILENAME=Default\r\n");
  CN4FileDCConfig again;
  EXPECT_EQ(again.GetNumCategories(), 2);
  EXPECT_EQ(again.GetCategoryName(1), "C");
}

}  // namespace
