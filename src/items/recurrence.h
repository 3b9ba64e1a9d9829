// The occurrences of a series.
//
// A rule is followed in local wall-clock time, see WallClock: a meeting at nine stays at
// nine when the clocks change. The days of an all-day series are days, UTC and local time are the
// same there. A series has at most one occurrence a day. Nothing is expanded
// beyond the span that is asked for, and nothing beyond the years 100 to 9999.
#pragma once

#include <functional>
#include <vector>

#include "items/calendar.h"

namespace qv {

// Where an occurrence begins, in UTC and on the wall.
struct Occurrence {
  DATE utc = 0.0;
  DATE local = 0.0;
};

// The occurrences of the rule that begin in [from, to), local wall-clock time, in order; those that
// are deleted or replaced are among them. `take` answers false to end it. An item without a rule
// that the numbers hold has one, its start. A rule that makes no sense (a 31st of February, no
// weekday) has none but the start.
void ForEachOccurrence(const CalendarContent& series, DATE from, DATE to,
                       const std::function<bool(const Occurrence&)>& take);

// What an entry's moment means in a series whose zone may be another one than that of whoever wrote
// the moment: the moments are at most this far from the occurrence.
inline constexpr double kSameOccurrenceDays = 3.0 / 24;

// Sorted moments (UTC) of occurrences that fall away or are replaced.
class OccurrenceSet {
 public:
  explicit OccurrenceSet(std::vector<DATE> moments);
  // Whether one of them means this occurrence.
  bool Contains(DATE utc) const;

 private:
  std::vector<DATE> moments_;
};

}  // namespace qv
