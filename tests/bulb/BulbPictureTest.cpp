// The picture <-> bulb data mapping: exact round trips at every technology's
// depth, and the documented meaning of the planes.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "n4file/BulbPicture.h"
#include "support/TestSupport.h"

namespace {

using Bytes = std::vector<BYTE>;

Bytes RandomPicture(DWORD height, DWORD width, std::uint32_t seed) {
  std::mt19937 rng(seed);
  Bytes rgb(static_cast<size_t>(height) * width * 3);
  for (auto& b : rgb) b = static_cast<BYTE>(rng());
  return rgb;
}

TEST(BulbPicture, EveryTechnologyRoundTripsExactlyAtItsDepth) {
  // Odd sizes exercise the row padding and the even row count.
  const DWORD height = 7, width = 21;
  for (DWORD color = 0; color < 15; ++color) {
    SCOPED_TRACE(color);
    const Bytes picture = RandomPicture(height, width, 40 + color);
    const Bytes frame = n4::PictureToBulbData(picture.data(), height, width, color);
    ASSERT_EQ(frame.size(), n4::FrameSize(height, width, color));
    // What the frame shows is the picture quantised to the technology ...
    const Bytes shown = n4::BulbDataToPicture(frame.data(), static_cast<DWORD>(frame.size()), height, width, color);
    ASSERT_EQ(shown.size(), picture.size());
    // ... which comes back as the same frame and then the same picture.
    const Bytes again = n4::PictureToBulbData(shown.data(), height, width, color);
    EXPECT_EQ(again, frame);
    EXPECT_EQ(n4::BulbDataToPicture(again.data(), static_cast<DWORD>(again.size()), height, width, color), shown);
    // Quantising loses less than half a level.
    const int bits = n4::BitsPerChannel(color);
    const int step = 255 / ((1 << bits) - 1);
    if (n4::LightOf(color) == n4::kLightRgb || n4::LightOf(color) == n4::kLightBitmap) {
      for (size_t i = 0; i < picture.size(); ++i) ASSERT_LE(std::abs(picture[i] - shown[i]), step / 2 + 1) << i;
    }
  }
}

// Small pictures as frames, in hex: Mono16 full white is level 15, every
// plane set, leftmost bulb in bit 7; RGB64 red is 0b11'00'00, only the two
// highest planes; Tri3 has red above green; of a Quad16 2 x 2 quad white
// lights every bulb, red only the top-left one, green the top row's right-hand
// one and the one below it (by green's luminance); RGB16MB is a bottom-up BGR
// bitmap.
TEST(BulbPicture, PlanesMeanWhatTheFormatSays) {
  const Bytes red = {255, 0, 0}, green = {0, 255, 0};
  auto four = [](Bytes rgb) { return Bytes{rgb[0], rgb[1], rgb[2], rgb[0], rgb[1], rgb[2], rgb[0], rgb[1], rgb[2], rgb[0], rgb[1], rgb[2]}; };
  struct Case {
    const char* name;
    DWORD height, width, color;
    Bytes rgb;
  };
  const Case cases[] = {
      {"Mono16 white", 1, 1, Mono16, Bytes(3, 255)}, {"RGB64 red", 1, 1, RGB64, red}, {"Tri3 red", 1, 1, Tri3, red},
      {"Quad16 white", 2, 2, Quad16, Bytes(12, 255)}, {"Quad16 red", 2, 2, Quad16, four(red)},
      {"Quad16 green", 2, 2, Quad16, four(green)},   {"RGB16MB two rows", 2, 1, RGB16MB, {1, 2, 3, 4, 5, 6}},
  };
  std::string dump;
  char hex[4];
  for (const Case& c : cases) {
    dump += c.name;
    for (BYTE b : n4::PictureToBulbData(c.rgb.data(), c.height, c.width, c.color)) dump += (std::snprintf(hex, 4, " %02X", b), hex);
    dump += "\n";
  }
  EXPECT_TRUE(n4test::MatchesGolden("bulb/planes.golden", dump)) << dump;
}

TEST(BulbPicture, RefusesWhatIsNoFrame) {
  const Bytes picture(3 * 4 * 4, 0);
  EXPECT_TRUE(n4::PictureToBulbData(picture.data(), 4, 4, 15).empty());
  EXPECT_TRUE(n4::PictureToBulbData(picture.data(), 0, 4, Mono1).empty());
  EXPECT_TRUE(n4::PictureToBulbData(nullptr, 4, 4, Mono1).empty());
  const Bytes frame = n4::PictureToBulbData(picture.data(), 4, 4, RGB4K);
  EXPECT_TRUE(n4::BulbDataToPicture(frame.data(), static_cast<DWORD>(frame.size()) - 1, 4, 4, RGB4K).empty());
  EXPECT_EQ(n4::BestLosslessLevel(Mono1), 30u);
  EXPECT_EQ(n4::BestLosslessLevel(RGB16MB), 10u);
}

}  // namespace
