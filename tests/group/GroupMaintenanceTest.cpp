#include <gtest/gtest.h>

#include <string>

#include "GroupTestSupport.h"

namespace {

using n4test::CountRows;
using n4test::GroupTest;

TEST_F(GroupTest, CompactingKeepsEveryRowAndIdentifier) {
  long keep = 0;
  {
    CN4FileGroup db;
    for (int i = 0; i < 200; ++i) db.AddSign(std::string(200, 'a'), "M", "A", 1, 1, 0, nullptr);
    db.AddSign("kept", "M", "A", 1, 1, 0, &keep);
    for (long id = 1; id <= 200; ++id) db.DeleteSign(id, TRUE);
  }
  std::uint64_t before = 0, after = 0;
  n4::Env::Default()->GetFileSize(data.Database(), &before, nullptr);
  ASSERT_EQ(CN4FileGroup::CompactGroupDatabase(), 1);
  n4::Env::Default()->GetFileSize(data.Database(), &after, nullptr);
  EXPECT_LT(after, before);
  EXPECT_FALSE(n4test::Exists(data.data() + "/N4grp_tmp.mdb"));
  EXPECT_TRUE(messages.shown.empty());

  CN4FileGroup db;
  long found = 0, next = 0;
  EXPECT_EQ(db.GetSignInfo("kept", "M", "A", 1, 1, 0, &found), 1);
  EXPECT_EQ(found, keep);
  db.AddSign("new", "M", "A", 1, 1, 0, &next);
  EXPECT_GT(next, keep);  // identifiers are never handed out twice
}

TEST_F(GroupTest, RefusalsShowTheAdviceAndKeepTheFiles) {
  const std::string compacting = "Error compacting " + data.Database() + n4test::kInUseAdvice;
  const std::string repairing = "Error repairing " + data.Database() + n4test::kInUseAdvice;
  auto expectRefusal = [&](int result, const std::string& prefix) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(messages.Last().rfind(prefix, 0), 0u) << messages.Last();
    EXPECT_GT(messages.Last().size(), prefix.size());  // the engine's description follows
    EXPECT_EQ(messages.shown.back().style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
    messages.shown.clear();
  };
  expectRefusal(CN4FileGroup::CompactGroupDatabase(), compacting);  // no file yet
  EXPECT_FALSE(n4test::Exists(data.Database()));
  n4test::WriteFile(data.Database(), std::string(8192, 'z'));
  expectRefusal(CN4FileGroup::RepairGroupDatabase(), repairing);  // no database
  EXPECT_EQ(n4test::ReadFile(data.Database()), std::string(8192, 'z'));
  n4::Env::Default()->DeleteFile(data.Database(), nullptr);

  // Another connection (the grouping service, another program) has the file open.
  CN4FileGroup db;
  db.AddGroup("G", 1, 1, 0, nullptr);
  const std::string before = n4test::ReadFile(data.Database());
  const std::string temporary = data.data() + "/N4grp_tmp.mdb";
  expectRefusal(CN4FileGroup::RepairGroupDatabase(), repairing);
  expectRefusal(CN4FileGroup::CompactGroupDatabase(), compacting);
  EXPECT_EQ(n4test::ReadFile(data.Database()), before);
  EXPECT_FALSE(n4test::Exists(temporary));
  db.CloseDatabase();
  n4test::WriteFile(temporary, "left over");
  expectRefusal(CN4FileGroup::CompactGroupDatabase(), "Error compacting ");
  EXPECT_EQ(n4test::ReadFile(temporary), "left over");
  n4::Env::Default()->DeleteFile(temporary, nullptr);
  EXPECT_EQ(CN4FileGroup::RepairGroupDatabase(), 1);
  EXPECT_TRUE(messages.shown.empty());
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM [Group]"), 1);
}

TEST_F(GroupTest, RepairRebuildsADamagedFileFromTheRowsStillReadable) {
  constexpr int kSigns = 600;
  { CN4FileGroup create; }
  {
    // Many rows in one transaction, long enough to fill some dozens of pages.
    std::string sql = "BEGIN;";
    for (int i = 0; i < kSigns; ++i) {
      sql += "INSERT INTO [Sign] ([Name], [Machine], [Address], [Rows], [Columns], [ColorTech]) VALUES ('s" +
             std::to_string(i) + "', '" + std::string(200, 'm') + "', 'A', 1, 1, 0);";
    }
    sql += "COMMIT;";
    SQLite::Database(data.Database(), SQLite::OPEN_READWRITE).exec(sql);
  }
  // Garbage over one page in the middle of the file.
  std::string bytes = n4test::ReadFile(data.Database());
  ASSERT_FALSE(n4test::Exists(data.Database() + "-wal"));
  const std::size_t page = 4096, middle = (bytes.size() / page / 2) * page;
  ASSERT_GT(bytes.size() / page, 20u);
  for (std::size_t i = 0; i < page; ++i) bytes[middle + i] = static_cast<char>(0xA5 ^ i);
  n4test::WriteFile(data.Database(), bytes);
  ASSERT_NE(CountRows(data.Database(), "SELECT count(*) FROM [Sign]"), kSigns);  // it is damaged

  ASSERT_EQ(CN4FileGroup::RepairGroupDatabase(), 1);
  EXPECT_TRUE(messages.shown.empty());
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM pragma_integrity_check WHERE integrity_check = 'ok'"), 1);
  const long long left = CountRows(data.Database(), "SELECT count(*) FROM [Sign]");
  EXPECT_GT(left, kSigns - 100);  // rows on both sides of the damaged page
  EXPECT_LT(left, kSigns);
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM [Sign] WHERE [SignID] IN (1, " +
                                           std::to_string(kSigns) + ")"), 2);

  CN4FileGroup db;
  long id = 0;
  ASSERT_EQ(db.AddSign("after", "M", "A", 1, 1, 0, &id), 1);
  EXPECT_GT(id, kSigns);
}

}  // namespace
