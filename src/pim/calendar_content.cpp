#include "pim/calendar_content.h"

#include "items/calendar_days.h"
#include "items/vcalendar_rule.h"
#include "pim/content_form.h"
#include "platform/system/system_time.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

constexpr auto kEntryParts = [](auto& pack, auto& entry) {
  pack.PartNumber(entry.kind);
  pack.PartDate(entry.moment);
};
// A list of none or one: a reminder of no minutes is a reminder.
constexpr auto kNumberParts = [](auto& pack, auto& number) { pack.PartNumber(number); };

template <class Pack, class Minutes>
void Reminder(Pack& pack, Minutes& minutes) {
  std::vector<int32_t> numbers;
  if (minutes) numbers.push_back(*minutes);
  pack.List(9, numbers, kNumberParts);
  if constexpr (!std::is_const_v<Minutes>) {
    if (!numbers.empty()) minutes = numbers.front();
  }
}

int64_t DayNumber(DATE date) {
  constexpr int64_t kDaySeconds = 86400;
  const int64_t seconds = VariantTimeToSeconds(date).value_or(0);
  return seconds / kDaySeconds - (seconds % kDaySeconds < 0 ? 1 : 0);
}

// From the day on which a series begins in UTC to the same here; nothing for a series whose rule
// knows no days, or days that no zone shifts.
std::optional<int32_t> DaysFromUtc(const CalendarContent& item) {
  const bool hasDays = item.recurrence.type > RecurrenceType::Daily && !item.allDay;
  const DATE begin = BeginningOf(item);
  const DATE local = hasDays ? WallClock().FromUtc(begin) : 0.0;
  if (local == 0.0) return std::nullopt;
  return static_cast<int32_t>(DayNumber(local) - DayNumber(begin));
}

// Whose days the numbers of a rule name: those of the zone that held when it was stored.
constexpr int32_t kSameDay = 4;  // as in UTC; that many more or less: days behind or before it
int32_t StoredDays(const CalendarContent& item) {
  const std::optional<int32_t> here = DaysFromUtc(item);
  return here ? kSameDay + *here - item.recurrence.daysBehind : 0;
}

// Tells the rule by the days here. 0, of an earlier version: it was told here.
void TellDaysHere(CalendarContent& item, int32_t stored) {
  const std::optional<int32_t> here = DaysFromUtc(item);
  if (stored == 0 || !here) return;
  const int32_t days = kSameDay + *here - stored;
  if (!MoveDays(item.recurrence, days)) item.recurrence.daysBehind = days;
}

template <class Pack, class Item>
void RuleDays(Pack& pack, Item& item) {
  if constexpr (std::is_const_v<Item>) {
    pack.Number(24, StoredDays(item));
  } else {
    int32_t stored = 0;
    pack.Number(24, stored);
    TellDaysHere(item, stored);
  }
}

// Persisted: the tags, see contact_content.cpp.
constexpr auto kFields = [](auto& pack, auto& item) {
  pack.Flag(1, item.isTask);
  pack.Text(2, item.subject);
  pack.Text(3, item.body);
  pack.Text(4, item.location);
  pack.Date(5, item.start);
  pack.Date(6, item.end);
  pack.Flag(7, item.allDay);
  Reminder(pack, item.reminderMinutes);
  pack.Number(10, item.priority);
  pack.Number(11, item.sensitivity);
  pack.Number(12, item.status);
  pack.Date(13, item.completed);
  pack.Flag(14, item.isRecurring);
  pack.Kinded(15, item.recurrence.type);
  pack.Number(16, item.recurrence.interval);
  pack.Number(17, item.recurrence.daysOfWeek);
  pack.Number(18, item.recurrence.instance);
  pack.Number(19, item.recurrence.dayOfMonth);
  pack.Number(20, item.recurrence.monthOfYear);
  pack.Number(21, item.recurrence.occurrences);
  pack.Date(22, item.recurrence.until);
  pack.List(23, item.entries, kEntryParts);
  RuleDays(pack, item);
};

}  // namespace

std::string PackCalendar(const CalendarContent& calendar) {
  if (!calendar.allDay) return Pack(calendar, kFields);
  CalendarContent days = calendar;
  SettleDays(days);
  return Pack(days, kFields);
}

std::optional<CalendarContent> UnpackCalendar(std::string_view bytes, std::string& why) {
  auto calendar = Unpack<CalendarContent>(bytes, kFields, "appointment or task", why);
  // Earlier versions stored the moments at which its days began where the item was made.
  if (calendar) SettleDays(*calendar);
  return calendar;
}

}  // namespace qv
