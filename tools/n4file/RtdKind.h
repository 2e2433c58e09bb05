// Loading a real-time data configuration for the tool's commands.
#pragma once

#include <string>

#include <n4file/Rtd.h>

namespace n4tool {

// Reads the configuration at path into rtd (which stays bound to path);
// false with a one-line cause for a missing, unreadable or damaged file.
bool LoadRtd(const std::string& path, CN4FileCRtd& rtd, std::string& cause);

}  // namespace n4tool
