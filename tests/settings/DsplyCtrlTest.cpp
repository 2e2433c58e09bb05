#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsGolden;
using n4test::SettingsTest;

TEST_F(SettingsTest, BaseBuildsPathAndSectionNamesAndReadsValues) {
  CN4FileDsplyCtrl f("Some.ini", "CATEGORY");
  EXPECT_EQ(f.GetPathName(), data_.File("Some.ini"));
  CN4FileDsplyCtrl none("x", "");
  EXPECT_EQ(none.BuildSectionName(0), "");
  CN4FileDsplyCtrl nested("Stats Interface\\A\\Interface.ini", "");
  EXPECT_EQ(nested.GetPathName(), data_.File("Stats Interface/A/Interface.ini"));
  // Values are read into a buffer of the settings files' own size.
  EXPECT_EQ(f.WriteString("A", "s", std::string(2000, 'x')), 1);
  EXPECT_EQ(f.GetString("A", "s", ""), std::string(1023, 'x'));
}

TEST_F(SettingsTest, ConfigReadsOnlyNamedSectionsOneToFifty) {
  // CATEGORY2 has no name and is not loaded; CATEGORY51 is one too many.
  data_.Put("Config.dc", SettingsGolden("categories-with-gaps.dc"));

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
  data_.Put("Config.dc", SettingsGolden("three-categories.dc"));
  CN4FileDCConfig config;
  ASSERT_EQ(config.GetNumCategories(), 3);
  EXPECT_EQ(config.DeleteCategory(0), 1);
  EXPECT_EQ(config.DeleteCategory(5), 0);
  EXPECT_EQ(config.SetCategoryStyle(5, "x"), 0);
  EXPECT_EQ(config.GetCategoryName(5), "");
  EXPECT_EQ(config.GetCategoryBkColor(5), 4294967295u);
  config.WriteConfigData();
  EXPECT_EQ(data_.Get("Config.dc"), SettingsGolden("first-deleted.dc"));
  CN4FileDCConfig again;
  EXPECT_EQ(again.GetNumCategories(), 2);
  EXPECT_EQ(again.GetCategoryName(1), "C");
}

}  // namespace
