#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsTest;

TEST_F(SettingsTest, BaseBuildsPathAndSectionNames) {
  CN4FileDsplyCtrl f("Some.ini", "CATEGORY");
  EXPECT_EQ(f.GetPathName(), data_.File("Some.ini"));
  EXPECT_EQ(f.BuildSectionName(0), "CATEGORY1");
  EXPECT_EQ(f.BuildSectionName(49), "CATEGORY50");
  CN4FileDsplyCtrl none("x", "");
  EXPECT_EQ(none.BuildSectionName(0), "");
  CN4FileDsplyCtrl nested("Stats Interface\\A\\Interface.ini", "");
  EXPECT_EQ(nested.GetPathName(), data_.File("Stats Interface/A/Interface.ini"));
}

TEST_F(SettingsTest, BaseReadsDefaultsAndWritesTypedValues) {
  CN4FileDsplyCtrl f("Some.ini", "S");
  EXPECT_EQ(f.GetInt("A", "n", 7), 7);
  EXPECT_EQ(f.GetString("A", "s", "dflt"), "dflt");
  EXPECT_EQ(f.WriteInt("A", "n", -1), 1);
  EXPECT_EQ(f.WriteString("A", "s", std::string(2000, 'x')), 1);
  EXPECT_EQ(f.GetInt("A", "n", 7), -1);
  EXPECT_EQ(f.GetString("A", "s", ""), std::string(1023, 'x'));
  EXPECT_EQ(f.ClearSection("A"), 1);
  EXPECT_EQ(data_.Get("Some.ini"), "[A]\r\n");
  EXPECT_EQ(f.WriteString("A", "bad", "x\ny=1"), 0);
}

}  // namespace
