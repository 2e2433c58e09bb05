#include <gtest/gtest.h>

#include <string>

#include "support/DataFiles.h"
#include "n4file/Files.h"

namespace {

const DWORD kSeq4 = n4::MakeFourCC("seq4");
const DWORD kSchd = n4::MakeFourCC("schd");
const DWORD kScpt = n4::MakeFourCC("scpt");
const DWORD kSeq3 = n4::MakeFourCC("seq3");

tag_N4_SIGN_COLOR Color(int v) { return static_cast<tag_N4_SIGN_COLOR>(v); }
tag_N4_PIXEL_TECH Pixel(int v) { return static_cast<tag_N4_PIXEL_TECH>(v); }

TEST(FileNames, ColourNamesConvertBothWays) {
  CN4Files f;
  for (int v = 0; v < 15; ++v) {
    const std::string name = f.ColorTechToString(Color(v));
    EXPECT_EQ(name, n4::kColorTechNames[v]);
    EXPECT_EQ(f.StringToColorTech(name), v);
  }
  EXPECT_EQ(f.ColorTechToString(RGB4K), "RGB4K");
  EXPECT_EQ(f.StringToColorTech("rgb4k"), RGB4K);
  EXPECT_EQ(f.GetColorTech(), RGB4K);
  // No match resets to 0; the empty sixteenth name is never matched.
  EXPECT_EQ(f.StringToColorTech("RGB4"), Mono1);
  f.IntToColorTech(7);
  EXPECT_EQ(f.StringToColorTech(""), Mono1);
  EXPECT_EQ(f.GetColorTech(), Mono1);

  EXPECT_EQ(f.IntToColorTech(15), 15);
  EXPECT_EQ(f.ColorTechToString(), "");
  EXPECT_EQ(f.IntToColorTech(16), Mono1);
  EXPECT_EQ(f.IntToColorTech(-1), Mono1);
}

TEST(FileNames, PixelLettersConvertBothWays) {
  CN4Files f;
  EXPECT_EQ(f.PixelTechToString(PixelTechI), "I");
  EXPECT_EQ(f.PixelTechToString(PixelTechR), "R");
  EXPECT_EQ(f.PixelTechToString(PixelTechL), "L");
  EXPECT_EQ(f.PixelTechToString(Pixel(0)), "");
  EXPECT_EQ(f.PixelTechToString(Pixel(4)), "");
  EXPECT_EQ(f.StringToPixelTech("r"), PixelTechR);
  EXPECT_EQ(f.StringToPixelTech("L"), PixelTechL);
  EXPECT_EQ(f.StringToPixelTech("x"), PixelTechI);
  EXPECT_EQ(f.StringToPixelTech("RL"), PixelTechI);
  EXPECT_EQ(f.GetPixelTech(), PixelTechI);
  EXPECT_EQ(f.IntToPixelTech(0), PixelTechI);
  EXPECT_EQ(f.IntToPixelTech(3), PixelTechL);
  EXPECT_EQ(f.IntToPixelTech(4), PixelTechI);
}

TEST(FileNames, FileKindsAndExtensionsPairUp) {
  const struct {
    const char* extension;
    DWORD kind;
  } kinds[] = {{"SQ4", kSeq4}, {"SD4", kSchd}, {"SC4", kScpt}, {"SEQ", kSeq3}};
  CN4Files f;
  for (const auto& k : kinds) {
    EXPECT_EQ(f.FourccToExtension(k.kind), k.extension);
    EXPECT_EQ(f.ExtensionToFourcc(k.extension), k.kind);
    EXPECT_EQ(f.GetExtension(), k.extension);
  }
  // Extensions compare with regard to case; unknown ones are emptied.
  EXPECT_EQ(f.ExtensionToFourcc("sq4"), 0u);
  EXPECT_EQ(f.GetExtension(), "");
  f.ExtensionToFourcc("SC4");
  EXPECT_EQ(f.FourccToExtension(n4::MakeFourCC("RIFF")), "");
  EXPECT_EQ(f.GetFccType(), 0u);
  EXPECT_EQ(f.GetExtension(), "");
}

TEST(FileNames, ValidTechnologyPairs) {
  const auto allowed = n4test::ReadCases("files/colour-pixel-pairs.tsv");
  ASSERT_EQ(allowed.size(), 16u);
  CN4Files f;
  for (int c = 0; c < 16; ++c) {
    for (int p = 0; p < 4; ++p) {
      SCOPED_TRACE(testing::Message() << "colour " << c << " pixel " << p);
      const int expected = allowed[c][1].text.at(p) - '0';
      EXPECT_EQ(CN4Files::IsColorAndPixelTechValid(Color(c), Pixel(p)), expected);
      f.IntToColorTech(c);
      f.PixelTechToString(Pixel(p));
      EXPECT_EQ(f.IsColorAndPixelTechValid(), expected);
    }
  }
}

}  // namespace
