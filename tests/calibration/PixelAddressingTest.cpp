// Packed pixel addressing and module copies of CN4FileCalibration.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <numeric>
#include <vector>

#include "support/DataFiles.h"
#include "n4file/Calibration.h"

namespace {

TEST(CalibrationPixelOffset, PackedAddressingWithItsSignRules) {
  for (const auto& c : n4test::ReadCases("calibration/pixel-offsets.tsv")) {
    SCOPED_TRACE(c[0].text + "," + c[1].text + " on " + c[2].text + "x" + c[3].text);
    CPoint pt(std::stoi(c[0].text), std::stoi(c[1].text));
    CSize face(std::stoi(c[2].text), std::stoi(c[3].text));
    EXPECT_EQ(CN4FileCalibration::GetPixelOffset(&pt, &face), std::stoi(c[4].text));
  }
  CPoint pt;
  CSize size(3, 2);
  EXPECT_EQ(CN4FileCalibration::GetPixelOffset(nullptr, &size), -1);
  EXPECT_EQ(CN4FileCalibration::GetPixelOffset(&pt, nullptr), -1);
}

// The order of the components is checked through the module copies.
TEST(CalibrationPixel, NeedsTheWholePixelInside) {
  CSize face(3, 2);
  unsigned char a = 0, b = 0, c = 0;
  // Pixel (2, 1) starts at 15: it fits 18 bytes, not 16 or 17, where only
  // its first byte would be inside.
  CPoint last(2, 1);
  for (unsigned long size : {15ul, 16ul, 17ul}) {
    SCOPED_TRACE(size);
    std::vector<unsigned char> exact(size, 0);
    EXPECT_EQ(CN4FileCalibration::SetPixelData(&last, 9, 9, 9, &face, exact.data(), size), 0);
    EXPECT_EQ(CN4FileCalibration::GetPixelData(&last, &a, &b, &c, &face, exact.data(), size), 0);
    EXPECT_EQ(std::count(exact.begin(), exact.end(), 9), 0);
  }
  std::vector<unsigned char> exact(18, 0);
  EXPECT_EQ(CN4FileCalibration::SetPixelData(&last, 9, 9, 9, &face, exact.data(), 18), 1);
  EXPECT_EQ(CN4FileCalibration::SetPixelData(&last, 9, 9, 9, &face, nullptr, 18), 0);
  EXPECT_EQ(CN4FileCalibration::GetPixelData(&last, nullptr, &b, &c, &face, exact.data(), 18), 0);
}

std::vector<unsigned char> Ramp(std::size_t n) {
  std::vector<unsigned char> v(n);
  std::iota(v.begin(), v.end(), static_cast<unsigned char>(1));
  return v;
}

TEST(CalibrationModule, SizeQueryAndShortSourceCopyNothing) {
  CSize face(10, 4);
  std::vector<unsigned char> dest(120, 0);
  CRect area(1, 1, 4, 3);  // 3 x 2: padded rows of 12 bytes, need 24
  EXPECT_EQ(CN4FileCalibration::SetModuleData(&area, nullptr, 100, &face, dest.data(), 120), 24);
  auto src = Ramp(24);
  EXPECT_EQ(CN4FileCalibration::SetModuleData(&area, src.data(), 0, &face, dest.data(), 120), 24);
  EXPECT_EQ(CN4FileCalibration::SetModuleData(&area, src.data(), 23, &face, dest.data(), 120), -1);
  EXPECT_EQ(std::count(dest.begin(), dest.end(), 0), 120);
  EXPECT_EQ(CN4FileCalibration::SetModuleData(nullptr, src.data(), 24, &face, dest.data(), 120), -1);

  ASSERT_EQ(CN4FileCalibration::SetModuleData(&area, src.data(), 24, &face, dest.data(), 120), 24);
  // Packed source: pixel (1, 1) takes source bytes 0..2, stored as given.
  EXPECT_EQ(dest[(1 * 10 + 1) * 3], 1);
  EXPECT_EQ(dest[(1 * 10 + 1) * 3 + 2], 3);
  EXPECT_EQ(dest[(2 * 10 + 3) * 3 + 2], 18);  // sixth pixel, last packed byte 18

  std::vector<unsigned char> back(24, 0);
  ASSERT_EQ(CN4FileCalibration::GetModuleData(&area, back.data(), 24, &face, dest.data(), 120), 24);
  EXPECT_TRUE(std::equal(back.begin(), back.begin() + 18, src.begin()));
  EXPECT_EQ(CN4FileCalibration::GetModuleData(&area, back.data(), 23, &face, dest.data(), 120), -1);
}

TEST(CalibrationModule, StopsAtTheFirstPixelOffTheFaceKeepingThoseBefore) {
  CSize face(4, 2);
  std::vector<unsigned char> dest(24, 0);
  CRect area(2, 0, 5, 1);  // columns 2, 3, then 4 is off the face
  auto src = Ramp(12);
  EXPECT_EQ(CN4FileCalibration::SetModuleData(&area, src.data(), 12, &face, dest.data(), 24), -1);
  EXPECT_EQ(dest[6], 1);
  EXPECT_EQ(dest[9], 4);
  EXPECT_EQ(dest[12], 0);  // (0, 1) is not where column 4 of row 0 went
}

TEST(CalibrationModule, HostileRectanglesNeverLeaveTheBuffers) {
  CSize face(5, 3);
  for (const auto& c : n4test::ReadCases("calibration/module-rectangles.tsv")) {
    SCOPED_TRACE(c[0].text + "," + c[1].text + "," + c[2].text + "," + c[3].text);
    // Exact-size buffers so that AddressSanitizer sees any stray byte.
    std::vector<unsigned char> dest(45, 0);
    std::vector<unsigned char> src(64, 7);
    CRect area(std::stoi(c[0].text), std::stoi(c[1].text), std::stoi(c[2].text), std::stoi(c[3].text));
    const int expected = std::stoi(c[4].text);
    EXPECT_EQ(CN4FileCalibration::SetModuleData(&area, src.data(), src.size(), &face, dest.data(),
                                                dest.size()),
              expected);
    EXPECT_EQ(CN4FileCalibration::GetModuleData(&area, src.data(), src.size(), &face, dest.data(),
                                                dest.size()),
              expected);
  }
}

}  // namespace
