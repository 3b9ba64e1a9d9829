#include "items/vcalendar_zone.h"

#include <algorithm>
#include <bit>
#include <chrono>

#include "items/moment_text.h"
#include "items/vcalendar_rule_parts.h"
#include "platform/system/service.h"
#include "support/date_time.h"

namespace qv {
namespace {

// A text with more is no calendar: each date asks all observances of its zone.
constexpr size_t kMostZones = 1000;
constexpr size_t kMostObservances = 200;

bool Is(const Line& line, std::string_view name, std::string_view value) {
  return SameWord(line.name, name) && SameWord(Trimmed(line.value), value);
}

// "+0100", "-053000": seconds east.
std::optional<int64_t> ParseOffset(std::string_view text) {
  text = Trimmed(text);
  if ((text.size() != 5 && text.size() != 7) || (text[0] != '+' && text[0] != '-')) {
    return std::nullopt;
  }
  int64_t parts[3] = {};
  for (size_t i = 1; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    int64_t& part = parts[(i - 1) / 2];
    part = part * 10 + (text[i] - '0');
  }
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return std::nullopt;
  const int64_t seconds = parts[0] * 3600 + parts[1] * 60 + parts[2];
  return text[0] == '-' ? -seconds : seconds;
}

// The day of a yearly rule.
std::chrono::sys_days DayIn(int year, const Recurrence& rule) {
  using namespace std::chrono;
  const auto inMonth = std::chrono::year(year) / month(static_cast<unsigned>(rule.monthOfYear));
  if (rule.type == RecurrenceType::YearlyByDay) {
    const year_month_day date = inMonth / day(static_cast<unsigned>(rule.dayOfMonth));
    return date.ok() ? sys_days(date) : sys_days(inMonth / last);
  }
  const weekday named(
      static_cast<unsigned>(std::countr_zero(static_cast<uint32_t>(rule.daysOfWeek))));
  if (rule.instance == kLastInstance) return sys_days(inMonth / named[last]);
  return sys_days(inMonth / named[static_cast<unsigned>(rule.instance)]);
}

bool IsYearly(const Recurrence& rule) {
  return rule.type == RecurrenceType::YearlyByDay || rule.type == RecurrenceType::YearlyByWeekday;
}

// A number of the year, month or time of day at its place; nothing for what is no digits.
std::optional<int> DigitsAt(std::string_view text, size_t at, size_t count) {
  if (text.size() < at + count) return std::nullopt;
  int number = 0;
  for (const char c : text.substr(at, count)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  return number;
}

// When an observance begins. Zones begin in years that no date has, 1 or 1601 for "always": those
// before dates are told by a later year with the same days of the week.
std::optional<DATE> ParseOnset(std::string_view text) {
  constexpr int kFirstYear = 1600;
  constexpr int kSameDays = 400;
  std::string shifted(Trimmed(text));
  const std::optional<int> year = DigitsAt(shifted, 0, 4);
  if (!year) return std::nullopt;
  if (*year < kFirstYear) {
    const int later = *year + (kFirstYear - *year + kSameDays - 1) / kSameDays * kSameDays;
    shifted.replace(0, 4, std::to_string(later));
  }
  return ParseMoment(shifted);
}

struct OnsetTime {
  std::string_view name;
  int64_t seconds;
  int32_t most;
};
constexpr OnsetTime kOnsetTimes[] = {
    {"BYHOUR", 3600, 23}, {"BYMINUTE", 60, 59}, {"BYSECOND", 1, 59}};

// Takes the time of day out of a zone's rule. What the rule leaves out comes from the onset.
std::optional<int64_t> CutTimeOfDay(std::string& rule, int64_t onset) {
  std::string rest;
  std::optional<int64_t> time;
  std::string_view text = rule;
  while (!text.empty()) {
    const size_t end = std::min(text.find(';'), text.size());
    const std::string_view part = Trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const size_t equals = std::min(part.find('='), part.size());
    const auto known = std::ranges::find_if(kOnsetTimes, [&](const OnsetTime& unit) {
      return SameWord(Trimmed(part.substr(0, equals)), unit.name);
    });
    const bool isTime = known != std::end(kOnsetTimes) && equals < part.size();
    const auto number =
        isTime ? RuleNumber(Trimmed(part.substr(equals + 1)), 0, known->most) : std::nullopt;
    if (!number) {
      rest.append(rest.empty() ? "" : ";").append(part);
      continue;
    }
    const int64_t before = time.value_or(onset);
    const int64_t unit = before / known->seconds % (known->most + 1);
    time = before + (*number - unit) * known->seconds;
  }
  rule = std::move(rest);
  return time;
}

constexpr int64_t kDaySeconds = 86400;
int64_t TimeOfDay(int64_t seconds) {
  return ((seconds % kDaySeconds) + kDaySeconds) % kDaySeconds;
}

}  // namespace

std::optional<CalendarZones::Observance> CalendarZones::ReadObservance(LineReader& reader) {
  Observance observance;
  std::optional<int64_t> from;
  std::optional<int64_t> to;
  std::optional<DATE> onset;
  std::string rule;
  for (Line line; reader.Next(line) && !SameWord(line.name, "END");) {
    if (SameWord(line.name, "TZOFFSETFROM")) from = ParseOffset(line.value);
    if (SameWord(line.name, "TZOFFSETTO")) to = ParseOffset(line.value);
    if (SameWord(line.name, "DTSTART")) onset = ParseOnset(line.value);
    if (SameWord(line.name, "RRULE")) rule = line.value;
  }
  if (!to || !onset) return std::nullopt;
  observance.onset = UnixSecondsFromDate(*onset);
  observance.from = from.value_or(*to);
  observance.to = *to;
  observance.timeOfDay = CutTimeOfDay(rule, TimeOfDay(observance.onset));
  const std::optional<ReadRule> read = rule.empty() ? std::nullopt : ReadRuleText(rule, *onset);
  if (read && IsYearly(read->rule)) observance.rule = read->rule;
  if (observance.rule && read->until) {
    const DATE until = read->until->hasTime ? read->until->date : EndOfDay(read->until->date);
    observance.until = UnixSecondsFromDate(until) + (read->until->hasZone ? observance.from : 0);
  }
  return observance;
}

void CalendarZones::Read(LineReader& reader) {
  std::string name;
  Observances zone;
  for (Line line; reader.Next(line) && !Is(line, "END", "VTIMEZONE");) {
    if (SameWord(line.name, "TZID") && name.empty()) name = Trimmed(line.value);
    if (!Is(line, "BEGIN", "STANDARD") && !Is(line, "BEGIN", "DAYLIGHT")) continue;
    const std::optional<Observance> observance = ReadObservance(reader);
    if (observance && zone.size() < kMostObservances) zone.push_back(*observance);
  }
  if (!zone.empty() && own_.size() < kMostZones) own_.emplace(std::move(name), std::move(zone));
}

std::optional<int64_t> CalendarZones::LastOnset(const Observance& observance, int64_t local) {
  using namespace std::chrono;
  if (local < observance.onset) return std::nullopt;
  if (!observance.rule) return observance.onset;
  const int64_t limit = observance.until != 0 ? std::min(local, observance.until) : local;
  const int64_t timeOfDay = observance.timeOfDay.value_or(TimeOfDay(observance.onset));
  const int year = int{year_month_day(floor<days>(sys_seconds(seconds(limit)))).year()};
  for (const int candidate : {year, year - 1}) {
    const int64_t onset =
        sys_seconds(DayIn(candidate, *observance.rule)).time_since_epoch().count() + timeOfDay;
    if (onset <= limit) return std::max(onset, observance.onset);
  }
  return observance.onset;
}

int64_t CalendarZones::ToUtc(const Observances& zone, int64_t local) {
  const Observance* holds = nullptr;
  int64_t latest = 0;
  for (const Observance& observance : zone) {
    const std::optional<int64_t> onset = LastOnset(observance, local);
    if (!onset || (holds != nullptr && *onset < latest)) continue;
    holds = &observance;
    latest = *onset;
  }
  if (holds != nullptr) {
    // What the change of the clocks leaves out is told by the time before it.
    const bool isGap = holds->to > holds->from && local < latest + (holds->to - holds->from);
    return local - (isGap ? holds->from : holds->to);
  }
  const auto first = std::ranges::min_element(zone, {}, &Observance::onset);
  return local - first->from;
}

int64_t CalendarZones::FromUtc(const Observances& zone, int64_t utc) {
  // Whose onset, by the offset before it, is the last.
  const Observance* holds = nullptr;
  int64_t latest = 0;
  for (const Observance& observance : zone) {
    const std::optional<int64_t> local = LastOnset(observance, utc + observance.from);
    if (!local || (holds != nullptr && *local - observance.from < latest)) continue;
    holds = &observance;
    latest = *local - observance.from;
  }
  if (holds != nullptr) return utc + holds->to;
  return utc + std::ranges::min_element(zone, {}, &Observance::onset)->from;
}

DATE CalendarZones::Clock::ToUtc(DATE local) const {
  if (local == 0.0) return 0.0;
  const int64_t seconds = UnixSecondsFromDate(local);
  if (rules_ != nullptr) return DateFromUnixSeconds(rules_->LocalToUtc(seconds));
  return DateFromUnixSeconds(own_ != nullptr ? CalendarZones::ToUtc(*own_, seconds) : seconds);
}

DATE CalendarZones::Clock::FromUtc(DATE utc) const {
  if (utc == 0.0) return 0.0;
  const int64_t seconds = UnixSecondsFromDate(utc);
  if (rules_ != nullptr) return DateFromUnixSeconds(rules_->UtcToLocal(seconds));
  return DateFromUnixSeconds(own_ != nullptr ? CalendarZones::FromUtc(*own_, seconds) : seconds);
}

std::optional<CalendarZones::Clock> CalendarZones::Find(std::string_view name) {
  const auto known = known_.find(std::string(name));
  if (known != known_.end()) return known->second;
  const ZoneRules* rules = Service<NamedZones>::Get().Find(name);
  const auto own = own_.find(std::string(name));
  std::optional<Clock> clock;
  if (rules != nullptr || own != own_.end()) {
    clock = Clock(rules, own != own_.end() ? &own->second : nullptr);
  } else {
    if (known_.size() >= kMostZones) return std::nullopt;
    unknown_.emplace(name);
  }
  return known_.emplace(name, clock).first->second;
}

}  // namespace qv
