// The reminder among the lines of an event or task.
//
// An item holds how long before its beginning it reminds. A line or component that says so is taken
// apart: the time goes to the item, every other part of it stays an extra, in its place and without
// the time. An AALARM or DALARM gets its time back when it is written; the lines of a VALARM, which
// rings no more without its trigger, stand beside the AALARM that is written.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "items/item.h"
#include "items/moment_text.h"

namespace qv {

// Whether the extra's name may hold one of the words (upper case); cheap. A header that is folded
// may be anything.
bool MayBe(const ExtraProperty& extra, std::initializer_list<std::u16string_view> words);

// When an alarm rings, as its text tells it.
struct AlarmTime {
  std::optional<Stamp> moment;  // with a time of day; else so long behind the beginning:
  Duration behind;
  bool fromEnd = false;  // or behind the end
};

// Nothing for an extra that is no reminder that is seen or heard (AALARM, DALARM, and a VALARM of
// the action DISPLAY, AUDIO or none), or whose time cannot be read. Of forms of the old grammar:
//
//   alarm := moment [";" snooze [";" repeat [";" sound-or-text]]]
std::optional<AlarmTime> AlarmTimeOf(const ExtraProperty& extra);

// The extra without its time; nothing when no more is left than that there is a reminder, whose
// text says no more than the subject does.
std::optional<ExtraProperty> WithoutAlarmTime(const ExtraProperty& extra,
                                              std::u16string_view subject);

// Whether it is an AALARM or DALARM without a time, and the same with one.
bool LacksAlarmTime(const ExtraProperty& extra);
ExtraProperty WithAlarmTime(const ExtraProperty& extra, std::string_view moment);

}  // namespace qv
