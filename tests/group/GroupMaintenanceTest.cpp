#include <gtest/gtest.h>

#include <string>

#include "GroupTestSupport.h"

namespace {

using n4test::CountRows;
using n4test::GroupTest;

const char kAdvice[] =
    "!  Make sure the grouping service is stopped and no other\n"
    "applications are currently using the database. Error = ";

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

TEST_F(GroupTest, CompactingFailsAtTheCopyOnALeftOverTemporaryOrAMissingFile) {
  EXPECT_EQ(CN4FileGroup::CompactGroupDatabase(), 0);  // no database yet
  EXPECT_EQ(messages.Last().rfind("Error compacting " + data.Database() + kAdvice, 0), 0u);
  EXPECT_FALSE(n4test::Exists(data.Database()));

  { CN4FileGroup create; }
  n4test::WriteFile(data.data() + "/N4grp_tmp.mdb", "left over");
  messages.shown.clear();
  EXPECT_EQ(CN4FileGroup::CompactGroupDatabase(), 0);
  EXPECT_EQ(messages.Last().rfind("Error compacting ", 0), 0u);
  EXPECT_EQ(n4test::ReadFile(data.data() + "/N4grp_tmp.mdb"), "left over");
  CN4FileGroup db;
  EXPECT_EQ(db.IsOpen(), 1);
}

TEST_F(GroupTest, RepairLeavesAHealthyFileAndRefusesAFileInUse) {
  CN4FileGroup db;
  db.AddGroup("G", 1, 1, 0, nullptr);
  EXPECT_EQ(CN4FileGroup::RepairGroupDatabase(), 0);  // db still has it open
  EXPECT_EQ(messages.Last().rfind("Error repairing " + data.Database() + kAdvice, 0), 0u);
  db.CloseDatabase();
  messages.shown.clear();
  EXPECT_EQ(CN4FileGroup::RepairGroupDatabase(), 1);
  EXPECT_TRUE(messages.shown.empty());
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM [Group]"), 1);
}

TEST_F(GroupTest, RepairRebuildsADamagedFileFromTheRowsStillReadable) {
  constexpr int kSigns = 600;
  { CN4FileGroup create; }
  {
    // Many rows in one transaction, long enough to fill some dozens of pages.
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(data.Database().c_str(), &raw), SQLITE_OK);
    std::string sql = "BEGIN;";
    for (int i = 0; i < kSigns; ++i) {
      sql += "INSERT INTO [Sign] ([Name], [Machine], [Address], [Rows], [Columns], [ColorTech]) VALUES ('s" +
             std::to_string(i) + "', '" + std::string(200, 'm') + "', 'A', 1, 1, 0);";
    }
    sql += "COMMIT;";
    ASSERT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
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

TEST_F(GroupTest, RepairOfAFileThatIsNoDatabaseFailsAndKeepsIt) {
  n4test::WriteFile(data.Database(), std::string(8192, 'z'));
  EXPECT_EQ(CN4FileGroup::RepairGroupDatabase(), 0);
  EXPECT_EQ(messages.Last().rfind("Error repairing " + data.Database() + kAdvice, 0), 0u);
  EXPECT_EQ(messages.shown.back().style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
  EXPECT_EQ(n4test::ReadFile(data.Database()), std::string(8192, 'z'));
}

}  // namespace
