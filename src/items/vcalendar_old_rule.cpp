#include <algorithm>
#include <vector>

#include "items/vcalendar_rule_parts.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

// vCalendar 1.0, blanks between the words:
//
// rule     := daily | weekly | monthly | yearly
// daily    := "D" interval time? end?
// weekly   := "W" interval weekday* time? end?
// monthly  := "MP" interval position weekday time? end? | "MD" interval day? time? end?
// yearly   := "YM" interval month? end? monthly?
// position := digit ("+" | "-")
// day      := number "+"? | "LD" | "1-"
// end      := count moment? | moment count?     none is #2, #0 is no end
// count    := "#" number
//
// A time may be that of the start once more: then it says nothing.
class OldRule {
 public:
  OldRule(std::string_view text, DATE start) : start_(start), startMoment_(start) {
    while (!text.empty()) {
      const size_t end = std::min(text.find_first_of(" \t"), text.size());
      if (end > 0) words_.push_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  std::optional<ReadRule> Read() {
    if (words_.size() > kMostWords || !ReadHead(rule_) || !ReadEnd(rule_)) return std::nullopt;
    if (rule_.type == RecurrenceType::YearlyByDay && at_ < words_.size() && !ReadWithinYear()) {
      return std::nullopt;
    }
    if (at_ < words_.size()) return std::nullopt;
    if (rule_.type == RecurrenceType::YearlyByDay && rule_.dayOfMonth == 0) {
      rule_.dayOfMonth = start_.day;
    }
    return IsWhole(rule_) ? std::optional(ReadRule{rule_, until_}) : std::nullopt;
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
    const auto interval = RuleNumber(word.substr(form->letters.size()));
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
        if (SameWord(Word(), "LD") || Word() == "1-") {
          ++at_;
          rule.type = RecurrenceType::MonthlyByWeekday;
          rule.daysOfWeek = kEveryDay;
          rule.instance = kLastInstance;
          return !IsListed();
        }
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
    const auto taken = RuleNumber(word, 1, high);
    if (!taken) return false;
    ++at_;
    number = *taken;
    return !IsListed();  // one alone
  }

  bool ReadPosition(Recurrence& rule) {
    const std::string_view word = Word();
    if (word.size() != 2) return false;
    const auto number = RuleNumber(word.substr(0, 1), 1, 4);
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

  // "0900" or "090000", where that is when the series begins.
  bool IsStartTime(std::string_view word) const {
    if (word.size() != 4 && word.size() != 6) return false;
    const std::string moment = MomentText(startMoment_);  // YYYYMMDDThhmmssZ
    constexpr size_t kTimeAt = 9;
    return !moment.empty() && moment.substr(kTimeAt, 6).starts_with(word) &&
           (word.size() == 6 || moment.substr(kTimeAt + 4, 2) == "00");
  }

  bool ReadCount(Recurrence& rule) {
    const auto count = RuleNumber(Word().substr(1));
    if (!count) return false;
    rule.occurrences = *count;
    ++at_;
    return true;
  }

  bool ReadEnd(Recurrence& rule) {
    if (IsStartTime(Word())) ++at_;
    const bool counted = Word().starts_with('#');
    if (counted && !ReadCount(rule)) return false;
    if (Word().size() <= 3 || Word()[0] < '0' || Word()[0] > '9') {
      if (!counted) rule.occurrences = kDefaultCount;
      return true;
    }
    until_ = ParseStamp(Word());
    if (!until_) return false;
    ++at_;
    if (counted || !Word().starts_with('#')) return true;
    return ReadCount(rule);
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
  DATE startMoment_;
  std::vector<std::string_view> words_;
  size_t at_ = 0;
  Recurrence rule_;
  std::optional<Stamp> until_;
};

}  // namespace

std::optional<ReadRule> ReadOldRule(std::string_view text, DATE start) {
  return OldRule(text, start).Read();
}

}  // namespace qv
