// CN4Files: shortened, relative and full forms of paths.
#include "files/PathText.h"
#include "n4file/Files.h"
#include "platform/Path.h"

namespace {

using n4::files::EqualNoCase;
using PathParts = n4::path::Parts;
using n4::path::SeparatorUsedIn;
using n4::path::Split;

std::string JoinNames(const std::vector<std::string>& names, std::size_t from, char sep) {
  std::string out;
  for (std::size_t i = from; i < names.size(); ++i) {
    if (i > from) out += sep;
    out += names[i];
  }
  return out;
}

// Drops "." and resolves ".." against the names before it. Above the root of
// a full path there is nothing to climb to; a relative path keeps its "..".
void Normalise(PathParts* parts) {
  std::vector<std::string> out;
  for (auto& name : parts->names) {
    if (name == ".") continue;
    if (name == "..") {
      if (!out.empty() && out.back() != "..") {
        out.pop_back();
        continue;
      }
      if (!parts->root.empty()) continue;
    }
    out.push_back(std::move(name));
  }
  parts->names = std::move(out);
}

// Roots are the same when they differ only in case and separator.
bool SameRoot(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (n4::path::IsSeparator(a[i]) && n4::path::IsSeparator(b[i])) continue;
    if (!EqualNoCase(std::string_view(a).substr(i, 1), std::string_view(b).substr(i, 1))) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string CN4Files::GetAbbreviatedPath(int maxLength) const {
  const auto fits = [&](const std::string& s) {
    return maxLength >= 0 && s.size() <= static_cast<std::size_t>(maxLength);
  };
  if (fits(m_strPath)) return m_strPath;
  const char sep = SeparatorUsedIn(m_strPath, n4::path::PreferredSeparator());
  PathParts parts = Split(m_strPath);
  if (parts.names.empty()) return m_strPath;
  const std::string ellipsis = "...";
  const std::size_t count = parts.names.size();

  // Keep as many trailing names as fit, after the root and "\...\" when
  // there is room for it, else after "...\".
  const bool hasHead = !parts.root.empty() || count > 2;
  std::string head = parts.root.empty() ? parts.names[0] : parts.root;
  if (!n4::path::IsSeparator(head.back())) head += sep;
  const std::size_t firstKept = parts.root.empty() ? 1 : 0;
  for (std::size_t from = 1; from < count; ++from) {
    const std::string tail = ellipsis + sep + JoinNames(parts.names, from, sep);
    if (hasHead && from > firstKept && fits(head + tail)) return head + tail;
    if (fits(tail)) return tail;
  }
  return parts.names.back();
}

std::string CN4Files::GetRelPath(const std::string& baseDir) const {
  return GetRelPath(m_strPath, baseDir);
}

std::string CN4Files::GetRelPath(const std::string& path, const std::string& baseDir) {
  PathParts target = Split(path);
  PathParts base = Split(baseDir);
  Normalise(&target);
  Normalise(&base);
  if (!SameRoot(target.root, base.root)) return path;
  std::size_t common = 0;
  while (common < target.names.size() && common < base.names.size() &&
         EqualNoCase(target.names[common], base.names[common])) {
    ++common;
  }
  // Climbing out of a relative base past what it names cannot be expressed.
  for (std::size_t i = common; i < base.names.size(); ++i) {
    if (base.names[i] == "..") return path;
  }
  const char sep = SeparatorUsedIn(path, SeparatorUsedIn(baseDir, n4::path::PreferredSeparator()));
  PathParts rel;
  for (std::size_t i = common; i < base.names.size(); ++i) rel.names.emplace_back("..");
  for (std::size_t i = common; i < target.names.size(); ++i) rel.names.push_back(target.names[i]);
  if (rel.names.empty()) return ".";
  return n4::path::Join(rel, sep);
}

std::string CN4Files::GetFullPath(const std::string& relPath, const std::string& baseDir) {
  const char sep = SeparatorUsedIn(baseDir, SeparatorUsedIn(relPath, n4::path::PreferredSeparator()));
  PathParts rel = Split(relPath);
  PathParts full;
  if (!rel.root.empty()) {
    full = std::move(rel);
  } else {
    full = Split(baseDir);
    for (auto& name : rel.names) full.names.push_back(std::move(name));
  }
  Normalise(&full);
  // The root keeps its spelling but takes the chosen separator.
  for (char& c : full.root) {
    if (n4::path::IsSeparator(c)) c = sep;
  }
  return n4::path::Join(full, sep);
}
