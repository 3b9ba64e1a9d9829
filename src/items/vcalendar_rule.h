// Recurrence rules of texts: the grammar of vCalendar 1.0 and that of iCalendar 2.0 (RFC 5545,
// 3.3.10) read, the former written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/calendar.h"
#include "items/vcalendar_zone.h"
#include "support/wall_clock.h"

namespace qv {

// Where a series begins, by the clock of whoever looks at it and by that of its text. What is not
// known is 0.0.
struct RuleStart {
  DATE local = 0.0;  // wall-clock time here
  DATE own = 0.0;    // by the clock of the text
  bool isUtc = false;
  bool isDay = false;  // of an all-day item: both are the same day, and so is the end of the rule
  std::optional<CalendarZones::Clock> zone;  // the one that the text names; else it means here
  int64_t east = 0;  // of a day that was told in UTC: how many seconds its zone lies east
};

// The numbers of a rule; nothing for one that they cannot hold exactly, or that cannot be read.
//
// The days of a 2.0 rule are days of the zone in which the series tells its beginning. They are
// told by the days here where those are the same, all so many days on, for every occurrence:
// through every change of the clocks of either zone, and at the ends of months. Where they are not,
// nothing. UTC is no such zone: the days of many texts do not mean it; they do where the start fits
// the rule by no other reading. Of a series on one day a week whose start fits on no day but one
// that it has in some other zone the text was written there, whatever its grammar. The end is a
// moment of the start's zone, moved where it must be so that the last occurrence is the same.
std::optional<Recurrence> ParseRule(std::string_view text, const RuleStart& start,
                                    const WallClock& here);

// Says a rule by the days of a calendar that is so many days on, below zero behind. False, and
// nothing is changed, where the numbers cannot: at most ends of months, for the nth weekday of one,
// and where weeks are left out and a day leaves its week.
bool MoveDays(Recurrence& rule, int64_t days);

// In the 1.0 grammar; empty for the type None. The end of an all-day series is a day.
std::string RuleText(const Recurrence& rule, DATE localStart, bool isDay);

}  // namespace qv
