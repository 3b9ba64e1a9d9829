#include "platform/system/system_time.h"

#include <chrono>
#include <cmath>

namespace qv {
namespace {

using std::chrono::day;
using std::chrono::days;
using std::chrono::month;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr int64_t kSecondsPerDay = 86400;
constexpr sys_days kDayZero = sys_days(year(1899) / 12 / 30);
constexpr int64_t kFirstDay = (sys_days(year(100) / 1 / 1) - kDayZero).count();
constexpr int64_t kLastDay = (sys_days(year(9999) / 12 / 31) - kDayZero).count();
constexpr int64_t kFirstSecond = kFirstDay * kSecondsPerDay;
constexpr int64_t kLastSecond = (kLastDay + 1) * kSecondsPerDay - 1;

// The day that holds a second, rounding down where division would round towards zero.
constexpr int64_t DayOf(int64_t seconds) {
  return (seconds >= 0 ? seconds : seconds - (kSecondsPerDay - 1)) / kSecondsPerDay;
}

}  // namespace

std::optional<int64_t> VariantTimeToSeconds(DATE date) {
  // Written so that NaN fails.
  if (!(date > static_cast<double>(kFirstDay - 1) && date < static_cast<double>(kLastDay + 1))) {
    return std::nullopt;
  }
  // The fraction counts away from zero: -1.25 is six o'clock on 29 December 1899.
  const double wholeDays = std::trunc(date);
  const double timeOfDay = std::fabs(date - wholeDays);
  const int64_t seconds = static_cast<int64_t>(wholeDays) * kSecondsPerDay +
                          std::llround(timeOfDay * static_cast<double>(kSecondsPerDay));
  if (seconds < kFirstSecond || seconds > kLastSecond) return std::nullopt;
  return seconds;
}

std::optional<DATE> SecondsToVariantTime(int64_t seconds) {
  if (seconds < kFirstSecond || seconds > kLastSecond) return std::nullopt;
  const int64_t dayNumber = DayOf(seconds);
  const double timeOfDay = static_cast<double>(seconds - dayNumber * kSecondsPerDay) /
                           static_cast<double>(kSecondsPerDay);
  const double date = static_cast<double>(dayNumber);
  return dayNumber < 0 ? date - timeOfDay : date + timeOfDay;
}

std::optional<SystemTime> VariantTimeToSystemTime(DATE date) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(date);
  if (!seconds) return std::nullopt;
  const int64_t dayNumber = DayOf(*seconds);
  const int64_t timeOfDay = *seconds - dayNumber * kSecondsPerDay;
  const sys_days midnight = kDayZero + days(dayNumber);
  const year_month_day calendar(midnight);
  SystemTime time;
  time.year = static_cast<uint16_t>(static_cast<int>(calendar.year()));
  time.month = static_cast<uint16_t>(static_cast<unsigned>(calendar.month()));
  time.day = static_cast<uint16_t>(static_cast<unsigned>(calendar.day()));
  time.dayOfWeek = static_cast<uint16_t>(std::chrono::weekday(midnight).c_encoding());
  time.hour = static_cast<uint16_t>(timeOfDay / 3600);
  time.minute = static_cast<uint16_t>(timeOfDay / 60 % 60);
  time.second = static_cast<uint16_t>(timeOfDay % 60);
  return time;
}

std::optional<DATE> SystemTimeToVariantTime(const SystemTime& time) {
  if (time.year > 9999 || time.hour > 23 || time.minute > 59 || time.second > 59) {
    return std::nullopt;
  }
  const year_month_day calendar = year(time.year) / month(time.month) / day(time.day);
  // Calendar numbers above 255 are unspecified, not refused.
  if (time.month > 12 || time.day > 31 || !calendar.ok()) return std::nullopt;
  const int64_t dayNumber = (sys_days(calendar) - kDayZero).count();
  return SecondsToVariantTime(dayNumber * kSecondsPerDay + time.hour * 3600 + time.minute * 60 +
                              time.second);
}

}  // namespace qv
