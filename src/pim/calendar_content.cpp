#include "pim/calendar_content.h"

#include "items/calendar_days.h"
#include "pim/content_form.h"

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
