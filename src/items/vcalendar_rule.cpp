#include "items/vcalendar_rule.h"

#include <algorithm>
#include <cstdlib>

#include "items/moment_text.h"
#include "items/recurrence.h"
#include "items/vcalendar_rule_parts.h"
#include "platform/system/system_time.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

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

// Of a year of 365 days; 0 for no month.
int32_t DaysOf(int32_t month) {
  constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month >= 1 && month <= 12 ? kDays[month - 1] : 0;
}

// The last day of a month, a day on.
bool MoveLastDay(Recurrence& rule, int days) {
  if (days != 1) return false;
  const bool yearly = rule.type == RecurrenceType::YearlyByWeekday;
  rule.type = yearly ? RecurrenceType::YearlyByDay : RecurrenceType::MonthlyByDay;
  if (yearly) rule.monthOfYear = rule.monthOfYear % 12 + 1;
  rule.daysOfWeek = rule.instance = 0;
  rule.dayOfMonth = 1;
  return true;
}

// The last day of a month that is not told by its number.
void NameLastDay(Recurrence& rule, RecurrenceType type) {
  rule.type = type;
  rule.dayOfMonth = 0;
  rule.daysOfWeek = kEveryDay;
  rule.instance = kLastInstance;
}

// A date of each year. 28 February is not followed by the same date in all of them.
bool MoveDate(Recurrence& rule, int days) {
  constexpr int32_t kFebruary = 2;
  int32_t& month = rule.monthOfYear;
  int32_t& day = rule.dayOfMonth;
  if (day < 1 || day > DaysOf(month)) return false;
  day += days;
  if (month == kFebruary && day > DaysOf(month)) return false;
  if (day > DaysOf(month)) {
    month = month % 12 + 1;
    day = 1;
  } else if (day == 0) {
    month = (month + 10) % 12 + 1;
    day = DaysOf(month);
    if (month == kFebruary) NameLastDay(rule, RecurrenceType::YearlyByWeekday);
  }
  return true;
}

// Leaves any numbers behind where it cannot.
bool MoveOneDay(Recurrence& rule, int days) {
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
      if (rule.dayOfMonth == 1 && days < 0) {
        NameLastDay(rule, RecurrenceType::MonthlyByWeekday);
        return true;
      }
      rule.dayOfMonth += days;
      return rule.dayOfMonth >= 1 && rule.dayOfMonth <= kShortestMonth &&
             rule.dayOfMonth - days <= kShortestMonth;
    case RecurrenceType::YearlyByDay:
      return MoveDate(rule, days);
    default:
      return rule.daysOfWeek == kEveryDay && rule.instance == kLastInstance &&
             MoveLastDay(rule, days);
  }
}

// Wall-clock seconds of a date, and their day.
int64_t SecondsOf(DATE date) {
  return VariantTimeToSeconds(date).value_or(0);
}
int64_t DayOfSeconds(int64_t seconds) {
  constexpr int64_t kDaySeconds = 86400;
  return seconds / kDaySeconds - (seconds % kDaySeconds < 0 ? 1 : 0);
}
int64_t DayNumber(DATE date) {
  return DayOfSeconds(SecondsOf(date));
}

// Whether every occurrence lies so many days on from its day in the zone of the text.
class SameDays {
 public:
  SameDays(const CalendarZones::Clock& zone, const WallClock& here, DATE own, int64_t days)
      : zone_(zone), here_(here), own_(own), days_(days) {}

  bool Hold(const Recurrence& rule, DATE until) const {
    if (AreFarFromMidnight()) return true;
    CalendarContent series;
    series.allDay = true;  // by the clock of the zone, whatever holds here
    series.start = own_;
    series.recurrence = rule;
    series.recurrence.until = until == 0.0 ? 0.0 : zone_.FromUtc(until);
    bool same = true;
    ForEachOccurrence(series, own_, own_ + kYears * 366, [&](const Occurrence& occurrence) {
      const DATE local = here_.FromUtc(zone_.ToUtc(occurrence.local));
      same = local != 0.0 && DayNumber(local) == DayNumber(occurrence.local) + days_;
      return same;
    });
    return same;
  }

 private:
  static constexpr int kYears = 20;

  // Most meetings are held by day in both zones: no change of the clocks brings them near another
  // day. Zones that change by more than two hours are looked at more closely.
  bool AreFarFromMidnight() const {
    constexpr int64_t kNear = 4 * 3600;
    constexpr int64_t kDaySeconds = 86400;
    constexpr int kHalfYear = 182;
    const int64_t timeOfDay =
        SecondsOf(here_.FromUtc(zone_.ToUtc(own_))) - (DayNumber(own_) + days_) * kDaySeconds;
    if (timeOfDay < kNear || timeOfDay >= kDaySeconds - kNear) return false;
    for (int i = 0; i < kYears * 2; ++i) {
      const DATE own = own_ + i * kHalfYear;
      const DATE local = here_.FromUtc(zone_.ToUtc(own));
      const int64_t then = SecondsOf(local) - (DayNumber(own) + days_) * kDaySeconds;
      if (local == 0.0 || std::abs(then - timeOfDay) > kNear / 2) return false;
    }
    return true;
  }

  const CalendarZones::Clock& zone_;
  const WallClock& here_;
  DATE own_;
  int64_t days_;
};

// The end of a rule as a moment, 0.0 for none; of an all-day series its last day.
DATE EndOf(const std::optional<Stamp>& until, const RuleStart& start, const WallClock& here) {
  if (!until) return 0.0;
  const DATE last = until->hasTime ? until->date : EndOfDay(until->date);
  if (start.isDay) {
    if (!until->hasZone) return EndOfDay(last);
    if (start.east != 0) return EndOfDay(Later(last, start.east));
    const DATE local = here.FromUtc(last);
    return local == 0.0 ? 0.0 : EndOfDay(local);
  }
  if (until->hasZone) return last;
  return start.zone ? start.zone->ToUtc(last) : here.ToUtc(last);
}

// The end, so that the last occurrence by the days and hours here is the last one there. The clocks
// of the two may disagree for a few weeks, and just then the rule may end.
DATE SameEnd(DATE until, const RuleStart& start, int64_t days, const WallClock& here) {
  constexpr int64_t kDaySeconds = 86400;
  const auto lastDay = [&](DATE end, DATE begin) {
    const int64_t timeOfDay = SecondsOf(begin) - DayNumber(begin) * kDaySeconds;
    return DayOfSeconds(SecondsOf(end) - timeOfDay);
  };
  const int64_t there = lastDay(start.zone->FromUtc(until), start.own);
  if (lastDay(here.FromUtc(until), start.local) == there + days) return until;
  const int64_t timeOfDay = SecondsOf(start.local) - DayNumber(start.local) * kDaySeconds;
  const auto last = SecondsToVariantTime((there + days) * kDaySeconds + timeOfDay);
  const DATE moved = last ? here.ToUtc(*last) : 0.0;
  return moved == 0.0 ? until : moved;
}

// Of a series that a computer or phone told in UTC when it was in another zone than now: where the
// start fits the rule on the day that it has somewhere else alone, the rule is told by the days
// there. Only for one day a week: other series may well begin beside their days.
void MoveFromElsewhere(Recurrence& rule, const RuleStart& start) {
  if (rule.type != RecurrenceType::Weekly || !IsOneDay(rule.daysOfWeek)) return;
  constexpr int64_t kHour = 3600;
  const int64_t own = DayNumber(start.own);
  const int64_t timeOfDay = SecondsOf(start.own) - own * 24 * kHour;
  struct Zone {
    int64_t days;      // from the day in UTC
    int64_t from, to;  // times of day in UTC at which some zone has that day
  };
  constexpr Zone kZones[] = {{0, 0, 24}, {1, 10, 24}, {-1, 0, 12}};
  for (const Zone& zone : kZones) {
    if (timeOfDay < zone.from * kHour || timeOfDay >= zone.to * kHour) continue;
    Recurrence moved = rule;
    if (!MoveDays(moved, DayNumber(start.local) - own - zone.days)) continue;
    if (!Fits(moved, start.local)) continue;
    rule = moved;
    return;
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

bool IsLastDay(const Recurrence& rule) {
  return rule.daysOfWeek == kEveryDay && rule.instance == kLastInstance;
}

void AppendPosition(std::string& text, const Recurrence& rule) {
  const bool last = rule.instance == kLastInstance;
  Append(text, ' ', last ? 1 : rule.instance);
  text += last ? '-' : '+';
  AppendDays(text, rule.daysOfWeek);
}

void AppendEnd(std::string& text, const Recurrence& rule, bool isDay) {
  const std::string until = isDay ? WallText(rule.until) : MomentText(rule.until);
  if (until.empty() || rule.occurrences > 0)
    text.append(" #").append(std::to_string(rule.occurrences));
  if (!until.empty()) text.append(" ").append(until);
}

}  // namespace

bool MoveDays(Recurrence& rule, int64_t days) {
  constexpr int64_t kMost = 2;  // across the date line
  if (std::abs(days) > kMost) return false;
  Recurrence moved = rule;
  for (int64_t i = std::abs(days); i > 0; --i) {
    if (!MoveOneDay(moved, days > 0 ? 1 : -1)) return false;
  }
  rule = moved;
  return true;
}

std::optional<ReadRule> ReadRuleText(std::string_view text, DATE start) {
  text = Trimmed(text);
  return IsModernRule(text) ? ReadModernRule(text, start) : ReadOldRule(text, start);
}

std::optional<Recurrence> ParseRule(std::string_view text, const RuleStart& start,
                                    const WallClock& here) {
  std::optional<ReadRule> read = ReadRuleText(text, start.local);
  if (!read) return std::nullopt;
  DATE until = EndOf(read->until, start, here);
  if (read->until && until == 0.0) return std::nullopt;
  // A count says how many there are; the start in front of it only names the first.
  const DATE beginning = start.isDay ? EndOfDay(start.local) : here.ToUtc(start.local);
  if (read->rule.occurrences > 0 && until == beginning) until = 0.0;
  const bool isModern = IsModernRule(text);
  const bool isHere = start.isDay || start.own == 0.0 ||
                      (start.isUtc ? Fits(read->rule, start.local) : !isModern || !start.zone);
  if (!isHere && !isModern) {
    MoveFromElsewhere(read->rule, start);
  } else if (!isHere) {
    const std::optional<ReadRule> there = ReadRuleText(text, start.own);
    if (!there) return std::nullopt;
    if (start.isUtc && !Fits(there->rule, start.own)) {
      MoveFromElsewhere(read->rule, start);
    } else {
      RuleStart own = start;
      if (start.isUtc) own.zone = CalendarZones::Clock();
      const int64_t days = DayNumber(start.local) - DayNumber(start.own);
      read->rule = there->rule;
      if (!SameDays(*own.zone, here, start.own, days).Hold(there->rule, until)) return std::nullopt;
      if (!MoveDays(read->rule, days)) return std::nullopt;
      if (until != 0.0) until = SameEnd(until, own, days, here);
    }
  }
  read->rule.until = until;
  return read->rule;
}

std::string RuleText(const Recurrence& rule, DATE localStart, bool isDay) {
  constexpr std::string_view kLetters[] = {"", "D", "W", "MD", "MP", "YM", "YM"};
  if (rule.type == RecurrenceType::None) return {};
  const bool isLastDay = IsLastDay(rule);
  const bool isMonthly = rule.type == RecurrenceType::MonthlyByWeekday;
  std::string text(isLastDay && isMonthly ? "MD" : kLetters[static_cast<size_t>(rule.type)]);
  text += std::to_string(std::max(1, rule.interval));
  switch (rule.type) {
    case RecurrenceType::Weekly:
      AppendDays(text, rule.daysOfWeek);
      break;
    case RecurrenceType::MonthlyByDay:
      Append(text, ' ', rule.dayOfMonth);
      break;
    case RecurrenceType::MonthlyByWeekday:
      isLastDay ? (void)text.append(" LD") : AppendPosition(text, rule);
      break;
    case RecurrenceType::YearlyByDay:
    case RecurrenceType::YearlyByWeekday:
      Append(text, ' ', rule.monthOfYear);
      break;
    default:
      break;
  }
  AppendEnd(text, rule, isDay);
  // The month alone means the day of the month on which the series begins.
  if (rule.type == RecurrenceType::YearlyByDay && rule.dayOfMonth != StartDay(localStart).day) {
    text += " MD1";
    Append(text, ' ', rule.dayOfMonth);
    text += " #1";
  } else if (rule.type == RecurrenceType::YearlyByWeekday) {
    text += isLastDay ? " MD1 LD" : " MP1";
    if (!isLastDay) AppendPosition(text, rule);
    text += " #1";
  }
  return text;
}

}  // namespace qv
