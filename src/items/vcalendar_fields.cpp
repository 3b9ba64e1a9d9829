#include "items/vcalendar_fields.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "items/kinds.h"
#include "items/uid_text.h"
#include "items/vcalendar_rule.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

constexpr size_t kMostEntries = 100'000;
constexpr int64_t kDaySeconds = 86400;

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
    {"COMPLETED", CalendarField::Completed},
    {"STATUS", CalendarField::Status},
    {"PRIORITY", CalendarField::Priority},
    {"CLASS", CalendarField::Sensitivity},
    {"AALARM", CalendarField::Alarm},
    {"RRULE", CalendarField::Rule},
    {"RDATE", CalendarField::OtherRule},
    {"EXRULE", CalendarField::OtherRule},
    {"EXDATE", CalendarField::Deletion},
    {"RECURRENCE-ID", CalendarField::Occurrence},
    {"X-PARENT-UID", CalendarField::Parent},
    {"X-RECUR-ENTRY", CalendarField::Entry},
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

// The same moment, so much later; equal moments are equal numbers. 0.0 for one out of range.
DATE Later(DATE date, int64_t seconds) {
  const std::optional<int64_t> from = VariantTimeToSeconds(date);
  if (!from) return 0.0;
  return SecondsToVariantTime(*from + seconds).value_or(0.0);
}

DATE LocalAsUtc(DATE local) {
  return LocalToUtc(local, true).value;
}

// Trailing separators say nothing.
std::string_view WithoutEmptyParts(std::string_view text) {
  while (text.ends_with(';') || text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

}  // namespace

std::optional<int64_t> ParseDuration(std::string_view text) {
  constexpr int64_t kMost = int64_t{10'000} * 366 * kDaySeconds;
  text = Trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || (text[0] != 'P' && text[0] != 'p')) return std::nullopt;
  text.remove_prefix(1);
  int64_t seconds = 0;
  bool inTime = false;
  bool any = false;
  while (!text.empty()) {
    if (text[0] == 'T' || text[0] == 't') {
      if (inTime) return std::nullopt;
      inTime = true;
      text.remove_prefix(1);
      continue;
    }
    int64_t number = 0;
    size_t digits = 0;
    for (; digits < text.size() && digits < 9 && text[digits] >= '0' && text[digits] <= '9';
         ++digits) {
      number = number * 10 + (text[digits] - '0');
    }
    if (digits == 0 || digits == text.size()) return std::nullopt;
    struct Unit {
      char letter;
      bool inTime;
      int64_t seconds;
    };
    constexpr Unit kUnits[] = {{'W', false, 7 * kDaySeconds},
                               {'D', false, kDaySeconds},
                               {'H', true, 3600},
                               {'M', true, 60},
                               {'S', true, 1}};
    const char letter = static_cast<char>(text[digits] & ~0x20);
    const auto unit = std::ranges::find_if(
        kUnits, [&](const Unit& u) { return u.letter == letter && u.inTime == inTime; });
    if (unit == std::end(kUnits)) return std::nullopt;
    seconds += number * unit->seconds;
    any = true;
    if (seconds > kMost) return std::nullopt;
    text.remove_prefix(digits + 1);
  }
  if (!any) return std::nullopt;
  return negative ? -seconds : seconds;
}

VCalendarFields::VCalendarFields(bool isTask, Dialect dialect, CalendarZones& zones)
    : dialect_(dialect), zones_(zones) {
  item_.isTask = isTask;
}

void VCalendarFields::Read(const Line& line) {
  const CalendarField field = FieldOf(line.name);
  if (!line.malformed && ReadField(field, line)) return;
  if (field == CalendarField::Status) statusExtras_.push_back(item_.fields.extras.size());
  if (line.malformed && field == CalendarField::Rule) {
    rules_.push_back({item_.fields.extras.size(), {}, {}, {}, true});
  }
  KeepExtra(line.header, line.value);
}

bool VCalendarFields::ReadField(CalendarField field, const Line& line) {
  switch (field) {
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
    case CalendarField::Deletion:
      return Wait(line, deletions_);
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

void VCalendarFields::KeepExtra(std::string_view header, std::string_view value) {
  std::vector<ExtraProperty>& extras = item_.fields.extras;
  overfull_ = overfull_ || extras.size() >= kMaxExtras;
  if (!overfull_) extras.push_back({TextFromRaw(header), TextFromRaw(value)});
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
  const auto token = decoder_.Octets(line, Dialect::Modern);
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

std::optional<VCalendarFields::Moment> VCalendarFields::MomentIn(std::string_view zone,
                                                                 std::string_view text) {
  const std::optional<Stamp> stamp = ParseStamp(text);
  if (!stamp) return std::nullopt;
  Moment moment;
  moment.isDate = !stamp->hasTime;
  moment.isLastSecond = stamp->hasTime && Later(stamp->date, 1) != 0.0 &&
                        DateTimeValue(Later(stamp->date, 1)).GetHour() == 0 &&
                        DateTimeValue(stamp->date).GetSecond() == 59 &&
                        DateTimeValue(stamp->date).GetMinute() == 59;
  if (stamp->hasZone) {
    moment.utc = stamp->date;
  } else if (stamp->hasTime && !zone.empty()) {
    const std::optional<DATE> utc = zones_.ToUtc(zone, stamp->date);
    missedZone_ = missedZone_ || !utc;
    moment.utc = utc ? *utc : LocalAsUtc(stamp->date);
  } else {
    moment.utc = LocalAsUtc(stamp->date);
  }
  // Whole seconds in one form, whatever the way here; and within the years there are.
  moment.utc = Later(moment.utc, 0);
  moment.local = moment.isDate ? stamp->date : UtcToLocal(moment.utc, true).value;
  if (moment.utc == 0.0 || !DateTimeValue(moment.local).IsDate()) return std::nullopt;
  return moment;
}

std::optional<VCalendarFields::Moment> VCalendarFields::MomentOf(const Line& line,
                                                                 std::string_view text) {
  std::string_view zone;
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; zone.empty() && parameters.Next(parameter);) {
    if (SameWord(parameter.name, "TZID")) zone = parameter.value;
  }
  return MomentIn(zone, text);
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
  if (token) waiting.value = *token;
  if (&list == &occurrences_) {
    const auto moment = MomentOf(line, *token);
    if (!moment) return false;
    waiting.moment = *moment;
  } else if (&list == &otherUids_ || &list == &parents_) {
    if (!ReadUid(line, waiting.uid)) return false;
  } else if (&list == &deletions_) {
    // Each date is read now, in the zone that the line names.
    std::string_view rest = *token;
    bool first = true;
    while (!rest.empty()) {
      const size_t end = std::min(rest.find_first_of(",;"), rest.size());
      const std::string_view part = Trimmed(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
      if (part.empty()) continue;
      const auto moment = MomentOf(line, part);
      if (!moment) {
        // One that is not understood keeps the whole list where it is.
        while (!list.empty() && list.back().extra == waiting.extra) list.pop_back();
        return false;
      }
      waiting.moment = *moment;
      list.push_back(waiting);
      first = false;
      if (list.size() > kMostEntries) return false;
    }
    return first;
  }
  list.push_back(std::move(waiting));
  return false;
}

bool VCalendarFields::WaitForAlarm(const Line& line) {
  const auto token = TokenOf(line);
  const auto moment = token ? MomentOf(line, WithoutEmptyParts(*token)) : std::nullopt;
  if (moment && !moment->isDate) alarms_.push_back({item_.fields.extras.size(), moment->utc, 0});
  return false;
}

void VCalendarFields::ReadNested(std::string_view header, std::string_view value) {
  const size_t extra = item_.fields.extras.size();
  KeepExtra(header, value);
  // A VALARM that says no more than when it comes.
  LineReader reader(value);
  Line line;
  if (!reader.Next(line) || !SameWord(Trimmed(line.header), "VALARM")) return;
  std::optional<Alarm> alarm;
  while (reader.Next(line)) {
    if (SameWord(line.name, "END")) break;
    if (SameWord(line.name, "ACTION") || SameWord(line.name, "DESCRIPTION")) continue;
    if (!SameWord(line.name, "TRIGGER") || alarm) return;
    alarm = Alarm{extra, 0.0, 0};
    ParameterReader parameters(line.parameters);
    for (Parameter parameter; parameters.Next(parameter);) {
      const bool fromStart =
          SameWord(parameter.name, "RELATED") && SameWord(parameter.value, "START");
      if (!fromStart && !SameWord(parameter.name, "VALUE")) return;
    }
    const std::string_view trigger = Trimmed(line.value);
    if (const auto lead = ParseDuration(trigger)) {
      alarm->leadSeconds = -*lead;
    } else if (const auto moment = MomentIn({}, trigger); moment && !moment->isDate) {
      alarm->moment = moment->utc;
    } else {
      return;
    }
  }
  if (alarm) alarms_.push_back(*alarm);
}

Calendar VCalendarFields::Take() {
  FinishUid();
  FinishTimes();
  FinishSeries();
  FinishRules();
  FinishDeletions();
  FinishReminder();
  FinishStatus();
  DropUnderstood();
  return std::move(item_);
}

void VCalendarFields::FinishUid() {
  if (!item_.fields.objUid.empty() || otherUids_.empty()) return;
  item_.fields.objUid = otherUids_.front().uid;
  Understood(otherUids_.front().extra);
}

void VCalendarFields::FinishTimes() {
  if (endWaits_ && !due_) {
    due_ = end_;
    Understood(endExtra_);
  }
  const std::optional<Moment>& end = item_.isTask ? due_ : end_;
  if (start_) item_.start = start_->utc;
  const bool isDate = start_ ? start_->isDate : end && end->isDate;
  item_.allDay = isDate || allDay_;
  if (end) {
    item_.end = end->utc;
    if (item_.allDay && end->isLastSecond) item_.end = Later(end->utc, 1);
  } else if (start_) {
    const auto duration =
        durations_.empty() ? std::nullopt : ParseDuration(durations_.front().value);
    if (duration) {
      item_.end =
          isDate ? LocalAsUtc(Later(start_->local, *duration)) : Later(item_.start, *duration);
      if (item_.end != 0.0) Understood(durations_.front().extra);
    } else if (isDate && !item_.isTask) {
      item_.end = LocalAsUtc(Later(start_->local, kDaySeconds));
    }
  }
}

DATE VCalendarFields::Beginning() const {
  return item_.start != 0.0 ? item_.start : item_.isTask ? item_.end : 0.0;
}

// The link to a series. One to itself says nothing.
void VCalendarFields::FinishSeries() {
  std::u16string& uid = item_.fields.objUid;
  for (const Waiting& parent : parents_) {
    if (parent.uid.empty() || parent.uid == uid) continue;
    item_.parentRecurUid = parent.uid;
    Understood(parent.extra);
    return;
  }
  if (occurrences_.empty() || uid.empty() || item_.entries.size() >= kMostEntries) return;
  const DATE moment = occurrences_.front().moment.utc;
  item_.parentRecurUid = uid;
  uid += u"/" + FromAscii(MomentText(moment));
  if (ReplacedOccurrence(item_) == 0.0) item_.entries.push_back({kReplacedOccurrence, moment});
  Understood(occurrences_.front().extra);
}

void VCalendarFields::FinishRules() {
  // An exception repeats nothing: a rule on it stays as it stands.
  if (!item_.parentRecurUid.empty() || rules_.empty()) return;
  item_.isRecurring = std::ranges::any_of(rules_, &Waiting::isRule);
  if (rules_.size() > 1 || !item_.isRecurring) {
    item_.isRecurring = true;
    return;
  }
  const auto rule = ParseRule(rules_.front().value, UtcToLocal(Beginning(), true).value);
  if (!rule) return;
  item_.recurrence = *rule;
  Understood(rules_.front().extra);
}

// Occurrences that are deleted, as entries. A date alone means the occurrence of that day.
void VCalendarFields::FinishDeletions() {
  if (!item_.parentRecurUid.empty() || item_.entries.size() + deletions_.size() > kMostEntries) {
    return;
  }
  std::unordered_set<int64_t> known;
  const auto secondsOf = [](DATE date) { return VariantTimeToSeconds(date).value_or(0); };
  for (const RecurrenceEntry& entry : item_.entries) {
    if (entry.kind == kDeletedOccurrence) known.insert(secondsOf(entry.moment));
  }
  const DATE localStart = UtcToLocal(Beginning(), true).value;
  const int64_t timeOfDay = ((secondsOf(localStart) % kDaySeconds) + kDaySeconds) % kDaySeconds;
  for (const Waiting& deletion : deletions_) {
    const bool wholeDay = deletion.moment.isDate && !item_.allDay;
    const DATE moment =
        wholeDay ? LocalAsUtc(Later(deletion.moment.local, timeOfDay)) : deletion.moment.utc;
    Understood(deletion.extra);
    if (known.insert(secondsOf(moment)).second) {
      item_.entries.push_back({kDeletedOccurrence, Later(moment, 0)});
    }
  }
}

void VCalendarFields::FinishReminder() {
  const DATE beginning = Beginning();
  if (beginning == 0.0) return;
  constexpr int64_t kMinute = 60;
  for (const Alarm& alarm : alarms_) {
    int64_t lead = alarm.leadSeconds;
    if (alarm.moment != 0.0) {
      lead = VariantTimeToSeconds(beginning).value_or(0) -
             VariantTimeToSeconds(alarm.moment).value_or(0);
    }
    const bool fits =
        lead % kMinute == 0 && lead / kMinute <= std::numeric_limits<int32_t>::max() &&
        lead / kMinute >= std::numeric_limits<int32_t>::min() && Later(beginning, -lead) != 0.0;
    if (!fits) continue;
    item_.reminderMinutes = static_cast<int32_t>(lead / kMinute);
    Understood(alarm.extra);
    return;
  }
}

// An item says one status.
void VCalendarFields::FinishStatus() {
  if (item_.status == 0) return;
  for (const size_t extra : statusExtras_) Understood(extra);
}

void VCalendarFields::DropUnderstood() {
  if (understood_.empty()) return;
  std::vector<ExtraProperty>& extras = item_.fields.extras;
  std::vector<bool> drop(extras.size(), false);
  for (const size_t extra : understood_) {
    if (extra < drop.size()) drop[extra] = true;
  }
  size_t kept = 0;
  for (size_t i = 0; i < extras.size(); ++i) {
    if (drop[i]) continue;
    if (kept != i) extras[kept] = std::move(extras[i]);
    ++kept;
  }
  extras.resize(kept);
}

}  // namespace qv
