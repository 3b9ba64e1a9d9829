#include "items/vcalendar_rule_parts.h"

#include <cmath>
#include <limits>

#include "support/date_time.h"
#include "support/vobject/lines.h"

namespace qv {

int32_t DayBit(std::string_view name) {
  for (size_t i = 0; i < kDayNames.size(); ++i) {
    if (SameWord(name, kDayNames[i])) return 1 << i;
  }
  return 0;
}

std::optional<int32_t> RuleNumber(std::string_view text) {
  if (text.empty() || text.size() > 10) return std::nullopt;
  int64_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  if (number > std::numeric_limits<int32_t>::max()) return std::nullopt;
  return static_cast<int32_t>(number);
}

std::optional<int32_t> RuleNumber(std::string_view text, int32_t low, int32_t high) {
  const std::optional<int32_t> number = RuleNumber(text);
  return number && *number >= low && *number <= high ? number : std::nullopt;
}

DATE EndOfDay(DATE date) {
  return Later(std::trunc(date), 86'399);
}

StartDay::StartDay(DATE local) {
  const DateTimeValue date(local);
  if (!date.IsDate() || date.GetYear() < 0) return;
  bit = 1 << (date.GetDayOfWeek() - 1);
  day = date.GetDay();
  month = date.GetMonth();
  isInLastWeek = (date + DateTimeSpan(7, 0, 0, 0)).GetMonth() != month;
}

bool IsWhole(const Recurrence& rule) {
  const bool onDay = rule.dayOfMonth != 0;
  const bool onLastDay = rule.daysOfWeek == kEveryDay && rule.instance == kLastInstance;
  const bool onWeekday = onLastDay || (IsOneDay(rule.daysOfWeek) && rule.instance != 0);
  switch (rule.type) {
    case RecurrenceType::None:
      return false;
    case RecurrenceType::Daily:
      return true;
    case RecurrenceType::Weekly:
      return rule.daysOfWeek != 0;
    case RecurrenceType::MonthlyByDay:
      return onDay;
    case RecurrenceType::MonthlyByWeekday:
      return onWeekday;
    case RecurrenceType::YearlyByDay:
      return onDay && rule.monthOfYear != 0;
    case RecurrenceType::YearlyByWeekday:
      return onWeekday && rule.monthOfYear != 0;
  }
  return false;
}

}  // namespace qv
