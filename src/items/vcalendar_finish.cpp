// What the properties of an event or task mean together, once all are read.
#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>

#include "items/calendar_days.h"
#include "items/kinds.h"
#include "items/vcalendar_alarm.h"
#include "items/vcalendar_fields.h"
#include "items/vcalendar_moves.h"
#include "items/vcalendar_rule.h"
#include "items/vcalendar_rule_parts.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

constexpr int64_t kDaySeconds = 86400;

// A day may end at its last second, or minute; the offsets of zones are quarters of an hour.
DATE BehindLastMinute(DATE date) {
  const DateTimeValue value(date);
  if (value.GetSecond() == 59) return Later(date, 1);
  return value.GetSecond() == 0 && value.GetMinute() % 15 == 14 ? Later(date, 60) : date;
}

// Seconds from the midnight before.
int64_t TimeOfDay(DATE date) {
  const int64_t seconds = VariantTimeToSeconds(date).value_or(0);
  return ((seconds % kDaySeconds) + kDaySeconds) % kDaySeconds;
}

}  // namespace

Calendar VCalendarFields::Take() {
  FinishUid();
  FinishTimes();
  FinishSeries();
  FinishRules();
  FinishDeletions();
  SettleDays(item_);
  FinishReminder();
  FinishStatus();
  DropUnderstood();
  FinishMoves();
  return std::move(item_);
}

void VCalendarFields::FinishUid() {
  if (!item_.fields.objUid.empty() || otherUids_.empty()) return;
  item_.fields.objUid = otherUids_.front().uid;
  Understood(otherUids_.front().extra);
}

void VCalendarFields::FinishTimes() {
  if (!startZone_.empty() && start_ && start_->isZoned) startClock_ = zones_.Find(startZone_);
  if (endWaits_ && !due_) {
    due_ = end_;
    Understood(endExtra_);
  }
  if (item_.isTask) end_ = due_;
  const bool hasDate = start_ ? start_->isDate : end_ && end_->isDate;
  // A task that begins on a day and is due at an hour is no matter of days.
  item_.allDay = allDay_ || isDayType_ || (hasDate && !(item_.isTask && end_ && !end_->isDate));
  if (item_.allDay) return FinishDays();
  if (start_) item_.start = start_->utc;
  if (end_) {
    item_.end = end_->utc;
  } else if (start_) {
    FinishDuration();
  }
}

DATE VCalendarFields::ToUtc(DATE own) {
  if (start_ && start_->isUtc) return own;
  return startClock_ ? startClock_->ToUtc(own) : LocalClock().ToUtc(own);
}

// Days are days of the clock by which the start is told.
void VCalendarFields::FinishDuration() {
  const auto duration = durations_.empty() ? std::nullopt : ParseDuration(durations_.front().value);
  if (!duration) return;
  const DATE from =
      duration->days == 0 ? item_.start : ToUtc(Later(start_->own, duration->days * kDaySeconds));
  if (from != 0.0) item_.end = Later(from, duration->seconds);
  if (item_.end != 0.0) Understood(durations_.front().extra);
}

// The day of a moment of an all-day item, by the clock that tells it. One told in UTC was midnight
// somewhere: which day that means is seen from all of them together.
DATE VCalendarFields::DayMeant(const Moment& moment) {
  return moment.isUtc ? moment.utc : std::trunc(moment.own);
}

// The day behind the one that ends at a moment.
DATE VCalendarFields::DayBehind(const Moment& moment) {
  if (moment.isDate) return moment.own;
  const DATE end = BehindLastMinute(moment.own);
  if (moment.isUtc || std::trunc(end) == end) return end;
  return Later(std::trunc(end), kDaySeconds);
}

void VCalendarFields::FinishDays() {
  if (start_) item_.start = DayMeant(*start_);
  const auto duration = durations_.empty() ? std::nullopt : ParseDuration(durations_.front().value);
  if (end_ && item_.isTask) {
    // Due on a day, whether its beginning or its end is told.
    const bool endsDay = end_->isUtc && BehindLastMinute(end_->own) != end_->own;
    item_.end = endsDay ? Later(DayOf(DayBehind(*end_)), -kDaySeconds) : DayMeant(*end_);
  } else if (end_) {
    item_.end = DayBehind(*end_);
  } else if (duration && start_) {
    const int64_t seconds = duration->days * kDaySeconds + duration->seconds;
    const DATE start = DayOf(item_.start);
    item_.end = std::trunc(Later(start, seconds + (seconds > 0 ? kDaySeconds - 1 : 0)));
    if (item_.end != 0.0) Understood(durations_.front().extra);
  } else if (start_ && !item_.isTask) {
    item_.end = item_.start;
  }
  SettleDays(item_);
}

DATE VCalendarFields::Beginning() const {
  return BeginningOf(item_);
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
  // A date names a day, which no zone shifts.
  const Moment& meant = occurrences_.front().moment;
  const DATE moment = meant.isDate ? meant.own : meant.utc;
  item_.parentRecurUid = uid;
  uid += u"/" + FromAscii(MomentText(moment));
  if (ReplacedOccurrence(item_) == 0.0) item_.entries.push_back({kReplacedOccurrence, moment});
  // A change of this and all later occurrences is kept as one of this; its line stays for the
  // phone.
  if (!occurrences_.front().saysMore) Understood(occurrences_.front().extra);
}

void VCalendarFields::FinishRules() {
  // An exception repeats nothing: a rule on it stays as it stands.
  if (!item_.parentRecurUid.empty()) return;
  item_.isRecurring = recurs_;
  if (rules_.empty()) return;
  item_.isRecurring = std::ranges::any_of(rules_, &Waiting::isRule);
  // Days beside a rule stay in the text; what takes days away, or a second rule, makes it one that
  // no numbers hold.
  const Waiting* waiting = nullptr;
  bool isHeld = item_.isRecurring;
  for (const Waiting& rule : rules_) {
    isHeld = isHeld && !rule.saysMore && (rule.isMoreDays || (rule.isRule && waiting == nullptr));
    if (rule.isRule) waiting = &rule;
  }
  item_.isRecurring = true;
  if (!isHeld) return;
  RuleStart start;
  start.local = LocalBeginning();
  start.isDay = item_.allDay;
  if (start_) {
    start.own = start_->own;
    start.isUtc = start_->isUtc;
    start.zone = startClock_;
    if (item_.allDay && start_->isUtc) {
      start.east = UnixSecondsFromDate(item_.start) - UnixSecondsFromDate(start_->utc);
    }
  }
  if (const auto rule = ParseRule(waiting->value, start, LocalClock())) {
    item_.recurrence = *rule;
    Understood(waiting->extra);
  } else if (startClock_ && !item_.allDay && ReadRuleText(waiting->value, start.own)) {
    // The days there cannot be told by the days here. The item's own times are told in UTC, so the
    // rule must say itself whose days it names.
    std::erase(startZone_, '"');
    item_.fields.extras[waiting->extra].property += u";TZID=" + TextFromRaw(startZone_);
  }
}

// Occurrences that are deleted, as entries. A date alone means the occurrence of that day.
void VCalendarFields::FinishDeletions() {
  if (deletions_.empty() || !item_.parentRecurUid.empty() ||
      item_.entries.size() + deletions_.size() > kMostEntries) {
    return;
  }
  std::unordered_set<int64_t> known;
  const auto secondsOf = [](DATE date) { return VariantTimeToSeconds(date).value_or(0); };
  for (const RecurrenceEntry& entry : item_.entries) {
    if (entry.kind == kDeletedOccurrence) known.insert(secondsOf(entry.moment));
  }
  const bool hasZone = startClock_ && !start_->isUtc;
  const int64_t timeOfDay = TimeOfDay(hasZone ? start_->own : LocalBeginning());
  for (const Deleted& deletion : deletions_) {
    const Moment& meant = deletion.moment;
    DATE moment = meant.utc;
    if (item_.allDay) {
      moment = DayOf(DayMeant(meant));
    } else if (meant.isDate || (hasZone && !meant.isUtc && !meant.isZoned)) {
      // By the clock by which the start is told.
      const DATE own = meant.isDate ? Later(meant.own, timeOfDay) : meant.own;
      moment = hasZone ? startClock_->ToUtc(own) : LocalClock().ToUtc(own);
    }
    Understood(deletion.extra);
    if (known.insert(secondsOf(moment)).second) {
      item_.entries.push_back({kDeletedOccurrence, Later(moment, 0)});
    }
  }
}

// How long before the beginning an alarm rings, in seconds; nothing for an extra that is none.
std::optional<int64_t> VCalendarFields::LeadOf(const ExtraProperty& extra, const ItemPlace& place) {
  const auto secondsOf = [](DATE date) { return VariantTimeToSeconds(date).value_or(0); };
  const std::optional<AlarmTime> time = AlarmTimeOf(extra);
  if (!time) return std::nullopt;
  if (!time->moment) {
    const bool isDays = item_.allDay && item_.end != 0.0;
    const int64_t length = isDays ? secondsOf(item_.end) - place.wall : place.end - place.begin;
    const int64_t behind = time->behind.days * kDaySeconds + time->behind.seconds;
    return -behind - (time->fromEnd ? length : 0);
  }
  const DATE moment = time->moment->date;
  if (item_.allDay && !time->moment->hasZone) return place.wall - secondsOf(moment);
  // Of a day that the text tells in UTC the moments beside it are told from there.
  const int64_t begin =
      item_.allDay && start_ && start_->isUtc ? secondsOf(start_->utc) : place.begin;
  return begin - secondsOf(time->moment->hasZone ? moment : LocalClock().ToUtc(moment));
}

// The first alarm is the reminder; others that ring with it are the same one.
void VCalendarFields::FinishReminder() {
  const std::optional<ItemPlace> place = alarms_.empty() ? std::nullopt : PlaceOf(item_);
  if (!place) return;
  std::vector<ExtraProperty>& extras = item_.fields.extras;
  std::vector<size_t> same;
  std::optional<int64_t> reminder;
  for (const size_t index : alarms_) {
    if (index >= extras.size()) break;
    const std::optional<int64_t> lead = LeadOf(extras[index], *place);
    if (!lead || (reminder && lead != reminder)) continue;
    const int64_t minutes = LeadMinutesOf(*lead);
    const bool fits = minutes <= std::numeric_limits<int32_t>::max() &&
                      minutes >= std::numeric_limits<int32_t>::min() &&
                      Later(Beginning(), -*lead) != 0.0;
    if (!fits) continue;
    reminder = lead;
    same.push_back(index);
  }
  if (!reminder) return;
  item_.reminderMinutes = static_cast<int32_t>(LeadMinutesOf(*reminder));
  for (const size_t index : same) {
    std::optional<ExtraProperty> rest =
        WithoutAlarmTime(extras[index], item_.subject, same.size() == 1);
    if (rest) extras[index] = std::move(*rest);
    if (!rest) Understood(index);
  }
  constexpr int64_t kMinute = 60;
  if (*reminder % kMinute != 0) KeepExtra(LeadExtra(*reminder));
}

// Where the item lies, for what must move with it.
void VCalendarFields::FinishMoves() {
  std::vector<ExtraProperty>& extras = item_.fields.extras;
  if (extras.size() >= kMaxExtras || std::ranges::none_of(extras, Moves)) return;
  if (const std::optional<ItemPlace> place = PlaceOf(item_)) extras.push_back(BeganExtra(*place));
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
