#include <gtest/gtest.h>

#include <filesystem>

#include "n4file/Files.h"
#include "support/TestSupport.h"

namespace {

const DWORD kScpt = n4::MakeFourCC("scpt");

class LibrarySearch : public ::testing::Test {
 protected:
  // Creates share/<relative>, with "\" in `relative` standing for the separator.
  void Touch(std::string relative) {
    for (char& c : relative) {
      if (c == '\\') c = '/';
    }
    std::filesystem::path p = std::filesystem::path(dir_.path()) / relative;
    std::filesystem::create_directories(p.parent_path());
    n4test::WriteFile(p.string(), "x");
  }
  void MakeDir(const std::string& relative) {
    std::filesystem::create_directories(std::filesystem::path(dir_.path()) / relative);
  }
  // Found paths are composed with this platform's separator.
  std::string In(std::string relative) const {
    for (char& c : relative) {
      if (c == '\\') c = n4::Env::Default()->PathSeparator();
    }
    return n4::JoinPath(dir_.path(), relative);
  }

  n4test::TempDir dir_;
};

TEST_F(LibrarySearch, FindsValidLibraryFilesOfTheKindAsked) {
  Touch("16x80.Mono1.I.Sign\\Weather.Lib\\Rain.SQ4");
  Touch("16x80.Mono1.I.Sign\\Weather.Lib\\Sun.SC4");
  Touch("16x80.Mono1.I.Sign\\Weather.Lib\\notes.txt");      // unknown kind
  Touch("16x80.Mono1.I.Sign\\Weather.Lib\\Old.sq4");        // extensions regard case
  Touch("16x80.Mono1.I.Sign\\Loose.SQ4");                   // not in a library
  Touch("16x80.Mono1.I.Sign\\Other\\In.SQ4");               // not a library folder
  Touch("Palette.RGB16MB.L.Sign\\Colours.Lib\\Wheel.SD4");
  Touch("8x32.Quad16.R.Sign\\News.Lib\\Bad.SQ4");           // invalid technology pair
  Touch("8x32.Quad99.I.Sign\\News.Lib\\Bad.SQ4");           // no such colour
  Touch("Stray.Sign");                                      // a file, not a folder
  Touch("Top.SQ4");
  MakeDir("24x96.Tri3.L.Sign/Empty.Lib");

  CN4Files f;
  std::vector<std::string> found{"kept"};
  EXPECT_EQ(f.FindFiles(found, dir_.path(), 0), 3);
  const std::vector<std::string> expected = {
      "kept",
      In("16x80.Mono1.I.Sign\\Weather.Lib\\Rain.SQ4"),
      In("16x80.Mono1.I.Sign\\Weather.Lib\\Sun.SC4"),
      In("Palette.RGB16MB.L.Sign\\Colours.Lib\\Wheel.SD4"),
  };
  EXPECT_EQ(found, expected);
  // What it finds is what BuildPath makes for the same fields.
  EXPECT_EQ(f.BuildPath(dir_.path(), 16, 80, Mono1, PixelTechI, "Weather", "Rain", "SQ4"), found[1]);

  found.clear();
  EXPECT_EQ(f.FindFiles(found, dir_.path(), static_cast<int>(kScpt)), 1);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], In("16x80.Mono1.I.Sign\\Weather.Lib\\Sun.SC4"));

  EXPECT_EQ(f.FindFiles(found, dir_.path() + "/missing", 0), -1);
  EXPECT_EQ(f.FindFiles(found, "", 0), -1);
  EXPECT_EQ(found.size(), 1u);
}

// Kinds and technology pairs are checked as FindFiles checks them.
TEST_F(LibrarySearch, AValidFileExistsAndNamesAValidSign) {
  Touch("16x80.Mono4.L.Sign\\A.Lib\\x.SQ4");
  EXPECT_EQ(CN4Files::IsFileValid(In("16x80.Mono4.L.Sign\\A.Lib\\x.SQ4")), 1);
  EXPECT_EQ(CN4Files::IsFileValid(In("16x80.Mono4.L.Sign/A.Lib/x.SQ4")), 1);
  EXPECT_EQ(CN4Files::IsFileValid(In("16x80.Mono4.L.Sign\\A.Lib\\y.SQ4")), 0);
  EXPECT_EQ(CN4Files::IsFileValid(""), 0);

  CN4Files f;
  f.BuildPath(dir_.path(), 16, 80, Mono4, PixelTechL, "A", "x", "SQ4");
  EXPECT_EQ(f.IsFileValid(), 1);
  f.BuildPath(dir_.path(), 16, 80, Mono4, PixelTechL, "A", "x", "SD4");
  EXPECT_EQ(f.IsFileValid(), 0);
}

}  // namespace
