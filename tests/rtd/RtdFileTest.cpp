#include <gtest/gtest.h>

#include <string>

#include "n4file/Rtd.h"
#include "platform/Env.h"
#include "rtd/RtdBytes.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

using rtdtest::Bytes;

// Two transmissions sharing the class table: the first introduces
// "CN4FileCRtdTrans" (1, object 2), "CN4FileCRtdSync" (3, object 4) and
// "CN4FileCRtdCmd" (5, object 6); the second is 0x8001 (object 7) with its
// sync 0x8003 (object 8); the output introduces "CN4FileCRtdPort" (9).
std::string TwoTransmissions() {
  Bytes b;
  b.I32(1).Str("cfg").W16(2);
  b.NewClass("CN4FileCRtdTrans").I32(1).I32(1).Str("A").W16(1);
  b.NewClass("CN4FileCRtdSync").DefaultSync();
  b.W16(1).NewClass("CN4FileCRtdCmd").I32(1).I32(7).W16(1).Str("p");
  b.W16(0x8001).I32(1).I32(0).Str("").W16(1);
  b.W16(0x8003).I32(1).I32(0).I32(0).I32(1).I32(0).I32(0).W16(1).W16(13);
  b.W16(0);
  b.W16(1).NewClass("CN4FileCRtdPort").DefaultPort();
  b.DefaultPort().I32(512);
  return b.s;
}

void BuildTwoTransmissions(CN4FileCRtd& rtd) {
  rtd.SetFileDescription("cfg");
  rtd.SetMaxTransLength(512);
  CN4FileCRtdTrans first;
  first.SetDescription("A");
  first.AddSync(-1, nullptr);
  CN4FileCRtdCmd cmd;
  cmd.SetCommand(7);
  cmd.SetParams({"p"});
  first.AddCmd(-1, &cmd);
  rtd.AddTrans(-1, &first);
  CN4FileCRtdTrans second;
  second.SetEnabled(0);
  CN4FileCRtdSync start;
  start.SetType(0);
  start.SetIndivBytes({13});
  second.AddSync(-1, &start);
  rtd.AddTrans(-1, &second);
  rtd.AddOutput(-1, nullptr);
}

struct RtdFile : ::testing::Test {
  n4test::TempDir dir;
  std::string path = dir.File("config.rtd");
  // A configuration bound to path (the file need not exist).
  void Bind(CN4FileCRtd& rtd) { EXPECT_EQ(rtd.ReadFile(path), n4test::Exists(path) ? 1 : 0); }
};

TEST_F(RtdFile, EmptyConfigurationIs52Bytes) {
  CN4FileCRtd rtd;
  Bind(rtd);
  ASSERT_EQ(rtd.WriteFile(), 1);
  Bytes want;
  want.I32(1).Str("").W16(0).W16(0).DefaultPort().I32(0);
  ASSERT_EQ(want.s.size(), 52u);
  EXPECT_EQ(n4test::ReadFile(path), want.s);
}

TEST_F(RtdFile, TwoTransmissionsShareOneClassTable) {
  CN4FileCRtd rtd;
  Bind(rtd);
  BuildTwoTransmissions(rtd);
  ASSERT_EQ(rtd.WriteFile(), 1);
  EXPECT_EQ(n4test::ReadFile(path), TwoTransmissions());

  CN4FileCRtd back;
  ASSERT_EQ(back.ReadFile(path), 1);
  ASSERT_EQ(back.GetTransCount(), 2);
  EXPECT_EQ(back.GetFileDescription(), "cfg");
  EXPECT_EQ(back.GetMaxTransLength(), 512);
  EXPECT_EQ(back.GetTransPtr(0)->GetCmdPtr(0)->GetParam(0), "p");
  EXPECT_EQ(back.GetTransPtr(1)->GetSyncPtr(0)->GetIndivByte(0), 13);
  EXPECT_EQ(back.GetOutputCount(), 1);
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
  // Enough objects before the first output that its class number (33004)
  // passes 0x7FFF: the second output refers to it with the 32-bit tag.
  for (int i = 1; i < 33000; ++i) rtd.AddTrans(-1, nullptr);
  rtd.AddOutput(-1, nullptr);
  rtd.AddOutput(-1, nullptr);
  ASSERT_EQ(rtd.WriteFile(), 1);
  const std::string file = n4test::ReadFile(path);
  EXPECT_EQ(file.substr(4, 3), Bytes().B(0xFF).W16(300).s);
  const std::size_t trans = 4 + 3 + 300 + 2 + 2 + 2 + 2 + 16 + 4 + 4;
  EXPECT_EQ(file.substr(trans, 7), Bytes().B(0xFF).W16(0xFFFF).I32(70000).s);
  EXPECT_NE(file.find(Bytes().W16(0x7FFF).I32(static_cast<std::int32_t>(0x80000000u | 33004)).s), std::string::npos);

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

TEST_F(RtdFile, OtherVersionsStopReadingWithoutAnError) {
  CN4FileCRtd rtd;
  rtd.GetInputPtr()->SetBaud(1200);
  n4test::WriteFile(path, Bytes().I32(2).Str("ignored").s);
  EXPECT_EQ(rtd.ReadFile(path), 1);
  EXPECT_EQ(rtd.GetFileDescription(), "");
  EXPECT_EQ(rtd.GetInputPtr()->GetBaud(), 1200);

  // A sync of version 2 keeps its defaults and reads nothing more.
  Bytes b;
  b.I32(1).Str("").W16(1).NewClass("CN4FileCRtdTrans").I32(1).I32(1).Str("").W16(1);
  b.NewClass("CN4FileCRtdSync").I32(2).W16(0).W16(0).DefaultPort().I32(5);
  n4test::WriteFile(path, b.s);
  ASSERT_EQ(rtd.ReadFile(path), 1);
  ASSERT_EQ(rtd.GetTransCount(), 1);
  EXPECT_EQ(rtd.GetTransPtr(0)->GetSyncPtr(0)->GetOffset(), 1);
  EXPECT_EQ(rtd.GetMaxTransLength(), 5);
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
  const std::string whole = TwoTransmissions();
  const std::size_t secondTrans = whole.find(Bytes().W16(0x8001).s);
  const std::size_t outputs = whole.rfind(Bytes().NewClass("CN4FileCRtdPort").s) - 2;
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

TEST_F(RtdFile, DamagedReferencesRaiseTheirCause) {
  const std::string head = Bytes().I32(1).Str("").W16(2).s;
  struct Case {
    const char* name;
    std::string body;
    n4::ArchiveException::Cause cause;
  } cases[] = {
      {"class number never given", Bytes().W16(0x8005).s, n4::ArchiveException::badIndex},
      {"reference to an earlier object", Bytes().W16(0x0002).s, n4::ArchiveException::badIndex},
      {"class number of an object",
       Bytes().NewClass("CN4FileCRtdTrans").I32(1).I32(1).Str("").W16(0).W16(0).W16(0x8002).s,
       n4::ArchiveException::badIndex},
      {"32-bit reference to no class", Bytes().W16(0x7FFF).I32(static_cast<std::int32_t>(0x80000009u)).s,
       n4::ArchiveException::badIndex},
      {"unknown class", Bytes().NewClass("CN4Other").s, n4::ArchiveException::badClass},
      {"another record's class", Bytes().NewClass("CN4FileCRtdPort").DefaultPort().s,
       n4::ArchiveException::badClass},
      {"class name too long", Bytes().W16(0xFFFF).W16(1).W16(200).Raw(std::string(200, 'C')).s,
       n4::ArchiveException::badClass},
      {"count beyond the file", Bytes().NewClass("CN4FileCRtdTrans").I32(1).I32(1).B(0).W16(0xFFFF).I32(-1).s,
       n4::ArchiveException::endOfFile},
      {"string beyond the file", Bytes().NewClass("CN4FileCRtdTrans").I32(1).I32(1).B(0xFF).W16(0xFFFF).I32(-1).s,
       n4::ArchiveException::endOfFile},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    n4test::WriteFile(path, head + c.body + std::string(64, '\0'));
    CN4FileCRtd rtd;
    try {
      rtd.ReadFile(path);
      ADD_FAILURE() << "no exception";
    } catch (const n4::ArchiveException& e) {
      EXPECT_EQ(e.m_cause, c.cause);
      EXPECT_EQ(e.m_strFileName, path);
    }
  }
}

TEST_F(RtdFile, WideStringsReadAsText) {
  Bytes b;
  b.I32(1).B(0xFF).W16(0xFFFE).B(2).Raw(std::string("h\0i\0", 4)).W16(0).W16(0).DefaultPort().I32(0);
  n4test::WriteFile(path, b.s);
  CN4FileCRtd rtd;
  ASSERT_EQ(rtd.ReadFile(path), 1);
  EXPECT_EQ(rtd.GetFileDescription(), "hi");
}

TEST_F(RtdFile, AFailedWriteRaisesAndKeepsThePreviousFile) {
  CN4FileCRtd rtd;
  Bind(rtd);
  BuildTwoTransmissions(rtd);
  ASSERT_EQ(rtd.WriteFile(), 1);
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
  EXPECT_EQ(n4test::ReadFile(path), TwoTransmissions());
}

}  // namespace
