// Today's local date for dated calibration file names, with a hook that lets
// tests fix it.
#pragma once

#include <optional>

namespace n4 {

struct CalendarDate {
  int day = 1;    // 1..31
  int month = 1;  // 1..12
  int year = 1970;
};

// The local date now, or the date a test fixed. Safe from any thread.
CalendarDate CalibrationToday();

// Fixes the date CalibrationToday returns; std::nullopt returns to the clock.
void SetCalibrationTodayForTesting(std::optional<CalendarDate> date);

}  // namespace n4
