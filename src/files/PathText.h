// Text helpers for library paths: both separators, names without case.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace n4::files {

inline bool IsSeparator(char c) { return c == '\\' || c == '/'; }

bool EqualNoCase(std::string_view a, std::string_view b);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);

// The separator a path is written with: its first separator, else `fallback`.
char SeparatorStyle(std::string_view path, char fallback = '\\');

// A path taken apart: a root (empty when relative; "C:", "C:\", "\", or
// "\\server\share" for network paths, in the path's own spelling) and the
// names after it. Empty names (doubled separators) are dropped.
struct PathParts {
  std::string root;
  std::vector<std::string> names;
};
PathParts SplitPath(std::string_view path);

// The names joined with `sep` after the root.
std::string JoinPath(const PathParts& parts, char sep);

// The path with every separator made the platform's, for handing to Env.
std::string NativePath(std::string_view path);

}  // namespace n4::files
