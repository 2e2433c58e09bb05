// Signed corrections of CN4FileCalibrationEx: saturation, averages, mirrored
// points, area walks on friendly and hostile rectangles.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "n4file/Calibration.h"

namespace {

RGBTRIPLE Triple(int blue, int green, int red) {
  return RGBTRIPLE{static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red)};
}

int Blue(const RGBTRIPLE& t) { return static_cast<signed char>(t.rgbtBlue); }
int Green(const RGBTRIPLE& t) { return static_cast<signed char>(t.rgbtGreen); }
int Red(const RGBTRIPLE& t) { return static_cast<signed char>(t.rgbtRed); }

// A zeroed packed buffer of exactly rows x cols pixels, so that
// AddressSanitizer sees any byte past it.
void Zero(CN4FileCalibration& f) {
  f.InitializeDataBuffer(static_cast<char>(0), f.GetRows() * f.GetCols() * 3);
}

TEST(CalibrationExArithmetic, SaturatingAddReportsClipping) {
  struct Case {
    int value, offset, expected, clipped;
  } cases[] = {
      {120, 20, 127, 1}, {-100, -50, -128, 1}, {127, 0, 127, 0}, {-128, 0, -128, 0},
      {100, 27, 127, 0}, {-100, -28, -128, 0}, {5, -10, -5, 0},  {-128, 127, -1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.value << " + " << c.offset);
    int clipped = -1;
    EXPECT_EQ(static_cast<signed char>(CN4FileCalibrationEx::CalcNewCalDataFromOffset(
                  static_cast<char>(c.value), static_cast<char>(c.offset), &clipped)),
              c.expected);
    EXPECT_EQ(clipped, c.clipped);
  }
  EXPECT_EQ(CN4FileCalibrationEx::CalcNewCalDataFromOffset(1, 2, nullptr), 3);
}

TEST(CalibrationExArithmetic, AverageTruncatesTowardZeroAndIsLimited) {
  struct Case {
    int sum;
    unsigned count;
    int expected;
  } cases[] = {{3, 2, 1}, {-3, 2, -1}, {0, 0, 0}, {-7, 0, 0}, {1000, 1, 127}, {-1000, 1, -128},
               {INT_MIN, 1, -128}, {INT_MAX, 3, 127}, {-5, 6, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.sum << " / " << c.count);
    EXPECT_EQ(CN4FileCalibrationEx::CalcAverage(c.sum, c.count), c.expected);
  }
}

TEST(CalibrationExPixels, NegativePointsAddressTheMirroredPixelAndAreRewritten) {
  CN4FileCalibrationEx f(3, 10);
  Zero(f);
  CPoint pt(2, 1);
  ASSERT_EQ(f.SetPixelCalData(&pt, Triple(-5, 6, -7)), 1);
  CPoint mirrored(-2, -1);
  RGBTRIPLE v{};
  ASSERT_EQ(f.GetPixelCalData(&mirrored, &v), 1);
  EXPECT_EQ(mirrored, CPoint(2, 1));
  EXPECT_EQ(Blue(v), -5);
  EXPECT_EQ(Green(v), 6);
  EXPECT_EQ(Red(v), -7);
  // Blue first in the buffer.
  unsigned long size = 0;
  const char* data = f.GetPtrToFileData(&size);
  EXPECT_EQ(static_cast<signed char>(data[(1 * 10 + 2) * 3]), -5);

  // A coordinate whose absolute value a LONG cannot hold stays as it is.
  CPoint extreme(INT_MIN, 0);
  EXPECT_EQ(CN4FileCalibrationEx::GetPixelOffset(&extreme, 10), ULONG_MAX);
  EXPECT_EQ(extreme.x, INT_MIN);
  EXPECT_EQ(f.GetPixelCalData(&extreme, &v), 0);
  CPoint distant(INT_MAX, INT_MAX);
  EXPECT_EQ(CN4FileCalibrationEx::GetPixelOffset(&distant, ULONG_MAX), ULONG_MAX);
  EXPECT_EQ(CN4FileCalibrationEx::GetPixelOffset(nullptr, 10), 0ul);
}

TEST(CalibrationExPixels, TheWholePixelMustBeInside) {
  CN4FileCalibrationEx f(1, 4);
  f.InitializeDataBuffer(static_cast<char>(0), 10ul);  // pixel 3 would start at 9
  CPoint inside(2, 0), partial(3, 0);
  RGBTRIPLE v{};
  int clipped = -1;
  EXPECT_EQ(f.SetPixelCalData(&inside, Triple(1, 1, 1)), 1);
  EXPECT_EQ(f.SetPixelCalData(&partial, Triple(1, 1, 1)), 0);
  EXPECT_EQ(f.GetPixelCalData(&partial, &v), 0);
  EXPECT_EQ(f.OffsetPixelCalData(&partial, Triple(1, 1, 1), &clipped), 0);
  EXPECT_EQ(clipped, 0);
  EXPECT_EQ(f.GetPixelCalData(&inside, nullptr), 0);

  CN4FileCalibrationEx empty(2, 2);  // no buffer at all
  EXPECT_EQ(empty.SetPixelCalData(&inside, Triple(1, 1, 1)), 0);
  CRect all(0, 0, 2, 2);
  EXPECT_EQ(empty.SetAreaCalData(&all, Triple(1, 1, 1)), 0);
}

TEST(CalibrationExAreas, NormaliseWalkAndAverage) {
  CN4FileCalibrationEx f(4, 5);
  Zero(f);
  CRect reversed(3, 2, 1, 0);  // normalised: columns 1..2, rows 0..1
  EXPECT_EQ(f.SetAreaCalData(&reversed, Triple(1, -1, 2)), 1);
  CPoint corner(0, 0), inside(2, 1), outside(3, 1);
  RGBTRIPLE v{};
  f.GetPixelCalData(&corner, &v);
  EXPECT_EQ(Blue(v), 0);
  f.GetPixelCalData(&inside, &v);
  EXPECT_EQ(Red(v), 2);
  f.GetPixelCalData(&outside, &v);
  EXPECT_EQ(Red(v), 0);

  CPoint other(1, 1);
  f.SetPixelCalData(&other, Triple(2, -2, 2));
  RGBTRIPLE avg{};
  EXPECT_EQ(f.GetAreaAvgCalData(&reversed, &avg), 1);
  EXPECT_EQ(Blue(avg), 1);   // (1 + 1 + 1 + 2) / 4 = 1.25
  EXPECT_EQ(Green(avg), -1);  // -1.25 truncates toward zero
  EXPECT_EQ(f.GetAreaTopLeftCalData(&reversed, &v), 1);
  EXPECT_EQ(Blue(v), 1);

  int clipped = 0;
  EXPECT_EQ(f.OffsetAreaCalData(&reversed, Triple(126, 0, 0), &clipped), 1);
  EXPECT_EQ(clipped, 1);  // only (1, 1) held 2
  EXPECT_EQ(f.OffsetAreaCalData(&reversed, Triple(-1, 0, 0), &clipped), 1);
  EXPECT_EQ(clipped, 0);

  // An empty area: averages 0, result 0.
  CRect empty(2, 2, 2, 4);
  avg = Triple(9, 9, 9);
  EXPECT_EQ(f.GetAreaAvgCalData(&empty, &avg), 0);
  EXPECT_EQ(Blue(avg), 0);
  EXPECT_EQ(f.SetAreaCalData(&empty, Triple(1, 1, 1)), 0);
}

TEST(CalibrationExAreas, ResultIsTheLastPixelsEarlierFailuresAreNotReported) {
  CN4FileCalibrationEx f(2, 3);
  Zero(f);
  // Row 2 is past the 6-pixel buffer; mirrored row -1 is row 1.
  CRect lastFails(0, 1, 3, 3);
  EXPECT_EQ(f.SetAreaCalData(&lastFails, Triple(4, 4, 4)), 0);
  CPoint p(0, 1);
  RGBTRIPLE v{};
  f.GetPixelCalData(&p, &v);
  EXPECT_EQ(Blue(v), 4);
  RGBTRIPLE avg{};
  EXPECT_EQ(f.GetAreaAvgCalData(&lastFails, &avg), 0);
  EXPECT_EQ(Blue(avg), 4);  // only the readable row counts
  CRect firstFails(0, -5, 3, 1);
  EXPECT_EQ(f.SetAreaCalData(&firstFails, Triple(5, 5, 5)), 1);
}

TEST(CalibrationExAreas, HostileRectanglesStayInsideAndEndQuickly) {
  const CRect cases[] = {
      {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {INT_MAX, INT_MAX, INT_MIN, INT_MIN},
      {-20, -20, 20, 20},                   {0, 0, INT_MAX, 1},
      {INT_MIN, 0, INT_MIN + 3, 2},         {-3, -2, 3, 2},
      {0, INT_MIN, 0, INT_MAX},             {0, INT_MIN, 1, INT_MAX},
  };
  for (const CRect& c : cases) {
    SCOPED_TRACE(testing::Message() << c.left << "," << c.top << "," << c.right << "," << c.bottom);
    CN4FileCalibrationEx f(3, 4);
    Zero(f);
    CRect area = c;
    RGBTRIPLE v{};
    int clipped = 0;
    f.SetAreaCalData(&area, Triple(1, 2, 3));
    f.OffsetAreaCalData(&area, Triple(100, 100, 100), &clipped);
    f.GetAreaAvgCalData(&area, &v);
    f.GetAreaTopLeftCalData(&area, &v);
    std::vector<RGBTRIPLE> values(64);
    f.SetAreaData(&area, values.data(), values.size());
    f.GetAreaData(&area, values.data(), values.size());
    EXPECT_EQ(f.GetDataSize(), 36ul);
  }
  // The mirrored face (-3..3 x -2..2) is walked; each mirrored pixel is
  // offset once per address that reaches it.
  CN4FileCalibrationEx f(3, 4);
  Zero(f);
  CRect mirror(-3, -2, 4, 3);
  int clipped = 0;
  EXPECT_EQ(f.OffsetAreaCalData(&mirror, Triple(1, 0, 0), &clipped), 1);
  CPoint centre(0, 0), edge(3, 2);
  RGBTRIPLE v{};
  f.GetPixelCalData(&centre, &v);
  EXPECT_EQ(Blue(v), 1);
  f.GetPixelCalData(&edge, &v);
  EXPECT_EQ(Blue(v), 4);
}

TEST(CalibrationExAreaData, CountSkippingAndMirror) {
  CN4FileCalibrationEx f(2, 3);
  Zero(f);
  CRect area(1, 0, 3, 2);  // 2 x 2
  std::vector<RGBTRIPLE> values = {Triple(1, 0, 0), Triple(2, 0, 0), Triple(3, 0, 0), Triple(4, 0, 0)};
  EXPECT_EQ(f.SetAreaData(&area, values.data(), 3), 0);  // one short: nothing changes
  unsigned long size = 0;
  const char* data = f.GetPtrToFileData(&size);
  EXPECT_EQ(std::count(data, data + size, 0), 18);
  EXPECT_EQ(f.SetAreaData(&area, values.data(), 4), 1);
  std::vector<RGBTRIPLE> back(4, Triple(9, 9, 9));
  EXPECT_EQ(f.GetAreaData(&area, back.data(), 4), 4ul);
  EXPECT_EQ(Blue(back[3]), 4);
  EXPECT_EQ(f.GetAreaData(&area, back.data(), 3), 0ul);
  EXPECT_EQ(f.SetAreaData(nullptr, values.data(), 4), 0);

  // A row that runs off the buffer is cut short and its remaining values
  // stay unused for the next row. One column, three pixels: row 0 reaches
  // pixels 0, 1, 2 then fails; row 1 reaches 1, 2 then fails.
  CN4FileCalibrationEx narrow(3, 1);
  Zero(narrow);
  CRect wide(0, 0, 4, 2);
  std::vector<RGBTRIPLE> eight;
  for (int i = 1; i <= 8; ++i) eight.push_back(Triple(i, 0, 0));
  EXPECT_EQ(narrow.SetAreaData(&wide, eight.data(), 8), 0);
  data = narrow.GetPtrToFileData(&size);
  EXPECT_EQ(data[0], 1);
  EXPECT_EQ(data[3], 4);  // row 1 starts with the fourth value, not the fifth
  EXPECT_EQ(data[6], 5);
  std::vector<RGBTRIPLE> got(8, Triple(9, 9, 9));
  EXPECT_EQ(narrow.GetAreaData(&wide, got.data(), 8), 5ul);
  EXPECT_EQ(Blue(got[3]), 4);
  EXPECT_EQ(Blue(got[4]), 5);
  EXPECT_EQ(Blue(got[5]), 9);

  // Inverted rectangles: a negative product is never covered.
  CRect inverted(3, 0, 1, 2);
  EXPECT_EQ(f.SetAreaData(&inverted, values.data(), 4), 0);
  EXPECT_EQ(f.GetAreaData(&inverted, values.data(), ULONG_MAX), 0ul);
}

}  // namespace
