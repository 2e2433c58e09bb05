#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "n4file/Registry.h"
#include "registry/RegFormat.h"
#include "RegistryTestEnv.h"

namespace {

constexpr int kWritesPerWriter = 40;

// Writes prefix0 .. prefix<count-1> = 0 .. count-1 into the machine key
// "Concurrency", one value per change.
int WriteValues(const std::string& prefix, int count) {
  CN4Registry reg;
  if (!reg.CreateMachineRegistryKey("Concurrency")) return 3;
  for (int i = 0; i < count; ++i) {
    unsigned long value = static_cast<unsigned long>(i);
    if (!reg.SetRegistryDword((prefix + std::to_string(i)).c_str(), &value)) return 4;
  }
  return 0;
}

// args: registry directory, value prefix, count.
N4_TEST_CHILD_MODE(registry_writer) {
  if (args.size() != 3) return 2;
  n4test::RegistryDirEnv env(args[0]);
  n4::ScopedEnv scoped(&env);
  return WriteValues(args[1], std::stoi(args[2]));
}

bool IsWholeFile(const std::string& bytes) {
  n4::RegKey top;
  return n4::ParseRegFile(bytes, &top, nullptr);
}

void ExpectAllValues(const std::vector<std::string>& prefixes) {
  CN4Registry reg;
  ASSERT_EQ(reg.OpenMachineRegistryKey("Concurrency"), 1);
  for (const auto& prefix : prefixes) {
    for (int i = 0; i < kWritesPerWriter; ++i) {
      unsigned long value = 12345;
      EXPECT_EQ(reg.GetRegistryDword((prefix + std::to_string(i)).c_str(), &value), 1)
          << prefix << i;
      EXPECT_EQ(value, static_cast<unsigned long>(i));
    }
  }
}

TEST(RegistryConcurrency, TwoProcessesWritingAtOnceLoseNothing) {
  n4test::TempDir dir;
  n4test::RegistryDirEnv env(dir.path());
  n4::ScopedEnv scoped(&env);
  const std::string count = std::to_string(kWritesPerWriter);
  auto first = n4test::StartChild("registry_writer", {dir.path(), "first", count});
  auto second = n4test::StartChild("registry_writer", {dir.path(), "second", count});
  ASSERT_TRUE(first && second);

  std::atomic<int> running{2};
  int exitCodes[2] = {-1, -1};
  std::thread waitFirst([&] { exitCodes[0] = first->Wait(); --running; });
  std::thread waitSecond([&] { exitCodes[1] = second->Wait(); --running; });

  // While they write, every state of the file a reader can see is whole.
  const std::string file = dir.File("HKEY_LOCAL_MACHINE.reg");
  int snapshots = 0;
  while (running > 0) {
    // Read as the store's readers read: sharing everything, so that a
    // writer's rename is never refused because of this reader. An open that
    // meets the rename midway (Windows) sees no file at all, not part of one.
    std::string bytes;
    n4::SysError err;
    if (!n4::Env::Default()->ReadWholeFile(file, &bytes, &err)) continue;
    bool whole = IsWholeFile(bytes);
    EXPECT_TRUE(whole) << "a reader saw a half-written file";
    if (!whole) break;
    ++snapshots;
  }
  waitFirst.join();
  waitSecond.join();
  EXPECT_EQ(exitCodes[0], 0);
  EXPECT_EQ(exitCodes[1], 0);
  EXPECT_GT(snapshots, 1);
  ExpectAllValues({"first", "second"});
}

TEST(RegistryConcurrency, ThreadsOfOneProcessLoseNothing) {
  n4test::TempDir dir;
  n4test::RegistryDirEnv env(dir.path());
  n4::ScopedEnv scoped(&env);
  int results[2] = {-1, -1};
  std::thread a([&] { results[0] = WriteValues("a", kWritesPerWriter); });
  std::thread b([&] { results[1] = WriteValues("b", kWritesPerWriter); });
  a.join();
  b.join();
  EXPECT_EQ(results[0], 0);
  EXPECT_EQ(results[1], 0);
  ExpectAllValues({"a", "b"});
}

}  // namespace
