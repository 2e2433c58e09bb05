#include <gtest/gtest.h>

#include <string>

#include "platform/RandomAccessFile.h"
#include "support/TestSupport.h"

namespace {

using n4::RandomAccessMode;
using n4::SeekFrom;

std::unique_ptr<n4::RandomAccessFile> Open(const std::string& path, RandomAccessMode mode,
                                           n4::FileShare share = n4::FileShare::None, n4::SysError* err = nullptr) {
  n4::SysError local;
  return n4::Env::Default()->OpenRandomAccessFile(path, mode, share, err ? err : &local);
}

TEST(RandomAccessFile, OpenModesCreateAndTruncateAsNamed) {
  struct Case {
    const char* name;
    RandomAccessMode mode;
    bool existing;
    bool opens;
    const char* contentAfter;  // null: no file
  };
  const Case cases[] = {
      {"read-only, missing", RandomAccessMode::ReadOnly, false, false, nullptr},
      {"read-write, missing", RandomAccessMode::ReadWrite, false, false, nullptr},
      {"open-or-create, missing", RandomAccessMode::OpenOrCreate, false, true, ""},
      {"open-or-create, existing", RandomAccessMode::OpenOrCreate, true, true, "old"},
      {"create-truncate, missing", RandomAccessMode::CreateTruncate, false, true, ""},
      {"create-truncate, existing", RandomAccessMode::CreateTruncate, true, true, ""},
      {"read-write, existing", RandomAccessMode::ReadWrite, true, true, "old"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    n4test::TempDir dir;
    const std::string path = dir.File("f");
    if (c.existing) n4test::WriteFile(path, "old");
    n4::SysError err;
    auto file = Open(path, c.mode, n4::FileShare::None, &err);
    EXPECT_EQ(file != nullptr, c.opens);
    if (!c.opens) {
      EXPECT_EQ(err.code, n4::kErrFileNotFound);
    }
    file.reset();
    EXPECT_EQ(n4test::Exists(path), c.contentAfter != nullptr);
    if (c.contentAfter) {
      EXPECT_EQ(n4test::ReadFile(path), c.contentAfter);
    }
  }
}

TEST(RandomAccessFile, ExclusiveOpenRefusesEveryOtherOpener) {
  n4test::TempDir dir;
  const std::string path = dir.File("f");
  n4test::WriteFile(path, "precious");
  auto holder = Open(path, RandomAccessMode::ReadWrite);
  ASSERT_NE(holder, nullptr);
  n4::SysError err;
  EXPECT_EQ(Open(path, RandomAccessMode::ReadOnly, n4::FileShare::ReadWrite, &err), nullptr);
  EXPECT_EQ(err.code, n4::kErrSharingViolation);
  // Refused before truncating: the content survives a create-truncate attempt.
  EXPECT_EQ(Open(path, RandomAccessMode::CreateTruncate, n4::FileShare::ReadWrite, &err), nullptr);
  // The mapped-file handles of the layer see the same claims, both ways.
  EXPECT_EQ(n4::Env::Default()->OpenFile(path, n4::FileAccess::Read, n4::FileShare::ReadWrite,
                                         n4::FileDisposition::OpenExisting, &err),
            nullptr);
  EXPECT_EQ(err.code, n4::kErrSharingViolation);
  holder.reset();
  EXPECT_EQ(n4test::ReadFile(path), "precious");  // read once released: Windows refuses even readers before
  auto editor = n4::Env::Default()->OpenFile(path, n4::FileAccess::ReadWrite, n4::FileShare::Read,
                                             n4::FileDisposition::OpenExisting, &err);
  ASSERT_NE(editor, nullptr);
  EXPECT_EQ(Open(path, RandomAccessMode::ReadWrite, n4::FileShare::ReadWrite, &err), nullptr);
  EXPECT_EQ(err.code, n4::kErrSharingViolation);
  EXPECT_NE(Open(path, RandomAccessMode::ReadOnly, n4::FileShare::ReadWrite), nullptr);
}

TEST(RandomAccessFile, SeeksReadsWritesAndEndsTheFileAtThePosition) {
  n4test::TempDir dir;
  const std::string path = dir.File("f");
  auto file = Open(path, RandomAccessMode::CreateTruncate);
  ASSERT_NE(file, nullptr);
  n4::SysError err;
  ASSERT_TRUE(file->Write("hello world", 11, &err));
  std::uint64_t position = 0;
  ASSERT_TRUE(file->Seek(5, SeekFrom::Begin, &position, &err));
  EXPECT_EQ(position, 5u);
  ASSERT_TRUE(file->SetEndOfFile(&err));
  std::uint64_t length = 0;
  ASSERT_TRUE(file->GetLength(&length, &err));
  EXPECT_EQ(length, 5u);

  ASSERT_TRUE(file->Seek(-2, SeekFrom::End, &position, &err));
  EXPECT_EQ(position, 3u);
  char buffer[8] = {};
  std::size_t got = 0;
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, &got, &err));  // short only at the end
  EXPECT_EQ(std::string(buffer, got), "lo");

  // Before the start: refused, position kept.
  EXPECT_FALSE(file->Seek(-6, SeekFrom::Current, &position, &err));
  EXPECT_EQ(err.code, n4::kErrNegativeSeek);
  ASSERT_TRUE(file->Seek(0, SeekFrom::Current, &position, &err));
  EXPECT_EQ(position, 5u);

  // Beyond the end: a write there extends the file with zeros.
  ASSERT_TRUE(file->Seek(2, SeekFrom::Current, nullptr, &err));
  ASSERT_TRUE(file->Write("!", 1, &err));

  ASSERT_TRUE(file->Close(&err));
  EXPECT_EQ(n4test::ReadFile(path), std::string("hello\0\0!", 8));
  EXPECT_FALSE(file->Read(buffer, 1, &got, &err));
  EXPECT_EQ(err.code, n4::kErrInvalidHandle);
  EXPECT_NE(Open(path, RandomAccessMode::ReadWrite), nullptr);  // closing let go of the claim

  auto reader = Open(path, RandomAccessMode::ReadOnly);
  EXPECT_FALSE(reader->Write("x", 1, &err));
  EXPECT_EQ(err.code, n4::kErrAccessDenied);
  EXPECT_FALSE(reader->SetEndOfFile(&err));
  reader.reset();
  EXPECT_EQ(n4test::ReadFile(path).size(), 8u);
}

}  // namespace
