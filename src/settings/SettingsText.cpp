#include "settings/SettingsText.h"

#include <climits>
#include <cstring>

namespace n4 {

std::vector<std::string> SplitTokens(std::string_view text, std::string_view separators) {
  std::vector<std::string> tokens;
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t begin = text.find_first_not_of(separators, pos);
    if (begin == std::string_view::npos) break;
    std::size_t end = text.find_first_of(separators, begin);
    if (end == std::string_view::npos) end = text.size();
    tokens.emplace_back(text.substr(begin, end - begin));
    pos = end;
  }
  return tokens;
}

int TextToInt(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  long long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10 + (text[i] - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) value = static_cast<long long>(INT_MAX) + 1;
  }
  if (negative) value = -value;
  if (value > INT_MAX) value = INT_MAX;
  return static_cast<int>(value);
}

std::string UpToNul(const char* text, std::size_t length) {
  const void* nul = std::memchr(text, '\0', length);
  return std::string(text, nul ? static_cast<const char*>(nul) - text : length);
}

}  // namespace n4
