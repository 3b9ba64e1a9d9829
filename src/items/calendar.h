// An appointment or a task as plain values, a whole series or one of its exceptions included.
//
// Moments are UTC; 0.0 means none. An all-day item holds days in their place, see calendar_days.h.
// The numbers are part of the contract with stores and with other programs' files.
#pragma once

#include <optional>

#include "items/item.h"

namespace qv {

enum class RecurrenceType : int32_t {
  None = 0,
  Daily = 1,
  Weekly = 2,
  MonthlyByDay = 3,
  MonthlyByWeekday = 4,
  YearlyByDay = 5,
  YearlyByWeekday = 6,
};

// Which days a series falls on, in the wall-clock time of whoever looks at it. What a type does not
// use is 0.
struct Recurrence {
  RecurrenceType type = RecurrenceType::None;
  int32_t interval = 0;     // days, weeks, months or years from one to the next; 0 counts as 1
  int32_t daysOfWeek = 0;   // Sunday 1, Monday 2, Tuesday 4, ... Saturday 64
  int32_t instance = 0;     // which such weekday of the month: 1 to 4, 5 for the last; with all
                            // seven days the last day of the month
  int32_t dayOfMonth = 0;   // 1 to 31
  int32_t monthOfYear = 0;  // 1 to 12
  int32_t occurrences = 0;  // how many there are, those that fall away included; 0 for no count
  DATE until = 0.0;         // the last moment at which one may begin; 0.0 for no end
  // How many days behind those that the numbers name the occurrences lie: of a rule that was told
  // in another zone, and whose days no numbers can name here.
  int32_t daysBehind = 0;

  friend bool operator==(const Recurrence&, const Recurrence&) = default;
};

// A dated entry of a recurrence.
inline constexpr int32_t kDeletedOccurrence = 1;   // of a series: this occurrence is deleted
inline constexpr int32_t kReplacedOccurrence = 2;  // of an exception: it stands for this one
struct RecurrenceEntry {
  int32_t kind = 0;
  DATE moment = 0.0;  // when the occurrence would have begun

  friend bool operator==(const RecurrenceEntry&, const RecurrenceEntry&) = default;
};

enum class Sensitivity : int32_t { Public = 0, Private = 2, Confidential = 3 };
inline constexpr int32_t kTaskCompleted = 2;

// Everything of an appointment or task that the PC side keeps: content only, no identifiers, no
// times of change, no link from an exception to its series.
struct CalendarContent {
  bool isTask = false;
  std::u16string subject;
  std::u16string body;
  std::u16string location;
  DATE start = 0.0;
  DATE end = 0.0;  // of a task: when it is due
  // Then `end` is the day behind the last one; of a task it is the day on which it is due.
  bool allDay = false;
  // How long before the start (of a task without one, before it is due) the reminder comes. May be
  // negative.
  std::optional<int32_t> reminderMinutes;
  int32_t priority = 0;  // as its number, 1 the highest; 0 for none
  int32_t sensitivity = 0;
  int32_t status = 0;  // of a task: 0 not begun, 1 under way, 2 completed
  DATE completed = 0.0;
  // True also with the type None: the rule is one that the numbers cannot hold.
  bool isRecurring = false;
  Recurrence recurrence;
  std::vector<RecurrenceEntry> entries;

  friend bool operator==(const CalendarContent&, const CalendarContent&) = default;
};

// When the rules of a series count from: its start, of a task without one when it is due.
inline DATE BeginningOf(const CalendarContent& item) {
  return item.start != 0.0 ? item.start : item.isTask ? item.end : 0.0;
}

struct Calendar : CalendarContent {
  ItemFields fields;
  std::u16string parentRecurUid;  // of an exception: the uid of its series as the text gives it
};

// The occurrence that an exception stands for; 0.0 when no entry says so.
DATE ReplacedOccurrence(const CalendarContent& calendar);

}  // namespace qv
