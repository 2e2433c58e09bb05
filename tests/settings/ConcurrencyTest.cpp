#include <gtest/gtest.h>

#include <string>

#include "n4file/Settings.h"
#include "SettingsTestEnv.h"

namespace {

using namespace std::string_literals;
using n4test::SettingsTest;

constexpr int kWrites = 30;

// args: file path, key prefix. Writes prefix0..prefixN-1 into one section, one write each.
N4_TEST_CHILD_MODE(settings_writer) {
  CN4FileDsplyCtrl file("unused", "");
  file.SetPathName(args.at(0));
  for (int i = 0; i < kWrites; ++i) {
    if (!file.WriteInt("CELL1", args.at(1) + std::to_string(i), i)) return 3;
  }
  return 0;
}

TEST_F(SettingsTest, TwoProcessesWritingOneFileLoseNothing) {
  data_.Put("Page.dcp", "; kept\r\n[CELL1]\r\nNAME=x\r\n");
  auto first = n4test::StartChild("settings_writer", {data_.File("Page.dcp"), "A"});
  auto second = n4test::StartChild("settings_writer", {data_.File("Page.dcp"), "B"});
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->Wait(), 0);
  EXPECT_EQ(second->Wait(), 0);

  CN4FileDsplyCtrl file("Page.dcp", "");
  for (const char* prefix : {"A", "B"}) {
    for (int i = 0; i < kWrites; ++i) {
      EXPECT_EQ(file.GetInt("CELL1", prefix + std::to_string(i), -1), i) << prefix << i;
    }
  }
  EXPECT_EQ(file.GetString("CELL1", "NAME", ""), "x");
  EXPECT_EQ(data_.Get("Page.dcp").rfind("; kept\r\n[CELL1]\r\nNAME=x\r\n", 0), 0u);
}

TEST_F(SettingsTest, HostilePagesReadWithoutHarm) {
  std::string garbage;
  for (int i = 0; i < 20000; ++i) garbage += static_cast<char>((i * 131 + (i >> 7)) & 0xFF);
  const std::string files[] = {
      garbage,
      "[CELL1]\r\nROW=99999999999999999999\r\nCOL=-99999999999999999999\r\nNAME=a\0b\r\nTYPE=t\r\n"s,
      "[CELL1]\r\nPATH=" + std::string(20000, 'p') + "\r\nNAME=after\r\n",
      std::string("[CELL1]\0NAME=x", 14),
  };
  CN4FileDCPage page("Page");
  for (const auto& bytes : files) {
    data_.Put("Page.dcp", bytes);
    page.ReadPageData();
    for (int c = 0; c < CN4FileDCPage::kNumCells; ++c) EXPECT_EQ(page.ReadCell(c), 1);
  }
  // The buffer of the cell walk cuts the long entry and what follows it.
  data_.Put("Page.dcp", files[2]);
  page.ReadCell(0);
  EXPECT_EQ(page.GetCellPath().size(), 5120u - 2 - 5);
  EXPECT_EQ(page.GetCellName(), "");
  data_.Put("Page.dcp", files[1]);
  page.ReadCell(0);
  EXPECT_EQ(page.GetCellName(), "a");
  EXPECT_EQ(page.GetCellRow(), 2147483647);
  EXPECT_EQ(page.GetCellCol(), -2147483647 - 1);
  EXPECT_EQ(page.GetCellType(), "");  // the NUL ends the list entry; "b" stops the walk
}

}  // namespace
