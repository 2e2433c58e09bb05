#include <gtest/gtest.h>

#include <string>

#include "GroupTestSupport.h"

namespace {

using n4test::CountRows;
using n4test::GroupTest;

TEST_F(GroupTest, NewFileHoldsTheThreeTablesWithTheirColumns) {
  CN4FileGroup group;
  ASSERT_EQ(group.IsOpen(), 1);
  for (const auto& [table, columns] : {std::pair{"Sign", "SignID,Name,Machine,Address,Rows,Columns,ColorTech"},
                                       std::pair{"Group", "GroupID,Name,Rows,Columns,ColorTech"},
                                       std::pair{"MemberJoin", "MemberID,GroupID,ID,Type"}}) {
    EXPECT_EQ(CountRows(data.Database(), std::string("SELECT group_concat(name) = '") + columns +
                                             "' FROM pragma_table_info('" + table + "')"), 1) << table;
  }
  EXPECT_TRUE(messages.shown.empty());
}

TEST_F(GroupTest, RegistryNamesTheFileAndAnEmptyNameMeansTheDefault) {
  n4test::GroupDataDir::SetDatabaseName("Other.db");
  EXPECT_EQ(CN4FileGroup::GetGroupDatabasePath(), data.data() + "/Other.db");
  { CN4FileGroup group; }
  EXPECT_TRUE(n4test::Exists(data.data() + "/Other.db"));
  n4test::GroupDataDir::SetDatabaseName("");
  EXPECT_EQ(CN4FileGroup::GetGroupDatabasePath(), data.Database());
}

TEST(GroupOpen, FailedOpenIsShownAndIsOpenReconnectsLater) {
  n4test::TempDir dir;
  n4test::GroupDataDir data(dir.path(), /*createData=*/false);
  n4test::MessageCapture messages;
  CN4FileGroup group;
  ASSERT_EQ(messages.shown.size(), 1u);
  EXPECT_EQ(messages.Last(), "Could not open database for grouping!  Error opening " + data.Database() + ".");
  EXPECT_EQ(messages.shown[0].style, static_cast<UINT>(MB_OK));
  long id = 0;
  EXPECT_EQ(group.AddGroup("A", 1, 1, 0, &id), 0);
  EXPECT_EQ(group.GetFirstGroupID(), -1);

  n4::Env::Default()->CreateDirectory(data.data(), nullptr);
  // Read-only, a missing file is not created.
  messages.shown.clear();
  CN4FileGroup reader(TRUE, FALSE);
  EXPECT_EQ(reader.IsOpen(), 0);
  EXPECT_FALSE(n4test::Exists(data.Database()));
  EXPECT_EQ(messages.Last(), "Could not open database for grouping!  Error opening " + data.Database() + ".");

  EXPECT_EQ(group.AddGroup("A", 1, 1, 0, &id), 1);
  EXPECT_EQ(group.GetFirstGroupID(), id);

  group.CloseDatabase();
  EXPECT_EQ(group.IsOpen(), 0);  // closed on purpose: no reconnect
}

// Another connection finds the file locked as another process does.
TEST_F(GroupTest, ExclusiveOpenKeepsOtherConnectionsOut) {
  { CN4FileGroup create; }
  {
    CN4FileGroup alone(FALSE, TRUE);
    ASSERT_EQ(alone.IsOpen(), 1);
    CN4FileGroup refused;
    EXPECT_EQ(messages.Last(), "Could not open database for grouping!  Error opening " + data.Database() + ".");
    EXPECT_EQ(alone.AddGroup("still mine", 1, 1, 0, nullptr), 1);
  }
  messages.shown.clear();
  CN4FileGroup shared;
  EXPECT_EQ(shared.IsOpen(), 1);
  EXPECT_TRUE(messages.shown.empty());
}

TEST_F(GroupTest, AddedRowsAreFoundByValueAndByIdentifier) {
  CN4FileGroup group;
  long sign1 = 0, sign2 = 0, groupID = 0;
  ASSERT_EQ(group.AddSign("Lobby", "HOST1", "COM1:3", 16, 80, 0, &sign1), 1);
  ASSERT_EQ(group.AddSign("Lobby", "HOST1", "COM1:4", 32, 160, 11, &sign2), 1);
  ASSERT_EQ(group.AddGroup("Front", 16, 80, 0, &groupID), 1);
  EXPECT_NE(sign1, sign2);

  long found = 0;
  EXPECT_EQ(group.GetSignInfo("Lobby", "HOST1", "COM1:4", 32, 160, 11, &found), 1);
  EXPECT_EQ(found, sign2);
  EXPECT_EQ(group.GetSignInfo("Lobby", "HOST1", "COM1:4", 32, 160, 10, &found), 0);
  // Texts compare without regard to case, as names did in the original engine.
  EXPECT_EQ(group.GetSignInfo("LOBBY", "host1", "com1:3", 16, 80, 0, &found), 1);
  EXPECT_EQ(found, sign1);

  std::string name, machine, address;
  long rows = 0, columns = 0, color = 0;
  ASSERT_EQ(group.GetSignInfo(sign2, name, machine, address, rows, columns, color), 1);
  EXPECT_EQ(name + "|" + machine + "|" + address, "Lobby|HOST1|COM1:4");
  EXPECT_EQ(rows * 1000000 + columns * 100 + color, 32 * 1000000 + 160 * 100 + 11);
  EXPECT_EQ(group.GetSignInfo(sign2 + 100, name, machine, address, rows, columns, color), 0);

  EXPECT_EQ(group.GetGroupInfo("front", 16, 80, 0, &found), 1);
  EXPECT_EQ(found, groupID);
  ASSERT_EQ(group.GetGroupInfo(groupID, name, rows, columns, color), 1);
  EXPECT_EQ(name, "Front");
  EXPECT_EQ(group.IsValidGroupName("Front"), 0);
  EXPECT_EQ(group.IsValidGroupName("Back"), 1);
  // The same membership twice leaves one row.
  EXPECT_EQ(group.AddMember(groupID, sign1, n4::kGroupMemberSign), 1);
  EXPECT_EQ(group.AddMember(groupID, sign1, n4::kGroupMemberSign), 0);
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM [MemberJoin]"), 1);
  EXPECT_TRUE(messages.shown.empty());
}

TEST_F(GroupTest, GroupIdIterationSeesGroupsAddedSince) {
  CN4FileGroup group;
  EXPECT_EQ(group.GetFirstGroupID(), -1);
  long a = 0, b = 0;
  group.AddGroup("A", 1, 1, 0, &a);
  EXPECT_EQ(group.GetFirstGroupID(), a);
  EXPECT_EQ(group.GetNextGroupID(), -1);
  {
    CN4FileGroup other;  // another user of the file
    other.AddGroup("B", 1, 1, 0, &b);
  }
  EXPECT_EQ(group.GetFirstGroupID(), a);
  EXPECT_EQ(group.GetNextGroupID(), b);
  EXPECT_EQ(group.GetNextGroupID(), -1);
  EXPECT_EQ(group.GetNextGroupID(), -1);
}

TEST_F(GroupTest, RecursiveIncludesAreRefusedDownToTenLevels) {
  CN4FileGroup group;
  // chain[0] contains chain[1] contains ... chain[12]: 12 levels of nesting.
  long chain[13];
  for (int i = 0; i < 13; ++i) ASSERT_EQ(group.AddGroup("G" + std::to_string(i), 1, 1, 0, &chain[i]), 1);
  for (int i = 0; i < 12; ++i) ASSERT_EQ(group.AddMember(chain[i], chain[i + 1], n4::kGroupMemberGroup), 1);
  ASSERT_TRUE(messages.shown.empty());

  const std::string refusal = "Error adding group!  A group cannot be added to itself. (recursive group include)";
  struct Case {
    int container;
    int member;
    int expected;
  } cases[] = {
      {0, 0, 0},    // a group into itself
      {1, 0, 0},    // B into A when A is a member of B
      {10, 0, 0},   // found at the tenth level
      {11, 0, 1},   // deeper than 10 levels: not detected, as stated
      {12, 2, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.container) + " <- " + std::to_string(c.member));
    messages.shown.clear();
    EXPECT_EQ(group.AddMember(chain[c.container], chain[c.member], n4::kGroupMemberGroup), c.expected);
    if (c.expected == 0) {
      ASSERT_EQ(messages.shown.size(), 1u);
      EXPECT_EQ(messages.Last(), refusal);
      EXPECT_EQ(messages.shown[0].style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
    } else {
      EXPECT_TRUE(messages.shown.empty());
    }
  }
  // A sign is never a recursive include, even with a group's number.
  EXPECT_EQ(group.AddMember(chain[0], chain[0], n4::kGroupMemberSign), 1);
}

TEST_F(GroupTest, DeletingRemovesMembershipsOnlyWhereItShould) {
  CN4FileGroup group;
  long groups[3], sign = 0, other = 0;
  for (long& g : groups) group.AddGroup("G", 1, 1, 0, &g);
  group.AddSign("S", "M", "A", 1, 1, 0, &sign);
  group.AddSign("T", "M", "A", 1, 1, 0, &other);
  for (long g : groups) {
    group.AddMember(g, sign, n4::kGroupMemberSign);
    group.AddMember(g, other, n4::kGroupMemberSign);
  }
  group.AddMember(groups[0], groups[1], n4::kGroupMemberGroup);
  group.AddMember(groups[1], groups[2], n4::kGroupMemberGroup);
  const std::string db = data.Database();

  // DeleteMember takes the first matching row only.
  EXPECT_EQ(group.DeleteMember(0, other, n4::kGroupMemberSign, TRUE), 1);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin] WHERE [Type] = 1 AND [ID] = " + std::to_string(other)), 2);
  EXPECT_EQ(group.DeleteMember(groups[2], other, n4::kGroupMemberSign, FALSE), 1);
  EXPECT_EQ(group.DeleteMember(groups[2], other, n4::kGroupMemberSign, FALSE), 0);

  EXPECT_EQ(group.DeleteSign(sign, TRUE), 1);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin] WHERE [Type] = 1 AND [ID] = " + std::to_string(sign)), 0);
  EXPECT_EQ(group.DeleteSign(sign, TRUE), 0);

  // The group leaves its container, but its own member rows stay.
  EXPECT_EQ(group.DeleteGroup(groups[1], TRUE), 1);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin] WHERE [Type] = 2 AND [ID] = " +
                              std::to_string(groups[1])), 0);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin] WHERE [GroupID] = " + std::to_string(groups[1])), 2);
  // Without the flag the memberships stay.
  EXPECT_EQ(group.DeleteSign(other, FALSE), 1);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin] WHERE [Type] = 1 AND [ID] = " + std::to_string(other)), 1);
  EXPECT_TRUE(messages.shown.empty());
}

TEST_F(GroupTest, ReadOnlyOpenRefusesEveryChange) {
  long g = 0, s = 0;
  {
    CN4FileGroup writer;
    writer.AddGroup("G", 1, 1, 0, &g);
    writer.AddSign("S", "M", "A", 1, 1, 0, &s);
    writer.AddMember(g, s, n4::kGroupMemberSign);
  }
  CN4FileGroup reader(TRUE, FALSE);
  ASSERT_EQ(reader.IsOpen(), 1);
  EXPECT_EQ(reader.AddSign("X", "M", "A", 1, 1, 0, nullptr), 0);
  EXPECT_EQ(messages.Last(), "Could not append");
  EXPECT_EQ(reader.AddGroup("X", 1, 1, 0, nullptr), 0);
  EXPECT_EQ(reader.AddMember(g, g + 1, n4::kGroupMemberSign), 0);
  EXPECT_EQ(reader.DeleteMember(g, s, n4::kGroupMemberSign, FALSE), 0);
  EXPECT_EQ(reader.DeleteSign(s, TRUE), 0);
  EXPECT_EQ(reader.DeleteGroup(g, TRUE), 0);
  const std::string db = data.Database();
  EXPECT_EQ(CountRows(db, "SELECT (SELECT count(*) FROM [Sign]) * 100 + (SELECT count(*) FROM [Group]) * 10 + "
                          "(SELECT count(*) FROM [MemberJoin])"), 111);
  // Reading still works.
  EXPECT_EQ(n4test::SignWalk(reader, g), std::vector<std::string>{"S"});
  EXPECT_EQ(reader.GetFirstGroupID(), g);
}

TEST(GroupMessages, SinkReplacementReturnsThePreviousSink) {
  std::vector<std::string> first, second;
  n4::MessageSink original = n4::SetMessageSink([&](const std::string& t, UINT) { first.push_back(t); });
  n4::ShowMessage("one", MB_OK);
  n4::MessageSink mine = n4::SetMessageSink([&](const std::string& t, UINT) { second.push_back(t); });
  n4::ShowMessage("two", MB_OK);
  mine("three", MB_OK);  // the sink handed back is the one installed before
  n4::SetMessageSink(std::move(original));
  EXPECT_EQ(first, (std::vector<std::string>{"one", "three"}));
  EXPECT_EQ(second, std::vector<std::string>{"two"});
}

}  // namespace
