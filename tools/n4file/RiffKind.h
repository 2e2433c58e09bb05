// What every RIFF file of this system shares: its INFO strings and header.
#pragma once

#include <n4file/RiffFile.h>

#include "Tool.h"

namespace n4tool {

std::string FourccText(DWORD code);
bool StartsWithRiff(const std::vector<BYTE>& head, const char* form);
// Adds "info", "format" and "compression" to json and their lines to text.
void DescribeRiffCommon(CN4RiffFile& file, nlohmann::ordered_json& json, std::string& text);
// printf into a std::string.
std::string Format(const char* format, ...);

}  // namespace n4tool
