// What among the extras of an event or task lies at a moment that belongs to the item: when the
// item is moved, it goes along.
//
// Such are reminders beyond the first (AALARM, DALARM, MALARM, PALARM, a VALARM with an absolute
// TRIGGER), until when a reminder sleeps (X-MOZ-SNOOZE-TIME), and further days of a series (RDATE).
// What somebody did and when (X-MOZ-LASTACK, ACKNOWLEDGED, CREATED) stays: it happened then, and a
// moved item reminds anew.
//
// An extra does not say where its item lay when it was read. An item that has one that moves keeps
// that as one extra more, of the name `kBeganName`, which no text has.
#pragma once

#include <optional>
#include <string_view>

#include "items/calendar.h"

namespace qv {

// Persisted.
inline constexpr std::u16string_view kBeganName = u"X-QVBEGAN";

// Where an item lies, in seconds from the zero of dates.
struct ItemPlace {
  int64_t begin = 0;  // UTC; of a task without a start when it is due
  int64_t end = 0;    // UTC; the beginning where there is no end
  int64_t wall = 0;   // the beginning by the clock here; of an all-day item its day
  bool isDay = false;
};
// Nothing for an item that lies nowhere.
std::optional<ItemPlace> PlaceOf(const CalendarContent& item);

ExtraProperty BeganExtra(const ItemPlace& place);
std::optional<ItemPlace> PlaceFrom(const ExtraProperty& began);

// Whether it holds a moment that moves.
bool Moves(const ExtraProperty& extra);
// The extra of an item that lay at `from`, for one at `to`: UTC moves by as much as the beginning
// does, wall-clock time by as much as it does on the wall. What cannot be read stays.
ExtraProperty Moved(const ExtraProperty& extra, const ItemPlace& from, const ItemPlace& to);

}  // namespace qv
