// Damaged and hostile files: nothing is read outside the mapping, objects
// that do not fit fail to parse, and editing keeps what is whole.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "BlobFile.h"
#include "support/FaultEnv.h"
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

TEST(RiffDamage, RandomCorruptionNeverReadsOutsideTheFile) {
  n4test::TempDir dir;
  n4test::TempDir tmp;
  n4test::FaultEnv env;
  env.tempDir = tmp.path() + "/";
  n4::ScopedEnv scoped(&env);
  const std::string good = SampleBytes(dir);
  std::mt19937 rng(2024);
  for (int iteration = 0; iteration < 400; ++iteration) {
    std::string bytes = good;
    const int edits = 1 + static_cast<int>(rng() % 4);
    for (int e = 0; e < edits; ++e) {
      std::size_t at = rng() % bytes.size();
      switch (rng() % 4) {
        case 0: bytes[at] = static_cast<char>(rng()); break;
        case 1:  // a size field somewhere: a plausible or a wild value
          if (at + 4 <= bytes.size()) n4::WriteLE32(bytes.data() + at, rng() % 2 ? rng() % 4096 : rng());
          break;
        case 2: bytes.resize(at + 1); break;
        default: bytes.insert(at, std::string(1 + rng() % 9, static_cast<char>(rng()))); break;
      }
    }
    std::string path = dir.File("fuzz");
    n4test::WriteFile(path, bytes);
    WalkReadOnly(path);
    EditAndSave(path, dir.File("fuzz-saved"));
    ASSERT_TRUE(tmp.List().empty()) << "iteration " << iteration;
  }
}

}  // namespace
