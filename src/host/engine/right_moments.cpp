#include "host/engine/right_moments.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "items/calendar_days.h"
#include "support/date_time.h"
#include "support/wall_clock.h"

namespace qv {

namespace {

DATE Earlier(DATE date, int64_t seconds) {
  return DateFromUnixSeconds(UnixSecondsFromDate(date) - seconds);
}

}  // namespace

int32_t LeadMinutes(DATE start, DATE alarm) {
  const int64_t seconds = UnixSecondsFromDate(start) - UnixSecondsFromDate(alarm);
  const int64_t minutes = std::llround(static_cast<double>(seconds) / 60.0);
  using Limits = std::numeric_limits<int32_t>;
  return static_cast<int32_t>(std::clamp<int64_t>(minutes, Limits::min(), Limits::max()));
}

RightMoments MomentsOf(const Calendar& calendar) {
  RightMoments moments{MomentOf(calendar, calendar.start), MomentOf(calendar, calendar.end), 0.0,
                       MomentOf(calendar, calendar.recurrence.until)};
  if (calendar.reminderMinutes && calendar.start != 0.0) {
    const int64_t lead = int64_t{*calendar.reminderMinutes} * 60;
    // Of a day it lies that long before its midnight on the wall.
    moments.alarm = IsDay(calendar, calendar.start)
                        ? WallClock().ToUtc(Earlier(calendar.start, lead))
                        : Earlier(moments.start, lead);
  }
  return moments;
}

void SetMoments(Calendar& calendar, const RightMoments& moments) {
  if (moments.start != 0.0) calendar.start = moments.start;
  if (moments.end != 0.0) calendar.end = moments.end;
  if (moments.until != 0.0) calendar.recurrence.until = moments.until;
  if (moments.alarm == 0.0) return;
  CalendarContent days = calendar;
  SettleDaysHere(days);
  calendar.reminderMinutes = IsDay(days, days.start)
                                 ? LeadMinutes(days.start, WallClock().FromUtc(moments.alarm))
                                 : LeadMinutes(calendar.start, moments.alarm);
}

}  // namespace qv
