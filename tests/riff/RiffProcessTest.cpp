// Behaviour between processes: editing locks and saves killed part-way.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "BlobFile.h"
#include "support/TestSupport.h"

namespace {

// Holds `path` open for editing until killed; creates `ready` once it does.
N4_TEST_CHILD_MODE(hold_for_editing) {
  CTestBlobFile f;
  if (!f.Open(args.at(0), OpenModify)) return 1;
  n4test::WriteFile(args.at(1), "ready");
  for (;;) n4::Env::Default()->SleepFor(std::chrono::milliseconds(50));
}

// Saves `path` again and again, alternating between two contents of very
// different sizes; creates `ready` after the first save.
N4_TEST_CHILD_MODE(save_forever) {
  for (unsigned round = 0;; ++round) {
    CTestBlobFile f;
    if (!f.Open(args.at(0), OpenModify)) return 1;
    while (f.GetArraySize() > 2) f.RemoveObject(2);
    const bool large = round % 2 == 0;
    f.SetCommentsString(large ? "large" : "small");
    for (unsigned i = 0; i < (large ? 40u : 3u); ++i) f.AddBlob(large ? 20000 : 100, i);
    if (!f.Update()) return 2;
    if (round == 0) n4test::WriteFile(args.at(1), "ready");
  }
}

std::string MakeFile(const n4test::TempDir& dir) {
  std::string path = dir.File("shared.tst");
  CTestBlobFile f;
  EXPECT_EQ(f.Open(path, OpenCreate), 1);
  EXPECT_EQ(f.SetCommentsString("small"), 1);
  EXPECT_EQ(f.Update(), 1);
  return path;
}

TEST(RiffProcess, AnotherProcessEditingRefusesEditorsButNotReaders) {
  n4test::TempDir dir;
  std::string path = MakeFile(dir);
  auto child = n4test::StartChild("hold_for_editing", {path, dir.File("ready")});
  ASSERT_NE(child, nullptr);
  ASSERT_TRUE(n4test::WaitForFile(dir.File("ready")));

  CTestBlobFile editor;
  EXPECT_EQ(editor.Open(path, OpenModify), 0);
  EXPECT_EQ(editor.GetLastFileError(), 32u);
  CTestBlobFile reader;
  EXPECT_EQ(reader.Open(path, OpenReadOnly), 1);
  reader.Close();

  child->Kill();
  child->Wait();
  EXPECT_EQ(editor.Open(path, OpenModify), 1) << editor.GetPtrToErrorString();
}

// A saved file is whole when every chunk parses and its content is one of
// the two versions the writer saves.
void ExpectWhole(const std::string& path) {
  std::string bytes = n4test::ReadFile(path);
  ASSERT_GE(bytes.size(), 12u);
  ASSERT_EQ(n4::ReadLE32(bytes.data() + 4), bytes.size() - 8);
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
  const int count = f.GetObjectCount();
  const std::string comment = f.GetPtrToComments();
  ASSERT_TRUE(comment == "large" || comment == "small") << comment;
  ASSERT_EQ(count, comment == "large" ? 42 : (f.GetObject(2) ? 5 : 2));
  for (int i = 2; i < count; ++i) {
    CTestBlob* blob = f.Blob(i);
    ASSERT_NE(blob, nullptr);
    ASSERT_TRUE(blob->Holds(static_cast<unsigned>(i - 2)));
  }
}

TEST(RiffProcess, ASaveKilledAtAnyMomentLeavesTheOriginalWhole) {
  n4test::TempDir dir;
  std::string path = MakeFile(dir);
  std::mt19937 rng(12345);
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    std::string ready = dir.File("ready" + std::to_string(round));
    auto child = n4test::StartChild("save_forever", {path, ready});
    ASSERT_NE(child, nullptr);
    ASSERT_TRUE(n4test::WaitForFile(ready));
    n4::Env::Default()->SleepFor(std::chrono::milliseconds(rng() % 40));
    child->Kill();
    EXPECT_EQ(child->Wait(), -1);  // killed, not finished
    ExpectWhole(path);
  }
}

}  // namespace
