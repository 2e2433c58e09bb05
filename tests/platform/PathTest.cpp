#include <gtest/gtest.h>

#include <string>

#include "platform/Path.h"

namespace {

using n4::path::Style;

// Windows rules hold on every platform: they are asked for by style.
TEST(Path, ComposesWithTheStylesSeparatorAndParsesBoth) {
  const struct {
    Style style;
    const char* dir;
    const char* name;
    const char* joined;
  } joins[] = {
      {Style::Windows, "C:\\Shows", "a.SQ4", "C:\\Shows\\a.SQ4"},
      {Style::Windows, "C:\\Shows\\", "a.SQ4", "C:\\Shows\\a.SQ4"},
      {Style::Windows, "/srv/shows/", "a.SQ4", "/srv/shows/a.SQ4"},
      {Style::Posix, "/srv/shows", "a.SQ4", "/srv/shows/a.SQ4"},
      {Style::Posix, "C:\\Shows\\", "a.SQ4", "C:\\Shows\\a.SQ4"},
      {Style::Posix, "", "a.SQ4", "a.SQ4"},
  };
  for (const auto& j : joins) {
    SCOPED_TRACE(j.joined);
    EXPECT_EQ(n4::path::Append(j.dir, j.name, j.style), j.joined);
  }
  EXPECT_EQ(n4::path::WithSeparators("a/b\\c", Style::Windows), "a\\b\\c");
  EXPECT_EQ(n4::path::WithSeparators("a/b\\c", Style::Posix), "a/b/c");
  EXPECT_EQ(n4::path::ParentOf("C:\\dir/f.sq4"), "C:\\dir");
  EXPECT_EQ(n4::path::ParentOf("/f"), "/");
  EXPECT_EQ(n4::path::FileNameOf("C:\\dir/f.sq4"), "f.sq4");

  const struct {
    const char* path;
    const char* root;
    size_t names;
  } splits[] = {
      {"C:\\a\\b", "C:\\", 2},   {"C:a", "C:", 1},        {"\\\\server\\share\\a", "\\\\server\\share", 1},
      {"//server/share", "//server/share", 0},             {"/a//b/", "/", 2}, {"a\\b", "", 2},
  };
  for (const auto& s : splits) {
    SCOPED_TRACE(s.path);
    const n4::path::Parts parts = n4::path::Split(s.path);
    EXPECT_EQ(parts.root, s.root);
    EXPECT_EQ(parts.names.size(), s.names);
  }
  EXPECT_EQ(n4::path::Join(n4::path::Split("\\\\server\\share\\a"), '\\'), "\\\\server\\share\\a");
}

TEST(Path, TheVolumeOfAPathFollowsItsStyle) {
  const struct {
    Style style;
    const char* path;
    const char* root;
  } cases[] = {
      {Style::Windows, "C:\\Shows\\a.SQ4", "C:\\"},
      {Style::Windows, "\\\\server\\share\\Shows\\a.SQ4", "\\\\server\\share\\"},
      {Style::Windows, "\\\\server\\share", ""},  // fewer than four backslashes: no check
      {Style::Windows, "relative\\a.SQ4", ""},
      {Style::Posix, "/srv/shows/a.SQ4", "/srv/shows"},
      {Style::Posix, "a.SQ4", "."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(n4::path::VolumeRoot(c.path, c.style), c.root);
  }
}

}  // namespace
