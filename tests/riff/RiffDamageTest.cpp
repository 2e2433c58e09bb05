// Damaged files: counts are bounded by the mapping, and editing keeps what
// is whole. Crafted and random damage of every chunk runs through the
// sequence tests, whose files are this container too.
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
