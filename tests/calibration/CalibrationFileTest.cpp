// CN4FileCalibration as a file: the layout written, the lenient reading, the
// steps through virtual dispatch, open modes and their errors, and a check by
// an independent bitmap reader.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "n4file/Calibration.h"
#include "platform/RandomAccessFile.h"
#include "support/TestSupport.h"

namespace {

using n4test::ReadFile;
using n4test::WriteFile;

template <typename T>
T At(const std::string& bytes, std::size_t offset) {
  T value{};
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

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
  f.InitializeDataBuffer(static_cast<char>(0), 10ul * 60);
  BITMAPINFOHEADER info{};
  f.GetInfoHeader(&info);
  info.biXPelsPerMeter = 77;
  f.SetInfoHeader(&info);
  ASSERT_EQ(f.Open(path.c_str(), 1), 1);
  ASSERT_EQ(f.WriteFile(), 1);
  f.Close();
  EXPECT_EQ(f.IsOpen(), 0);

  const std::string bytes = ReadFile(path);
  ASSERT_EQ(bytes.size(), 654u);
  EXPECT_EQ(At<WORD>(bytes, 0), 0x4D42);
  EXPECT_EQ(At<DWORD>(bytes, 2), 654u);
  EXPECT_EQ(At<DWORD>(bytes, 6), 0u);  // both reserved words
  EXPECT_EQ(At<DWORD>(bytes, 10), 54u);
  EXPECT_EQ(At<DWORD>(bytes, 14), 40u);
  EXPECT_EQ(At<LONG>(bytes, 18), 20);
  EXPECT_EQ(At<LONG>(bytes, 22), 10);
  EXPECT_EQ(At<WORD>(bytes, 26), 1);
  EXPECT_EQ(At<WORD>(bytes, 28), 24);
  EXPECT_EQ(At<LONG>(bytes, 38), 77);
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

TEST(CalibrationFile, RoundTripOfAFaceWithModuleEdits) {
  n4test::TempDir dir;
  const std::string path = dir.File("MAIN.CA4");
  constexpr LONG kRows = 100, kCols = 200;
  CN4FileCalibration f(kRows, kCols);
  // The padded size of the face, as a file of it will read back.
  f.InitializeDataBuffer(static_cast<char>(0x10), static_cast<unsigned long>(((kCols * 24 + 31) / 32) * kRows * 4));
  std::vector<unsigned char> module(((7 * 24 + 31) / 32) * 4 * 5);
  for (std::size_t i = 0; i < module.size(); ++i) module[i] = static_cast<unsigned char>(i * 7);
  CRect edits[] = {{0, 0, 7, 5}, {193, 95, 200, 100}, {50, 40, 57, 45}};
  for (CRect& r : edits) ASSERT_GT(f.SetModuleData(&r, module.data(), module.size()), 0);
  CRect offFace(195, 0, 202, 5);
  EXPECT_EQ(f.SetModuleData(&offFace, module.data(), module.size()), -1);
  ASSERT_EQ(f.Open(path.c_str(), 1), 1);
  ASSERT_EQ(f.WriteFile(), 1);
  f.Close();

  CN4FileCalibration g(1, 1);
  ASSERT_EQ(g.Open(path.c_str(), 0), 1);
  ASSERT_EQ(g.ReadFile(), 1);
  EXPECT_EQ(g.GetRows(), 100ul);
  EXPECT_EQ(g.GetCols(), 200ul);
  unsigned long size = 0, original = 0;
  const char* read = g.GetPtrToFileData(&size);
  const char* written = f.GetPtrToFileData(&original);
  ASSERT_EQ(size, original);
  EXPECT_EQ(std::memcmp(read, written, size), 0);
  for (CRect& r : edits) {
    std::vector<unsigned char> back(module.size(), 0);
    ASSERT_GT(g.GetModuleData(&r, back.data(), back.size()), 0);
    EXPECT_TRUE(std::equal(back.begin(), back.begin() + 7 * 5 * 3, module.begin()));
  }
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

// Write calls past the first `allowed` fail as on a full disk.
class FullDiskEnv : public n4::EnvWrapper {
 public:
  explicit FullDiskEnv(int allowed) : EnvWrapper(n4::Env::Default()), allowed_(allowed) {}
  std::unique_ptr<n4::RandomAccessFile> OpenRandomAccessFile(const std::string& path,
                                                             n4::RandomAccessMode mode,
                                                             n4::FileShare share,
                                                             n4::SysError* err) override;
  int allowed_;
};

class FullDiskFile : public n4::RandomAccessFile {
 public:
  FullDiskFile(std::unique_ptr<n4::RandomAccessFile> inner, int* allowed)
      : inner_(std::move(inner)), allowed_(allowed) {}
  bool Seek(std::int64_t offset, n4::SeekFrom from, std::uint64_t* position, n4::SysError* err) override {
    return inner_->Seek(offset, from, position, err);
  }
  bool Read(void* buffer, std::size_t size, std::size_t* bytesRead, n4::SysError* err) override {
    return inner_->Read(buffer, size, bytesRead, err);
  }
  bool Write(const void* data, std::size_t size, n4::SysError* err) override {
    if ((*allowed_)-- <= 0) return n4::Fail(err, n4::kErrDiskFull);
    return inner_->Write(data, size, err);
  }
  bool SetEndOfFile(n4::SysError* err) override { return inner_->SetEndOfFile(err); }
  bool GetLength(std::uint64_t* length, n4::SysError* err) override { return inner_->GetLength(length, err); }
  bool Close(n4::SysError* err) override { return inner_->Close(err); }

 private:
  std::unique_ptr<n4::RandomAccessFile> inner_;
  int* allowed_;
};

std::unique_ptr<n4::RandomAccessFile> FullDiskEnv::OpenRandomAccessFile(const std::string& path,
                                                                        n4::RandomAccessMode mode,
                                                                        n4::FileShare share,
                                                                        n4::SysError* err) {
  auto inner = target()->OpenRandomAccessFile(path, mode, share, err);
  if (!inner) return nullptr;
  return std::make_unique<FullDiskFile>(std::move(inner), &allowed_);
}

TEST(CalibrationFile, AFailingWriteFailsItsStep) {
  for (int allowed = 0; allowed < 4; ++allowed) {
    SCOPED_TRACE(allowed);
    n4test::TempDir dir;
    FullDiskEnv env(allowed);
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
  struct Case {
    int existing, truncate, readOnly;
    bool exists;
    int result;
    const char* after;  // content afterwards, null: no file
  } cases[] = {
      {0, 0, 1, false, 0, nullptr},  // refused without touching the disk
      {0, 1, 1, true, 0, "old"},
      {1, 0, 1, true, 1, "old"},
      {1, 0, 1, false, 0, nullptr},
      {0, 0, 0, true, 1, ""},
      {0, 0, 0, false, 1, ""},
      {1, 0, 0, true, 1, "old"},
      {1, 0, 0, false, 0, nullptr},
      {1, 1, 0, true, 1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.existing << c.truncate << c.readOnly << c.exists);
    n4test::TempDir dir;
    const std::string path = dir.File("x.CA4");
    if (c.exists) WriteFile(path, "old");
    CN4FileCalibrationEx f(1, 1);
    EXPECT_EQ(f.Open(path.c_str(), c.existing, c.truncate, c.readOnly), c.result);
    EXPECT_EQ(f.IsOpen(), c.result);
    f.Close();
    EXPECT_EQ(n4test::Exists(path), c.after != nullptr);
    if (c.after) {
      EXPECT_EQ(ReadFile(path), c.after);
    }
  }
}

TEST(CalibrationBuffer, AccessorsAndSetters) {
  CN4FileCalibration f(2, 3);
  EXPECT_EQ(f.GetPtrToFileData(nullptr), nullptr);
  char out[8];
  EXPECT_EQ(f.GetFileData(out, 8), 0ul);
  f.InitializeDataBuffer(static_cast<char>(7), 24ul);
  f.SetRows(50);
  EXPECT_EQ(f.GetRows(), 50ul);
  EXPECT_EQ(f.GetDataSize(), 24ul);  // never resized

  unsigned char small[4];
  EXPECT_EQ(f.GetFileData(small, 4), 4);
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
  EXPECT_EQ(DWORD{fh.bfSize}, 99u);
  EXPECT_EQ(fh.bfReserved1 + fh.bfReserved2, 0);
  EXPECT_EQ(DWORD{fh.bfOffBits}, 77u);
  BITMAPINFOHEADER ih{};
  ih.biSize = 12;
  ih.biBitCount = 8;
  ih.biPlanes = 3;
  f.SetInfoHeader(&ih);
  f.GetInfoHeader(&ih);
  EXPECT_EQ(DWORD{ih.biSize}, 40u);
  EXPECT_EQ(WORD{ih.biBitCount}, 24);
  EXPECT_EQ(WORD{ih.biPlanes}, 3);
  f.SetFileHeader(nullptr);
  f.GetInfoHeader(nullptr);
}

TEST(CalibrationFile, SetReadOnlyNeverClearsTheAttribute) {
  n4test::TempDir dir;
  const std::string path = dir.File("ro.CA4");
  WriteFile(path, "x");
  DWORD attributes = 0;
  n4::SysError err;
  CN4FileCalibration::SetReadOnly(path.c_str(), 0);
  ASSERT_TRUE(n4::Env::Default()->GetFileAttributes(path, &attributes, &err));
  EXPECT_EQ(attributes & FILE_ATTRIBUTE_READONLY, 0u);
  CN4FileCalibration::SetReadOnly(path.c_str(), 1);
  ASSERT_TRUE(n4::Env::Default()->GetFileAttributes(path, &attributes, &err));
  EXPECT_NE(attributes & FILE_ATTRIBUTE_READONLY, 0u);
  CN4FileCalibration::SetReadOnly(path.c_str(), 0);
  ASSERT_TRUE(n4::Env::Default()->GetFileAttributes(path, &attributes, &err));
  EXPECT_NE(attributes & FILE_ATTRIBUTE_READONLY, 0u);
  CN4FileCalibration::SetReadOnly(nullptr, 1);
}

// Commands run through cmd.exe on Windows, through the POSIX shell elsewhere.
bool OnWindows() { return n4::Env::Default()->PathSeparator() == '\\'; }
int RunQuietly(const std::string& command) {
  return std::system((command + (OnWindows() ? " >NUL 2>&1" : " >/dev/null 2>&1")).c_str());
}

// Python 3 with Pillow: Debian's interpreter first (install-deps puts Pillow
// there), then whatever python3 the PATH finds; on Windows the launcher's names.
std::string PillowPython() {
  const char* const posix[] = {"/usr/bin/python3", "python3"};
  const char* const windows[] = {"py -3", "python"};
  for (const char* candidate : OnWindows() ? windows : posix) {
    if (RunQuietly(std::string(candidate) + " -c \"import PIL\"") == 0) return candidate;
  }
  return "";
}

bool HavePython() {
  if (OnWindows()) return RunQuietly("py -3 --version") == 0 || RunQuietly("python --version") == 0;
  return RunQuietly("command -v python3") == 0 || n4test::Exists("/usr/bin/python3");
}

std::string RunCommand(const std::string& command) {
  std::string output;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe)) output += buffer;
    pclose(pipe);
  }
  return output;
}

TEST(CalibrationInterop, AnIndependentReaderOpensTheFileAsA24BitBitmap) {
  if (!HavePython()) GTEST_SKIP() << "python3 is not installed";
  const std::string python = PillowPython();
  ASSERT_FALSE(python.empty()) << "python3 has no Pillow: run scripts/install-deps";

  n4test::TempDir dir;
  // 8 columns: rows need no padding, so packed and bitmap addressing agree.
  // 5 columns: padded rows; the bottom row is the same in both.
  for (LONG cols : {8, 5}) {
    SCOPED_TRACE(cols);
    const LONG rows = 3;
    const std::string path = dir.File("face" + std::to_string(cols) + ".CA4");
    CN4FileCalibration f(rows, cols);
    f.InitializeDataBuffer(static_cast<char>(0), static_cast<unsigned long>(((cols * 24 + 31) / 32) * rows * 4));
    unsigned long size = 0;
    auto* data = reinterpret_cast<unsigned char*>(f.GetPtrToFileData(&size));
    CSize face(cols, rows);
    CPoint points[] = {{0, 0}, {4, 0}, {7, 2}, {3, 1}};
    for (CPoint& p : points) {
      CN4FileCalibration::SetPixelData(&p, static_cast<unsigned char>(10 + p.x),
                                       static_cast<unsigned char>(100 + p.y), 200, &face, data, size);
    }
    ASSERT_EQ(f.Open(path.c_str(), 1), 1);
    ASSERT_EQ(f.WriteFile(), 1);
    f.Close();

    const std::string script =
        "import sys\n"
        "from PIL import Image\n"
        "im = Image.open(sys.argv[1])\n"
        "print(im.format, im.mode, im.size[0], im.size[1])\n"
        "for a in sys.argv[2:]:\n"
        "    x, y = map(int, a.split(','))\n"
        "    print(*im.getpixel((x, im.size[1] - 1 - y)))\n";
    WriteFile(dir.File("check.py"), script);
    std::string command = python + " " + dir.File("check.py") + " " + path;
    std::string expected = "BMP RGB " + std::to_string(cols) + " 3\n";
    for (const CPoint& p : points) {
      if (cols != 8 && p.y != 0) continue;
      if (p.x >= cols) continue;
      command += " " + std::to_string(p.x) + "," + std::to_string(p.y);
      // Red is the first component, blue (stored first) the third.
      expected += std::to_string(10 + p.x) + " " + std::to_string(100 + p.y) + " 200\n";
    }
    EXPECT_EQ(RunCommand(command + " 2>&1"), expected);
  }
}

}  // namespace
