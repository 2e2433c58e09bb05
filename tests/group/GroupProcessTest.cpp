// Several connections to one file, in separate processes.
#include <gtest/gtest.h>

#include <string>
#include <thread>

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

// args: registry directory, ready file, stop file. Keeps the file open.
N4_TEST_CHILD_MODE(group_hold) {
  n4test::RegistryDirEnv env(args.at(0));
  n4::ScopedEnv scoped(&env);
  CN4FileGroup db;
  if (db.GetFirstGroupID() < 0) return 3;
  n4test::WriteFile(args.at(1), "ready");
  return n4test::WaitForFile(args.at(2)) ? 0 : 4;
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

TEST_F(GroupTest, CompactingWhileAnotherProcessHoldsTheFileChangesNothing) {
  {
    CN4FileGroup db;
    for (int i = 0; i < 20; ++i) db.AddGroup("G" + std::to_string(i), 1, 1, 0, nullptr);
  }
  const std::string ready = dir.File("ready"), stop = dir.File("stop");
  auto holder = n4test::StartChild("group_hold", {dir.path(), ready, stop});
  ASSERT_NE(holder, nullptr);
  ASSERT_TRUE(n4test::WaitForFile(ready));
  const std::string before = n4test::ReadFile(data.Database());

  EXPECT_EQ(CN4FileGroup::CompactGroupDatabase(), 0);
  ASSERT_EQ(messages.shown.size(), 1u);
  const std::string prefix = "Error compacting " + data.Database() +
                             "!  Make sure the grouping service is stopped and no other\n"
                             "applications are currently using the database. Error = ";
  EXPECT_EQ(messages.Last().substr(0, prefix.size()), prefix);
  EXPECT_GT(messages.Last().size(), prefix.size());  // the engine's description follows
  EXPECT_EQ(messages.shown[0].style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
  EXPECT_EQ(n4test::ReadFile(data.Database()), before);
  EXPECT_FALSE(n4test::Exists(data.data() + "/N4grp_tmp.mdb"));

  n4test::WriteFile(stop, "stop");
  EXPECT_EQ(holder->Wait(), 0);
  EXPECT_EQ(CN4FileGroup::CompactGroupDatabase(), 1);
  EXPECT_EQ(CountRows(data.Database(), "SELECT count(*) FROM [Group]"), 20);
}

}  // namespace
