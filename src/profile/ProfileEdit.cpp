#include "profile/ProfileEdit.h"

namespace n4 {
namespace {

using Line = ProfileText::Line;
using Section = ProfileText::Section;

bool EndsWithBreak(const std::string& s) { return !s.empty() && (s.back() == '\n' || s.back() == '\r'); }

// The file with a new section at its end. A non-empty file first gets its
// missing final line break and one blank line, so sections stay apart as
// people write them.
std::string AppendSection(const ProfileText& text, std::string_view section,
                          const std::vector<std::string_view>& lines) {
  const std::string_view nl = text.LineBreak();
  std::string out = text.bytes();
  if (!out.empty()) {
    if (!EndsWithBreak(out)) out += nl;
    std::string_view body(out);
    body.remove_suffix(body.size() >= 2 && body.substr(body.size() - 2) == "\r\n" ? 2 : 1);
    if (!body.empty() && body.back() != '\n' && body.back() != '\r') out += nl;
  }
  out += '[';
  out += TrimBlanks(section);
  out += ']';
  out += nl;
  for (std::string_view line : lines) {
    out += line;
    out += nl;
  }
  return out;
}

// Replaces bytes [begin, end) of the file with `middle`.
bool Splice(const ProfileText& text, std::size_t begin, std::size_t end, std::string_view middle,
            std::string* out) {
  const std::string& bytes = text.bytes();
  if (bytes.compare(begin, end - begin, middle) == 0) return false;
  std::string result;
  result.reserve(bytes.size() - (end - begin) + middle.size());
  result.append(bytes, 0, begin);
  result.append(middle);
  result.append(bytes, end, std::string::npos);
  *out = std::move(result);
  return true;
}

// Where lines added to the end of a section go: after its last indexed line
// (comments included), or after its header. Sets *needsBreak when that line
// ends the file without a line break.
std::size_t SectionEnd(const ProfileText& text, const Section& section, bool* needsBreak) {
  const Line* last = nullptr;
  if (section.endLine > section.firstLine) {
    last = &text.lines()[section.endLine - 1];
  } else if (section.header != Section::kNoHeader) {
    last = &text.lines()[section.header];
  }
  if (last == nullptr) {
    *needsBreak = false;
    return 0;
  }
  *needsBreak = last->next == last->end;
  return last->next;
}

}  // namespace

bool EditWriteString(const ProfileText& text, std::string_view section, std::string_view key,
                     std::string_view value, std::string* out) {
  key = TrimBlanks(key);
  const Section* sec = text.FindSection(section);
  if (sec == nullptr) {
    std::string line(key);
    line += '=';
    line += value;
    *out = AppendSection(text, section, {line});
    return true;
  }
  if (const Line* line = text.FindKey(*sec, key)) {
    if (text.RawValue(*line) == value) return false;
    std::string replacement(text.Name(*line));
    replacement += '=';
    replacement += value;
    return Splice(text, line->start, line->end, replacement, out);
  }
  bool needsBreak = false;
  const std::size_t at = SectionEnd(text, *sec, &needsBreak);
  const std::string_view nl = text.LineBreak();
  std::string added;
  if (needsBreak) added += nl;
  added += key;
  added += '=';
  added += value;
  added += nl;
  return Splice(text, at, at, added, out);
}

bool EditDeleteKey(const ProfileText& text, std::string_view section, std::string_view key, std::string* out) {
  const Section* sec = text.FindSection(section);
  const Line* line = sec ? text.FindKey(*sec, key) : nullptr;
  if (line == nullptr) return false;
  return Splice(text, line->start, line->next, {}, out);
}

bool EditDeleteSection(const ProfileText& text, std::string_view section, std::string* out) {
  const Section* sec = text.FindSection(section);
  if (sec == nullptr) return false;
  const auto& sections = text.sections();
  const std::size_t index = static_cast<std::size_t>(sec - sections.data());
  const std::size_t begin = sec->header == Section::kNoHeader ? 0 : text.lines()[sec->header].start;
  const std::size_t end =
      index + 1 < sections.size() ? text.lines()[sections[index + 1].header].start : text.bytes().size();
  return Splice(text, begin, end, {}, out);
}

bool EditReplaceSection(const ProfileText& text, std::string_view section,
                        const std::vector<std::string_view>& lines, std::string* out) {
  const Section* sec = text.FindSection(section);
  if (sec == nullptr) {
    if (lines.empty()) return false;
    *out = AppendSection(text, section, lines);
    return true;
  }
  const std::string_view nl = text.LineBreak();
  std::size_t begin = 0;
  std::string middle;
  if (sec->header != Section::kNoHeader) {
    const Line& header = text.lines()[sec->header];
    begin = header.next;
    if (header.next == header.end && !lines.empty()) middle += nl;
  }
  std::size_t end = begin;
  if (sec->endLine > sec->firstLine) end = text.lines()[sec->endLine - 1].next;
  for (std::string_view line : lines) {
    middle += line;
    middle += nl;
  }
  return Splice(text, begin, end, middle, out);
}

}  // namespace n4
