#include "files/PathText.h"

#include <cctype>

#include "platform/Env.h"

namespace n4::files {

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && EqualNoCase(text.substr(text.size() - suffix.size()), suffix);
}

char SeparatorStyle(std::string_view path, char fallback) {
  for (char c : path) {
    if (IsSeparator(c)) return c;
  }
  return fallback;
}

PathParts SplitPath(std::string_view path) {
  PathParts parts;
  std::size_t pos = 0;
  if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
    // A network path: the server and share names belong to the root, which
    // is kept without its closing separator so that spellings compare equal.
    pos = 2;
    for (int name = 0; name < 2 && pos < path.size(); ++name) {
      if (name > 0) ++pos;
      while (pos < path.size() && !IsSeparator(path[pos])) ++pos;
    }
  } else if (path.size() >= 2 && std::isalpha(static_cast<unsigned char>(path[0])) &&
             path[1] == ':') {
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

std::string JoinPath(const PathParts& parts, char sep) {
  std::string out = parts.root;
  // A network root without its closing separator ("\\server\share").
  if (!out.empty() && !IsSeparator(out.back()) && out.size() > 2 && out[1] != ':' &&
      !parts.names.empty()) {
    out += sep;
  }
  for (std::size_t i = 0; i < parts.names.size(); ++i) {
    if (i > 0) out += sep;
    out += parts.names[i];
  }
  return out;
}

std::string NativePath(std::string_view path) {
  const char sep = Env::Default()->PathSeparator();
  std::string out(path);
  for (char& c : out) {
    if (IsSeparator(c)) c = sep;
  }
  return out;
}

}  // namespace n4::files
