// Damaged and hostile files: nothing is read outside the mapping, objects
// that do not fit fail to parse, and editing keeps what is whole.
#include <gtest/gtest.h>

#include <string>

#include "BlobFile.h"
#include "support/TestSupport.h"

namespace {

std::string SampleBytes(const n4test::TempDir& dir) {
  std::string path = dir.File("sample.tst");
  CTestBlobFile f;
  EXPECT_EQ(f.Open(path, OpenCreate), 1);
  f.SetCommentsString("comment");
  f.AddBlob(10, 1);
  f.AddBlob(301, 2);
  EXPECT_EQ(f.Update(), 1);
  return n4test::ReadFile(path);
}

// Reads everything a caller could reach in a read-only file.
void WalkReadOnly(const std::string& path) {
  CTestBlobFile f;
  if (!f.Open(path, OpenReadOnly)) return;
  (void)f.GetObjectCount();
  (void)f.IsFileCompressionOn();
  std::string strings = std::string(f.GetPtrToComments()) + f.GetPtrToKeywords() + f.GetPtrToSoftware() +
                        f.GetPtrToCopyright() + f.GetPtrToCreationDate();
  for (int i = 0; i < 64; ++i) {
    CN4RiffChunk* object = f.GetObject(i);
    if (!object) break;
    (void)object->Type();
    if (auto* blob = dynamic_cast<CTestBlob*>(object)) (void)blob->Holds(0);
  }
  (void)f.FindObject(kBlobId, -1, nullptr);
}

// Opens for editing and saves to a second path; either fails cleanly or
// writes a file that reads back.
void EditAndSave(const std::string& path, const std::string& out) {
  CTestBlobFile f;
  if (!f.Open(path, OpenModify)) return;
  f.SetOriginalPath(out);
  ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  f.Close();
  CTestBlobFile r;
  ASSERT_EQ(r.Open(out, OpenReadOnly), 1);
  WalkReadOnly(out);
}

TEST(RiffDamage, CraftedDamageFailsToParseWithoutCrashing) {
  n4test::TempDir dir;
  const std::string good = SampleBytes(dir);
  struct Case {
    const char* name;
    std::string bytes;
  };
  auto with = [&](std::size_t offset, DWORD value) {
    std::string b = good;
    n4::WriteLE32(b.data() + offset, value);
    return b;
  };
  const std::size_t infoSize = 12;     // the INFO list's size field is at 12 + 4
  const std::size_t hdrAt = 12 + 8 + n4::ReadLE32(good.data() + 16);
  const Case cases[] = {
      {"truncated in the header", good.substr(0, hdrAt + 100)},
      {"truncated in the last blob", good.substr(0, good.size() - 50)},
      {"outer size far past the end", with(4, 0xFFFFFFF0u)},
      {"INFO size far past the end", with(infoSize + 4, 0x7FFFFFF0u)},
      {"INFO size too small for its type", with(infoSize + 4, 2)},
      {"header size too small for its record", with(hdrAt + 4, 16)},
      {"header size past the end", with(hdrAt + 4, 0xFFFFFF00u)},
      {"only the outer header", good.substr(0, 12)},
      {"eleven bytes", good.substr(0, 11)},
      {"not RIFF at all", std::string(200, 'x')},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir.File("damaged");
    n4test::WriteFile(path, c.bytes);
    WalkReadOnly(path);
    EditAndSave(path, dir.File("saved"));
  }
}

TEST(RiffDamage, AHeaderCountingMoreObjectsThanTheFileHoldsIsBounded) {
  n4test::TempDir dir;
  std::string bytes = SampleBytes(dir);
  const std::size_t hdr = bytes.find("n4hd") + 8;
  n4::WriteLE32(bytes.data() + hdr + 520, 0xFFFFFFF0u);
  n4test::WriteFile(dir.File("lying"), bytes);
  CTestBlobFile f;
  ASSERT_EQ(f.Open(dir.File("lying"), OpenReadOnly), 1);
  EXPECT_GT(f.GetObjectCount(), 4);
  EXPECT_LE(f.GetObjectCount(), static_cast<int>(bytes.size() / 8));
}

TEST(RiffDamage, AnEmptyFileDoesNotOpen) {
  n4test::TempDir dir;
  n4test::WriteFile(dir.File("empty"), "");
  CTestBlobFile f;
  EXPECT_EQ(f.Open(dir.File("empty"), OpenReadOnly), 0);
  EXPECT_EQ(f.GetLastFileError(), n4::kErrFileInvalid);
  EXPECT_FALSE(f.IsOpen());
}

TEST(RiffDamage, ATruncatedFileKeepsItsWholeChunksWhenEdited) {
  n4test::TempDir dir;
  const std::string good = SampleBytes(dir);
  std::string path = dir.File("cut");
  n4test::WriteFile(path, good.substr(0, good.size() - 20));  // cuts into the second blob
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  EXPECT_EQ(f.GetArraySize(), 3);
  EXPECT_STREQ(f.GetPtrToComments(), "comment");
  EXPECT_TRUE(f.Blob(2)->Holds(1));
}

}  // namespace
