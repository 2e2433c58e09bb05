// Several connections to one file, in separate processes.
#include <gtest/gtest.h>

#include <string>

#include "GroupTestSupport.h"

namespace {

using n4test::CountRows;
using n4test::GroupTest;

constexpr int kSignsPerWriter = 25;

// Adds `count` signs named prefix0.. and puts each into group `group`.
int AddSigns(long group, const std::string& prefix, int count) {
  CN4FileGroup db;
  if (!db.IsOpen()) return 3;
  for (int i = 0; i < count; ++i) {
    long id = 0;
    if (!db.AddSign(prefix + std::to_string(i), "M", "A", 1, 1, 0, &id)) return 4;
    if (!db.AddMember(group, id, n4::kGroupMemberSign)) return 5;
  }
  return 0;
}

// args: registry directory, group, prefix.
N4_TEST_CHILD_MODE(group_writer) {
  n4test::RegistryDirEnv env(args.at(0));
  n4::ScopedEnv scoped(&env);
  return AddSigns(std::stol(args.at(1)), args.at(2), kSignsPerWriter);
}

// args: registry directory. Exit code 11 when the file opened, 10 when not.
N4_TEST_CHILD_MODE(group_try_open) {
  n4test::RegistryDirEnv env(args.at(0));
  n4::ScopedEnv scoped(&env);
  n4test::MessageCapture quiet;
  CN4FileGroup db;
  return quiet.shown.empty() ? 11 : 10;
}

TEST_F(GroupTest, TwoProcessesAddingAtOnceLoseNothing) {
  long group = 0;
  {
    CN4FileGroup db;
    ASSERT_EQ(db.AddGroup("All", 1, 1, 0, &group), 1);
  }
  auto child = n4test::StartChild("group_writer", {dir.path(), std::to_string(group), "child"});
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(AddSigns(group, "parent", kSignsPerWriter), 0);
  EXPECT_EQ(child->Wait(), 0);
  EXPECT_TRUE(messages.shown.empty());

  CN4FileGroup db;
  EXPECT_EQ(n4test::SignWalk(db, group).size(), 2u * kSignsPerWriter);
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(DISTINCT [ID]) FROM [MemberJoin]"), 2 * kSignsPerWriter);
}

TEST_F(GroupTest, ExclusiveOpenKeepsOtherProcessesOut) {
  { CN4FileGroup create; }
  {
    CN4FileGroup alone(FALSE, TRUE);
    ASSERT_EQ(alone.IsOpen(), 1);
    auto refused = n4test::StartChild("group_try_open", {dir.path()});
    ASSERT_NE(refused, nullptr);
    EXPECT_EQ(refused->Wait(), 10);
    EXPECT_EQ(alone.AddGroup("still mine", 1, 1, 0, nullptr), 1);
  }
  auto shared = n4test::StartChild("group_try_open", {dir.path()});
  ASSERT_NE(shared, nullptr);
  EXPECT_EQ(shared->Wait(), 11);
}

}  // namespace
