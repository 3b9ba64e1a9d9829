#include "items/vcalendar_zone.h"

#include <algorithm>
#include <bit>
#include <chrono>

#include "items/moment_text.h"
#include "items/vcalendar_rule.h"
#include "platform/system/service.h"
#include "support/date_time.h"

namespace qv {
namespace {

// A text with more is no calendar: each date asks all observances of its zone.
constexpr size_t kMostZones = 1000;
constexpr size_t kMostObservances = 200;
constexpr int32_t kLastInstance = 5;

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
    if (SameWord(line.name, "DTSTART")) onset = ParseMoment(Trimmed(line.value));
    if (SameWord(line.name, "RRULE")) rule = line.value;
  }
  if (!to || !onset) return std::nullopt;
  observance.onset = UnixSecondsFromDate(*onset);
  observance.from = from.value_or(*to);
  observance.to = *to;
  if (!rule.empty()) observance.rule = ParseRule(rule, *onset);
  if (observance.rule && !IsYearly(*observance.rule)) observance.rule.reset();
  if (observance.rule && observance.rule->until != 0.0) {
    observance.until = UnixSecondsFromDate(observance.rule->until) + observance.from;
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
  const int64_t timeOfDay = ((observance.onset % 86400) + 86400) % 86400;
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

std::optional<DATE> CalendarZones::ToUtc(std::string_view name, DATE local) {
  auto known = known_.find(std::string(name));
  if (known == known_.end()) {
    Meaning meaning;
    meaning.rules = Service<NamedZones>::Get().Find(name);
    if (const auto own = own_.find(std::string(name)); own != own_.end())
      meaning.own = &own->second;
    if (meaning.rules == nullptr && meaning.own == nullptr) {
      if (known_.size() >= kMostZones) return std::nullopt;
      unknown_.emplace(name);
    }
    known = known_.emplace(name, meaning).first;
  }
  const Meaning& meaning = known->second;
  if (meaning.rules == nullptr && meaning.own == nullptr) return std::nullopt;
  const int64_t seconds = UnixSecondsFromDate(local);
  const int64_t utc =
      meaning.rules != nullptr ? meaning.rules->LocalToUtc(seconds) : ToUtc(*meaning.own, seconds);
  const DATE date = DateFromUnixSeconds(utc);
  if (date == 0.0) return std::nullopt;
  return date;
}

}  // namespace qv
