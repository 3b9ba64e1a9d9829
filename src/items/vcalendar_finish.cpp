// What the properties of an event or task mean together, once all are read.
#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>

#include "items/vcalendar_fields.h"
#include "items/vcalendar_rule.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

constexpr int64_t kDaySeconds = 86400;

// 23:59:59
bool IsLastSecond(DATE date) {
  const DateTimeValue next(Later(date, 1));
  return next.IsDate() && next.GetHour() == 0 && next.GetMinute() == 0 && next.GetSecond() == 0;
}

DATE MidnightOf(DATE date) {
  return std::trunc(date);
}

}  // namespace

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
    if (item_.allDay && IsLastSecond(LocalOf(*end))) item_.end = Later(end->utc, 1);
  } else if (start_) {
    const auto duration =
        durations_.empty() ? std::nullopt : ParseDuration(durations_.front().value);
    if (duration) {
      item_.end = isDate ? LocalClock().ToUtc(Later(start_->own, *duration))
                         : Later(item_.start, *duration);
      if (item_.end != 0.0) Understood(durations_.front().extra);
    } else if (item_.allDay && !item_.isTask) {
      // The midnight behind the day on which it begins.
      item_.end = LocalClock().ToUtc(Later(MidnightOf(LocalOf(*start_)), kDaySeconds));
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
  const Waiting& waiting = rules_.front();
  if (rules_.size() > 1 || !item_.isRecurring || waiting.saysMore) {
    item_.isRecurring = true;
    return;
  }
  const DATE local = LocalBeginning();
  const auto rule = start_ ? ParseRule(waiting.value, local, start_->own, start_->isUtc)
                           : ParseRule(waiting.value, local);
  if (rule) {
    item_.recurrence = *rule;
    Understood(waiting.extra);
  } else if (start_ && !startZone_.empty() && ParseRule(waiting.value, local)) {
    // The days there cannot be told by the days here. The item's own times are told in UTC, so the
    // rule must say itself whose days it names.
    std::erase(startZone_, '"');
    item_.fields.extras[waiting.extra].property += u";TZID=\"" + TextFromRaw(startZone_) + u"\"";
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
  const DATE localStart = LocalBeginning();
  const int64_t timeOfDay = ((secondsOf(localStart) % kDaySeconds) + kDaySeconds) % kDaySeconds;
  for (const Waiting& deletion : deletions_) {
    const bool wholeDay = deletion.moment.isDate && !item_.allDay;
    const DATE moment =
        wholeDay ? LocalClock().ToUtc(Later(deletion.moment.own, timeOfDay)) : deletion.moment.utc;
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
