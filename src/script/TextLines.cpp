#include "script/TextLines.h"

namespace n4 {

std::vector<std::string> SplitTextLines(std::string_view bytes) {
  const std::size_t eof = bytes.find('\x1A');
  if (eof != std::string_view::npos) bytes = bytes.substr(0, eof);
  std::vector<std::string> lines;
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    std::string_view line = bytes.substr(0, end);
    if (end != std::string_view::npos && !line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
  }
  return lines;
}

std::string JoinTextLines(const std::vector<std::string>& lines, std::string_view lineEnd) {
  std::size_t size = 0;
  for (const auto& line : lines) size += line.size() + lineEnd.size();
  std::string text;
  text.reserve(size);
  for (const auto& line : lines) {
    for (char c : line) {
      if (c == '\n') text += lineEnd;
      else text += c;
    }
    text += lineEnd;
  }
  return text;
}

}  // namespace n4
