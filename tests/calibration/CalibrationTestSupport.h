// Shared by the calibration tests: a registry store in a scratch directory
// and a fixed date for dated file names.
#pragma once

#include <string>

#include "calibration/CalibrationDate.h"
#include "platform/Env.h"
#include "registry/RegistryTestEnv.h"
#include "support/TestSupport.h"

namespace n4test {

// Points the registry at .reg files in a scratch directory, on systems with
// a registry of their own too.
using CalibrationRegistryEnv = RegistryDirEnv;

// Fixes the date of new file names for the lifetime of this object.
class FixedDate {
 public:
  FixedDate(int day, int month, int year) {
    n4::SetCalibrationTodayForTesting(n4::CalendarDate{day, month, year});
  }
  ~FixedDate() { n4::SetCalibrationTodayForTesting(std::nullopt); }
  FixedDate(const FixedDate&) = delete;
  FixedDate& operator=(const FixedDate&) = delete;
};

// The machine registry file: key lines and value lines, 8-bit text.
inline std::string MachineRegistry(const std::string& body) {
  return "Windows Registry Editor Version 5.00\r\n\r\n" + body;
}

inline std::string ProductKey(const std::string& rest) {
  return "[HKEY_LOCAL_MACHINE\\Software\\Korvandexa\\Lyrae4000\\V5.0\\" + rest + "]\r\n";
}

}  // namespace n4test
