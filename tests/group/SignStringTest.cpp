#include <gtest/gtest.h>

#include <string>

#include "n4file/Group.h"

namespace {

TEST(ParseN4SignString, SizeAndColourFromTheSignDirectory) {
  struct Case {
    const char* text;
    int result;
    long rows, columns, color;
  } cases[] = {
      {"C:\\N4000\\Share\\16x80.Mono1.SIGN", 1, 16, 80, 0},
      {"16x80.Mono1.SIGN", 1, 16, 80, 0},
      {"C:\\N4000\\16x80.Mono99.SIGN", 0, 0, 0, 0},
      {"D:\\Signs\\32x160.rgb16m.Sign\\News.LIB", 1, 32, 160, 11},
      {"/srv/n4000/share/48x192.RGB16MB.SIGN/Weather.lib", 1, 48, 192, 14},
      {"C:\\a.b\\8x8.Quad16.SIGN", 1, 8, 8, 1},
      {"8x8.Tri3", 1, 8, 8, 2},  // no SIGN part: the text is read as it stands
      {"", 0, 0, 0, 0},
      {"News.LIB", 0, 0, 0, 0},
      {"x.", 0, 0, 0, 0},
      {"16x80..SIGN", 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    long rows = -1, columns = -1, color = -1;
    ASSERT_EQ(CN4FileGroup::ParseN4SignString(c.text, rows, columns, color), c.result);
    if (c.result == 1) {
      EXPECT_EQ(rows, c.rows);
      EXPECT_EQ(columns, c.columns);
      EXPECT_EQ(color, c.color);
    }
  }
}

}  // namespace
