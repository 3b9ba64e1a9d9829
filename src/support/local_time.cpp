// Local time and UTC, by the time-zone record.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/system/service.h"
#include "platform/system/system_time.h"
#include "platform/system/time_zone.h"
#include "support/date_time.h"

namespace qv {
namespace {

constexpr double kSnapDays = 10e-6 / 86400;

// Adding minutes as fractions of a day leaves noise in the last bits, and then equal moments would
// not be equal numbers. Near the year 9999 a float is coarser than the 10 microseconds, hence the
// two last places.
DateTimeValue SnapToSecond(const DateTimeValue& date) {
  if (date.status != DateStatus::Valid) return date;
  const std::optional<int64_t> seconds = VariantTimeToSeconds(date.value);
  const std::optional<DATE> whole = seconds ? SecondsToVariantTime(*seconds) : std::nullopt;
  if (!whole) return date;
  const double lastPlaces = 2 * std::numeric_limits<double>::epsilon() * std::fabs(date.value);
  const DateTimeSpan tolerance(std::max(kSnapDays, lastPlaces), 0, 0, 0);
  const DateTimeValue snapped(*whole);
  return date >= snapped - tolerance && date <= snapped + tolerance ? snapped : date;
}

DateTimeValue TransitionOf(int year, const SystemTime& rule) {
  DateTimeValue moment = NthWeekdayOfMonth(year, rule.month, rule.day, rule.dayOfWeek, rule.hour,
                                           rule.minute, rule.second);
  moment.status = DateStatus::Valid;  // a rule that names no day lies at 0.0, before every date
  return moment;
}

DateTimeValue FixedTransition(const SystemTime& time) {
  DateTimeValue moment;
  moment.SetDateTime(time.year, time.month, time.day, time.hour, time.minute, time.second);
  return moment;
}

bool IsDaylightTimeBy(const TimeZoneRecord& zone, const DateTimeValue& date) {
  if (zone.daylightBias == 0) return false;
  if (zone.daylightDate.year != 0) {
    return date >= FixedTransition(zone.daylightDate) && date <= FixedTransition(zone.standardDate);
  }
  const int year = date.GetYear();
  const DateTimeValue start = TransitionOf(year, zone.daylightDate);
  const DateTimeValue end = TransitionOf(year, zone.standardDate);
  // In the south daylight time lasts over the new year.
  if (zone.daylightDate.month > zone.standardDate.month) return date >= start || date <= end;
  return date >= start && date <= end;
}

// `sign` is -1 from UTC to local time and 1 back. The daylight test is made on the result of the
// first step in both directions, so that from local time it is made on UTC: a local time within
// the bias of a transition converts as UTC says.
DateTimeValue Shift(const DateTimeValue& date, int sign, bool applyDaylight) {
  if (!date.IsDate()) return date;
  const TimeZoneRecord zone = Service<TimeZone>::Get().GetTimeZoneInformation();
  const auto shifted = [&](const DateTimeValue& from, int32_t bias) {
    return SnapToSecond(from + DateTimeSpan(0, 0, static_cast<double>(sign) * bias, 0));
  };
  const DateTimeValue standard = shifted(date, zone.bias);
  const bool isDaylight = applyDaylight && IsDaylightTimeBy(zone, standard);
  return isDaylight ? shifted(standard, zone.daylightBias) : standard;
}

}  // namespace

DateTimeValue UtcToLocal(const DateTimeValue& date, bool applyDaylight) {
  return Shift(date, -1, applyDaylight);
}

DateTimeValue LocalToUtc(const DateTimeValue& date, bool applyDaylight) {
  return Shift(date, 1, applyDaylight);
}

bool IsDaylightTime(const DateTimeValue& date, int32_t& daylightBias) {
  const TimeZoneRecord zone = Service<TimeZone>::Get().GetTimeZoneInformation();
  daylightBias = zone.daylightBias;
  return IsDaylightTimeBy(zone, date);
}

// Any week but the last is deliberately not the plain n-th such weekday: the day looked for lies in
// the seven days that end just before the n-th Sunday.
DateTimeValue NthWeekdayOfMonth(int year, int month, int week, int dayOfWeek, int hour, int minute,
                                int second) {
  constexpr int kLastWeek = 5;
  DateTimeValue result = DateTimeValue::Null();
  DateTimeValue first;
  const bool isMonth = first.SetDate(year, month, 1) == DateStatus::Valid;
  if (!isMonth || week < 1 || week > kLastWeek || dayOfWeek < 0 || dayOfWeek > 6) return result;
  const std::chrono::year_month_day_last last(
      std::chrono::year(year),
      std::chrono::month_day_last(std::chrono::month(static_cast<unsigned>(month))));
  const int days = static_cast<int>(static_cast<unsigned>(last.day()));
  const int firstWeekday = first.GetDayOfWeek() - 1;
  int day = 0;
  if (week == kLastWeek) {
    const int lastWeekday = (firstWeekday + days - 1) % 7;
    day = days - (lastWeekday - dayOfWeek + 7) % 7;
  } else {
    const int sunday = 1 + (7 - firstWeekday) % 7 + 7 * (week - 1);
    day = sunday - (7 - dayOfWeek);
    if (day < 1) day = sunday + dayOfWeek;
  }
  result.SetDateTime(year, month, day, hour, minute, second);
  return result;
}

}  // namespace qv
