#include "items/calendar_days.h"

#include <optional>

#include "platform/system/system_time.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

constexpr int64_t kDaySeconds = 86400;
constexpr int64_t kHour = 3600;

int64_t TimeOfDay(int64_t seconds) {
  return ((seconds % kDaySeconds) + kDaySeconds) % kDaySeconds;
}

bool IsMidnight(int64_t seconds) {
  return TimeOfDay(seconds) == 0;
}

DATE DateOrNone(int64_t seconds) {
  return SecondsToVariantTime(seconds).value_or(0.0);
}

// Wall-clock time here; nothing beyond the years of dates.
std::optional<int64_t> LocalSeconds(DATE moment) {
  const DATE local = WallClock().FromUtc(moment);
  return local == 0.0 ? std::nullopt : VariantTimeToSeconds(local);
}

// The midnight before a moment here, `later` behind it.
DATE LocalDay(DATE moment, int64_t later) {
  const std::optional<int64_t> local = LocalSeconds(moment);
  return local ? DateOrNone(*local + later - TimeOfDay(*local + later)) : DayOf(moment);
}

// 23:59:59 of the day.
DATE EndOf(DATE day) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(day);
  return seconds && day != 0.0 ? DateOrNone(*seconds + kDaySeconds - 1) : 0.0;
}

// The last day of a rule: the one that a moment lies on, here.
DATE LastDayOf(DATE until) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(until);
  if (until == 0.0 || !seconds || TimeOfDay(*seconds) == kDaySeconds - 1) return until;
  const std::optional<int64_t> local = LocalSeconds(until);
  return local ? EndOf(DateOrNone(*local - TimeOfDay(*local))) : until;
}

}  // namespace

DATE DayOf(DATE moment) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(moment);
  if (moment == 0.0 || !seconds || IsMidnight(*seconds)) return moment;
  const std::optional<int64_t> local = LocalSeconds(moment);
  if (local && IsMidnight(*local)) return DateOrNone(*local);
  // From eleven hours west of UTC on it is tomorrow in New Zealand.
  constexpr int64_t kFarthestWest = 10 * kHour;
  const int64_t into = TimeOfDay(*seconds);
  return DateOrNone(*seconds - into + (into <= kFarthestWest ? 0 : kDaySeconds));
}

void SettleDays(CalendarContent& item) {
  if (!item.allDay) return;
  const std::optional<int64_t> start = VariantTimeToSeconds(item.start);
  const std::optional<int64_t> end = VariantTimeToSeconds(item.end);
  if (item.start != 0.0 && item.end != 0.0 && start && end && !item.isTask) {
    // Of days over the change of the clocks one has an hour less or more.
    const int64_t rest = TimeOfDay(*end - *start + kHour);
    const bool touches = rest > 2 * kHour && !(IsMidnight(*start) && IsMidnight(*end));
    item.start = touches ? LocalDay(item.start, 0) : DayOf(item.start);
    item.end = touches ? LocalDay(item.end, kDaySeconds - 1) : DayOf(item.end);
    if (item.end == item.start)
      item.end = DateOrNone(*VariantTimeToSeconds(item.start) + kDaySeconds);
  } else {
    item.start = DayOf(item.start);
    item.end = DayOf(item.end);
  }
  item.recurrence.until = LastDayOf(item.recurrence.until);
  for (RecurrenceEntry& entry : item.entries) {
    if (entry.kind == kDeletedOccurrence) entry.moment = DayOf(entry.moment);
  }
}

bool SettleDaysHere(CalendarContent& item) {
  if (!item.allDay) return true;
  DATE days[] = {item.start, item.end};
  for (DATE& day : days) {
    const std::optional<int64_t> local = LocalSeconds(day);
    if (day == 0.0 || !local) continue;
    const int64_t midnight = *local + kHour - TimeOfDay(*local + kHour);
    if (*local - midnight > kHour) return false;
    day = DateOrNone(midnight);
  }
  item.start = days[0];
  item.end = days[1];
  SettleDays(item);
  return true;
}

bool IsDay(const CalendarContent& item, DATE held) {
  const std::optional<int64_t> seconds = VariantTimeToSeconds(held);
  if (!item.allDay || held == 0.0 || !seconds) return false;
  return IsMidnight(*seconds) || TimeOfDay(*seconds) == kDaySeconds - 1;
}

DATE MomentOf(const CalendarContent& item, DATE held) {
  return IsDay(item, held) ? WallClock().ToUtc(held) : held;
}

}  // namespace qv
