#include "host/engine/right_moments.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "items/calendar_days.h"
#include "support/date_time.h"

namespace qv {

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
    moments.alarm = DateFromUnixSeconds(UnixSecondsFromDate(moments.start) -
                                        int64_t{*calendar.reminderMinutes} * 60);
  }
  return moments;
}

void SetMoments(Calendar& calendar, const RightMoments& moments) {
  if (moments.start != 0.0) calendar.start = moments.start;
  if (moments.end != 0.0) calendar.end = moments.end;
  if (moments.until != 0.0) calendar.recurrence.until = moments.until;
  if (moments.alarm != 0.0) {
    calendar.reminderMinutes = LeadMinutes(calendar.start, moments.alarm);
  }
}

}  // namespace qv
