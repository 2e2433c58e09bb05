#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>

#include "BlobFile.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

using n4test::ReadFile;
using n4test::WriteFile;

class RiffFileTest : public ::testing::Test {
 protected:
  // Working files left in the temporary directory.
  int TempFiles() const { return faults_.TempFiles(); }

  // A saved file: INFO, header and three blobs of different sizes.
  std::string MakeSample(const std::string& name) {
    // Noon UTC: the same local date from UTC-12 to UTC+11.
    env_.now = std::chrono::sys_days{std::chrono::year{2024} / 5 / 17} + std::chrono::hours(12);
    std::string path = dir_.File(name);
    CTestBlobFile f;
    EXPECT_EQ(f.Open(path, OpenCreate), 1);
    EXPECT_EQ(f.SetCommentsString("first comment"), 1);
    EXPECT_EQ(f.SetSoftwareString("tests"), 1);
    EXPECT_EQ(f.AddBlob(10, 1), 2);
    EXPECT_EQ(f.AddBlob(33, 2), 3);
    EXPECT_EQ(f.AddBlob(1000, 3), 4);
    EXPECT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
    return path;
  }

  n4test::TempDir dir_;
  n4test::ScopedFaultEnv faults_;
  n4test::FaultEnv& env_ = faults_.env;
};

TEST_F(RiffFileTest, CreatedFileReadsBackReadOnly) {
  std::string path = MakeSample("a.tst");
  EXPECT_EQ(TempFiles(), 0);

  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
  EXPECT_FALSE(f.IsWriteable());
  EXPECT_EQ(f.Type(), kBlobForm);
  EXPECT_EQ(f.GetObjectCount(), 5);
  EXPECT_STREQ(f.GetPtrToComments(), "first comment");
  EXPECT_STREQ(f.GetPtrToSoftware(), "tests");
  EXPECT_STREQ(f.GetPtrToKeywords(), "");
  EXPECT_STREQ(f.GetPtrToCreationDate(), "2024-05-17");
  tag_N4_RIFF_FILE_DATA* hdr = f.RiffHdr();
  ASSERT_NE(hdr, nullptr);
  EXPECT_EQ(hdr->wCreatedMajor, 5);
  EXPECT_EQ(hdr->wCreatedMinor, 17);
  EXPECT_EQ(hdr->wSavedMajor, 5);
  EXPECT_EQ(hdr->wSavedMinor, 17);
  EXPECT_EQ(hdr->dwObjectCount, 5u);
  for (unsigned i = 1; i <= 3; ++i) {
    ASSERT_NE(f.Blob(1 + i), nullptr);
    EXPECT_TRUE(f.Blob(1 + i)->Holds(i));
  }
  EXPECT_EQ(f.GetObject(5), nullptr);
  // A read-only file accepts no edits.
  EXPECT_EQ(f.SetCommentsString("x"), 0);
  EXPECT_EQ(f.AddObject(kBlobId, -1), -1);
  EXPECT_EQ(f.RemoveObject(2), 0);
  EXPECT_EQ(f.SetOriginalPath(dir_.File("b")), 0);
  EXPECT_EQ(f.Update(), 0);
  EXPECT_STREQ(f.GetPtrToErrorString(), "File is not writeable");
}

TEST_F(RiffFileTest, SavedFilesAreCompactAndAnUnchangedEditSavesTheSameBytes) {
  std::string path = MakeSample("a.tst");
  // RIFF header, INFO (two texts, one date, two empty strings), header, blobs.
  const std::size_t info = 12 + 22 + 10 + 14 + 10 + 20;
  const std::size_t expected = 12 + info + 1032 + 18 + 42 + 1008;
  std::string before = ReadFile(path);
  EXPECT_EQ(before.size(), expected);
  EXPECT_EQ(n4::ReadLE32(before.data() + 4), expected - 8);
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1) << f.GetPtrToErrorString();
  EXPECT_EQ(TempFiles(), 1);  // the working copy
  EXPECT_EQ(f.GetArraySize(), 5);
  ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  EXPECT_EQ(ReadFile(path), before);
  f.Close();
  EXPECT_EQ(TempFiles(), 0);
}

// Closing without a save drops the edits; saved edits read back.
TEST_F(RiffFileTest, EditsRoundTrip) {
  std::string path = MakeSample("a.tst");
  const std::string before = ReadFile(path);
  for (bool save : {false, true}) {
    {
      CTestBlobFile f;
      ASSERT_EQ(f.Open(path, OpenModify), 1);
      EXPECT_EQ(f.SetCommentsString("second"), 1);
      EXPECT_EQ(f.RemoveObject(3), 1);
      EXPECT_EQ(f.AddBlob(7, 9, 2), 2);  // inserted in front of the first blob
      if (save) {
        ASSERT_EQ(f.Update(), 1);
      }
    }
    if (!save) {
      EXPECT_EQ(ReadFile(path), before);
    }
    EXPECT_EQ(TempFiles(), 0);
  }
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
  EXPECT_EQ(f.GetObjectCount(), 5);  // parses INFO and the header in one pass
  EXPECT_STREQ(f.GetPtrToComments(), "second");
  EXPECT_TRUE(f.Blob(2)->Holds(9));
  EXPECT_TRUE(f.Blob(3)->Holds(1));
  EXPECT_TRUE(f.Blob(4)->Holds(3));
}

TEST_F(RiffFileTest, UnknownChunksAreDroppedWhenEditing) {
  std::string path = MakeSample("a.tst");
  // Splice an unknown chunk in front of the first blob.
  std::string bytes = ReadFile(path);
  const std::size_t blobAt = bytes.size() - (18 + 42 + 1008);
  std::string junk("junk\x03\0\0\0xyz\0", 12);
  bytes.insert(blobAt, junk);
  n4::WriteLE32(bytes.data() + 4, static_cast<DWORD>(bytes.size() - 8));
  WriteFile(path, bytes);

  {  // Read-only parsing stops at the unknown chunk.
    CTestBlobFile f;
    ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
    EXPECT_NE(f.GetObject(1), nullptr);
    EXPECT_EQ(f.GetObject(2), nullptr);
  }
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  EXPECT_EQ(f.GetArraySize(), 5);
  ASSERT_EQ(f.Update(), 1);
  EXPECT_EQ(ReadFile(path).find("junk"), std::string::npos);
}

TEST_F(RiffFileTest, LazyParsingNeverStartsAPassAtTheHeader) {
  std::string path = MakeSample("a.tst");
  {
    CTestBlobFile f;
    ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
    EXPECT_NE(f.GetObject(0), nullptr);
    EXPECT_EQ(f.GetObject(1), nullptr);  // the header would be first in this pass
  }
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
  EXPECT_NE(dynamic_cast<CN4RiffHdr*>(f.GetObject(1)), nullptr);
  int index = -1;
  EXPECT_NE(f.FindObject(kBlobId, -1, &index), nullptr);
  EXPECT_EQ(index, 2);
  EXPECT_EQ(f.FindObject(n4::MakeFourCC("none"), 3, &index), nullptr);
}

TEST_F(RiffFileTest, ForeignEmptyAndMissingFilesAreRefusedWithoutLeftovers) {
  struct Case {
    const char* name;
    std::string bytes;
  };
  std::string otherForm = ReadFile(MakeSample("other.tst"));
  n4::WriteLE32(otherForm.data() + 8, n4::MakeFourCC("othr"));
  const Case cases[] = {
      {"another form type", otherForm},
      {"not RIFF", std::string("LIST\x04\0\0\0tst4", 12)},
      {"too short", "RIF"},
      {"empty", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir_.File("foreign");
    WriteFile(path, c.bytes);
    CTestBlobFile f;
    EXPECT_EQ(f.Open(path, OpenModify), 0);
    EXPECT_STREQ(f.GetPtrToErrorString(), "No RIFF chunk");
    EXPECT_EQ(f.GetLastFileError(), 0u);
    EXPECT_FALSE(f.IsOpen());
    EXPECT_EQ(TempFiles(), 0);
    EXPECT_EQ(ReadFile(path), c.bytes);
  }
  // Read-only, the empty file (the last case) is no valid file; a missing one
  // is reported with the system's error.
  CTestBlobFile f;
  EXPECT_EQ(f.Open(dir_.File("foreign"), OpenReadOnly), 0);
  EXPECT_EQ(f.GetLastFileError(), n4::kErrFileInvalid);
  EXPECT_FALSE(f.IsOpen());
  for (N4OpenFlags flags : {OpenModify, OpenReadOnly}) {
    EXPECT_EQ(f.Open(dir_.File("missing"), flags), 0);
    EXPECT_EQ(f.GetLastFileError(), n4::kErrFileNotFound);
    EXPECT_STRNE(f.GetPtrToErrorString(), "");
  }
  EXPECT_EQ(TempFiles(), 0);
}

TEST_F(RiffFileTest, GrowthAcrossManyPagesRebasesEveryObject) {
  std::string path = dir_.File("big.tst");
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenCreate), 1);
  EXPECT_EQ(f.GetMappingSize(), 65536u);
  CN4RiffInfo* info = f.InfoChunk();
  for (unsigned i = 0; i < 300; ++i) ASSERT_EQ(f.AddBlob(4999 + i % 3, i), static_cast<int>(2 + i));
  EXPECT_GT(f.GetMappingSize(), 1500000u);
  EXPECT_EQ(f.GetMappingSize() % 65536, 0u);
  EXPECT_EQ(f.InfoChunk(), info);  // the same object, re-based
  EXPECT_STRNE(f.GetPtrToCreationDate(), "");
  auto* base = static_cast<std::byte*>(f.GetViewBase());
  for (unsigned i = 0; i < 300; ++i) {
    CTestBlob* blob = f.Blob(2 + i);
    auto* start = static_cast<std::byte*>(blob->StartOfChunkPtr());
    ASSERT_TRUE(start >= base && start < base + f.GetMappingSize());
    ASSERT_TRUE(blob->Holds(i)) << i;
  }
  ASSERT_EQ(f.Update(), 1);
  f.Close();
  CTestBlobFile r;
  ASSERT_EQ(r.Open(path, OpenReadOnly), 1);
  EXPECT_EQ(r.GetObjectCount(), 302);
  for (unsigned i = 0; i < 300; ++i) ASSERT_TRUE(r.Blob(2 + i)->Holds(i)) << i;
}

TEST_F(RiffFileTest, AnAppendNeedingExactlyTheRoomLeftStillGrows) {
  CTestBlobFile f;
  ASSERT_EQ(f.Open(dir_.File("x.tst"), OpenCreate), 1);
  const auto used = static_cast<std::byte*>(f.GetEnd()) - static_cast<std::byte*>(f.GetViewBase());
  const DWORD left = f.GetMappingSize() - static_cast<DWORD>(used) - 5;
  ASSERT_EQ(f.AddBlob(left - 8, 1), 2);  // needs 8 + body == left
  EXPECT_EQ(f.GetMappingSize(), 131072u);
  EXPECT_TRUE(f.Blob(2)->Holds(1));
  // Removal checks its index; without the header the file is uncompressed.
  EXPECT_EQ(f.RemoveObject(f.GetArraySize()), 0);
  EXPECT_EQ(f.RemoveObject(-1), 0);
  EXPECT_EQ(f.RemoveObject(1), 1);
  EXPECT_EQ(f.RiffHdr(), nullptr);
  EXPECT_EQ(f.IsFileCompressionOn(), 0);
}

TEST_F(RiffFileTest, AFailedGrowthKeepsObjectsValid) {
  std::string path = MakeSample("a.tst");
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  env_.failMapAbove = f.GetMappingSize();
  EXPECT_EQ(f.AddBlob(200000, 7), -1);
  EXPECT_EQ(f.GetLastFileError(), n4::kErrDiskFull);
  ASSERT_TRUE(f.IsOpen());
  EXPECT_EQ(f.GetArraySize(), 5);
  EXPECT_STREQ(f.GetPtrToComments(), "first comment");
  for (unsigned i = 1; i <= 3; ++i) EXPECT_TRUE(f.Blob(1 + i)->Holds(i));
  env_.failMapAbove = 0;
  EXPECT_EQ(f.AddBlob(200000, 7), 5);
  ASSERT_EQ(f.Update(), 1);
}

TEST_F(RiffFileTest, ObjectsFollowAMappingThatMovesAsItGrows) {
  std::string path = MakeSample("m.tst");
  env_.moveViewsOnGrow = true;
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  const void* before = f.GetViewBase();
  ASSERT_EQ(f.AddBlob(300000, 9), 5);
  ASSERT_NE(f.GetViewBase(), before);
  // Every pointer into the old pages followed them: the outer chunk, sized
  // from its form type after the append, and each record.
  const auto used = static_cast<std::byte*>(f.GetEnd()) - static_cast<std::byte*>(f.GetViewBase());
  EXPECT_EQ(f.GetSize(), static_cast<DWORD>(used - 8));
  EXPECT_EQ(f.SetCommentsString("a comment longer than the first one"), 1);
  for (unsigned i = 1; i <= 3; ++i) EXPECT_TRUE(f.Blob(1 + i)->Holds(i));
  ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  f.Close();

  CTestBlobFile r;
  ASSERT_EQ(r.Open(path, OpenReadOnly), 1);
  ASSERT_EQ(r.GetObjectCount(), 6);
  EXPECT_STREQ(r.GetPtrToComments(), "a comment longer than the first one");
  EXPECT_STREQ(r.GetPtrToSoftware(), "tests");
  for (unsigned i = 1; i <= 3; ++i) EXPECT_TRUE(r.Blob(1 + i)->Holds(i));
  EXPECT_TRUE(r.Blob(5)->Holds(9));
}

TEST_F(RiffFileTest, ANewFileSavesToAPathThatDoesNotExistYet) {
  std::string path = dir_.File("new.tst");
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenCreate), 1);
  EXPECT_FALSE(n4test::Exists(path));
  env_.freeBytes = 0;  // no original handle: the space check passes
  ASSERT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  EXPECT_TRUE(n4test::Exists(path));
  // Later saves go through the reopened original.
  env_.freeBytes = -1;
  f.SetKeywordsString("k");
  ASSERT_EQ(f.Update(), 1);
}

TEST_F(RiffFileTest, AFullDiskLeavesTheOriginalAndTheWorkingCopy) {
  std::string path = MakeSample("a.tst");
  std::string before = ReadFile(path);
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  f.AddBlob(100000, 4);
  env_.freeBytes = 4096;
  EXPECT_EQ(f.Update(), 0);
  EXPECT_EQ(f.GetLastFileError(), 112u);
  EXPECT_STREQ(f.GetPtrToErrorString(),
               "There is not enough space on the disk.\nPlease save to another location.\n");
  EXPECT_EQ(ReadFile(path), before);
  EXPECT_EQ(TempFiles(), 2);  // the working copy and the unsaved copy, kept
  EXPECT_TRUE(f.Blob(5)->Holds(4));
  env_.freeBytes = -1;
  ASSERT_EQ(f.Update(), 1);
  EXPECT_EQ(f.GetLastFileError(), 0u);
  EXPECT_STREQ(f.GetPtrToErrorString(), "");
}

TEST_F(RiffFileTest, AFailedReplacementKeepsEverything) {
  std::string path = MakeSample("a.tst");
  std::string before = ReadFile(path);
  CTestBlobFile f;
  ASSERT_EQ(f.Open(path, OpenModify), 1);
  f.SetCommentsString("changed");
  ASSERT_EQ(f.SetOriginalPath(dir_.File("no/such/dir/a.tst")), 1);
  EXPECT_EQ(f.Update(), 0);
  EXPECT_NE(f.GetLastFileError(), 0u);
  std::string text = f.GetPtrToErrorString();
  EXPECT_NE(text.find("\nCould not save.\nPlease save to another location.\n"), std::string::npos) << text;
  EXPECT_STREQ(f.GetPtrToComments(), "changed");
  ASSERT_EQ(f.SetOriginalPath(path), 1);
  ASSERT_EQ(f.Update(), 1);
  EXPECT_NE(ReadFile(path), before);
}

TEST_F(RiffFileTest, SavingOverAFileThatAReaderHoldsFails) {
  std::string path = MakeSample("a.tst");
  std::string before = ReadFile(path);
  CTestBlobFile editor;
  ASSERT_EQ(editor.Open(path, OpenModify), 1);
  editor.SetCommentsString("edited");
  {
    CTestBlobFile reader;
    ASSERT_EQ(reader.Open(path, OpenReadOnly), 1);
    EXPECT_EQ(editor.Update(), 0);
    EXPECT_EQ(editor.GetLastFileError(), 1224u);
    EXPECT_STREQ(editor.GetPtrToErrorString(),
                 "Sequence is running.  Could not save.\n"
                 "Either stop the sequence and try again\n"
                 "     or save to a different name.\n");
    EXPECT_EQ(ReadFile(path), before);
    EXPECT_STREQ(reader.GetPtrToComments(), "first comment");
  }
  ASSERT_EQ(editor.Update(), 1);
  CTestBlobFile reader;
  ASSERT_EQ(reader.Open(path, OpenReadOnly), 1);
  EXPECT_STREQ(reader.GetPtrToComments(), "edited");
}

TEST_F(RiffFileTest, FileInformationDescribesTheWorkingFile) {
  std::string path = MakeSample("a.tst");
  CTestBlobFile f;
  BY_HANDLE_FILE_INFORMATION info{};
  EXPECT_EQ(f.GetFileInformation(&info), 0);
  ASSERT_EQ(f.Open(path, OpenReadOnly), 1);
  EXPECT_EQ(f.GetFileInformation(nullptr), 0);
  ASSERT_EQ(f.GetFileInformation(&info), 1);
  EXPECT_EQ(info.nFileSizeLow, ReadFile(path).size());
  EXPECT_EQ(info.nNumberOfLinks, 1u);
}

TEST_F(RiffFileTest, TemporaryNamesCarryThePrefix) {
  std::string name;
  ASSERT_EQ(CN4RiffFile::GetTmpN4File(name), 1);
  EXPECT_EQ(name.rfind(n4::JoinPath(faults_.tmp.path(), "SQ4"), 0), 0u) << name;
  EXPECT_TRUE(n4test::Exists(name));
}

}  // namespace
