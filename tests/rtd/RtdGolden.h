// The configuration files kept under tests/data/rtd.
#pragma once

#include <string>

#include "support/TestSupport.h"

namespace rtdtest {

inline std::string GoldenPath(const std::string& name) { return std::string(N4_TEST_DATA_DIR) + "/rtd/" + name; }
inline std::string Golden(const std::string& name) { return n4test::ReadFile(GoldenPath(name)); }

}  // namespace rtdtest
