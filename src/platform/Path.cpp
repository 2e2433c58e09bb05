#include "platform/Path.h"

#include <cctype>

#include "platform/Env.h"

namespace n4::path {
namespace {

Style Resolve(Style style) {
  if (style != Style::Native) return style;
  return Env::Default()->PathSeparator() == '\\' ? Style::Windows : Style::Posix;
}

}  // namespace

char PreferredSeparator(Style style) { return Resolve(style) == Style::Windows ? '\\' : '/'; }

char SeparatorUsedIn(std::string_view path, char fallback) {
  for (char c : path) {
    if (IsSeparator(c)) return c;
  }
  return fallback;
}

std::size_t LastSeparator(std::string_view path) { return path.find_last_of("\\/"); }

Parts Split(std::string_view path) {
  Parts parts;
  std::size_t pos = 0;
  if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
    // A network path: the server and share names belong to the root, which
    // is kept without its closing separator so that spellings compare equal.
    pos = 2;
    for (int name = 0; name < 2 && pos < path.size(); ++name) {
      if (name > 0) ++pos;
      while (pos < path.size() && !IsSeparator(path[pos])) ++pos;
    }
  } else if (path.size() >= 2 && std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':') {
    pos = (path.size() >= 3 && IsSeparator(path[2])) ? 3 : 2;
  } else if (!path.empty() && IsSeparator(path[0])) {
    pos = 1;
  }
  parts.root = std::string(path.substr(0, pos));
  while (pos < path.size()) {
    std::size_t end = pos;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    if (end > pos) parts.names.emplace_back(path.substr(pos, end - pos));
    pos = end + 1;
  }
  return parts;
}

std::string Join(const Parts& parts, char sep) {
  std::string out = parts.root;
  // A network root without its closing separator ("\\server\share").
  if (!out.empty() && !IsSeparator(out.back()) && out.size() > 2 && out[1] != ':' && !parts.names.empty()) {
    out += sep;
  }
  for (std::size_t i = 0; i < parts.names.size(); ++i) {
    if (i > 0) out += sep;
    out += parts.names[i];
  }
  return out;
}

std::string Append(const std::string& dir, const std::string& name, Style style) {
  if (dir.empty()) return name;
  if (IsSeparator(dir.back())) return dir + name;
  return dir + PreferredSeparator(style) + name;
}

std::string ParentOf(const std::string& path) {
  const std::size_t pos = LastSeparator(path);
  if (pos == std::string::npos) return "";
  if (pos == 0) return path.substr(0, 1);
  return path.substr(0, pos);
}

std::string FileNameOf(const std::string& path) {
  const std::size_t pos = LastSeparator(path);
  return pos == std::string::npos ? path : path.substr(pos + 1);
}

std::string WithSeparators(std::string_view path, Style style) {
  const char sep = PreferredSeparator(style);
  std::string out(path);
  for (char& c : out) {
    if (IsSeparator(c)) c = sep;
  }
  return out;
}

std::string VolumeRoot(const std::string& path, Style style) {
  if (Resolve(style) == Style::Posix) {
    std::string dir = ParentOf(path);
    return dir.empty() ? "." : dir;
  }
  if (path.size() >= 3 && path[1] == ':' && path[2] == '\\') return path.substr(0, 3);
  int seen = 0;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (path[i] == '\\' && ++seen == 4) return path.substr(0, i + 1);
  }
  return "";
}

}  // namespace n4::path
