// Progress reports of the long steps: the copy for editing and the save.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "BlobFile.h"
#include "support/TestSupport.h"

namespace {

using Report = std::pair<std::uint64_t, std::uint64_t>;

// Reports rise to the total and never pass it.
void ExpectRisingToTheEnd(const std::vector<Report>& reports) {
  ASSERT_FALSE(reports.empty());
  for (size_t i = 0; i < reports.size(); ++i) {
    EXPECT_LE(reports[i].first, reports[i].second);
    if (i > 0) {
      EXPECT_GE(reports[i].first, reports[i - 1].first);
    }
  }
  EXPECT_EQ(reports.back().first, reports.back().second);
}

TEST(Progress, OpenForEditingAndSaveReportUpToTheirTotal) {
  n4test::TempDir dir;
  const std::string path = dir.File("p.tst");
  std::vector<Report> reports;
  CTestBlobFile f;
  f.SetProgressHandler([&](std::uint64_t done, std::uint64_t total) { reports.emplace_back(done, total); });
  ASSERT_EQ(f.Open(path, OpenCreate), 1);
  for (unsigned i = 0; i < 20; ++i) f.AddBlob(1000, i);
  ASSERT_EQ(f.Update(), 1);
  ExpectRisingToTheEnd(reports);
  EXPECT_EQ(reports.back().second, static_cast<std::uint64_t>(f.GetArraySize()));
  f.Close();

  reports.clear();
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  ExpectRisingToTheEnd(reports);
  EXPECT_GT(reports.back().second, 20u * 1000u);
}

}  // namespace
