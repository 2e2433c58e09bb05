#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsGolden;
using n4test::SettingsTest;

TEST_F(SettingsTest, TemplateReadsSkipsNamelessSectionsAndDefaultsJustification) {
  data_.Put("T.tpl", SettingsGolden("scores.tpl"));  // FIELD2 has no name
  CN4FileInputTemplate t("T.tpl");
  EXPECT_EQ(t.GetTemplateDesc(), "Scores");
  ASSERT_EQ(t.GetNumFields(), 2);
  EXPECT_EQ(t.GetFieldName(1), "Guest");
  EXPECT_EQ(t.GetFieldJust(1), "N");
  EXPECT_EQ(t.GetFieldSampleText(1), "12");
  EXPECT_EQ(t.GetFieldLength(2), -1);
  EXPECT_EQ(t.AddField("Period", -3), 2);
  EXPECT_EQ(t.GetFieldJust(2), "L");
  EXPECT_EQ(t.GetFieldIndex("guest"), -1);
  EXPECT_EQ(t.GetFieldIndex("Guest"), 1);
}

TEST_F(SettingsTest, TemplateFieldPositions) {
  CN4FileInputTemplate t(data_.File("new.tpl"));
  const int lengths[] = {3, 5, 4};
  for (int i = 0; i < 3; ++i) {
    t.AddField(std::string(1, static_cast<char>('A' + i)), i);
    t.SetFieldLength(i, lengths[i]);
  }
  EXPECT_EQ(t.GetTotalLength(), 12);
  EXPECT_EQ(t.GetFieldItemNumber(2, 0), 9);
  const struct {
    const char* just;
    int textLength;
    int start;
  } cases[] = {{"R", 2, 7}, {"C", 2, 5}, {"L", 2, 4}, {"r", 2, 4}, {"R", 5, 4}, {"C", 0, 4}, {"R", 9, 4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.just) + std::to_string(c.textLength));
    t.SetFieldJust(1, c.just);
    EXPECT_EQ(t.GetFieldItemNumber(1, c.textLength), c.start);
  }
  EXPECT_EQ(t.GetFieldItemNumber(3, 1), 0);
  EXPECT_EQ(t.SetFieldLength(3, 1), 0);
  t.SetFieldName(2, "A");
  EXPECT_EQ(t.FindDuplicateFieldName(2), 0);
  EXPECT_EQ(t.FindDuplicateFieldName(0), 2);
  EXPECT_EQ(t.FindDuplicateFieldName(1), -1);
  EXPECT_EQ(t.FindDuplicateFieldName(7), -1);
  EXPECT_EQ(t.DeleteField(0), 1);
  EXPECT_EQ(t.GetFieldName(0), "B");
  EXPECT_EQ(t.DeleteField(2), 0);
}

TEST_F(SettingsTest, TemplateWriteReplacesTheWholeFile) {
  data_.Put("T.tpl", SettingsGolden("five-fields.tpl"));
  CN4FileInputTemplate t("T.tpl");
  ASSERT_EQ(t.GetNumFields(), 5);
  t.DeleteField(4);
  t.DeleteField(3);
  t.DeleteField(2);
  t.SetTemplateDesc("Two");
  EXPECT_EQ(t.WriteTemplateData(), 1);
  EXPECT_EQ(data_.Get("T.tpl"), SettingsGolden("two-fields.tpl"));
  t.SetPathName(data_.File("Copy.tpl"));
  EXPECT_EQ(t.WriteTemplateData(), 1);
  CN4FileInputTemplate copy("Copy.tpl");
  EXPECT_EQ(copy.GetNumFields(), 2);
  EXPECT_EQ(copy.GetTemplateDesc(), "Two");
}

}  // namespace
