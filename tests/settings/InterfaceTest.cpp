#include <gtest/gtest.h>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using n4test::SettingsGolden;
using n4test::SettingsTest;

TEST_F(SettingsTest, InterfaceReadsFieldsAndFormatsByTheTokenRules) {
  data_.Put("Stats Interface/Hockey/Interface.ini", SettingsGolden("Interface.ini"));
  CN4FileInterface itf("Hockey");
  EXPECT_EQ(itf.GetComboBox1Label(), "Away:");
  EXPECT_EQ(itf.GetComboBox2Label(), "Home:");
  EXPECT_EQ(itf.GetComboBoxField(), "");
  EXPECT_EQ(itf.GetRequestCommand(), 12);

  ASSERT_EQ(itf.GetNumFormats(), 3);
  EXPECT_EQ(itf.GetNumParams(0), 3);
  EXPECT_EQ(itf.GetFormatParam(0, 2), "guest");
  EXPECT_EQ(itf.GetNumParams(1), 0);
  EXPECT_EQ(itf.GetFormatParam(1, 0), "");
  EXPECT_EQ(itf.GetFormatParam(3, 0), "");
  EXPECT_EQ(itf.GetFormatNumber("score"), 0);
  EXPECT_EQ(itf.GetFormatNumber("CLOCK"), 2);
  EXPECT_EQ(itf.GetFormatNumber(""), -1);

  const struct {
    const char* name;
    int width;
    int maxChars;
    const char* label;
  } fields[] = {
      {"score", 4, 3, "Home Score"}, {"Clock", 0, 0, ""}, {"Pen", 0, 0, ""}, {"Unknown", 10, 0, ""}};
  for (const auto& f : fields) {
    SCOPED_TRACE(f.name);
    EXPECT_EQ(itf.GetFieldEditWidth(f.name), f.width);
    EXPECT_EQ(itf.GetFieldMaxChars(f.name), f.maxChars);
    EXPECT_EQ(itf.GetFieldLabel(f.name), f.label);
  }
  EXPECT_EQ(itf.GetNumFields(), 3);
  ASSERT_NE(itf.GetField(2), nullptr);
  EXPECT_EQ(itf.GetField(2)->strName, "Pen");
  EXPECT_EQ(itf.GetField(3), nullptr);

  CN4FileInterface byPath(data_.File("Stats Interface/Hockey/Interface.ini"));
  EXPECT_EQ(byPath.GetRequestCommand(), 12);
  CN4FileInterface missing("None");
  EXPECT_EQ(missing.GetRequestCommand(), 801);
  EXPECT_EQ(missing.GetNumFormats(), 0);
}

TEST_F(SettingsTest, InterfaceBoundsDamagedCounts) {
  data_.Put("I.ini", "[Formats]\r\nCount=2000000000\r\n[FieldParams]\r\nCount=-5\r\n");
  CN4FileInterface itf(data_.File("I.ini"));
  EXPECT_EQ(itf.GetNumFormats(), CN4FileInterface::kMaxEntries);
  EXPECT_EQ(itf.GetNumFields(), 0);
}

TEST_F(SettingsTest, SelectionListsPadShortLines) {
  data_.Put("Stats Interface/Hockey/Teams.lci", SettingsGolden("Teams.lci"));
  CN4FileInterfaceSel sel("Hockey", "Teams");
  ASSERT_EQ(sel.GetNumFieldNames(), 4);
  EXPECT_EQ(sel.GetFieldName(3), "Colour");
  EXPECT_EQ(sel.GetFieldName(4), "");
  ASSERT_EQ(sel.GetNumSelections(), 3);
  EXPECT_EQ(sel.GetSelectionPtr(0)->m_strFields,
            (std::vector<std::string>{"Bears", "Berne", "", ""}));
  EXPECT_EQ(sel.GetSelectionPtr(1)->m_strFields.size(), 5u);  // empty tokens skipped, extra ones kept
  EXPECT_EQ(sel.GetSelectionField(2, 0), "Last");
  EXPECT_EQ(sel.GetSelectionField(2, 3), "");
  EXPECT_EQ(sel.GetSelectionField(3, 0), "");
  EXPECT_EQ(sel.GetSelectionPtr(3), nullptr);
  CN4FileInterfaceSel missing("Hockey", "None");
  EXPECT_EQ(missing.GetNumFieldNames(), 0);
}

}  // namespace
