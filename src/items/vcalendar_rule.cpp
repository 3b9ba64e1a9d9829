#include "items/vcalendar_rule.h"

#include <algorithm>
#include <cmath>

#include "items/moment_text.h"
#include "items/vcalendar_rule_parts.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

// The 1.0 grammar has no such sign.
bool IsModern(std::string_view text) {
  return text.find('=') != text.npos;
}

// Does the start fall on a day that the rule names?
bool Fits(const Recurrence& rule, DATE start) {
  const StartDay day(start);
  const bool isDay = rule.dayOfMonth == 0 || rule.dayOfMonth == day.day;
  const bool isWeekday = rule.daysOfWeek == 0 || (rule.daysOfWeek & day.bit) != 0;
  const bool isInstance =
      rule.instance == 0 ||
      (rule.instance == kLastInstance ? day.isInLastWeek : (day.day - 1) / 7 + 1 == rule.instance);
  const bool isMonth = rule.monthOfYear == 0 || rule.monthOfYear == day.month;
  return isDay && isWeekday && isInstance && isMonth;
}

// Says a rule by the days of a calendar that is one day on or behind. False where the numbers
// cannot: at the ends of months, for the nth weekday of one, and where weeks are left out and a day
// leaves its week.
bool Move(Recurrence& rule, int days) {
  constexpr int kWeek = 7;
  constexpr int kShortestMonth = 28;
  const auto mask = static_cast<uint32_t>(rule.daysOfWeek);
  switch (rule.type) {
    case RecurrenceType::Daily:
      return true;
    case RecurrenceType::Weekly: {
      // Weeks begin on Monday: a Sunday that moves on, or a Monday that moves back, leaves its
      // week.
      const uint32_t leaving = days > 0 ? 1u : 2u;
      if (rule.interval > 1 && (mask & leaving) != 0 && !IsOneDay(rule.daysOfWeek)) return false;
      const uint32_t moved =
          days > 0 ? mask << 1 | mask >> (kWeek - 1) : mask >> 1 | (mask & 1u) << (kWeek - 1);
      rule.daysOfWeek = static_cast<int32_t>(moved & 0x7Fu);
      return true;
    }
    case RecurrenceType::MonthlyByDay:
    case RecurrenceType::YearlyByDay:
      rule.dayOfMonth += days;
      return rule.dayOfMonth >= 1 && rule.dayOfMonth <= kShortestMonth &&
             rule.dayOfMonth - days <= kShortestMonth;
    default:
      return false;
  }
}

void Append(std::string& text, char sign, int64_t number) {
  text += sign;
  text += std::to_string(number);
}

void AppendDays(std::string& text, int32_t mask) {
  for (size_t i = 0; i < kDayNames.size(); ++i) {
    if ((mask >> i & 1) != 0) text.append(" ").append(kDayNames[i]);
  }
}

void AppendPosition(std::string& text, const Recurrence& rule) {
  const bool last = rule.instance == kLastInstance;
  Append(text, ' ', last ? 1 : rule.instance);
  text += last ? '-' : '+';
  AppendDays(text, rule.daysOfWeek);
}

void AppendEnd(std::string& text, const Recurrence& rule) {
  const std::string until = MomentText(rule.until);
  if (until.empty() || rule.occurrences > 0)
    text.append(" #").append(std::to_string(rule.occurrences));
  if (!until.empty()) text.append(" ").append(until);
}

}  // namespace

std::optional<Recurrence> ParseRule(std::string_view text, DATE localStart) {
  text = Trimmed(text);
  return IsModern(text) ? ParseModernRule(text, localStart) : ParseOldRule(text, localStart);
}

std::optional<Recurrence> ParseRule(std::string_view text, DATE localStart, DATE ownStart,
                                    bool isUtc) {
  const std::optional<Recurrence> here = ParseRule(text, localStart);
  const auto days = static_cast<int>(std::trunc(localStart) - std::trunc(ownStart));
  if (!here || days == 0 || !IsModern(text) || (isUtc && Fits(*here, localStart))) return here;
  const std::optional<Recurrence> there = ParseRule(text, ownStart);
  if (!there || (isUtc && !Fits(*there, ownStart))) return here;
  Recurrence moved = *there;
  if (Move(moved, days)) return moved;
  // A rule that leaves its days out takes those of the start, wherever that is.
  return isUtc || *here != *there ? here : std::nullopt;
}

std::string RuleText(const Recurrence& rule, DATE localStart) {
  constexpr std::string_view kLetters[] = {"", "D", "W", "MD", "MP", "YM", "YM"};
  if (rule.type == RecurrenceType::None) return {};
  std::string text(kLetters[static_cast<size_t>(rule.type)]);
  text += std::to_string(std::max(1, rule.interval));
  switch (rule.type) {
    case RecurrenceType::Weekly:
      AppendDays(text, rule.daysOfWeek);
      break;
    case RecurrenceType::MonthlyByDay:
      Append(text, ' ', rule.dayOfMonth);
      break;
    case RecurrenceType::MonthlyByWeekday:
      AppendPosition(text, rule);
      break;
    case RecurrenceType::YearlyByDay:
    case RecurrenceType::YearlyByWeekday:
      Append(text, ' ', rule.monthOfYear);
      break;
    default:
      break;
  }
  AppendEnd(text, rule);
  // The month alone means the day of the month on which the series begins.
  if (rule.type == RecurrenceType::YearlyByDay && rule.dayOfMonth != StartDay(localStart).day) {
    text += " MD1";
    Append(text, ' ', rule.dayOfMonth);
    text += " #1";
  } else if (rule.type == RecurrenceType::YearlyByWeekday) {
    text += " MP1";
    AppendPosition(text, rule);
    text += " #1";
  }
  return text;
}

}  // namespace qv
