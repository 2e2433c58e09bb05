// Splitting and joining paths, for Windows and POSIX rules alike.
//
// Every function that depends on the rules takes a style, so that Windows
// paths are handled (and tested) the same on every platform; Native is the
// style of the platform being run (Env::PathSeparator). Parsing accepts both
// separators in either style; composing uses the style's own separator
// ("\" for Windows, "/" for POSIX). Roots are recognised in either spelling:
// "C:", "C:\", "\" or "/", and network roots "\\server\share".
//
// Pure text: nothing here touches the file system. Thread-safe.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace n4::path {

enum class Style { Native, Windows, Posix };

inline bool IsSeparator(char c) { return c == '\\' || c == '/'; }

// The separator paths of this style are composed with.
char PreferredSeparator(Style style = Style::Native);

// The separator a path is written with: its first separator, else `fallback`.
char SeparatorUsedIn(std::string_view path, char fallback);

// Position of the last separator, npos when there is none.
std::size_t LastSeparator(std::string_view path);

// A path taken apart: a root (empty when relative; "C:", "C:\", "\", or
// "\\server\share" for network paths, in the path's own spelling) and the
// names after it. Empty names (doubled separators) are dropped.
struct Parts {
  std::string root;
  std::vector<std::string> names;
};
Parts Split(std::string_view path);
// The names joined with `sep` after the root.
std::string Join(const Parts& parts, char sep);

// dir and name joined with the style's separator, not doubled when dir ends
// with one; name alone when dir is empty.
std::string Append(const std::string& dir, const std::string& name, Style style = Style::Native);
// The directory part ("" when none; the root "/" stays itself).
std::string ParentOf(const std::string& path);
// The last name of the path.
std::string FileNameOf(const std::string& path);
// Every separator replaced by the style's.
std::string WithSeparators(std::string_view path, Style style = Style::Native);

// Where the free space of the volume holding `path` is asked. Windows: the
// drive root "X:\", or a network share up to and including its fourth
// backslash; "" when neither (the caller then skips the check). POSIX: the
// path's directory, "." when it has none.
std::string VolumeRoot(const std::string& path, Style style = Style::Native);

}  // namespace n4::path
