// CN4FileCalibration as a file: the layout written, the lenient reading, the
// steps through virtual dispatch, open modes and their errors.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/DataFiles.h"
#include "n4file/Calibration.h"
#include "support/FullDiskEnv.h"
#include "support/TestSupport.h"

namespace {

using n4test::ReadFile;
using n4test::WriteFile;

// The 54 header bytes of a bitmap, little-endian, with the given fields.
std::string Headers(WORD type, LONG width, LONG height, WORD bitCount) {
  BITMAPFILEHEADER fh{};
  fh.bfType = type;
  fh.bfOffBits = 54;
  BITMAPINFOHEADER ih{};
  ih.biSize = 40;
  ih.biWidth = width;
  ih.biHeight = height;
  ih.biPlanes = 1;
  ih.biBitCount = bitCount;
  std::string bytes(54, '\0');
  std::memcpy(bytes.data(), &fh, 14);
  std::memcpy(bytes.data() + 14, &ih, 40);
  return bytes;
}

TEST(CalibrationFile, WritesHeadersAndDataWithThePatchedFileHeader) {
  n4test::TempDir dir;
  const std::string path = dir.File("face.CA4");
  WriteFile(path, std::string(2000, 'x'));  // longer than what is written
  CN4FileCalibration f(10, 20);
  f.InitializeDataBuffer(static_cast<char>(5), 10ul * 60);
  BITMAPINFOHEADER info{};
  f.GetInfoHeader(&info);
  info.biXPelsPerMeter = 77;
  f.SetInfoHeader(&info);
  ASSERT_EQ(f.Open(path.c_str(), 1), 1);
  ASSERT_EQ(f.WriteFile(), 1);
  f.Close();
  EXPECT_EQ(f.IsOpen(), 0);

  // Headers of a 24-bit bottom-up bitmap, sized 654 with no compression,
  // then the data as it stands; the longer old content is gone.
  n4test::ExpectGolden("calibration/face-10x20.CA4", ReadFile(path));
  BITMAPFILEHEADER fh{};
  f.GetFileHeader(&fh);
  EXPECT_EQ(DWORD{fh.bfSize}, 654u);  // the header read back and patched
}

TEST(CalibrationFile, ReadsLenientlyWhatItsHeadersDescribe) {
  struct Case {
    const char* name;
    std::string bytes;
    int result;
    unsigned long dataSize;
  } cases[] = {
      {"not BM, 8 bits", Headers(0x1234, 3, 2, 8) + std::string(24, '\x05'), 1, 24},
      // Data short of what the headers claim: the rest reads as zero.
      {"short data", Headers(0x4D42, 3, 2, 24) + std::string(5, '\x05'), 1, 24},
      // Headers cut off: zero fields, an empty face.
      {"short headers", std::string("BM\x10", 3), 1, 0},
      {"empty file", std::string(), 1, 0},
      // Sizes the bitmap formula cannot give in 32 bits are refused.
      {"top-down", Headers(0x4D42, 3, -2, 24), 0, 0},
      {"huge", Headers(0x4D42, 0x7fffffff, 0x7fffffff, 24), 0, 0},
      {"inverted width", Headers(0x4D42, -2, 2, 24), 1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    n4test::TempDir dir;
    const std::string path = dir.File("in.CA4");
    WriteFile(path, c.bytes);
    CN4FileCalibration f(1, 1);
    ASSERT_EQ(f.Open(path.c_str(), 0), 1);
    EXPECT_EQ(f.ReadFile(), c.result);
    if (c.result) {
      EXPECT_EQ(f.GetDataSize(), c.dataSize);
    }
  }
  n4test::TempDir dir;
  const std::string path = dir.File("short.CA4");
  WriteFile(path, Headers(0x4D42, 3, 2, 24) + "\x01\x02\x03\x04\x05");
  CN4FileCalibration f(1, 1);
  ASSERT_EQ(f.Open(path.c_str(), 0), 1);
  ASSERT_EQ(f.ReadFile(), 1);
  std::vector<unsigned char> data(24, 0xff);
  EXPECT_EQ(f.GetFileData(data.data(), 24), 24);
  EXPECT_EQ(data[4], 5);
  EXPECT_EQ(data[5], 0);
  EXPECT_EQ(data[23], 0);
  EXPECT_EQ(f.GetRows(), 2ul);
  EXPECT_EQ(f.GetCols(), 3ul);
}

TEST(CalibrationFile, RoundTripOfAFaceWithAModuleEdit) {
  n4test::TempDir dir;
  const std::string path = dir.File("MAIN.CA4");
  CN4FileCalibration f(5, 9);
  // The padded size of the face, as a file of it will read back.
  f.InitializeDataBuffer(static_cast<char>(0x10), ((9ul * 24 + 31) / 32) * 5 * 4);
  std::vector<unsigned char> module(((7 * 24 + 31) / 32) * 4 * 2);
  for (std::size_t i = 0; i < module.size(); ++i) module[i] = static_cast<unsigned char>(i * 7);
  CRect edit(2, 3, 9, 5), offFace(3, 0, 10, 2);
  ASSERT_GT(f.SetModuleData(&edit, module.data(), module.size()), 0);
  EXPECT_EQ(f.SetModuleData(&offFace, module.data(), module.size()), -1);
  ASSERT_EQ(f.Open(path.c_str(), 1), 1);
  ASSERT_EQ(f.WriteFile(), 1);
  f.Close();

  CN4FileCalibration g(1, 1);
  ASSERT_EQ(g.Open(path.c_str(), 0), 1);
  ASSERT_EQ(g.ReadFile(), 1);
  EXPECT_EQ(g.GetCols(), 9ul);
  unsigned long size = 0, original = 0;
  const char* read = g.GetPtrToFileData(&size);
  ASSERT_EQ(size, f.GetDataSize());
  EXPECT_EQ(std::memcmp(read, f.GetPtrToFileData(&original), size), 0);
  std::vector<unsigned char> back(module.size(), 0);
  ASSERT_GT(g.GetModuleData(&edit, back.data(), back.size()), 0);
  EXPECT_TRUE(std::equal(back.begin(), back.begin() + 7 * 2 * 3, module.begin()));
}

// Records the steps as they run and can make one fail.
class TracingCalibration : public CN4FileCalibration {
 public:
  TracingCalibration() : CN4FileCalibration(2, 4) {}
  std::string trace;
  std::string failing;

 protected:
  int Step(const char* name, int result) {
    trace += name;
    trace += ' ';
    return failing == name ? 0 : result;
  }
  int ReadCalFileHeader() override { return Step("rfh", CN4FileCalibration::ReadCalFileHeader()); }
  int ReadCalFileInfoHeader() override {
    return failing == "rih" ? Step("rih", 0) : Step("rih", CN4FileCalibration::ReadCalFileInfoHeader());
  }
  int ReadCalFileData() override { return Step("rd", CN4FileCalibration::ReadCalFileData()); }
  int WriteCalFileHeader() override { return Step("wfh", CN4FileCalibration::WriteCalFileHeader()); }
  int WriteCalFileInfoHeader() override {
    return Step("wih", CN4FileCalibration::WriteCalFileInfoHeader());
  }
  int WriteCalFileData() override { return Step("wd", CN4FileCalibration::WriteCalFileData()); }
};

TEST(CalibrationFile, StepsRunThroughVirtualDispatch) {
  n4test::TempDir dir;
  const std::string path = dir.File("t.CA4");
  TracingCalibration f;
  f.InitializeDataBuffer(static_cast<unsigned char>(1), 24);  // the int form forwards
  EXPECT_EQ(f.WriteFile(), 0);  // not open
  ASSERT_EQ(f.Open(path.c_str(), 1), 1);
  f.trace.clear();
  ASSERT_EQ(f.WriteFile(), 1);
  EXPECT_EQ(f.trace, "wfh wih rfh wfh wd ");
  f.Close();

  ASSERT_EQ(f.Open(path.c_str(), 0), 1);
  f.trace.clear();
  f.failing = "rih";
  f.InitializeDataBuffer(static_cast<char>(9), 3ul);
  EXPECT_EQ(f.ReadFile(), 0);
  EXPECT_EQ(f.trace, "rfh rih ");
  EXPECT_EQ(f.GetDataSize(), 3ul);  // the data step never ran
  f.failing.clear();
  f.trace.clear();
  EXPECT_EQ(f.ReadFile(), 1);
  EXPECT_EQ(f.trace, "rfh rih rd ");
  EXPECT_EQ(f.GetDataSize(), 24ul);
}

TEST(CalibrationFile, AFailingWriteFailsItsStep) {
  for (int allowed = 0; allowed < 4; ++allowed) {
    SCOPED_TRACE(allowed);
    n4test::TempDir dir;
    n4test::FullDiskEnv env(allowed);
    n4::ScopedEnv scoped(&env);
    CN4FileCalibration f(2, 4);
    f.InitializeDataBuffer(static_cast<char>(3), 24ul);
    ASSERT_EQ(f.Open(dir.File("full.CA4").c_str(), 1), 1);
    EXPECT_EQ(f.WriteFile(), 0);  // four writes: header, info header, data, header again
  }
}

TEST(CalibrationFile, OpenKeepsTheCauseOfAFailureAndSharesWithNoOne) {
  n4test::TempDir dir;
  CN4FileCalibration f(1, 1);
  EXPECT_EQ(f.GetFileError().m_cause, n4::FileErrorRecord::none);
  EXPECT_EQ(f.GetFileError().m_lOsError, -1);
  const std::string missing = dir.File("missing.CA4");
  EXPECT_EQ(f.Open(missing.c_str(), 0), 0);
  EXPECT_EQ(f.IsOpen(), 0);
  EXPECT_EQ(f.GetFileError().m_cause, n4::FileErrorRecord::fileNotFound);
  EXPECT_EQ(f.GetFileError().m_lOsError, 2);
  EXPECT_EQ(f.GetFileError().m_strFileName, missing);
  // A missing directory: path not found on Windows; POSIX reports both as
  // not found.
  EXPECT_EQ(f.Open(dir.File("no/such/dir.CA4").c_str(), 1), 0);
  EXPECT_TRUE(f.GetFileError().m_cause == n4::FileErrorRecord::badPath ||
              f.GetFileError().m_cause == n4::FileErrorRecord::fileNotFound);

  const std::string path = dir.File("held.CA4");
  CN4FileCalibration holder(1, 1);
  ASSERT_EQ(holder.Open(path.c_str(), 1), 1);
  EXPECT_EQ(f.Open(path.c_str(), 0), 0);
  EXPECT_EQ(f.GetFileError().m_cause, n4::FileErrorRecord::sharingViolation);
  holder.Close();
  EXPECT_EQ(f.Open(path.c_str(), 0), 1);
}

TEST(CalibrationFileEx, OpenModes) {
  for (const auto& c : n4test::ReadCases("calibration/open-modes.tsv")) {
    SCOPED_TRACE(c[0].text + c[1].text + c[2].text + c[3].text);
    n4test::TempDir dir;
    const std::string path = dir.File("x.CA4");
    if (c[3].text == "1") WriteFile(path, "old");
    CN4FileCalibrationEx f(1, 1);
    const int result = std::stoi(c[4].text);
    EXPECT_EQ(f.Open(path.c_str(), std::stoi(c[0].text), std::stoi(c[1].text), std::stoi(c[2].text)), result);
    EXPECT_EQ(f.IsOpen(), result);
    f.Close();
    EXPECT_EQ(n4test::Exists(path), !c[5].null);
    if (!c[5].null) {
      EXPECT_EQ(ReadFile(path), c[5].text);
    }
  }
}


TEST(CalibrationBuffer, RefusedSizesAndNormalisedHeaders) {
  CN4FileCalibration f(2, 3);
  EXPECT_EQ(f.GetPtrToFileData(nullptr), nullptr);
  char out[8];
  EXPECT_EQ(f.GetFileData(out, 8), 0ul);
  f.InitializeDataBuffer(static_cast<char>(7), 24ul);
  unsigned char small[4];
  EXPECT_EQ(f.GetFileData(small, -1), 0);
  std::vector<char> big(64, 0);
  EXPECT_EQ(f.GetFileData(big.data(), 64ul), 24ul);

  // Sizes that cannot be held leave the object as it was.
  f.InitializeDataBuffer(static_cast<unsigned char>(1), -1);
  f.SetFileData(static_cast<unsigned char*>(nullptr), 5);
  f.SetFileData(reinterpret_cast<unsigned char*>(big.data()), -5);
  EXPECT_EQ(f.GetDataSize(), 24ul);
  // A copy of the object's own bytes.
  f.SetFileData(f.GetPtrToFileData(nullptr), 10ul);
  EXPECT_EQ(f.GetDataSize(), 10ul);
  EXPECT_EQ(f.GetPtrToFileData(nullptr)[9], 7);

  BITMAPFILEHEADER fh{0x1111, 99, 5, 6, 77};
  f.SetFileHeader(&fh);
  f.GetFileHeader(&fh);
  EXPECT_EQ(WORD{fh.bfType}, 0x4D42);
  EXPECT_EQ(fh.bfReserved1 + fh.bfReserved2, 0);
  BITMAPINFOHEADER ih{};
  ih.biSize = 12;
  ih.biBitCount = 8;
  f.SetInfoHeader(&ih);
  f.GetInfoHeader(&ih);
  EXPECT_EQ(DWORD{ih.biSize}, 40u);
  EXPECT_EQ(WORD{ih.biBitCount}, 24);
  f.SetFileHeader(nullptr);
  f.GetInfoHeader(nullptr);
}

TEST(CalibrationFile, SetReadOnlyNeverClearsTheAttribute) {
  n4test::TempDir dir;
  const std::string path = dir.File("ro.CA4");
  WriteFile(path, "x");
  const struct {
    int readOnly;
    bool expected;
  } steps[] = {{0, false}, {1, true}, {0, true}};
  for (const auto& step : steps) {
    CN4FileCalibration::SetReadOnly(path.c_str(), step.readOnly);
    DWORD attributes = 0;
    ASSERT_TRUE(n4::Env::Default()->GetFileAttributes(path, &attributes, nullptr));
    EXPECT_EQ((attributes & FILE_ATTRIBUTE_READONLY) != 0, step.expected);
  }
  CN4FileCalibration::SetReadOnly(nullptr, 1);
}

}  // namespace
