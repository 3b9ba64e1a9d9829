#include "support/date_time.h"

#include <cmath>
#include <limits>
#include <optional>

#include "platform/system/clock.h"
#include "platform/system/service.h"
#include "platform/system/system_time.h"

namespace qv {
namespace {

constexpr double kMaxSpanDays = 3615897.0;
// Bounds on the linear scale: 1 January 100 and the day after 31 December 9999.
constexpr double kFirstDay = -657434.0;
constexpr double kBehindLastDay = 2958466.0;

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kUnixEpochSeconds = 25569 * kSecondsPerDay;  // from 30 December 1899

// A date before 1900 counts its fraction away from zero; on the linear scale later is greater.
double ToLinear(double date) {
  return date < 0.0 ? std::ceil(date) - (date - std::ceil(date)) : date;
}

double FromLinear(double value) {
  return value < 0.0 ? std::floor(value) - value + std::floor(value) : value;
}

DateTimeValue AddDays(const DateTimeValue& date, double days, DateStatus daysStatus) {
  if (date.status == DateStatus::Null || daysStatus == DateStatus::Null) {
    return DateTimeValue::Null();
  }
  const DateTimeValue invalid(0.0, DateStatus::Invalid);
  if (date.status != DateStatus::Valid || daysStatus != DateStatus::Valid) return invalid;
  const double sum = ToLinear(date.value) + days;
  // Written so that NaN fails.
  if (!(sum >= kFirstDay && sum < kBehindLastDay)) return invalid;
  return FromLinear(sum);
}

int Part(const DateTimeValue& date, uint16_t SystemTime::*part) {
  if (date.status != DateStatus::Valid) return -1;
  const std::optional<SystemTime> time = VariantTimeToSystemTime(date.value);
  return time ? (*time).*part : -1;
}

}  // namespace

DateTimeSpan::DateTimeSpan(double days, double hours, double minutes, double seconds)
    : value(days + hours / 24 + minutes / 1440 + seconds / 86400) {
  if (!(std::fabs(value) <= kMaxSpanDays)) status = DateStatus::Invalid;
}

int DateTimeValue::GetYear() const {
  return Part(*this, &SystemTime::year);
}
int DateTimeValue::GetMonth() const {
  return Part(*this, &SystemTime::month);
}
int DateTimeValue::GetDay() const {
  return Part(*this, &SystemTime::day);
}
int DateTimeValue::GetHour() const {
  return Part(*this, &SystemTime::hour);
}
int DateTimeValue::GetMinute() const {
  return Part(*this, &SystemTime::minute);
}
int DateTimeValue::GetSecond() const {
  return Part(*this, &SystemTime::second);
}
int DateTimeValue::GetDayOfWeek() const {
  const int fromZero = Part(*this, &SystemTime::dayOfWeek);
  return fromZero < 0 ? -1 : fromZero + 1;
}

DateStatus DateTimeValue::SetDateTime(int year, int month, int day, int hour, int minute,
                                      int second) {
  value = 0.0;
  status = DateStatus::Invalid;
  SystemTime time;
  const struct {
    int given;
    uint16_t SystemTime::*part;
  } parts[] = {
      {year, &SystemTime::year}, {month, &SystemTime::month},   {day, &SystemTime::day},
      {hour, &SystemTime::hour}, {minute, &SystemTime::minute}, {second, &SystemTime::second},
  };
  for (const auto& [given, part] : parts) {
    if (given < 0 || given > std::numeric_limits<uint16_t>::max()) return status;
    time.*part = static_cast<uint16_t>(given);
  }
  // The conversion takes whole seconds and carries nothing over, so what it takes comes back.
  if (const std::optional<DATE> date = SystemTimeToVariantTime(time)) {
    value = *date;
    status = DateStatus::Valid;
  }
  return status;
}

DateStatus DateTimeValue::SetDate(int year, int month, int day) {
  return SetDateTime(year, month, day, 0, 0, 0);
}

DateTimeValue operator+(const DateTimeValue& date, const DateTimeSpan& span) {
  return AddDays(date, span.value, span.status);
}

DateTimeValue operator-(const DateTimeValue& date, const DateTimeSpan& span) {
  return AddDays(date, -span.value, span.status);
}

bool operator==(const DateTimeValue& a, const DateTimeValue& b) {
  if (a.status != b.status || a.status == DateStatus::Invalid) return false;
  return a.status == DateStatus::Null || ToLinear(a.value) == ToLinear(b.value);
}

bool operator<(const DateTimeValue& a, const DateTimeValue& b) {
  return a.status == DateStatus::Valid && b.status == DateStatus::Valid &&
         ToLinear(a.value) < ToLinear(b.value);
}

bool operator>(const DateTimeValue& a, const DateTimeValue& b) {
  return b < a;
}

bool operator<=(const DateTimeValue& a, const DateTimeValue& b) {
  return a < b || a == b;
}

bool operator>=(const DateTimeValue& a, const DateTimeValue& b) {
  return b <= a;
}

DateTimeValue GetCurrentDateTime() {
  const SystemTime now = Service<Clock>::Get().LocalTime();
  DateTimeValue date;
  date.SetDateTime(now.year, now.month, now.day, now.hour, now.minute, now.second);
  return date;
}

DateTimeValue GetCurrentUtc() {
  return DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds());
}

// The same answers as comparing the two dates printed as "YYYYMMDDhhmmss": the seconds are what
// would be printed, and a date that cannot be read prints a minus sign first, which stands before
// every digit.
int CompareDateTime(DATE a, DATE b) {
  constexpr int64_t kUnreadable = std::numeric_limits<int64_t>::min();
  const int64_t first = VariantTimeToSeconds(a).value_or(kUnreadable);
  const int64_t second = VariantTimeToSeconds(b).value_or(kUnreadable);
  return first == second ? 0 : (first > second ? 1 : -1);
}

DATE DateFromUnixSeconds(int64_t seconds) {
  if (seconds > std::numeric_limits<int64_t>::max() - kUnixEpochSeconds) return 0.0;
  return SecondsToVariantTime(seconds + kUnixEpochSeconds).value_or(0.0);
}

int64_t UnixSecondsFromDate(DATE date) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(date);
  return seconds ? *seconds - kUnixEpochSeconds : 0;
}

}  // namespace qv
