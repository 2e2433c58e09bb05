#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/AtomicFile.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

// Each step that fails leaves the target as it was and nothing beside it,
// and the caller learns the system's code; a failed directory sync comes
// after the rename and is reported all the same.
TEST(SaveProtocol, AFailedStepIsReportedAndLeavesTheTarget) {
  struct Case {
    const char* name;
    n4test::FaultEnv::FailNth n4test::FaultEnv::*which;
    int at;
    DWORD code;
    const char* expected;
  };
  const Case cases[] = {
      {"first write", &n4test::FaultEnv::failWrite, 1, n4::kErrDiskFull, "old"},
      {"file sync", &n4test::FaultEnv::failSync, 1, 29, "old"},
      {"rename", &n4test::FaultEnv::failRename, 1, n4::kErrDiskFull, "old"},
      {"directory sync", &n4test::FaultEnv::failSync, 2, 29, "new content"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    n4test::TempDir dir;
    const std::string target = dir.File("store");
    n4test::WriteFile(target, "old");
    n4test::FaultEnv env;
    env.*c.which = {c.at, c.code};
    n4::SysError err;
    EXPECT_FALSE(n4::WriteFileAtomic(&env, target, "new content", &err));
    EXPECT_EQ(err.code, c.code);
    EXPECT_EQ(n4test::ReadFile(target), c.expected);
    EXPECT_EQ(dir.List().size(), 1u);
  }
}

// A private temporary file that becomes a new file takes the permissions of
// any new file there, not its own owner-only ones.
TEST(SaveProtocol, ANewTargetGetsTheUsualPermissions) {
  namespace fs = std::filesystem;
  n4test::TempDir dir;
  const std::string source = dir.File("private"), target = dir.File("shared"), usual = dir.File("usual");
  n4test::WriteFile(source, "content");
  n4test::WriteFile(usual, "");
  fs::permissions(source, fs::perms::owner_read | fs::perms::owner_write);
  n4::SysError err;
  ASSERT_TRUE(n4::ReplaceFileAtomic(n4::Env::Default(), source, target, &err)) << err.text;
  EXPECT_EQ(fs::status(target).permissions(), fs::status(usual).permissions());
  EXPECT_EQ(dir.List().size(), 2u);
}

TEST(SaveProtocol, ReplacesFromAnotherVolumeByCopyingBesideTheTarget) {
  n4test::TempDir dir;
  n4test::TempDir other;
  const std::string target = dir.File("target");
  const std::string source = other.File("source");
  n4test::WriteFile(target, "old");
  n4test::WriteFile(source, std::string(3 << 20, 'x'));
  n4test::FaultEnv env;
  env.directoriesAreVolumes = true;
  n4::SysError err;
  ASSERT_TRUE(n4::ReplaceFileAtomic(&env, source, target, &err)) << err.text;
  EXPECT_EQ(n4test::ReadFile(target), std::string(3 << 20, 'x'));
  EXPECT_EQ(dir.List().size(), 1u);
}

}  // namespace
