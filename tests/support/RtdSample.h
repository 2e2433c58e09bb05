// A sample configuration for the configuration tests and the tool's tests.
#pragma once

#include <string>

#include "n4file/Rtd.h"

namespace rtdtest {

// A configuration that touches every field, with text in another code page
// (0xE9) and an individual byte beyond 255.
inline void FillSample(CN4FileCRtd& rtd) {
  rtd.SetFileDescription("caf\xE9");
  rtd.SetMaxTransLength(-3);
  CN4FileCRtdTrans t;
  t.SetEnabled(0);
  t.SetDescription("score \xE2\x82\xAC");
  CN4FileCRtdSync s;
  s.SetType(1);
  s.SetEndLength(2);
  s.SetRangeFirst(48);
  s.SetRangeLast(57);
  s.SetIndivBytes({2, 3, 300});
  t.AddSync(-1, &s);
  t.AddSync(-1, nullptr);
  CN4FileCRtdCmd c;
  c.SetCommand(12);
  c.SetParams({"", std::string(300, 'p')});
  t.AddCmd(-1, &c);
  rtd.AddTrans(-1, &t);
  rtd.AddTrans(-1, nullptr);
  CN4FileCRtdPort out;
  out.SetType(1);
  out.SetPort(4660);
  rtd.AddOutput(-1, &out);
  rtd.GetInputPtr()->SetName("Scoreboard");
  rtd.GetInputPtr()->SetType(0);
  rtd.GetInputPtr()->SetBaud(9600);
  rtd.GetInputPtr()->SetParity("None");
}

}  // namespace rtdtest
