#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "n4file/Rtd.h"
#include "platform/Env.h"
#include "rtd/RtdGolden.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

using rtdtest::Golden;

struct RtdFile : ::testing::Test {
  n4test::TempDir dir;
  std::string path = dir.File("config.rtd");
  // A configuration bound to path (the file need not exist).
  void Bind(CN4FileCRtd& rtd) { EXPECT_EQ(rtd.ReadFile(path), n4test::Exists(path) ? 1 : 0); }
};

// The first transmission introduces the classes of a transmission, a sync and
// a command, the second refers to them by number; the output introduces the
// port's class.
TEST_F(RtdFile, TwoTransmissionsShareOneClassTable) {
  n4test::WriteFile(path, Golden("two-transmissions.rtd"));
  CN4FileCRtd rtd;
  ASSERT_EQ(rtd.ReadFile(path), 1);
  ASSERT_EQ(rtd.GetTransCount(), 2);
  EXPECT_EQ(rtd.GetFileDescription(), "cfg");
  EXPECT_EQ(rtd.GetMaxTransLength(), 512);
  EXPECT_EQ(rtd.GetTransPtr(0)->GetCmdPtr(0)->GetParam(0), "p");
  EXPECT_EQ(rtd.GetTransPtr(1)->GetEnabled(), 0);
  EXPECT_EQ(rtd.GetTransPtr(1)->GetSyncPtr(0)->GetIndivByte(0), 13);
  EXPECT_EQ(rtd.GetOutputCount(), 1);
  std::filesystem::remove(path);
  ASSERT_EQ(rtd.WriteFile(), 1);
  EXPECT_EQ(n4test::ReadFile(path), Golden("two-transmissions.rtd"));
}

TEST_F(RtdFile, LargeValuesUseTheLongForms) {
  CN4FileCRtd rtd;
  Bind(rtd);
  rtd.SetFileDescription(std::string(300, 'd'));
  CN4FileCRtdTrans t;
  t.SetDescription(std::string(70000, 't'));
  CN4FileCRtdSync sync;
  std::vector<WORD> bytes(70000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<WORD>(i);
  sync.SetIndivBytes(bytes);
  t.AddSync(-1, &sync);
  rtd.AddTrans(-1, &t);
  // Enough objects before the first output that its class number (33004 =
  // 0x80EC) passes 0x7FFF: the second output refers to it with the 32-bit tag.
  for (int i = 1; i < 33000; ++i) rtd.AddTrans(-1, nullptr);
  rtd.AddOutput(-1, nullptr);
  rtd.AddOutput(-1, nullptr);
  ASSERT_EQ(rtd.WriteFile(), 1);
  const std::string file = n4test::ReadFile(path);
  EXPECT_EQ(file.substr(4, 3), "\xFF\x2C\x01");
  const std::size_t trans = 4 + 3 + 300 + 2 + 2 + 2 + 2 + 16 + 4 + 4;
  EXPECT_EQ(file.substr(trans, 7), std::string("\xFF\xFF\xFF\x70\x11\x01\x00", 7));
  EXPECT_NE(file.find(std::string("\xFF\x7F\xEC\x80\x00\x80", 6)), std::string::npos);

  CN4FileCRtd back;
  ASSERT_EQ(back.ReadFile(path), 1);
  EXPECT_EQ(back.GetFileDescription(), rtd.GetFileDescription());
  ASSERT_EQ(back.GetTransCount(), 33000);
  EXPECT_EQ(back.GetTransPtr(0)->GetDescription(), t.GetDescription());
  EXPECT_EQ(back.GetTransPtr(0)->GetSyncPtr(0)->GetIndivBytes(), bytes);
  EXPECT_EQ(back.GetOutputCount(), 2);
  ASSERT_EQ(back.WriteFile(), 1);
  EXPECT_EQ(n4test::ReadFile(path), file);
}

TEST_F(RtdFile, OtherVersionsStopReadingAndWideStringsReadAsText) {
  CN4FileCRtd rtd;
  rtd.GetInputPtr()->SetBaud(1200);
  EXPECT_EQ(rtd.ReadFile(rtdtest::GoldenPath("version-2.rtd")), 1);
  EXPECT_EQ(rtd.GetFileDescription(), "");
  EXPECT_EQ(rtd.GetInputPtr()->GetBaud(), 1200);

  // A sync of version 2 keeps its defaults and reads nothing more.
  ASSERT_EQ(rtd.ReadFile(rtdtest::GoldenPath("sync-version-2.rtd")), 1);
  ASSERT_EQ(rtd.GetTransCount(), 1);
  EXPECT_EQ(rtd.GetTransPtr(0)->GetSyncPtr(0)->GetOffset(), 1);
  EXPECT_EQ(rtd.GetMaxTransLength(), 5);

  ASSERT_EQ(rtd.ReadFile(rtdtest::GoldenPath("wide-description.rtd")), 1);
  EXPECT_EQ(rtd.GetFileDescription(), "hi");
}

TEST_F(RtdFile, MissingFileBindsANewConfiguration) {
  CN4FileCRtd rtd;
  EXPECT_EQ(rtd.WriteFile(), 0);  // no path yet
  rtd.AddOutput(-1, nullptr);
  rtd.GetInputPtr()->SetType(1);
  EXPECT_EQ(rtd.ReadFile(path), 0);
  EXPECT_EQ(rtd.GetPath(), path);
  EXPECT_EQ(rtd.GetOutputCount(), 0);
  EXPECT_EQ(rtd.GetInputPtr()->GetType(), 1);  // kept, as by DeleteContents
  EXPECT_EQ(rtd.WriteFile(), 1);
  EXPECT_TRUE(n4test::Exists(path));

  CN4FileCRtd nowhere;
  EXPECT_EQ(nowhere.ReadFile(dir.File("no/such/dir.rtd")), 0);
  EXPECT_EQ(nowhere.WriteFile(), 0);
}

TEST_F(RtdFile, TruncationRaisesAndKeepsTheRecordsReadBefore) {
  const std::string whole = Golden("two-transmissions.rtd");
  const std::size_t secondTrans = whole.find("\x01\x80");
  // The output count and the class tag come before the class name.
  const std::size_t outputs = whole.rfind("CN4FileCRtdPort") - 8;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE("file cut to " + std::to_string(size) + " bytes");
    n4test::WriteFile(path, whole.substr(0, size));
    CN4FileCRtd rtd;
    rtd.GetInputPtr()->SetName("before");
    EXPECT_THROW(rtd.ReadFile(path), n4::ArchiveException);
    const int wholeTransmissions = size < secondTrans ? 0 : size < outputs ? 1 : 2;
    EXPECT_EQ(rtd.GetTransCount(), wholeTransmissions);
    // The input port changes only when read whole (all but the last field).
    EXPECT_EQ(rtd.GetInputPtr()->GetName(), size < whole.size() - 4 ? "before" : "");
  }
}

// Each file under damaged/ is named after the cause it must raise.
TEST_F(RtdFile, DamagedReferencesRaiseTheirCause) {
  const std::map<std::string, n4::ArchiveException::Cause> causes = {
      {"badIndex", n4::ArchiveException::badIndex},
      {"badClass", n4::ArchiveException::badClass},
      {"endOfFile", n4::ArchiveException::endOfFile}};
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(rtdtest::GoldenPath("damaged"))) {
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    ++files;
    CN4FileCRtd rtd;
    try {
      rtd.ReadFile(entry.path().string());
      ADD_FAILURE() << "no exception";
    } catch (const n4::ArchiveException& e) {
      EXPECT_EQ(e.m_cause, causes.at(name.substr(0, name.find('-'))));
      EXPECT_EQ(e.m_strFileName, entry.path().string());
    }
  }
  EXPECT_EQ(files, 9);
}

TEST_F(RtdFile, AFailedWriteRaisesAndKeepsThePreviousFile) {
  n4test::WriteFile(path, Golden("two-transmissions.rtd"));
  CN4FileCRtd rtd;
  Bind(rtd);
  rtd.DeleteContents();
  n4test::ScopedFaultEnv faults;
  faults.env.failWrite.at = 1;  // the next write finds the disk full
  try {
    rtd.WriteFile();
    ADD_FAILURE() << "no exception";
  } catch (const n4::FileException& e) {
    EXPECT_EQ(e.m_cause, n4::FileException::diskFull);
    EXPECT_EQ(e.m_lOsError, static_cast<long>(n4::kErrDiskFull));
  }
  EXPECT_EQ(n4test::ReadFile(path), Golden("two-transmissions.rtd"));
}

}  // namespace
