#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/Env.h"
#include "support/TestSupport.h"

namespace {

using n4::Env;
using n4::FileAccess;
using n4::FileDisposition;
using n4::FileShare;

std::unique_ptr<n4::FileHandle> Open(const std::string& path, FileAccess access, FileShare share,
                                     n4::SysError* err = nullptr) {
  n4::SysError local;
  return Env::Default()->OpenFile(path, access, share, FileDisposition::OpenExisting, err ? err : &local);
}

TEST(Platform, SharingModesFollowWindowsRules) {
  n4test::TempDir dir;
  const std::string path = dir.File("f");
  n4test::WriteFile(path, "data");
  struct Case {
    const char* name;
    FileAccess firstAccess;
    FileShare firstShare;
    FileAccess secondAccess;
    FileShare secondShare;
    bool secondOpens;
  };
  const Case cases[] = {
      {"reader then reader", FileAccess::Read, FileShare::ReadWrite, FileAccess::Read, FileShare::ReadWrite, true},
      {"editor then editor", FileAccess::ReadWrite, FileShare::Read, FileAccess::ReadWrite, FileShare::Read, false},
      {"editor then reader", FileAccess::ReadWrite, FileShare::Read, FileAccess::Read, FileShare::ReadWrite, true},
      {"reader then editor", FileAccess::Read, FileShare::ReadWrite, FileAccess::ReadWrite, FileShare::Read, true},
      {"exclusive then reader", FileAccess::ReadWrite, FileShare::None, FileAccess::Read, FileShare::ReadWrite, false},
      {"reader then exclusive", FileAccess::Read, FileShare::ReadWrite, FileAccess::ReadWrite, FileShare::None, false},
      {"reader sharing only reads, then writer", FileAccess::Read, FileShare::Read, FileAccess::ReadWrite,
       FileShare::ReadWrite, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto first = Open(path, c.firstAccess, c.firstShare);
    ASSERT_NE(first, nullptr);
    n4::SysError err;
    auto second = Open(path, c.secondAccess, c.secondShare, &err);
    EXPECT_EQ(second != nullptr, c.secondOpens);
    if (!c.secondOpens) {
      EXPECT_EQ(err.code, n4::kErrSharingViolation);
    }
  }
  // Creating never truncates a file in use; closing releases the claims.
  {
    auto holder = Open(path, FileAccess::ReadWrite, FileShare::Read);
    n4::SysError err;
    EXPECT_EQ(Env::Default()->OpenFile(path, FileAccess::ReadWrite, FileShare::None, FileDisposition::CreateAlways, &err),
              nullptr);
    EXPECT_EQ(n4test::ReadFile(path), "data");
  }
  EXPECT_NE(Open(path, FileAccess::ReadWrite, FileShare::None), nullptr);
}

TEST(Platform, WritableMappingsGrowTheFileAndReadOnlyOnesDoNot) {
  n4test::TempDir dir;
  const std::string path = dir.File("f");
  n4test::WriteFile(path, "abc");
  auto file = Open(path, FileAccess::ReadWrite, FileShare::None);
  n4::SysError err;
  EXPECT_EQ(file->Map(100, false, &err), nullptr);  // beyond the end, read-only
  EXPECT_EQ(file->Map(0, true, &err), nullptr);
  EXPECT_EQ(err.code, n4::kErrFileInvalid);
  auto view = file->Map(8192, true, &err);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::memcmp(view->data(), "abc", 3), 0);
  std::memcpy(view->data() + 8000, "tail", 4);
  EXPECT_TRUE(view->Flush(&err));
  view.reset();
  std::uint64_t size = 0;
  ASSERT_TRUE(file->GetSize(&size, &err));
  EXPECT_EQ(size, 8192u);
  ASSERT_TRUE(file->SetLength(8004, &err));
  file.reset();  // an unshared open keeps out even a reader on Windows
  EXPECT_EQ(n4test::ReadFile(path).substr(8000), "tail");
}

TEST(Platform, ReplaceFileKeepsTheTargetsModeAndRefusesMappedTargets) {
  n4test::TempDir dir;
  Env* env = Env::Default();
  const std::string target = dir.File("target");
  const std::string source = dir.File("source");
  n4test::WriteFile(target, "old");
  n4::SysError err;
  ASSERT_TRUE(env->SetReadOnly(target, true, &err));
  n4test::WriteFile(source, "new");
  EXPECT_FALSE(env->ReplaceFile(source, target, &err));  // read-only targets stay
  EXPECT_EQ(err.code, n4::kErrAccessDenied);
  ASSERT_TRUE(env->SetReadOnly(target, false, &err));

  {
    auto reader = Open(target, FileAccess::Read, FileShare::ReadWrite);
    reader->MarkMapped();
    EXPECT_FALSE(env->ReplaceFile(source, target, &err));
    EXPECT_EQ(err.code, n4::kErrUserMappedFile);
  }
  {
    auto editor = Open(target, FileAccess::ReadWrite, FileShare::Read);
    EXPECT_FALSE(env->ReplaceFile(source, target, &err));
    EXPECT_EQ(err.code, n4::kErrSharingViolation);
  }
  ASSERT_TRUE(env->ReplaceFile(source, target, &err)) << err.text;
  EXPECT_EQ(n4test::ReadFile(target), "new");
  DWORD attributes = 0;
  ASSERT_TRUE(env->GetFileAttributes(target, &attributes, &err));
  EXPECT_EQ(attributes & FILE_ATTRIBUTE_READONLY, 0u);
  // Nothing is left beside the target.
  for (const auto& name : dir.List()) EXPECT_TRUE(name == "target" || name == "source") << name;
}

TEST(Platform, TemporaryFilesAreNewAndUnique) {
  n4test::TempDir dir;
  Env* env = Env::Default();
  n4::SysError err;
  std::string a, b;
  ASSERT_TRUE(env->CreateTempFile(dir.path(), "SQ4", &a, &err));
  ASSERT_TRUE(env->CreateTempFile(dir.path(), "SQ4", &b, &err));
  EXPECT_NE(a, b);
  EXPECT_EQ(a.rfind(dir.path() + env->PathSeparator() + "SQ4", 0), 0u);  // composed with the platform's own
  EXPECT_TRUE(env->FileExists(a));
  EXPECT_FALSE(env->CreateTempFile(dir.File("missing"), "SQ4", &a, &err));
  EXPECT_EQ(err.code, n4::kErrFileNotFound);
}

TEST(Platform, ErrorsUseWindowsNumbersWithThePlatformsText) {
  n4test::TempDir dir;
  n4::SysError err;
  EXPECT_EQ(Open(dir.File("nope"), FileAccess::Read, FileShare::ReadWrite, &err), nullptr);
  EXPECT_EQ(err.code, n4::kErrFileNotFound);
  EXPECT_FALSE(err.text.empty());
  if (Env::Default()->PathSeparator() == '/') {
    EXPECT_EQ(n4::SystemErrorText(n4::kErrDiskFull), "There is not enough space on the disk.");
  } else {
    EXPECT_FALSE(n4::SystemErrorText(n4::kErrDiskFull).empty());  // the system's own wording
  }
  EXPECT_FALSE(n4::SystemErrorText(n4::kErrUserMappedFile).empty());
}

TEST(Platform, AtomicWritesAndLocks) {
  n4test::TempDir dir;
  Env* env = Env::Default();
  n4::SysError err;
  const std::string path = dir.File("store");
  ASSERT_TRUE(env->WriteFileAtomic(path, "one", &err));
  ASSERT_TRUE(env->WriteFileAtomic(path, "two", &err));
  std::string data;
  ASSERT_TRUE(env->ReadWholeFile(path, &data, &err));
  EXPECT_EQ(data, "two");
  EXPECT_EQ(dir.List().size(), 1u);

  auto lock = env->LockFile(dir.File("lock"), true, std::chrono::milliseconds(100), &err);
  ASSERT_NE(lock, nullptr);
  auto blocked = env->LockFile(dir.File("lock"), true, std::chrono::milliseconds(30), &err);
  EXPECT_EQ(blocked, nullptr);
  EXPECT_EQ(err.code, n4::kErrTimeout);
  lock.reset();
  EXPECT_NE(env->LockFile(dir.File("lock"), false, std::chrono::milliseconds(30), &err), nullptr);
}

}  // namespace
