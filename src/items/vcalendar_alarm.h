// The reminder among the lines of an event or task.
//
// An item holds how long before its beginning it reminds. A line or component that says so is taken
// apart: the time goes to the item, every other part of it stays an extra, in its place and without
// the time. An AALARM or DALARM gets its time back when it is written; the lines of a VALARM, which
// rings no more without its trigger, stand beside the AALARM that is written. Alarms of one time
// are one reminder. Without it nothing of them is written; alarms of other times stay.
//
// The item counts whole minutes. A time that does not lie so is kept to the second as one extra
// more, of the name `kLeadName`, which no text has, and holds as long as the minutes are those.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// Persisted.
inline constexpr std::u16string_view kLeadName = u"X-QVLEAD";
ExtraProperty LeadExtra(int64_t seconds);
// How long before the beginning the reminder comes, in seconds.
int64_t LeadSeconds(int32_t minutes, const std::vector<ExtraProperty>& extras);
// The nearest.
constexpr int64_t LeadMinutesOf(int64_t seconds) {
  return (seconds + 30) / 60 - ((seconds + 30) % 60 < 0 ? 1 : 0);
}

// The extra without its time; nothing when no more is left than that there is a reminder, whose
// text says no more than the subject does. Of an AALARM `isAlone` says whether that can be told
// without it.
std::optional<ExtraProperty> WithoutAlarmTime(const ExtraProperty& extra,
                                              std::u16string_view subject, bool isAlone);

// Whether it is an AALARM or DALARM without a time, and the same with one.
bool LacksAlarmTime(const ExtraProperty& extra);
// Whether it is a VALARM that could be seen or heard and has no trigger.
bool LacksTrigger(const ExtraProperty& extra);
ExtraProperty WithAlarmTime(const ExtraProperty& extra, std::string_view moment);

}  // namespace qv
