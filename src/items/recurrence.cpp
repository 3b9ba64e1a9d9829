#include "items/recurrence.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>

#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

using std::chrono::day;
using std::chrono::month;
using std::chrono::sys_days;
using std::chrono::weekday;
using std::chrono::year;
using std::chrono::year_month_day;

// Days and seconds are counted from the zero of automation dates.
constexpr int64_t kDaySeconds = 86400;
constexpr int64_t kUnixDay = 25569;
constexpr int kLastYear = 9999;

int64_t DayOf(const year_month_day& date) {
  return sys_days(date).time_since_epoch().count() + kUnixDay;
}
year_month_day DateOf(int64_t dayNumber) {
  return sys_days(std::chrono::days(dayNumber - kUnixDay));
}
int64_t FloorDiv(int64_t a, int64_t b) {
  return a / b - (a % b != 0 && (a < 0) != (b < 0));
}
// From Monday, 0.
int64_t MondayWeekday(int64_t dayNumber) {
  return (weekday(sys_days(std::chrono::days(dayNumber - kUnixDay))).iso_encoding() - 1);
}

const int64_t kLastDay = DayOf(year(kLastYear) / 12 / 31);

// The days that a rule names, period by period: one day, week, month or year, `interval` of them
// from one to the next.
class RuleDays {
 public:
  RuleDays(const Recurrence& rule, int64_t startDay)
      : rule_(rule),
        interval_(std::max<int64_t>(1, rule.interval)),
        start_(startDay),
        startDate_(DateOf(startDay)) {}

  // False for a rule that names no day at all.
  bool NamesAny() const {
    return rule_.type != RecurrenceType::None &&
           (rule_.type != RecurrenceType::Weekly || (rule_.daysOfWeek & 0x7F) != 0);
  }

  // A period that ends before the day, as far on as can be told.
  int64_t PeriodBefore(int64_t dayNumber) const {
    const int64_t days = std::max<int64_t>(0, dayNumber - start_);
    return std::max<int64_t>(0, days / DaysOfPeriod() / interval_ - 1);
  }

  // The first day of a period; behind the last day there is for one too far on.
  int64_t FirstDay(int64_t period) const {
    if (period > (kLastDay - start_) / interval_ / DaysOfPeriod(true) + 1) return kLastDay + 1;
    const int64_t step = period * interval_;
    switch (rule_.type) {
      case RecurrenceType::Daily:
        return start_ + step;
      case RecurrenceType::Weekly:
        return start_ - MondayWeekday(start_) + 7 * step;
      case RecurrenceType::MonthlyByDay:
      case RecurrenceType::MonthlyByWeekday: {
        const int64_t months = Months() + step;
        return FirstOfMonth(FloorDiv(months, 12), static_cast<unsigned>(months % 12 + 1));
      }
      case RecurrenceType::YearlyByDay:
      case RecurrenceType::YearlyByWeekday:
        return FirstOfMonth(int{startDate_.year()} + step, 1);
      case RecurrenceType::None:
        break;
    }
    return kLastDay + 1;
  }

  // The days of the period that the rule names, in order.
  void Days(int64_t firstDay, std::array<int64_t, 7>& days, size_t& count) const {
    count = 0;
    const auto add = [&](std::optional<int64_t> dayNumber) {
      if (dayNumber) days[count++] = *dayNumber;
    };
    const year_month_day first = DateOf(firstDay);
    switch (rule_.type) {
      case RecurrenceType::Daily:
        return add(firstDay);
      case RecurrenceType::Weekly:
        for (int64_t i = 0; i < 7; ++i) {
          // Sunday is the lowest bit and the last day.
          if ((rule_.daysOfWeek >> (i + 1) % 7 & 1) != 0) add(firstDay + i);
        }
        return;
      case RecurrenceType::MonthlyByDay:
        return add(DayOfMonth(first));
      case RecurrenceType::MonthlyByWeekday:
        return add(WeekdayOfMonth(first));
      case RecurrenceType::YearlyByDay:
      case RecurrenceType::YearlyByWeekday: {
        if (rule_.monthOfYear < 1 || rule_.monthOfYear > 12) return;
        const year_month_day inMonth(first.year(), month(static_cast<unsigned>(rule_.monthOfYear)),
                                     day(1));
        return add(rule_.type == RecurrenceType::YearlyByDay ? DayOfMonth(inMonth)
                                                             : WeekdayOfMonth(inMonth));
      }
      case RecurrenceType::None:
        return;
    }
  }

 private:
  // At least, or with `least` unset at most, so many days lie in a period.
  int64_t DaysOfPeriod(bool least = false) const {
    switch (rule_.type) {
      case RecurrenceType::Weekly:
        return 7;
      case RecurrenceType::MonthlyByDay:
      case RecurrenceType::MonthlyByWeekday:
        return least ? 28 : 31;
      case RecurrenceType::YearlyByDay:
      case RecurrenceType::YearlyByWeekday:
        return least ? 365 : 366;
      default:
        return 1;
    }
  }
  int64_t Months() const {
    return int64_t{int{startDate_.year()}} * 12 + unsigned{startDate_.month()} - 1;
  }
  static int64_t FirstOfMonth(int64_t y, unsigned m) {
    return y > kLastYear ? kLastDay + 1 : DayOf(year(static_cast<int>(y)) / month(m) / day(1));
  }
  std::optional<int64_t> DayOfMonth(const year_month_day& first) const {
    const year_month_day date(first.year(), first.month(),
                              day(static_cast<unsigned>(rule_.dayOfMonth)));
    if (rule_.dayOfMonth < 1 || rule_.dayOfMonth > 31 || !date.ok()) return std::nullopt;
    return DayOf(date);
  }
  // The n-th or last day of the month that the mask names.
  std::optional<int64_t> WeekdayOfMonth(const year_month_day& first) const {
    constexpr int32_t kLast = 5;
    const int64_t begin = DayOf(first);
    const int64_t end = DayOf(year_month_day(first.year() / first.month() / std::chrono::last)) + 1;
    const bool last = rule_.instance == kLast;
    int32_t seen = 0;
    for (int64_t i = 0; i < end - begin; ++i) {
      const int64_t dayNumber = last ? end - 1 - i : begin + i;
      if ((rule_.daysOfWeek >> (MondayWeekday(dayNumber) + 1) % 7 & 1) == 0) continue;
      if (++seen == (last ? 1 : rule_.instance)) return dayNumber;
    }
    return std::nullopt;
  }

  const Recurrence& rule_;
  int64_t interval_;
  int64_t start_;
  year_month_day startDate_;
};

// The wall-clock beginnings of a series.
class Beginnings {
 public:
  // Without a clock they are days, and no zone shifts them.
  Beginnings(const CalendarContent& series, const WallClock* clock, int64_t from, int64_t to)
      : rule_(series.recurrence), clock_(clock), from_(from), to_(to) {}

  void Walk(int64_t start, const std::function<bool(const Occurrence&)>& take) {
    // The start is the first occurrence whatever the rule says (RFC 5545, 3.8.5.3).
    if (!Take(start, take)) return;
    const int64_t startDay = FloorDiv(start, kDaySeconds);
    const int64_t behind = rule_.daysBehind;
    const RuleDays days(rule_, startDay - behind);
    if (!days.NamesAny()) return;
    const int64_t timeOfDay = start - startDay * kDaySeconds;
    // What is counted must be walked from its start.
    int64_t period =
        rule_.occurrences > 0 ? 0 : days.PeriodBefore(FloorDiv(from_, kDaySeconds) - behind);
    for (;; ++period) {
      const int64_t first = days.FirstDay(period);
      if (first > kLastDay) return;
      std::array<int64_t, 7> named{};
      size_t count = 0;
      days.Days(first, named, count);
      // Also periods that name no day end the walk.
      if (count == 0 && (first + behind) * kDaySeconds >= to_) return;
      for (size_t i = 0; i < count; ++i) {
        const int64_t day = named[i] + behind;
        if (day <= startDay) continue;
        if (day > kLastDay || !Take(day * kDaySeconds + timeOfDay, take)) return;
      }
    }
  }

 private:
  // False behind the last one that can matter.
  bool Take(int64_t seconds, const std::function<bool(const Occurrence&)>& take) {
    if (seconds >= to_ || (rule_.occurrences > 0 && taken_ >= rule_.occurrences)) return false;
    ++taken_;
    if (until_ && seconds > *until_) return false;
    if (seconds < from_) return true;
    const std::optional<DATE> local = SecondsToVariantTime(seconds);
    if (!local) return false;
    return take({clock_ != nullptr ? clock_->ToUtc(*local) : *local, *local});
  }

  std::optional<int64_t> LocalSeconds(DATE utc) const {
    if (utc == 0.0) return std::nullopt;
    return VariantTimeToSeconds(clock_ != nullptr ? clock_->FromUtc(utc) : utc);
  }

  const Recurrence& rule_;
  const WallClock* clock_;
  const int64_t from_;
  const int64_t to_;
  const std::optional<int64_t> until_ = LocalSeconds(rule_.until);
  int32_t taken_ = 0;
};

int64_t ClampedSeconds(DATE local) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(local);
  if (seconds) return *seconds;
  return local < 0 ? -kLastDay * kDaySeconds : (kLastDay + 1) * kDaySeconds;
}

}  // namespace

void ForEachOccurrence(const CalendarContent& series, DATE from, DATE to,
                       const std::function<bool(const Occurrence&)>& take) {
  const DATE begin = series.start != 0.0 ? series.start : series.end;
  if (begin == 0.0) return;
  std::optional<WallClock> clock;
  if (!series.allDay) clock.emplace();
  const DATE localBegin = clock ? clock->FromUtc(begin) : begin;
  const std::optional<int64_t> start = VariantTimeToSeconds(localBegin);
  const int64_t fromSeconds = ClampedSeconds(from);
  const int64_t toSeconds = ClampedSeconds(to);
  if (!start) return;
  if (series.recurrence.type == RecurrenceType::None) {
    if (*start >= fromSeconds && *start < toSeconds) take({begin, localBegin});
    return;
  }
  const WallClock* walls = clock ? &*clock : nullptr;
  Beginnings(series, walls, fromSeconds, toSeconds).Walk(*start, [&](const Occurrence& occurrence) {
    // The start is the moment itself, also in an hour that occurs twice.
    return take(occurrence.local == localBegin ? Occurrence{begin, localBegin} : occurrence);
  });
}

OccurrenceSet::OccurrenceSet(std::vector<DATE> moments) : moments_(std::move(moments)) {
  std::ranges::sort(moments_);
}

bool OccurrenceSet::Contains(DATE utc) const {
  const auto next = std::ranges::lower_bound(moments_, utc - kSameOccurrenceDays);
  return next != moments_.end() && *next <= utc + kSameOccurrenceDays;
}

}  // namespace qv
