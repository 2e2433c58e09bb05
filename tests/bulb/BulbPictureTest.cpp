// The picture <-> bulb data mapping: exact round trips at every technology's
// depth, and the documented meaning of the planes.
#include <gtest/gtest.h>

#include <random>

#include "n4file/BulbPicture.h"

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

TEST(BulbPicture, PlanesMeanWhatTheFormatSays) {
  const BYTE white[3] = {255, 255, 255};
  const BYTE red[3] = {255, 0, 0};
  // Mono16: full white is level 15, every plane set, leftmost bulb in bit 7.
  Bytes mono = n4::PictureToBulbData(white, 1, 1, Mono16);
  ASSERT_EQ(mono.size(), 16u);  // 4 planes of 2 rows of one 16-bit word
  for (int p = 0; p < 4; ++p) EXPECT_EQ(mono[p * 4], 0x80) << p;
  // RGB64: red is 0b11'00'00, so only the two highest planes.
  Bytes rgb = n4::PictureToBulbData(red, 1, 1, RGB64);
  for (int p = 0; p < 6; ++p) EXPECT_EQ(rgb[p * 4], p >= 4 ? 0x80 : 0) << p;
  // Tri3: red above green.
  Bytes tri = n4::PictureToBulbData(red, 1, 1, Tri3);
  EXPECT_EQ(tri[0], 0);
  EXPECT_EQ(tri[4], 0x80);
  // Quad16: of a white 2 x 2 quad every bulb is lit; of a red one only the
  // top-left (red) bulb.
  const Bytes whiteQuad(12, 255);
  Bytes quad = n4::PictureToBulbData(whiteQuad.data(), 2, 2, Quad16);
  EXPECT_EQ(quad[0], 0xC0);
  EXPECT_EQ(quad[2], 0xC0);
  const Bytes redQuad = {255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0};
  quad = n4::PictureToBulbData(redQuad.data(), 2, 2, Quad16);
  EXPECT_EQ(quad[0], 0x80);
  EXPECT_EQ(quad[2], 0x00);
  const Bytes greenQuad = {0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0};
  quad = n4::PictureToBulbData(greenQuad.data(), 2, 2, Quad16);
  EXPECT_EQ(quad[0], 0x40);  // green is the top row's right-hand bulb
  EXPECT_EQ(quad[2], 0x40);  // white below it, lit by green's luminance
  // RGB16MB: a bottom-up BGR bitmap.
  const Bytes twoRows = {1, 2, 3, 4, 5, 6};
  Bytes bitmap = n4::PictureToBulbData(twoRows.data(), 2, 1, RGB16MB);
  EXPECT_EQ(bitmap, (Bytes{6, 5, 4, 0, 3, 2, 1, 0}));
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
