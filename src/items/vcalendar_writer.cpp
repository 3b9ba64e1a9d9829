#include <algorithm>
#include <optional>

#include "items/calendar_days.h"
#include "items/extra.h"
#include "items/moment_text.h"
#include "items/uid_text.h"
#include "items/vcalendar.h"
#include "items/vcalendar_alarm.h"
#include "items/vcalendar_fields.h"
#include "items/vcalendar_moves.h"
#include "items/vcalendar_rule.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/vobject/encode.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

constexpr std::string_view kOwn = "VEVENT,VTODO";
constexpr std::string_view kListNames[] = {"CATEGORIES", "RESOURCES"};
constexpr ListProperties kLists = {kListNames, u';'};

// The order of the properties is fixed: equal items give equal bytes.
class CalendarWriter {
 public:
  explicit CalendarWriter(const Calendar& item) : item_(item.allDay ? Settled(item) : item) {}

  std::string Write() {
    const std::string_view name = item_.isTask ? "VTODO" : "VEVENT";
    writer_.Reserve(EstimateSize());
    Plain("BEGIN", "VCALENDAR");
    Plain("VERSION", "1.0");
    Plain("BEGIN", name);
    WriteUid("UID", item_.fields.objUid);
    WriteMoment("LAST-MODIFIED", item_.fields.objModified);
    WriteText("SUMMARY", item_.subject);
    WriteText("DESCRIPTION", item_.body);
    WriteText("LOCATION", item_.location);
    WriteTime("DTSTART", item_.start);
    WriteTime(item_.isTask ? "DUE" : "DTEND", item_.end);
    if (item_.allDay) Plain("X-ALLDAY", "1");
    if (item_.isTask) WriteTask();
    if (item_.priority > 0) Plain("PRIORITY", std::to_string(item_.priority));
    WriteSensitivity();
    WriteReminder();
    WriteRecurrence();
    WriteExtras();
    // That it is a series whose rule nobody here could keep: an edit must not make it a plain item.
    if (item_.isRecurring && item_.recurrence.type == RecurrenceType::None && !hasRule_) {
      Plain("X-RECURRING", "1");
    }
    Plain("END", name);
    Plain("END", "VCALENDAR");
    return writer_.Take();
  }

 private:
  const Calendar& Settled(const Calendar& item) {
    settled_ = item;
    SettleDays(*settled_);
    return *settled_;
  }

  size_t EstimateSize() const {
    size_t size = 512 + 2 * (item_.subject.size() + item_.body.size() + item_.location.size()) +
                  36 * item_.entries.size();
    for (const ExtraProperty& extra : item_.fields.extras) {
      size += extra.property.size() + extra.value.size() + 3;
    }
    return size;
  }

  DATE Beginning() const { return BeginningOf(item_); }

  DATE LocalBeginning() const {
    return item_.allDay ? Beginning() : WallClock().FromUtc(Beginning());
  }

  void Plain(std::string_view header, std::string_view value) {
    writer_.Begin(header);
    writer_.Plain(value);
  }
  void WriteText(std::string_view header, std::u16string_view text) {
    if (text.empty()) return;
    writer_.Begin(header);
    writer_.Text(text);
  }
  void WriteUid(std::string_view header, std::u16string_view uid) {
    if (!uid.empty()) WriteText(header, DecodeUid(uid));
  }
  void WriteMoment(std::string_view header, DATE moment) {
    const std::string text = MomentText(moment);
    if (!text.empty()) Plain(header, text);
  }

  // A day is written as its midnight, by no zone's clock.
  std::string TimeText(DATE time) const { return item_.allDay ? WallText(time) : MomentText(time); }
  void WriteTime(std::string_view header, DATE time) {
    const std::string text = TimeText(time);
    if (!text.empty()) Plain(header, text);
  }

  void WriteTask() {
    WriteMoment("COMPLETED", item_.completed);
    if (item_.status == kTaskCompleted) Plain("STATUS", "COMPLETED");
    if (item_.status == 1) Plain("STATUS", "IN-PROCESS");
  }

  void WriteSensitivity() {
    if (item_.sensitivity == static_cast<int32_t>(Sensitivity::Private)) Plain("CLASS", "PRIVATE");
    if (item_.sensitivity == static_cast<int32_t>(Sensitivity::Confidential)) {
      Plain("CLASS", "CONFIDENTIAL");
    }
  }

  // When the reminder comes; empty for none.
  std::string ReminderText() const {
    const DATE beginning = Beginning();
    if (!item_.reminderMinutes || beginning == 0.0) return {};
    const DATE alarm = Later(beginning, -LeadSeconds(*item_.reminderMinutes, item_.fields.extras));
    return item_.allDay ? WallText(alarm) : MomentText(alarm);
  }

  // As a line of its own, unless an extra waits for it.
  void WriteReminder() {
    reminder_ = ReminderText();
    if (!reminder_.empty() && std::ranges::none_of(item_.fields.extras, LacksAlarmTime)) {
      Plain("AALARM", reminder_);
    }
  }

  void WriteRecurrence() {
    if (item_.isRecurring) {
      const std::string rule = RuleText(item_.recurrence, LocalBeginning(), item_.allDay);
      if (!rule.empty()) Plain("RRULE", rule);
    }
    WriteUid("X-PARENT-UID", item_.parentRecurUid);
    for (const RecurrenceEntry& entry : item_.entries) {
      const std::string moment = MomentText(entry.moment);
      if (!moment.empty()) Plain("X-RECUR-ENTRY", std::to_string(entry.kind) + ";" + moment);
    }
  }

  // A property that the item has come to hold itself, and says otherwise now.
  bool IsOutdated(const Line& line) const {
    const std::string_view name = line.name;
    if (SameWord(name, kEntryTypeName)) {
      return !item_.allDay && !item_.isTask && IsDayType(Trimmed(line.value));
    }
    if (SameWord(name, "STATUS")) return item_.isTask && item_.status != 0;
    const bool isException = !item_.parentRecurUid.empty();
    if (SameWord(name, "RDATE") || SameWord(name, "EXRULE")) {
      return !item_.isRecurring && !isException;
    }
    if (!SameWord(name, "RRULE")) return false;
    return item_.isRecurring ? item_.recurrence.type != RecurrenceType::None : !isException;
  }

  // Alarms without a time take the reminder's; without a reminder none rings.
  void WriteTimed(const ExtraProperty& extra) {
    if (reminder_.empty()) return;
    LineWriter alarm;
    if (!WriteExtra(alarm, WithAlarmTime(extra, reminder_), kOwn, kLists)) return;
    std::string text = alarm.Take();
    LineReader reader(text);
    Line line;
    // Where such a value is broken would depend on whether its time stood in it before.
    const bool breaks = reader.Next(line) && line.encoding == ValueEncoding::QuotedPrintable;
    for (size_t at = 0; breaks && (at = text.find("=\r\n", at)) != text.npos;) text.erase(at, 3);
    writer_.Begin(text);
  }

  void WriteExtras() {
    std::optional<ItemPlace> from;
    for (const ExtraProperty& extra : item_.fields.extras) {
      if (extra.property == kBeganName) from = PlaceFrom(extra);
    }
    const std::optional<ItemPlace> to = from ? PlaceOf(item_) : std::nullopt;
    for (const ExtraProperty& extra : item_.fields.extras) {
      const std::string bytes = BytesOf(extra);
      LineReader reader(bytes);
      Line line;
      const bool isOwn = extra.property == kBeganName || extra.property == kLeadName;
      if (isOwn || !reader.Next(line)) continue;
      if (!line.bare && IsOutdated(line)) continue;
      if (reminder_.empty() && LacksTrigger(extra)) continue;
      if (LacksAlarmTime(extra)) {
        WriteTimed(extra);
        continue;
      }
      const bool hasMoved = from && to && Moves(extra);
      const bool isWritten = hasMoved ? WriteExtra(writer_, Moved(extra, *from, *to), kOwn, kLists)
                                      : WriteExtra(writer_, extra, kOwn, kLists);
      if (!isWritten || line.bare) continue;
      hasRule_ = hasRule_ || SameWord(line.name, "RRULE") || SameWord(line.name, "RDATE") ||
                 SameWord(line.name, "EXRULE");
    }
  }

  std::optional<Calendar> settled_;  // of an all-day item
  const Calendar& item_;
  LineWriter writer_;
  bool hasRule_ = false;  // among the extras
  std::string reminder_;  // when it comes; empty for none
};

}  // namespace

std::string WriteVCalendar(const Calendar& calendar) {
  return CalendarWriter(calendar).Write();
}

}  // namespace qv
