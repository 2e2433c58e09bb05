// Calibration files as `info` and `calib show` describe them.
#pragma once

#include <memory>
#include <string>

#include <n4file/Calibration.h>
#include <nlohmann/json.hpp>

namespace n4tool {

// Opens `path` read only and reads it whole. Null with a cause when it cannot
// be opened or is not a 24-bit bitmap.
std::unique_ptr<CN4FileCalibrationEx> ReadCalibration(const std::string& path, std::string& cause);

// Size, both headers and per-component minimum, mean and maximum.
bool DescribeCalibration(const std::string& path, nlohmann::ordered_json& json, std::string& text,
                         std::string& cause);

}  // namespace n4tool
