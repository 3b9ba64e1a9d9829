#include "items/vcalendar_fields.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "items/extra.h"
#include "items/kinds.h"
#include "items/uid_text.h"
#include "items/vcalendar_alarm.h"
#include "items/vcalendar_rule.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

struct Property {
  std::string_view name;
  CalendarField field;
};
constexpr Property kProperties[] = {
    {"UID", CalendarField::Uid},
    {"X-UID", CalendarField::OtherUid},
    {"LAST-MODIFIED", CalendarField::Modified},
    {"SUMMARY", CalendarField::Subject},
    {"DESCRIPTION", CalendarField::Body},
    {"LOCATION", CalendarField::Location},
    {"DTSTART", CalendarField::Start},
    {"DTEND", CalendarField::End},
    {"DUE", CalendarField::Due},
    {"DURATION", CalendarField::Duration},
    {"X-ALLDAY", CalendarField::AllDay},
    {"X-EVENTTYPE", CalendarField::EventType},
    {kEntryTypeName, CalendarField::EntryType},
    {"COMPLETED", CalendarField::Completed},
    {"STATUS", CalendarField::Status},
    {"PRIORITY", CalendarField::Priority},
    {"CLASS", CalendarField::Sensitivity},
    {"AALARM", CalendarField::Alarm},
    {"DALARM", CalendarField::Alarm},
    {"RRULE", CalendarField::Rule},
    {"RDATE", CalendarField::OtherRule},
    {"EXRULE", CalendarField::OtherRule},
    {"X-RECURRING", CalendarField::Recurring},
    {"EXDATE", CalendarField::Deletion},
    {"RECURRENCE-ID", CalendarField::Occurrence},
    {"X-PARENT-UID", CalendarField::Parent},
    {"X-RECUR-ENTRY", CalendarField::Entry},
    {"X-QVBEGAN", CalendarField::Own},
    {"X-QVLEAD", CalendarField::Own},
    {"VERSION", CalendarField::Dropped},
    {"PRODID", CalendarField::Dropped},
};

CalendarField FieldOf(std::string_view name) {
  const auto found = std::ranges::find_if(
      kProperties, [&](const Property& property) { return SameWord(property.name, name); });
  return found == std::end(kProperties) ? CalendarField::Extra : found->field;
}

struct Word {
  std::string_view text;
  int32_t number;
};
constexpr Word kStatuses[] = {{"COMPLETED", kTaskCompleted}, {"IN-PROCESS", 1}, {"IN PROCESS", 1}};
constexpr Word kSensitivities[] = {{"PUBLIC", 0}, {"PRIVATE", 2}, {"CONFIDENTIAL", 3}};

template <size_t n>
std::optional<int32_t> NumberOf(const Word (&words)[n], std::string_view text) {
  const auto found =
      std::ranges::find_if(words, [&](const Word& word) { return SameWord(word.text, text); });
  if (found == std::end(words)) return std::nullopt;
  return found->number;
}

// Within days of the first or last year that a date may have: local time may lie outside.
bool IsNearTheEnds(DATE utc) {
  constexpr DATE kYear200 = -620'000;
  constexpr DATE kYear9900 = 2'920'000;
  return utc < kYear200 || utc > kYear9900;
}

// The first value of a parameter; nothing for a line without it.
std::optional<std::string_view> ParameterOf(const Line& line, std::string_view name) {
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    if (SameWord(parameter.name, name)) return parameter.value;
  }
  return std::nullopt;
}

std::string_view ZoneOf(const Line& line) {
  return ParameterOf(line, "TZID").value_or(std::string_view());
}

}  // namespace

VCalendarFields::VCalendarFields(bool isTask, Dialect dialect, CalendarZones& zones)
    : dialect_(dialect), zones_(zones) {
  item_.isTask = isTask;
}

void VCalendarFields::Read(const Line& line) {
  const CalendarField field = FieldOf(line.name);
  // What frames a text says nothing of the item, with a value or without.
  if (field == CalendarField::Own || (field == CalendarField::Dropped && line.bare)) return;
  if (!line.malformed && !line.bare && ReadField(field, line)) return;
  if (field == CalendarField::Status) statusExtras_.push_back(item_.fields.extras.size());
  if (line.malformed && field == CalendarField::Rule) {
    Waiting waiting;
    waiting.extra = item_.fields.extras.size();
    waiting.isRule = true;
    waiting.saysMore = true;
    rules_.push_back(std::move(waiting));
  }
  KeepExtra(ExtraOf(line, dialect_));
}

bool VCalendarFields::ReadField(CalendarField field, const Line& line) {
  switch (field) {
    case CalendarField::Own:
    case CalendarField::Dropped:
      return true;
    case CalendarField::Uid:
      return ReadUid(line, item_.fields.objUid);
    case CalendarField::OtherUid:
      return Wait(line, otherUids_);
    case CalendarField::Modified:
      return ReadModified(line);
    case CalendarField::Subject:
      return ReadText(line, item_.subject);
    case CalendarField::Body:
      return ReadText(line, item_.body);
    case CalendarField::Location:
      return ReadText(line, item_.location);
    case CalendarField::Start:
      if (!start_) startZone_ = ZoneOf(line);
      return ReadMoment(line, start_);
    case CalendarField::Due:
      return item_.isTask && ReadMoment(line, due_);
    case CalendarField::End:
      return item_.isTask ? WaitForEnd(line) : ReadMoment(line, end_);
    case CalendarField::Duration:
      return Wait(line, durations_);
    case CalendarField::AllDay:
      return ReadAllDay(line, "1");
    case CalendarField::EventType:
      return ReadAllDay(line, "ALLDAY");
    case CalendarField::EntryType:
      return ReadEntryType(line);
    case CalendarField::Completed:
      return ReadCompleted(line);
    case CalendarField::Status:
      return ReadStatus(line);
    case CalendarField::Priority:
      return ReadPriority(line);
    case CalendarField::Sensitivity:
      return ReadSensitivity(line);
    case CalendarField::Alarm:
      return WaitForAlarm(line);
    case CalendarField::Rule:
      return Wait(line, rules_, true);
    case CalendarField::OtherRule:
      return Wait(line, rules_);
    case CalendarField::Recurring:
      return ReadRecurring(line);
    case CalendarField::Deletion:
      return WaitForDeletions(line);
    case CalendarField::Occurrence:
      return Wait(line, occurrences_);
    case CalendarField::Parent:
      return Wait(line, parents_);
    case CalendarField::Entry:
      return ReadEntry(line);
    case CalendarField::Extra:
      break;
  }
  return false;
}

void VCalendarFields::KeepExtra(ExtraProperty extra) {
  std::vector<ExtraProperty>& extras = item_.fields.extras;
  overfull_ = overfull_ || extras.size() >= kMaxExtras;
  if (!overfull_) extras.push_back(std::move(extra));
}

bool VCalendarFields::ReadText(const Line& line, std::u16string& text) {
  if (!text.empty()) return false;
  const auto decoded = decoder_.Text(line, dialect_);
  if (decoded) text = Unescape(*decoded, dialect_);
  return decoded.has_value();
}

bool VCalendarFields::ReadUid(const Line& line, std::u16string& uid) {
  if (!uid.empty()) return false;
  const auto decoded = decoder_.Text(line, dialect_, true);
  if (decoded) uid = EncodeUid(Unescape(*decoded, dialect_));
  return decoded.has_value();
}

std::optional<std::string_view> VCalendarFields::TokenOf(const Line& line) {
  const auto token = decoder_.Token(line, dialect_);
  if (!token) return std::nullopt;
  return Trimmed(*token);
}

bool VCalendarFields::ReadModified(const Line& line) {
  const auto token = TokenOf(line);
  if (!token || item_.fields.objModified != 0.0) return false;
  if (token->empty()) return true;
  const std::optional<DATE> moment = qv::ParseMoment(*token);
  item_.fields.objModified = moment.value_or(0.0);
  return moment.has_value();
}

const WallClock& VCalendarFields::LocalClock() {
  if (!clock_) clock_.emplace();
  return *clock_;
}

DATE VCalendarFields::LocalOf(const Moment& moment) {
  return moment.isDate ? moment.own : LocalClock().FromUtc(moment.utc);
}

std::optional<VCalendarFields::Moment> VCalendarFields::MomentOf(const Line& line,
                                                                 std::string_view text) {
  const std::optional<Stamp> stamp = ParseStamp(text);
  if (!stamp) return std::nullopt;
  Moment moment;
  moment.isDate = !stamp->hasTime;
  moment.isUtc = stamp->hasZone;
  moment.own = stamp->date;
  const std::string_view zone = stamp->hasTime && !stamp->hasZone ? ZoneOf(line) : "";
  if (moment.isUtc) {
    moment.utc = stamp->date;
  } else {
    const auto clock = zone.empty() ? std::nullopt : zones_.Find(zone);
    moment.isZoned = clock.has_value();
    missedZone_ = missedZone_ || (!zone.empty() && !clock);
    if (clock) moment.utc = clock->ToUtc(stamp->date);
    if (moment.utc == 0.0) moment.utc = LocalClock().ToUtc(stamp->date);
  }
  // Whole seconds in one form, whatever the way here; and within the years there are.
  moment.utc = Later(moment.utc, 0);
  if (moment.utc == 0.0 || (IsNearTheEnds(moment.utc) && LocalOf(moment) == 0.0)) {
    return std::nullopt;
  }
  return moment;
}

bool VCalendarFields::ReadMoment(const Line& line, std::optional<Moment>& moment) {
  const auto token = TokenOf(line);
  if (!token || moment) return false;
  if (token->empty()) return true;
  moment = MomentOf(line, *token);
  return moment.has_value();
}

// When a task that says so in no other way is due.
bool VCalendarFields::WaitForEnd(const Line& line) {
  const auto token = TokenOf(line);
  if (token && token->empty()) return true;
  if (endWaits_ || !ReadMoment(line, end_)) return false;
  endWaits_ = true;
  endExtra_ = item_.fields.extras.size();
  return false;
}

bool VCalendarFields::ReadAllDay(const Line& line, std::string_view yes) {
  const auto token = TokenOf(line);
  if (!token || allDay_) return false;
  const bool isAllDay = SameWord(*token, yes) || SameWord(*token, "TRUE");
  // As below: what the item is anyhow is not written, so a second line may still say otherwise.
  if (isAllDay) allDay_ = true;
  return isAllDay || *token == "0";
}

bool IsDayType(std::string_view type) {
  return SameWord(type, "ANNIVERSARY") || SameWord(type, "EVENT");
}

// The phone needs the line itself: it has more than one kind of day.
bool VCalendarFields::ReadEntryType(const Line& line) {
  const auto token = TokenOf(line);
  isDayType_ = isDayType_ || (token && !item_.isTask && IsDayType(*token));
  return false;
}

bool VCalendarFields::ReadStatus(const Line& line) {
  const auto token = TokenOf(line);
  if (!item_.isTask || statusRead_ || !token) return false;
  const auto status = NumberOf(kStatuses, *token);
  statusRead_ = true;  // a second one would say otherwise
  if (status) item_.status = *status;
  return status.has_value();
}

bool VCalendarFields::ReadCompleted(const Line& line) {
  const auto token = TokenOf(line);
  if (!item_.isTask || !token || item_.completed != 0.0) return false;
  if (token->empty()) return true;
  const auto moment = MomentOf(line, *token);
  if (moment) item_.completed = moment->utc;
  return moment.has_value();
}

bool VCalendarFields::ReadPriority(const Line& line) {
  const auto token = TokenOf(line);
  if (priorityRead_ || !token || token->empty() || token->size() > 9) return false;
  for (const char c : *token) {
    if (c < '0' || c > '9') return false;
  }
  item_.priority = std::stoi(std::string(*token));
  priorityRead_ = item_.priority != 0;
  return true;
}

bool VCalendarFields::ReadSensitivity(const Line& line) {
  const auto token = TokenOf(line);
  const auto sensitivity = token ? NumberOf(kSensitivities, *token) : std::nullopt;
  if (sensitivityRead_ || !sensitivity) return false;
  item_.sensitivity = *sensitivity;
  sensitivityRead_ = item_.sensitivity != 0;
  return true;
}

// X-RECURRING:1, of a series whose rule is not in the text.
bool VCalendarFields::ReadRecurring(const Line& line) {
  const auto token = TokenOf(line);
  if (!token || *token != "1") return false;
  recurs_ = true;
  return true;
}

// X-RECUR-ENTRY:<kind>;<moment>
bool VCalendarFields::ReadEntry(const Line& line) {
  const auto token = TokenOf(line);
  const size_t semicolon = token ? token->find(';') : std::string_view::npos;
  if (semicolon == std::string_view::npos || item_.entries.size() >= kMostEntries) return false;
  const std::string_view kind = Trimmed(token->substr(0, semicolon));
  if (kind.size() != 1 || kind[0] < '1' || kind[0] > '9') return false;
  const std::optional<Stamp> stamp = ParseStamp(token->substr(semicolon + 1));
  if (!stamp || !stamp->hasZone) return false;
  item_.entries.push_back({kind[0] - '0', stamp->date});
  return true;
}

// The line stays an extra until the end. `isRule` says that it is an RRULE.
bool VCalendarFields::Wait(const Line& line, std::vector<Waiting>& list, bool isRule) {
  Waiting waiting;
  waiting.extra = item_.fields.extras.size();
  waiting.isRule = isRule;
  const auto token = TokenOf(line);
  if (!token && &list != &rules_) return false;
  if (token && token->empty()) return true;
  if (token && &list != &occurrences_) waiting.value = *token;
  waiting.isMoreDays = SameWord(line.name, "RDATE");
  if (isRule) waiting.saysMore = ParameterOf(line, "TZID").has_value();
  if (&list == &occurrences_) {
    const auto moment = MomentOf(line, *token);
    if (!moment) return false;
    waiting.moment = *moment;
    waiting.saysMore = ParameterOf(line, "RANGE").has_value();
  } else if (&list == &otherUids_ || &list == &parents_) {
    if (!ReadUid(line, waiting.uid)) return false;
  }
  list.push_back(std::move(waiting));
  return false;
}

// Each date is read now, in the zone that the line names.
bool VCalendarFields::WaitForDeletions(const Line& line) {
  const size_t before = deletions_.size();
  const auto token = TokenOf(line);
  if (!token) return false;
  std::string_view rest = *token;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find_first_of(",;"), rest.size());
    const std::string_view part = Trimmed(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (part.empty()) continue;
    const auto moment = MomentOf(line, part);
    if (!moment) {
      // One that is not understood keeps the whole list where it is.
      deletions_.resize(before);
      return false;
    }
    deletions_.push_back({item_.fields.extras.size(), *moment});
    if (deletions_.size() > kMostEntries) return false;
  }
  return deletions_.size() == before;
}

bool VCalendarFields::WaitForAlarm(const Line& line) {
  // Without a time nothing rings.
  if (LacksAlarmTime(ExtraOf(line, dialect_))) return true;
  alarms_.push_back(item_.fields.extras.size());
  return false;
}

void VCalendarFields::ReadNested(std::string_view header, std::string_view value) {
  alarms_.push_back(item_.fields.extras.size());
  KeepExtra(ExtraOf(header, value, dialect_));
}

}  // namespace qv
