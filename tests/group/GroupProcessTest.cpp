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

}  // namespace
