#include <algorithm>
#include <array>

#include "items/vcalendar_rule_parts.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

// iCalendar 2.0: name "=" value, ";" between them, in any order, each name once.
class ModernRule {
 public:
  ModernRule(std::string_view text, DATE start) : start_(start) {
    while (readable_ && !text.empty()) {
      const size_t end = std::min(text.find(';'), text.size());
      readable_ = Take(Trimmed(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  std::optional<ReadRule> Read() {
    if (!readable_ || !ReadNumbers() || !ReadFrequency()) return std::nullopt;
    return IsWhole(rule_) ? std::optional(ReadRule{rule_, until_}) : std::nullopt;
  }

 private:
  enum Part : size_t {
    kFreq,
    kInterval,
    kCount,
    kUntil,
    kByDay,
    kByMonthDay,
    kByMonth,
    kBySetPos,
    kWkst,
    kParts
  };
  static constexpr std::array<std::string_view, kParts> kNames = {
      "FREQ", "INTERVAL", "COUNT", "UNTIL", "BYDAY", "BYMONTHDAY", "BYMONTH", "BYSETPOS", "WKST"};

  bool Take(std::string_view part) {
    if (part.empty()) return true;
    const size_t equals = part.find('=');
    if (equals == part.npos) return false;
    const auto name = std::ranges::find_if(
        kNames, [&](std::string_view known) { return SameWord(part.substr(0, equals), known); });
    if (name == kNames.end()) return false;
    std::string_view& value = values_[static_cast<size_t>(name - kNames.begin())];
    if (!value.empty()) return false;
    value = Trimmed(part.substr(equals + 1));
    return !value.empty();
  }

  bool ReadNumbers() {
    rule_.interval = 1;
    if (!values_[kInterval].empty()) {
      const auto interval = RuleNumber(values_[kInterval]);
      if (!interval || *interval == 0) return false;
      rule_.interval = *interval;
    }
    if (!values_[kCount].empty()) {
      const auto count = RuleNumber(values_[kCount]);
      if (!count || *count == 0) return false;
      rule_.occurrences = *count;
    }
    if (!values_[kUntil].empty()) {
      until_ = ParseStamp(values_[kUntil]);
      if (!until_) return false;
    }
    return true;
  }

  bool Has(Part part) const { return !values_[part].empty(); }

  bool ReadFrequency() {
    const std::string_view frequency = values_[kFreq];
    if (SameWord(frequency, "DAILY")) return ReadDaily();
    if (SameWord(frequency, "WEEKLY")) return ReadWeekly();
    if (SameWord(frequency, "MONTHLY")) {
      return !Has(kByMonth) &&
             ReadWithinMonth(RecurrenceType::MonthlyByDay, RecurrenceType::MonthlyByWeekday);
    }
    if (!SameWord(frequency, "YEARLY")) return false;
    rule_.monthOfYear = start_.month;
    if (Has(kByMonth)) {
      const auto month = RuleNumber(values_[kByMonth], 1, 12);
      if (!month) return false;
      rule_.monthOfYear = *month;
    } else if (Has(kByDay) || Has(kByMonthDay)) {
      return false;  // of the year, or of every month
    }
    return ReadWithinMonth(RecurrenceType::YearlyByDay, RecurrenceType::YearlyByWeekday);
  }

  bool ReadDaily() {
    if (Has(kByMonthDay) || Has(kByMonth) || Has(kBySetPos)) return false;
    rule_.type = RecurrenceType::Daily;
    if (!Has(kByDay)) return true;
    rule_.type = RecurrenceType::Weekly;  // every day that is one of these
    return rule_.interval == 1 && ReadDayList();
  }

  bool ReadWeekly() {
    if (Has(kByMonthDay) || Has(kByMonth) || Has(kBySetPos)) return false;
    rule_.type = RecurrenceType::Weekly;
    rule_.daysOfWeek = start_.bit;
    if (Has(kByDay) && !ReadDayList()) return false;
    // Where weeks are left out it matters on which day they begin.
    const bool mondays = !Has(kWkst) || SameWord(values_[kWkst], "MO");
    return mondays || rule_.interval == 1 || IsOneDay(rule_.daysOfWeek);
  }

  bool ReadDayList() {
    rule_.daysOfWeek = 0;
    std::string_view list = values_[kByDay];
    for (std::string_view word; NextWord(list, word);) {
      const int32_t bit = DayBit(word);
      if (bit == 0) return false;
      rule_.daysOfWeek |= bit;
    }
    return true;
  }

  bool ReadWithinMonth(RecurrenceType byDay, RecurrenceType byWeekday) {
    if (!Has(kByDay)) {
      rule_.type = byDay;
      rule_.dayOfMonth = start_.day;
      if (!Has(kByMonthDay)) return !Has(kBySetPos);
      if (values_[kByMonthDay] == "-1") {
        rule_.type = byWeekday;
        rule_.dayOfMonth = 0;
        rule_.daysOfWeek = kEveryDay;
        rule_.instance = kLastInstance;
        return !Has(kBySetPos);
      }
      const auto day = RuleNumber(values_[kByMonthDay], 1, 31);
      rule_.dayOfMonth = day.value_or(0);
      return day && !Has(kBySetPos);
    }
    if (Has(kByMonthDay)) return false;
    rule_.type = byWeekday;
    std::string_view day = values_[kByDay];
    std::string_view position = values_[kBySetPos];
    if (position.empty()) {
      if (day.size() < 3) return false;
      position = day.substr(0, day.size() - 2);
      day.remove_prefix(position.size());
    }
    rule_.daysOfWeek = DayBit(day);
    if (position == "-1") {
      rule_.instance = kLastInstance;
    } else {
      if (position.starts_with('+')) position.remove_prefix(1);
      rule_.instance = RuleNumber(position, 1, 4).value_or(0);
    }
    return rule_.daysOfWeek != 0 && rule_.instance != 0;
  }

  StartDay start_;
  bool readable_ = true;
  std::array<std::string_view, kParts> values_;
  Recurrence rule_;
  std::optional<Stamp> until_;
};

}  // namespace

std::optional<ReadRule> ReadModernRule(std::string_view text, DATE start) {
  return ModernRule(text, start).Read();
}

}  // namespace qv
