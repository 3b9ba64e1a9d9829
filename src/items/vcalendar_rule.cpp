#include "items/vcalendar_rule.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <vector>

#include "items/moment_text.h"
#include "support/date_time.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

constexpr int32_t kLastInstance = 5;
// By the bits of the mask, Sunday first.
constexpr std::array<std::string_view, 7> kDays = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

// The bit of a weekday's name; 0 for none.
int32_t DayBit(std::string_view name) {
  for (size_t i = 0; i < kDays.size(); ++i) {
    if (SameWord(name, kDays[i])) return 1 << i;
  }
  return 0;
}

bool IsOneDay(int32_t mask) {
  return std::has_single_bit(static_cast<uint32_t>(mask));
}

// Digits alone, up to the greatest 32-bit number.
std::optional<int32_t> Number(std::string_view text) {
  if (text.empty() || text.size() > 10) return std::nullopt;
  int64_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  if (number > std::numeric_limits<int32_t>::max()) return std::nullopt;
  return static_cast<int32_t>(number);
}

std::optional<int32_t> NumberWithin(std::string_view text, int32_t low, int32_t high) {
  const std::optional<int32_t> number = Number(text);
  return number && *number >= low && *number <= high ? number : std::nullopt;
}

// The last moment of a rule. A date means the whole of that day.
std::optional<DATE> ParseEnd(std::string_view text) {
  const std::optional<Stamp> stamp = ParseStamp(text);
  if (!stamp) return std::nullopt;
  if (stamp->hasZone) return stamp->date;
  const DateTimeSpan day(0, 23, 59, 59);
  const DateTimeValue local = stamp->hasTime ? DateTimeValue(stamp->date) : stamp->date + day;
  const DateTimeValue utc = LocalToUtc(local, true);
  if (!utc.IsDate()) return std::nullopt;
  return utc.value;
}

// What a rule that leaves days and months out takes from its beginning; 0 for an unknown one.
struct StartDay {
  explicit StartDay(DATE local) {
    const DateTimeValue date(local);
    if (!date.IsDate() || date.GetYear() < 0) return;
    bit = 1 << (date.GetDayOfWeek() - 1);
    day = date.GetDay();
    month = date.GetMonth();
  }
  int32_t bit = 0;
  int32_t day = 0;
  int32_t month = 0;
};

// Is every number there that the type needs? Where one is missing the start was to give it.
bool IsWhole(const Recurrence& rule) {
  const bool onDay = rule.dayOfMonth != 0;
  const bool onWeekday = IsOneDay(rule.daysOfWeek) && rule.instance != 0;
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

// vCalendar 1.0, blanks between the words:
//
// rule     := daily | weekly | monthly | yearly
// daily    := "D" interval end?
// weekly   := "W" interval weekday* end?
// monthly  := "MP" interval position weekday end? | "MD" interval day? end?
// yearly   := "YM" interval month? end? monthly?
// position := digit ("+" | "-")
// end      := "#" count | moment        none is #2, #0 is no end
class OldRule {
 public:
  OldRule(std::string_view text, DATE localStart) : start_(localStart) {
    while (!text.empty()) {
      const size_t end = std::min(text.find_first_of(" \t"), text.size());
      if (end > 0) words_.push_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  std::optional<Recurrence> Read() {
    if (words_.size() > kMostWords || !ReadHead(rule_) || !ReadEnd(rule_)) return std::nullopt;
    if (rule_.type == RecurrenceType::YearlyByDay && at_ < words_.size() && !ReadWithinYear()) {
      return std::nullopt;
    }
    if (at_ < words_.size()) return std::nullopt;
    if (rule_.type == RecurrenceType::YearlyByDay && rule_.dayOfMonth == 0) {
      rule_.dayOfMonth = start_.day;
    }
    return IsWhole(rule_) ? std::optional(rule_) : std::nullopt;
  }

 private:
  static constexpr size_t kMostWords = 32;
  static constexpr int32_t kDefaultCount = 2;

  std::string_view Word() const { return at_ < words_.size() ? words_[at_] : std::string_view(); }

  bool ReadHead(Recurrence& rule) {
    struct Form {
      std::string_view letters;
      RecurrenceType type;
    };
    // The longer ones first.
    constexpr Form kForms[] = {
        {"MP", RecurrenceType::MonthlyByWeekday},
        {"MD", RecurrenceType::MonthlyByDay},
        {"YM", RecurrenceType::YearlyByDay},
        {"D", RecurrenceType::Daily},
        {"W", RecurrenceType::Weekly},
    };
    const std::string_view word = Word();
    const auto form = std::ranges::find_if(kForms, [&](const Form& f) {
      return SameWord(word.substr(0, f.letters.size()), f.letters);
    });
    if (form == std::end(kForms)) return false;
    const auto interval = Number(word.substr(form->letters.size()));
    if (!interval || *interval == 0) return false;
    ++at_;
    rule.type = form->type;
    rule.interval = *interval;
    return ReadDays(rule);
  }

  bool ReadDays(Recurrence& rule) {
    switch (rule.type) {
      case RecurrenceType::Weekly:
        for (; DayBit(Word()) != 0; ++at_) rule.daysOfWeek |= DayBit(Word());
        if (rule.daysOfWeek == 0) rule.daysOfWeek = start_.bit;
        return true;
      case RecurrenceType::MonthlyByDay:
        rule.dayOfMonth = start_.day;
        if (IsListed()) return TakeNumber(31, rule.dayOfMonth);
        return true;
      case RecurrenceType::MonthlyByWeekday:
        return ReadPosition(rule);
      case RecurrenceType::YearlyByDay:
        rule.monthOfYear = start_.month;
        if (IsListed()) return TakeNumber(12, rule.monthOfYear);
        return true;
      default:
        return true;
    }
  }

  // One or two digits with or without a sign: neither a count nor a moment.
  bool IsListed() const {
    const std::string_view word = Word();
    return !word.empty() && word.size() <= 3 && word[0] >= '0' && word[0] <= '9';
  }

  bool TakeNumber(int32_t high, int32_t& number) {
    std::string_view word = Word();
    if (word.ends_with('+')) word.remove_suffix(1);
    const auto taken = NumberWithin(word, 1, high);
    if (!taken) return false;
    ++at_;
    number = *taken;
    return !IsListed();  // one alone
  }

  bool ReadPosition(Recurrence& rule) {
    const std::string_view word = Word();
    if (word.size() != 2) return false;
    const auto number = NumberWithin(word.substr(0, 1), 1, 4);
    if (!number || (word[1] == '-' && *number != 1) || (word[1] != '-' && word[1] != '+')) {
      return false;
    }
    rule.instance = word[1] == '-' ? kLastInstance : *number;
    ++at_;
    rule.daysOfWeek = DayBit(Word());
    if (rule.daysOfWeek == 0) return false;
    ++at_;
    return DayBit(Word()) == 0 && !IsListed();
  }

  bool ReadEnd(Recurrence& rule) {
    bool counted = false;
    if (Word().starts_with('#')) {
      const auto count = Number(Word().substr(1));
      if (!count) return false;
      rule.occurrences = *count;
      counted = true;
      ++at_;
    }
    if (!Word().empty() && Word().size() > 3 && Word()[0] >= '0' && Word()[0] <= '9') {
      const auto end = ParseEnd(Word());
      if (!end) return false;
      rule.until = *end;
      counted = true;
      ++at_;
    }
    if (!counted) rule.occurrences = kDefaultCount;
    return true;
  }

  // Which day of the month a yearly rule means: its part comes once a year.
  bool ReadWithinYear() {
    Recurrence part;
    if (!ReadHead(part) || part.interval != 1) return false;
    if (Word() == "#1") ++at_;
    if (part.type == RecurrenceType::MonthlyByDay) {
      rule_.dayOfMonth = part.dayOfMonth;
      return true;
    }
    rule_.type = RecurrenceType::YearlyByWeekday;
    rule_.daysOfWeek = part.daysOfWeek;
    rule_.instance = part.instance;
    return part.type == RecurrenceType::MonthlyByWeekday;
  }

  StartDay start_;
  std::vector<std::string_view> words_;
  size_t at_ = 0;
  Recurrence rule_;
};

// iCalendar 2.0: name "=" value, ";" between them, in any order, each name once.
class ModernRule {
 public:
  ModernRule(std::string_view text, DATE localStart) : start_(localStart) {
    while (readable_ && !text.empty()) {
      const size_t end = std::min(text.find(';'), text.size());
      readable_ = Take(Trimmed(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  std::optional<Recurrence> Read() {
    if (!readable_ || !ReadNumbers() || !ReadFrequency()) return std::nullopt;
    return IsWhole(rule_) ? std::optional(rule_) : std::nullopt;
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
      const auto interval = Number(values_[kInterval]);
      if (!interval || *interval == 0) return false;
      rule_.interval = *interval;
    }
    if (!values_[kCount].empty()) {
      const auto count = Number(values_[kCount]);
      if (!count || *count == 0) return false;
      rule_.occurrences = *count;
    }
    if (!values_[kUntil].empty()) {
      const auto until = ParseEnd(values_[kUntil]);
      if (!until) return false;
      rule_.until = *until;
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
      const auto month = NumberWithin(values_[kByMonth], 1, 12);
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
      const auto day = NumberWithin(values_[kByMonthDay], 1, 31);
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
      rule_.instance = NumberWithin(position, 1, 4).value_or(0);
    }
    return rule_.daysOfWeek != 0 && rule_.instance != 0;
  }

  StartDay start_;
  bool readable_ = true;
  std::array<std::string_view, kParts> values_;
  Recurrence rule_;
};

void Append(std::string& text, char sign, int64_t number) {
  text += sign;
  text += std::to_string(number);
}

void AppendDays(std::string& text, int32_t mask) {
  for (size_t i = 0; i < kDays.size(); ++i) {
    if ((mask >> i & 1) != 0) text.append(" ").append(kDays[i]);
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
  if (text.find('=') != text.npos) return ModernRule(text, localStart).Read();
  return OldRule(text, localStart).Read();
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
