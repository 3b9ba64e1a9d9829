// The key text for duplicate detection: one rule per kind, used by the stores and by the PC side
// alike, so that both find the same duplicates.
#pragma once

#include <string>

#include "items/calendar.h"
#include "items/contact.h"
#include "items/note.h"

namespace qv {

// The MD5 text over, each left out when empty: family name, given name, additional names, prefix,
// suffix; the mobile number, two home numbers; the first three mail addresses.
std::u16string MakeContactKey(const ContactContent& contact);

// The MD5 text over the subject, the start and the end, one behind the other without a mark
// between them. A moment counts when its year, in UTC, is 1900 to 3999, and goes in as local time,
// "YYYY-MM-DD hh:mm:ss".
std::u16string MakeCalendarKey(const CalendarContent& calendar);

// The MD5 text over the body.
std::u16string MakeNoteKey(const Note& note);

// The key text of an item's values; empty for null.
template <class Value, class Rule>
std::u16string KeyTextOf(const Value* values, Rule rule) {
  return values == nullptr ? std::u16string() : rule(*values);
}

}  // namespace qv
