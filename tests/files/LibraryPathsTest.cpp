#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/DataFiles.h"
#include "n4file/Files.h"
#include "platform/Env.h"

namespace {

const DWORD kSeq4 = n4::MakeFourCC("seq4");
const DWORD kScpt = n4::MakeFourCC("scpt");

tag_N4_SIGN_COLOR Color(int v) { return static_cast<tag_N4_SIGN_COLOR>(v); }
tag_N4_PIXEL_TECH Pixel(int v) { return static_cast<tag_N4_PIXEL_TECH>(v); }

// A path written with "/" in this platform's spelling: composed paths use
// its separator.
std::string Native(std::string path) {
  std::replace(path.begin(), path.end(), '/', n4::Env::Default()->PathSeparator());
  return path;
}

struct Fields {
  std::string share, library, file, extension;
  DWORD rows, cols, kind;
  int color, pixel, palette;
  bool operator==(const Fields&) const = default;
};

Fields FieldsOf(const CN4Files& f) {
  return {f.GetShareDir(), f.GetLibrary(), f.GetFile(),  f.GetExtension(), f.GetRows(),
          f.GetCols(),     f.GetFccType(), f.GetColorTech(), f.GetPixelTech(), f.IsPaletteType()};
}

std::string Slashed(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

TEST(LibraryPaths, BuildPathComposesTheSchemeOrNothing) {
  CN4Files f;
  EXPECT_EQ(f.BuildPath(Native("/share"), 16, 80, Mono1, PixelTechI, "News", "Morning", "SQ4"),
            Native("/share/16x80.Mono1.I.Sign/News.Lib/Morning.SQ4"));
  EXPECT_EQ(f.GetPath(), Native("/share/16x80.Mono1.I.Sign/News.Lib/Morning.SQ4"));
  // A share directory in the other spelling is kept as given; the parts
  // added are this platform's.
  EXPECT_EQ(f.BuildPath("D:\\Shows", 8, 32, Quad16, PixelTechI, "News", "Top", kScpt),
            "D:\\Shows" + Native("/8x32.Quad16.I.Sign/News.Lib/Top.SC4"));
  EXPECT_EQ(f.GetFccType(), kScpt);

  for (const auto& r : n4test::ReadCases("files/refused-builds.tsv")) {
    SCOPED_TRACE(r[0].text);
    f.BuildPath("D:\\Shows", 16, 80, Mono1, PixelTechI, "Weather", "Rain", "SQ4");
    EXPECT_EQ(f.BuildPath(r[1].text, std::stoul(r[2].text), std::stoul(r[3].text), Color(std::stoi(r[4].text)),
                          Pixel(std::stoi(r[5].text)), r[6].text, r[7].text, r[8].text),
              "");
    EXPECT_EQ(f.GetPath(), "");
    EXPECT_EQ(f.GetExtension(), r[8].text);
    EXPECT_EQ(f.GetLibrary(), "Weather");
  }
  // Sizes are unsigned, and the sign name alone is rebuilt from the fields.
  EXPECT_EQ(f.BuildSign(4294967295u, 7, RGB16MB, PixelTechL, 0), "4294967295x7.RGB16MB.L");
  EXPECT_EQ(f.BuildSign(), "4294967295x7.RGB16MB.L");
  // A kind that has no extension gives no path.
  EXPECT_EQ(f.BuildPath("S", 16, 80, Mono1, PixelTechI, "L", "F", n4::MakeFourCC("RIFF")), "");
  // Colour 15 and pixel 0 are in range though nameless.
  EXPECT_EQ(f.BuildPath("S", 1, 2, Color(15), Pixel(0), "L", "F", "SQ4"), Native("S/1x2...Sign/L.Lib/F.SQ4"));
  // The palette flag set by BuildSign makes a palette folder.
  f.BuildSign(0, 0, Mono1, PixelTechI, 1);
  EXPECT_EQ(f.BuildPath("S", 32, 64, Mono4, PixelTechL, "L", "F", kSeq4),
            Native("S/Palette.Mono4.L.Sign/L.Lib/F.SQ4"));
  EXPECT_EQ(f.GetRows(), 16u);
}

TEST(LibraryPaths, EveryPathBuildPathMakesParsesBack) {
  const std::string extensions[] = {"SQ4", "SD4", "SC4", "SEQ", "txt"};
  const std::string shares[] = {"D:\\Shows", "\\\\server\\share\\", "/srv/shows", "rel"};
  int checked = 0;
  for (int color = 0; color < 16; ++color) {
    for (int pixel = 0; pixel < 4; ++pixel) {
      for (int palette = 0; palette < 2; ++palette) {
        SCOPED_TRACE(testing::Message() << "colour " << color << " pixel " << pixel
                                        << " palette " << palette);
        const std::string& extension = extensions[(color + pixel) % 5];
        const std::string& share = shares[(color + palette) % 4];
        CN4Files built;
        built.BuildSign(0, 0, Mono1, PixelTechI, palette);
        const std::string path = built.BuildPath(share, 48 + color, 160 + pixel, Color(color),
                                                 Pixel(pixel), "Lib.v2", "Show.final", extension);
        ASSERT_FALSE(path.empty());
        built.ExtensionToFourcc(extension);
        built.FourccToExtension();
        const Fields expected{share, "Lib.v2", "Show.final", extension,
                              palette ? 16u : 48u + color, palette ? 16u : 160u + pixel,
                              built.GetFccType(), color, pixel, palette};

        CN4Files parsed;
        ASSERT_EQ(parsed.ParsePath(path), 1) << path;
        EXPECT_EQ(FieldsOf(parsed), expected);
        EXPECT_EQ(parsed.GetPath(), path);
        // Rebuilding from the parsed fields gives the same path.
        EXPECT_EQ(parsed.BuildPath(parsed.GetShareDir(), parsed.GetRows(), parsed.GetCols(),
                                   parsed.GetColorTech(), parsed.GetPixelTech(), parsed.GetLibrary(),
                                   parsed.GetFile(), parsed.GetExtension()),
                  path);

        // Written with "/" it names the same fields.
        CN4Files slashed;
        ASSERT_EQ(slashed.ParsePath(Slashed(path)), 1);
        Fields expectSlashed = expected;
        expectSlashed.share = Slashed(share);
        EXPECT_EQ(FieldsOf(slashed), expectSlashed);
        ++checked;
      }
    }
  }
  EXPECT_EQ(checked, 128);
}

TEST(LibraryPaths, ForeignPathsFailAndChangeNothing) {
  CN4Files f;
  const std::string good = f.BuildPath("D:\\Shows", 16, 80, Mono4, PixelTechL, "Weather", "Rain", "SQ4");
  f.ExtensionToFourcc();
  const Fields before = FieldsOf(f);
  for (const auto& path : n4test::ReadCases("files/foreign-paths.tsv")) {
    SCOPED_TRACE(path[0].text);
    EXPECT_EQ(f.ParsePath(path[0].text), 0);
    EXPECT_EQ(FieldsOf(f), before);
    EXPECT_EQ(f.GetPath(), good);
  }
}

TEST(LibraryPaths, ParsingIgnoresCaseOfNamesButKeepsTheirSpelling) {
  CN4Files f;
  ASSERT_EQ(f.ParsePath("s/palette.rgb16mb.l.SIGN/My.LIB/clip.SC4"), 1);
  EXPECT_EQ(f.IsPaletteType(), 1);
  EXPECT_EQ(f.GetRows(), 16u);
  EXPECT_EQ(f.GetColorTech(), RGB16MB);
  EXPECT_EQ(f.GetPixelTech(), PixelTechL);
  EXPECT_EQ(f.GetLibrary(), "My");
  EXPECT_EQ(f.GetFccType(), kScpt);
  // An unknown or differently cased extension is kept, with kind 0.
  ASSERT_EQ(f.ParsePath("s\\16X80.Mono1.i.Sign\\L.Lib\\clip.sq4"), 1);
  EXPECT_EQ(f.GetExtension(), "sq4");
  EXPECT_EQ(f.GetFccType(), 0u);

  // A folder name alone may carry zero sizes, with or without its suffix.
  EXPECT_EQ(f.ParseSign("0x0.Tri3.L"), 1);
  EXPECT_EQ(f.GetRows(), 0u);
  EXPECT_EQ(f.ParseSign("24x96.Tri256.L.Sign"), 1);
  EXPECT_EQ(f.GetCols(), 96u);
  EXPECT_EQ(f.GetColorTech(), Tri256);
  EXPECT_EQ(f.ParseSign("24x96.Tri256"), 0);
  EXPECT_EQ(f.GetCols(), 96u);
}

TEST(LibraryPaths, AbbreviationKeepsTheRootAndTheLastNames) {
  CN4Files f;
  const std::string path = "C:\\Shows\\16x80.Mono1.I.Sign\\Weather.Lib\\Rain.SQ4";
  ASSERT_EQ(f.ParsePath(path), 1);
  ASSERT_EQ(path.size(), 48u);
  for (const auto& c : n4test::ReadCases("files/abbreviations.tsv")) {
    SCOPED_TRACE(c[0].text);
    EXPECT_EQ(f.GetAbbreviatedPath(std::stoi(c[0].text)), c[1].text);
  }
  f.ParsePath("/srv/shows/16x80.Mono1.I.Sign/Weather.Lib/Rain.SQ4");
  EXPECT_EQ(f.GetAbbreviatedPath(25), "/.../Weather.Lib/Rain.SQ4");
  f.ParsePath("\\\\server\\share\\16x80.Mono1.I.Sign\\Weather.Lib\\Rain.SQ4");
  EXPECT_EQ(f.GetAbbreviatedPath(40), "\\\\server\\share\\...\\Weather.Lib\\Rain.SQ4");
}

TEST(LibraryPaths, RelativeAndFullPathsAreInverse) {
  for (const auto& c : n4test::ReadCases("files/relative-paths.tsv")) {
    SCOPED_TRACE(c[0].text);
    EXPECT_EQ(CN4Files::GetRelPath(c[0].text, c[1].text), c[2].text);
    EXPECT_EQ(CN4Files::GetFullPath(c[2].text, c[1].text), c[0].text);
  }
  // Names and roots compare without regard to case; the path keeps its own.
  EXPECT_EQ(CN4Files::GetRelPath("C:\\Shows\\A.Lib\\x.SQ4", "c:\\shows"), "A.Lib\\x.SQ4");
  EXPECT_EQ(CN4Files::GetRelPath("\\\\srv\\share\\a\\x.SQ4", "\\\\SRV\\Share"), "a\\x.SQ4");
  // Different roots stay full.
  EXPECT_EQ(CN4Files::GetRelPath("D:\\a\\x.SQ4", "C:\\a"), "D:\\a\\x.SQ4");
  EXPECT_EQ(CN4Files::GetRelPath("/a/x.SQ4", "rel/dir"), "/a/x.SQ4");

  EXPECT_EQ(CN4Files::GetFullPath("..\\..\\x.SQ4", "C:\\a\\b\\c"), "C:\\a\\x.SQ4");
  EXPECT_EQ(CN4Files::GetFullPath(".\\y\\..\\x.SQ4", "C:\\a"), "C:\\a\\x.SQ4");
  EXPECT_EQ(CN4Files::GetFullPath("..\\..\\..\\x.SQ4", "C:\\a"), "C:\\x.SQ4");
  EXPECT_EQ(CN4Files::GetFullPath("D:\\b\\..\\x.SQ4", "C:\\a"), "D:\\x.SQ4");
  EXPECT_EQ(CN4Files::GetFullPath("../x.SQ4", "/srv/shows/a"), "/srv/shows/x.SQ4");
  EXPECT_EQ(CN4Files::GetFullPath("..\\x", "rel"), "x");
  EXPECT_EQ(CN4Files::GetFullPath("..\\..\\x", "rel"), "..\\x");

  CN4Files f;
  f.BuildPath("C:\\Shows", 16, 80, Mono1, PixelTechI, "A", "x", "SQ4");
  EXPECT_EQ(f.GetRelPath("C:\\Shows\\16x80.Mono1.I.Sign"), "A.Lib\\x.SQ4");
}

}  // namespace
