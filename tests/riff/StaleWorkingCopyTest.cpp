// Working copies of editors that were killed are removed by the next editor;
// copies still held, and anything else in the directory, are not.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "BlobFile.h"
#include "support/TestSupport.h"

namespace {

// Puts the temporary directory (where working copies go) in dir.
class TempDirEnv : public n4::EnvWrapper {
 public:
  explicit TempDirEnv(std::string dir) : EnvWrapper(n4::Env::Default()), dir_(std::move(dir)) {}
  bool GetTempDirectory(std::string* dir, n4::SysError*) override {
    *dir = dir_;
    return true;
  }

 private:
  std::string dir_;
};

// Edits file args[0] with working copies in directory args[1] until killed;
// creates args[2] once the copy exists.
N4_TEST_CHILD_MODE(edit_until_killed) {
  TempDirEnv env(args.at(1));
  n4::ScopedEnv scoped(&env);
  CTestBlobFile f;
  if (!f.Open(args.at(0), OpenCreate)) return 1;
  n4test::WriteFile(args.at(2), "ready");
  for (;;) n4::Env::Default()->SleepFor(std::chrono::milliseconds(50));
}

std::vector<std::string> WorkingCopies(const n4test::TempDir& dir) {
  std::vector<std::string> names = dir.List();
  std::erase_if(names, [](const std::string& n) { return n.rfind("SQ4", 0) != 0; });
  return names;
}

// The one name in `after` that is not in `before`.
std::string NewName(const std::vector<std::string>& before, const std::vector<std::string>& after) {
  for (const std::string& n : after) {
    if (std::find(before.begin(), before.end(), n) == before.end()) return n;
  }
  return {};
}

// Windows refuses to touch a file an editor holds without sharing; that
// copy stays young, and stays all the more.
void Age(const std::string& path, std::chrono::minutes by) {
  std::error_code ignored;
  const auto written = std::filesystem::last_write_time(path, ignored);
  if (!ignored) std::filesystem::last_write_time(path, written - by, ignored);
}

TEST(StaleWorkingCopy, OnlyTheCopyOfADeadEditorGoes) {
  n4test::TempDir files, temp;
  TempDirEnv env(temp.path());
  n4::ScopedEnv scoped(&env);

  auto start = [&](const std::string& name) {
    auto child = n4test::StartChild("edit_until_killed", {files.File(name), temp.path(), files.File(name + ".ready")});
    EXPECT_TRUE(child && n4test::WaitForFile(files.File(name + ".ready")));
    return child;
  };
  auto dead = start("dead.tst");
  const std::string deadCopy = NewName({}, WorkingCopies(temp));
  auto live = start("live.tst");
  const std::string liveCopy = NewName({deadCopy}, WorkingCopies(temp));
  ASSERT_FALSE(deadCopy.empty());
  ASSERT_FALSE(liveCopy.empty());
  dead->Kill();
  dead->Wait();
  // A file that only looks like a working copy is never touched.
  n4test::WriteFile(temp.File("SQ4notes.txt"), "keep");
  {
    CTestBlobFile f;
    ASSERT_EQ(f.Open(files.File("mine.tst"), OpenCreate), 1);
    EXPECT_EQ(WorkingCopies(temp).size(), 4u) << "a copy younger than a minute stays";
  }
  for (const std::string& n : temp.List()) Age(temp.File(n), std::chrono::minutes(2));

  CTestBlobFile f;
  ASSERT_EQ(f.Open(files.File("mine.tst"), OpenCreate), 1);
  std::vector<std::string> left = WorkingCopies(temp);
  EXPECT_EQ(std::count(left.begin(), left.end(), deadCopy), 0);
  EXPECT_EQ(std::count(left.begin(), left.end(), liveCopy), 1);
  EXPECT_EQ(std::count(left.begin(), left.end(), "SQ4notes.txt"), 1);
  EXPECT_EQ(left.size(), 3u);  // the live child's, ours and the notes
  live->Kill();
  live->Wait();
}

}  // namespace
