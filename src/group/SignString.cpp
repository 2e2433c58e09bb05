// CN4FileGroup::ParseN4SignString: the sign's size and colour from the name of
// its directory, "<rows>x<columns>.<colour>.SIGN".
#include <array>
#include <cstdlib>
#include <string_view>

#include "n4file/Group.h"

namespace {

// The colour technologies in the order of their numbers.
constexpr std::array<std::string_view, 15> kColorNames = {
    "Mono1", "Quad16", "Tri3", "Quad256", "Mono4", "Quad64K", "Mono16", "Tri256",
    "Quad16M", "RGB64", "RGB4K", "RGB16M", "Mono64", "RGB32KB", "RGB16MB"};

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

// The text after the last ".", or all of it when there is none.
std::string_view AfterLastDot(std::string_view text) {
  std::size_t dot = text.rfind('.');
  return dot == std::string_view::npos ? text : text.substr(dot + 1);
}

// Both separators are accepted, as everywhere paths are parsed.
std::size_t LastSeparator(std::string_view text) { return text.find_last_of("\\/"); }

// The text up to `stop` (all of it when absent), and the rest after it.
std::string_view TakeUntil(std::string_view& text, char stop) {
  std::size_t at = text.find(stop);
  std::string_view head = text.substr(0, at);
  text = at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
  return head;
}

long DecimalPrefix(std::string_view text) {
  return std::strtol(std::string(text).c_str(), nullptr, 10);
}

}  // namespace

int CN4FileGroup::ParseN4SignString(const std::string& text, long& rows, long& columns, long& colorTech) {
  std::string_view rest(text);
  if (EqualNoCase(AfterLastDot(rest), "LIB")) {
    std::size_t cut = LastSeparator(rest);
    rest = cut == std::string_view::npos ? std::string_view() : rest.substr(0, cut);
  }
  if (EqualNoCase(AfterLastDot(rest), "SIGN")) {
    std::size_t cut = LastSeparator(rest);
    if (cut != std::string_view::npos) rest = rest.substr(cut + 1);
  }
  // No "x" leaves no rows text, and the whole name for what follows.
  std::size_t x = rest.find('x');
  std::string_view rowsText = x == std::string_view::npos ? std::string_view() : rest.substr(0, x);
  if (x != std::string_view::npos) rest = rest.substr(x + 1);
  std::string_view columnsText = TakeUntil(rest, '.');
  std::string_view colorName = TakeUntil(rest, '.');
  for (std::size_t i = 0; i < kColorNames.size(); ++i) {
    if (EqualNoCase(colorName, kColorNames[i])) {
      rows = DecimalPrefix(rowsText);
      columns = DecimalPrefix(columnsText);
      colorTech = static_cast<long>(i);
      return 1;
    }
  }
  return 0;
}
