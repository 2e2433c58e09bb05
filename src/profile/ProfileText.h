// One profile (INI) file held as its bytes plus an index of its lines.
//
// Parsing never copies or normalises the text: every line keeps its place in
// the original bytes, so an edit rebuilds the file from the untouched bytes
// around the one span it changes. Blank lines are not indexed (nothing looks
// them up); they stay in the bytes like everything else.
//
// Rules (the observable behaviour of the Windows private-profile functions):
// - Lines end with CRLF, LF or a lone CR.
// - A line whose first non-blank character is "[" and that holds a "]" is a
//   section header; the name runs to the last "]", trimmed. Lines before the
//   first header belong to the section named "".
// - A line starting with ";" is a comment. Any other line with "=" is a key:
//   name before the first "=", value after it, both trimmed. A line without
//   "=" is kept and listed by section reads but is no key.
// - Names match without regard to ASCII case; the first matching section and
//   its first matching key win.
//
// Thread safety: a parsed text is immutable and may be shared between threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace n4 {

// Files above this size are not settings files; they read as empty and are
// never rewritten. The bound also keeps the line index (a few bytes per line)
// small whatever the file holds.
constexpr std::size_t kMaxProfileBytes = 16u << 20;

class ProfileText {
 public:
  enum class LineKind : std::uint8_t { Header, Key, Comment, Other };

  struct Line {
    std::uint32_t start = 0;  // first byte of the raw line
    std::uint32_t end = 0;    // end of the raw line, before its line break
    std::uint32_t next = 0;   // start of the following line (after the break)
    std::uint32_t nameBegin = 0, nameEnd = 0;    // header or key name, trimmed
    std::uint32_t valueBegin = 0, valueEnd = 0;  // key value, trimmed, quotes kept
    LineKind kind = LineKind::Other;
  };

  // A section: its header line (none for the lines before the first header)
  // and the indexed lines below it, [firstLine, endLine).
  struct Section {
    static constexpr std::uint32_t kNoHeader = UINT32_MAX;
    std::uint32_t header = kNoHeader;
    std::uint32_t firstLine = 0;
    std::uint32_t endLine = 0;
  };

  ProfileText() = default;
  // REQUIRES: bytes.size() <= kMaxProfileBytes.
  explicit ProfileText(std::string bytes);

  const std::string& bytes() const { return bytes_; }
  const std::vector<Line>& lines() const { return lines_; }
  const std::vector<Section>& sections() const { return sections_; }

  std::string_view Name(const Line& line) const;
  // The stored value, trimmed, quotes kept.
  std::string_view RawValue(const Line& line) const;
  // The value as reads return it: one surrounding pair of equal quotes removed.
  std::string_view Value(const Line& line) const;
  // The whole raw line, trimmed.
  std::string_view Trimmed(const Line& line) const;
  std::string_view SectionName(const Section& section) const;

  // The first section with that name (trimmed, any case), or null.
  const Section* FindSection(std::string_view name) const;
  // The first key line of the section with that name (trimmed, any case), or null.
  const Line* FindKey(const Section& section, std::string_view key) const;

  // The line break this file uses (its first one), CRLF for a file without.
  std::string_view LineBreak() const;

 private:
  void Parse();
  void IndexLine(std::uint32_t start, std::uint32_t end, std::uint32_t next);

  std::string bytes_;
  std::vector<Line> lines_;
  std::vector<Section> sections_;
  // Lower-case name -> index of the first section so named.
  std::unordered_map<std::string, std::uint32_t> firstSection_;
};

// ASCII-only lower case, as the names are compared.
std::string LowerAscii(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);
// Blanks as the profile functions trim them: space, tab, vertical tab, form feed.
std::string_view TrimBlanks(std::string_view text);

}  // namespace n4
