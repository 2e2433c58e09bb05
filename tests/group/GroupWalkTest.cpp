#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "GroupTestSupport.h"

namespace {

using n4test::GroupTest;
using n4test::CountRows;
using n4test::SignWalk;

long Sign(CN4FileGroup& group, const std::string& name) {
  long id = 0;
  EXPECT_EQ(group.AddSign(name, "HOST", "ADDR " + name, 16, 80, 3, &id), 1);
  return id;
}

long Group(CN4FileGroup& group, const std::string& name) {
  long id = 0;
  EXPECT_EQ(group.AddGroup(name, 16, 80, 3, &id), 1);
  return id;
}

TEST_F(GroupTest, SignWalkEntersSharedSubgroupsOnEveryPath) {
  CN4FileGroup group;
  // top: s1, left, right; left: s2, shared; right: shared, s3; shared: s4, s5
  long top = Group(group, "top"), left = Group(group, "left"), right = Group(group, "right");
  long shared = Group(group, "shared");
  group.AddMember(top, Sign(group, "s1"), n4::kGroupMemberSign);
  group.AddMember(top, left, n4::kGroupMemberGroup);
  group.AddMember(top, right, n4::kGroupMemberGroup);
  group.AddMember(left, Sign(group, "s2"), n4::kGroupMemberSign);
  group.AddMember(left, shared, n4::kGroupMemberGroup);
  group.AddMember(right, shared, n4::kGroupMemberGroup);
  group.AddMember(right, Sign(group, "s3"), n4::kGroupMemberSign);
  group.AddMember(shared, Sign(group, "s4"), n4::kGroupMemberSign);
  group.AddMember(shared, Sign(group, "s5"), n4::kGroupMemberSign);

  EXPECT_EQ(SignWalk(group, top), (std::vector<std::string>{"s1", "s2", "s4", "s5", "s4", "s5", "s3"}));
  EXPECT_EQ(SignWalk(group, shared), (std::vector<std::string>{"s4", "s5"}));

  // Direct members, groups included, nothing entered; all fields filled.
  HANDLE find = group.FindMemberOpen(top);
  ASSERT_NE(find, nullptr);
  std::vector<std::string> direct;
  tag_N4_GRP_MEMBER_DATA member{};
  while (group.FindNextMember(find, &member)) {
    direct.push_back(std::string(member.szName) + "/" + std::to_string(member.dwType) + "/" + member.szAddress);
    EXPECT_EQ(member.dwRows * 100000 + member.dwColumns * 10 + member.dwColorTech, 16u * 100000 + 80u * 10 + 3u);
  }
  group.FindMemberClose(find);
  EXPECT_EQ(direct, (std::vector<std::string>{"s1/1/ADDR s1", "left/2/", "right/2/"}));
  EXPECT_TRUE(messages.shown.empty());
}

TEST_F(GroupTest, WalksSkipRowsOfDeletedSignsAndGroups) {
  CN4FileGroup group;
  long top = Group(group, "top"), gone = Group(group, "gone");
  long a = Sign(group, "a"), b = Sign(group, "b");
  group.AddMember(top, a, n4::kGroupMemberSign);
  group.AddMember(top, gone, n4::kGroupMemberGroup);
  group.AddMember(top, b, n4::kGroupMemberSign);
  group.AddMember(gone, Sign(group, "inside"), n4::kGroupMemberSign);
  ASSERT_EQ(group.DeleteSign(a, FALSE), 1);
  ASSERT_EQ(group.DeleteGroup(gone, FALSE), 1);  // its member rows stay, and are still reached

  EXPECT_EQ(SignWalk(group, top), (std::vector<std::string>{"inside", "b"}));
  HANDLE find = group.FindMemberOpen(top);
  tag_N4_GRP_MEMBER_DATA member{};
  ASSERT_EQ(group.FindNextMember(find, &member), 1);
  EXPECT_STREQ(member.szName, "b");
  EXPECT_EQ(group.FindNextMember(find, &member), 0);
  group.FindMemberClose(find);
}

TEST_F(GroupTest, SignWalkFollowsTenLevelsAndSearchesStayApart) {
  CN4FileGroup group;
  // Level k holds sign "k" and the group of level k + 1; 12 levels deep.
  std::vector<long> chain;
  for (int i = 0; i < 12; ++i) chain.push_back(Group(group, "g" + std::to_string(i)));
  for (int i = 0; i < 12; ++i) {
    group.AddMember(chain[i], Sign(group, std::to_string(i)), n4::kGroupMemberSign);
    if (i + 1 < 12) group.AddMember(chain[i], chain[i + 1], n4::kGroupMemberGroup);
  }
  std::vector<std::string> expected;
  for (int i = 0; i < 10; ++i) expected.push_back(std::to_string(i));
  EXPECT_EQ(SignWalk(group, chain[0]), expected);  // levels 0 to 9 only

  // Two searches at once keep their own places; a closed token gives nothing.
  HANDLE first = group.FindMemberOpen(chain[0]);
  HANDLE second = group.FindMemberOpen(chain[8]);
  ASSERT_TRUE(first && second && first != second);
  tag_N4_GRP_MEMBER_DATA member{};
  ASSERT_EQ(group.FindNextSignMember(first, &member), 1);
  EXPECT_STREQ(member.szName, "0");
  ASSERT_EQ(group.FindNextSignMember(second, &member), 1);
  EXPECT_STREQ(member.szName, "8");
  ASSERT_EQ(group.FindNextSignMember(first, &member), 1);
  EXPECT_STREQ(member.szName, "1");
  group.FindMemberClose(first);
  EXPECT_EQ(group.FindNextSignMember(first, &member), 0);
  EXPECT_EQ(group.FindNextMember(first, &member), 0);
  EXPECT_EQ(group.FindNextSignMember(nullptr, &member), 0);
  group.FindMemberClose(second);
  group.FindMemberClose(second);  // twice is harmless
}

// Names that would change a statement if they were ever pasted into one.
TEST_F(GroupTest, HostileNamesNeverChangeAStatement) {
  CN4FileGroup group;
  const std::string db = data.Database();
  struct Case {
    std::string name;
    bool stored;    // AddGroup accepts it
    bool findable;  // found again by value
  } cases[] = {
      {"O'Brien", true, false},
      {"'; DELETE FROM [Sign]; --", true, false},
      {"a; DROP TABLE [Group]", true, true},
      {"[Name]", true, true},
      {"100%_*?", true, true},
      {std::string(255, 'n'), true, true},
      {std::string(10000, 'x'), false, false},
      {std::string(10000, '\''), false, false},
  };
  long sign = 0;
  ASSERT_EQ(group.AddSign("keep", "M", "A", 1, 1, 0, &sign), 1);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name.substr(0, 40));
    messages.shown.clear();
    long groupID = 0;
    EXPECT_EQ(group.AddGroup(c.name, 1, 1, 0, &groupID), c.stored ? 1 : 0);
    if (!c.stored) {
      EXPECT_EQ(messages.Last(), "Error adding new record to group table \n");
    }
    long found = 0;
    EXPECT_EQ(group.GetGroupInfo(c.name, 1, 1, 0, &found), c.findable ? 1 : 0);
    if (c.findable) {
      EXPECT_EQ(found, groupID);
    }
    // Stored or not, a name holding "'" is reported valid, as it always was.
    EXPECT_EQ(group.IsValidGroupName(c.name), c.findable ? 0 : 1);
    EXPECT_EQ(group.GetSignInfo(c.name, c.name, c.name, 1, 1, 0, &found), 0);
    long id = 0;
    EXPECT_EQ(group.AddSign(c.name, c.name, "A", 1, 1, 0, &id), c.stored ? 1 : 0);
    if (c.stored) {
      std::string name, machine, address;
      long r = 0, col = 0, ct = 0;
      ASSERT_EQ(group.GetSignInfo(id, name, machine, address, r, col, ct), 1);
      EXPECT_EQ(name, c.name);
      ASSERT_EQ(group.AddMember(groupID, sign, n4::kGroupMemberSign), 1);
      EXPECT_EQ(SignWalk(group, groupID), std::vector<std::string>{"keep"});
    }
  }
  // Every table is still there with every row.
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [Sign]"), 7);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [Group]"), 6);
  EXPECT_EQ(CountRows(db, "SELECT count(*) FROM [MemberJoin]"), 6);
}

}  // namespace
