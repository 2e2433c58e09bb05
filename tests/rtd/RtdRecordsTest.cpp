#include <gtest/gtest.h>

#include <string>

#include "n4file/Rtd.h"

namespace {

CN4FileCRtdPort Port(int type, int port, int baud, int databits, const std::string& parity) {
  CN4FileCRtdPort p;
  p.SetType(type);
  p.SetPort(port);
  p.SetBaud(baud);
  p.SetDatabits(databits);
  p.SetParity(parity);
  return p;
}

TEST(RtdRecords, PortEqualityComparesTheAddressOnly) {
  CN4FileCRtdPort named = Port(0, 2, 9600, 8, "None");
  named.SetName("Scoreboard");
  named.SetCTSTrans(3);
  struct Case {
    const char* name;
    CN4FileCRtdPort a, b;
    bool equal;
  } cases[] = {
      {"serial: name, handshake and parity text beyond the letter ignored", named, Port(0, 2, 9600, 8, "N"), true},
      {"serial: another baud", Port(0, 2, 9600, 8, "N"), Port(0, 2, 4800, 8, "N"), false},
      {"serial: another parity letter", Port(0, 2, 9600, 8, "N"), Port(0, 2, 9600, 8, "E"), false},
      {"ipx: only the socket counts", Port(1, 7, 1, 1, "E"), Port(1, 7, 2, 2, "N"), true},
      {"ipx: another socket", Port(1, 7, 0, 8, "N"), Port(1, 8, 0, 8, "N"), false},
      {"types differ", Port(0, 7, 0, 8, "N"), Port(1, 7, 0, 8, "N"), false},
      {"unset type is never equal", CN4FileCRtdPort(), CN4FileCRtdPort(), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a == c.b, c.equal);
    EXPECT_EQ(c.b == c.a, c.equal);
  }
}

TEST(RtdRecords, DisplayTexts) {
  CN4FileCRtdPort serial = Port(0, 2, 9600, 8, "N");
  serial.SetName("Scoreboard");
  CN4FileCRtdPort ipx = Port(1, 4660, 0, 8, "N");
  ipx.SetName("Net");
  CN4FileCRtdSync start, end, endLen, offset, other;
  start.SetType(0);
  end.SetType(1);
  endLen.SetType(1);
  endLen.SetEndLength(2);
  offset.SetOffset(12);
  other.SetType(7);
  EXPECT_EQ(serial.GetDescription(), "Scoreboard - COM2,9600,8,N");
  EXPECT_EQ(ipx.GetDescription(), "Net - IPX Socket - 4660");
  EXPECT_EQ(CN4FileCRtdPort().GetDescription(), "");
  EXPECT_EQ(start.GetDescription(), "Start Char");
  EXPECT_EQ(end.GetDescription(), "End Char");
  EXPECT_EQ(endLen.GetDescription(), "End Char  Len: 2");
  EXPECT_EQ(offset.GetDescription(), "Sync Offset 12");
  EXPECT_EQ(other.GetDescription(), "");
}

TEST(RtdRecords, ArraysAndListsFollowTheIndexRules) {
  CN4FileCRtdTrans t;
  CN4FileCRtdSync source;
  source.SetOffset(42);
  for (int i = 0; i < 5; ++i) ASSERT_EQ(t.AddSync(-1, nullptr), i);
  EXPECT_EQ(t.AddSync(5, &source), -1);
  EXPECT_EQ(t.GetSyncCount(), 5);
  EXPECT_EQ(t.AddSync(1, &source), 1);
  EXPECT_EQ(t.GetSyncPtr(1)->GetOffset(), 42);
  EXPECT_NE(t.GetSyncPtr(1), &source);  // a copy; the caller keeps source
  EXPECT_EQ(t.AddSync(-1, t.GetSyncPtr(1)), 6);  // a source inside the array
  EXPECT_EQ(t.GetSyncPtr(6)->GetOffset(), 42);
  EXPECT_EQ(t.GetSyncPtr(7), nullptr);
  EXPECT_EQ(t.GetSyncPtr(-1), nullptr);
  EXPECT_EQ(t.RemoveSync(7), 0);
  EXPECT_EQ(t.RemoveSync(1), 1);
  EXPECT_EQ(t.GetSyncCount(), 6);
  t.RemoveAllSyncs();
  EXPECT_EQ(t.GetSyncCount(), 0);

  CN4FileCRtd rtd;
  EXPECT_EQ(rtd.AddTrans(0, &t), -1);  // index 0 of an empty array
  EXPECT_EQ(rtd.RemoveOutput(-1), 0);

  // Reads out of range give the empty values.
  CN4FileCRtdSync s;
  EXPECT_EQ(s.GetIndivByte(-1), 0xFFFF);
  EXPECT_EQ(s.GetIndivByte(0), 0xFFFF);
  s.SetIndivBytes({7, 300});
  EXPECT_EQ(s.GetIndivByte(1), 300);
  EXPECT_EQ(s.GetIndivByte(2), 0xFFFF);
  CN4FileCRtdCmd c;
  EXPECT_EQ(c.GetCommand(), 0);
  EXPECT_EQ(c.GetParam(0), "");
  c.SetParams({"a"});
  EXPECT_EQ(c.GetParam(-1), "");
  EXPECT_EQ(c.GetParam(0), "a");
}

TEST(RtdRecords, TransmissionsCopyDeeply) {
  CN4FileCRtdTrans a;
  a.SetDescription("score");
  a.SetEnabled(0);
  a.AddSync(-1, nullptr);
  CN4FileCRtdCmd cmd;
  cmd.SetParams({"x", "y"});
  a.AddCmd(-1, &cmd);
  CN4FileCRtdTrans b(a);
  CN4FileCRtdTrans c;
  c.AddSync(-1, nullptr);
  c.AddSync(-1, nullptr);
  c = a;
  for (CN4FileCRtdTrans* copy : {&b, &c}) {
    EXPECT_EQ(copy->GetDescription(), "score");
    EXPECT_EQ(copy->GetEnabled(), 0);
    ASSERT_EQ(copy->GetSyncCount(), 1);
    ASSERT_EQ(copy->GetCmdCount(), 1);
    EXPECT_EQ(copy->GetCmdPtr(0)->GetParam(1), "y");
  }
  a.GetSyncPtr(0)->SetOffset(9);
  EXPECT_EQ(b.GetSyncPtr(0)->GetOffset(), 1);
  EXPECT_EQ(c.GetSyncPtr(0)->GetOffset(), 1);
}

}  // namespace
