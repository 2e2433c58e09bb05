#include "calibration/CalibrationDate.h"

#include <chrono>
#include <ctime>
#include <mutex>

namespace n4 {

namespace {

std::mutex& DateMutex() {
  static std::mutex mutex;
  return mutex;
}

std::optional<CalendarDate>& FixedDate() {
  static std::optional<CalendarDate> date;
  return date;
}

}  // namespace

CalendarDate CalibrationToday() {
  // std::localtime hands back a buffer shared by the whole process; the lock
  // keeps two of our callers from reading it while the other fills it.
  std::lock_guard<std::mutex> lock(DateMutex());
  if (FixedDate()) return *FixedDate();
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::tm* local = std::localtime(&now);
  if (local == nullptr) return CalendarDate{};
  return CalendarDate{local->tm_mday, local->tm_mon + 1, local->tm_year + 1900};
}

void SetCalibrationTodayForTesting(std::optional<CalendarDate> date) {
  std::lock_guard<std::mutex> lock(DateMutex());
  FixedDate() = date;
}

}  // namespace n4
