// Small text rules shared by the settings files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace n4 {

// Maximal runs of characters that are not separators; never an empty token.
std::vector<std::string> SplitTokens(std::string_view text, std::string_view separators);

// The C library's string-to-integer rule (leading white space, sign, digits),
// clamped to the int range instead of overflowing.
int TextToInt(std::string_view text);

// Text up to its first NUL, as a C string holding it would read.
std::string UpToNul(const char* text, std::size_t length);

}  // namespace n4
