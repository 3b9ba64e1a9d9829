// The days of all-day items.
//
// A day is no moment: the first of May is the same day wherever one looks at it. So an item with
// `allDay` holds days: its start, its end, the end of its rule and its deleted occurrences are
// dates that no zone shifts, midnight as 00:00 (`until` as 23:59:59). They become moments only
// where somebody must have one (a date window, a caller of the item's interface), and then by the
// clock of the zone that holds at that time. What such an interface gives, and what was stored
// before days were kept, are moments again: `DayOf` tells which day was meant.
#pragma once

#include "items/calendar.h"

namespace qv {

// The day that a moment (UTC) means as the midnight of an all-day item: 00:00 is a day as it
// stands; a moment that is midnight here is that midnight; any other was midnight in another zone,
// and the one that is nearest to UTC is taken (of two, the one of New Zealand). 0.0 for none. A day
// comes back as it is.
DATE DayOf(DATE moment);

// Makes days of what an all-day item holds as moments; leaves any other item as it is. An
// appointment that does not last whole days takes every day that it touches, here. A second time
// nothing changes.
void SettleDays(CalendarContent& item);
// The same for one that somebody has told by the clock here, as moments that may miss midnight by
// an hour. False, and nothing changed, for one that begins or ends within a day.
bool SettleDaysHere(CalendarContent& item);

// Whether a date that the item holds is a day, which no zone shifts.
bool IsDay(const CalendarContent& item, DATE held);
// The moment (UTC) of a date that the item holds: of a day its midnight here and now.
DATE MomentOf(const CalendarContent& item, DATE held);

}  // namespace qv
