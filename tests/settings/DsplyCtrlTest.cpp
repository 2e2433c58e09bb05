#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsTest;

TEST_F(SettingsTest, BaseBuildsPathAndSectionNamesAndReadsValues) {
  CN4FileDsplyCtrl f("Some.ini", "CATEGORY");
  EXPECT_EQ(f.GetPathName(), data_.File("Some.ini"));
  EXPECT_EQ(f.BuildSectionName(0), "CATEGORY1");
  EXPECT_EQ(f.BuildSectionName(49), "CATEGORY50");
  CN4FileDsplyCtrl none("x", "");
  EXPECT_EQ(none.BuildSectionName(0), "");
  CN4FileDsplyCtrl nested("Stats Interface\\A\\Interface.ini", "");
  EXPECT_EQ(nested.GetPathName(), data_.File("Stats Interface/A/Interface.ini"));
  // Values are read into a buffer of the settings files' own size.
  EXPECT_EQ(f.WriteString("A", "s", std::string(2000, 'x')), 1);
  EXPECT_EQ(f.GetString("A", "s", ""), std::string(1023, 'x'));
}

}  // namespace
