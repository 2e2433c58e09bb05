#include "profile/ProfileText.h"

#include <utility>

namespace n4 {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

char LowerChar(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::string LowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = LowerChar(c);
  return out;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (LowerChar(a[i]) != LowerChar(b[i])) return false;
  }
  return true;
}

std::string_view TrimBlanks(std::string_view text) {
  std::size_t b = 0;
  std::size_t e = text.size();
  while (b < e && IsBlank(text[b])) ++b;
  while (e > b && IsBlank(text[e - 1])) --e;
  return text.substr(b, e - b);
}

ProfileText::ProfileText(std::string bytes) : bytes_(std::move(bytes)) {
  if (bytes_.size() > kMaxProfileBytes) bytes_.clear();
  Parse();
}

void ProfileText::Parse() {
  sections_.push_back(Section{});  // the lines before the first header
  const std::size_t n = bytes_.size();
  std::size_t start = 0;
  while (start < n) {
    std::size_t end = start;
    while (end < n && bytes_[end] != '\n' && bytes_[end] != '\r') ++end;
    std::size_t next = end;
    if (next < n) {
      next += (bytes_[next] == '\r' && next + 1 < n && bytes_[next + 1] == '\n') ? 2 : 1;
    }
    IndexLine(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end),
              static_cast<std::uint32_t>(next));
    start = next;
  }
  sections_.back().endLine = static_cast<std::uint32_t>(lines_.size());
}

void ProfileText::IndexLine(std::uint32_t start, std::uint32_t end, std::uint32_t next) {
  std::uint32_t b = start;
  std::uint32_t e = end;
  while (b < e && IsBlank(bytes_[b])) ++b;
  while (e > b && IsBlank(bytes_[e - 1])) --e;
  if (b == e) return;  // blank lines are not indexed

  Line line;
  line.start = start;
  line.end = end;
  line.next = next;
  const std::string_view text(bytes_.data() + b, e - b);
  if (text.front() == ';') {
    line.kind = LineKind::Comment;
  } else if (std::size_t close = text.rfind(']'); text.front() == '[' && close != std::string_view::npos) {
    std::string_view name = TrimBlanks(text.substr(1, close - 1));
    line.kind = LineKind::Header;
    line.nameBegin = static_cast<std::uint32_t>(name.data() - bytes_.data());
    line.nameEnd = line.nameBegin + static_cast<std::uint32_t>(name.size());
  } else if (std::size_t eq = text.find('='); eq != std::string_view::npos) {
    std::string_view name = TrimBlanks(text.substr(0, eq));
    std::string_view value = TrimBlanks(text.substr(eq + 1));
    line.kind = LineKind::Key;
    line.nameBegin = static_cast<std::uint32_t>(name.data() - bytes_.data());
    line.nameEnd = line.nameBegin + static_cast<std::uint32_t>(name.size());
    line.valueBegin = static_cast<std::uint32_t>(value.data() - bytes_.data());
    line.valueEnd = line.valueBegin + static_cast<std::uint32_t>(value.size());
  } else {
    line.kind = LineKind::Other;
  }

  const auto index = static_cast<std::uint32_t>(lines_.size());
  lines_.push_back(line);
  // Lines before the first header make the section "", found before any "[]".
  if (index == 0 && line.kind != LineKind::Header) firstSection_.try_emplace(std::string(), 0);
  if (line.kind == LineKind::Header) {
    sections_.back().endLine = index;
    Section section;
    section.header = index;
    section.firstLine = index + 1;
    sections_.push_back(section);
    firstSection_.try_emplace(LowerAscii(Name(line)), static_cast<std::uint32_t>(sections_.size() - 1));
  }
}

std::string_view ProfileText::Name(const Line& line) const {
  return std::string_view(bytes_).substr(line.nameBegin, line.nameEnd - line.nameBegin);
}

std::string_view ProfileText::RawValue(const Line& line) const {
  return std::string_view(bytes_).substr(line.valueBegin, line.valueEnd - line.valueBegin);
}

std::string_view ProfileText::Value(const Line& line) const {
  std::string_view v = RawValue(line);
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front()) {
    v = v.substr(1, v.size() - 2);
  }
  return v;
}

std::string_view ProfileText::Trimmed(const Line& line) const {
  return TrimBlanks(std::string_view(bytes_).substr(line.start, line.end - line.start));
}

std::string_view ProfileText::SectionName(const Section& section) const {
  return section.header == Section::kNoHeader ? std::string_view() : Name(lines_[section.header]);
}

const ProfileText::Section* ProfileText::FindSection(std::string_view name) const {
  std::string key = LowerAscii(TrimBlanks(name));
  auto it = firstSection_.find(key);
  return it == firstSection_.end() ? nullptr : &sections_[it->second];
}

const ProfileText::Line* ProfileText::FindKey(const Section& section, std::string_view key) const {
  key = TrimBlanks(key);
  for (std::uint32_t i = section.firstLine; i < section.endLine; ++i) {
    const Line& line = lines_[i];
    if (line.kind == LineKind::Key && EqualsIgnoreCase(Name(line), key)) return &line;
  }
  return nullptr;
}

std::string_view ProfileText::LineBreak() const {
  std::size_t pos = bytes_.find_first_of("\r\n");
  if (pos == std::string::npos) return "\r\n";
  if (bytes_[pos] == '\n') return "\n";
  return (pos + 1 < bytes_.size() && bytes_[pos + 1] == '\n') ? "\r\n" : "\r";
}

}  // namespace n4
