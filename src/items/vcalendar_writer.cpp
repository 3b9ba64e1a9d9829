#include "items/extra.h"
#include "items/moment_text.h"
#include "items/uid_text.h"
#include "items/vcalendar.h"
#include "items/vcalendar_rule.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/vobject/encode.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

constexpr std::string_view kOwn = "VEVENT,VTODO";

// The order of the properties is fixed: equal items give equal bytes.
class CalendarWriter {
 public:
  explicit CalendarWriter(const Calendar& item) : item_(item) {}

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
    WriteMoment("DTSTART", item_.start);
    WriteMoment(item_.isTask ? "DUE" : "DTEND", item_.end);
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
  size_t EstimateSize() const {
    size_t size = 512 + 2 * (item_.subject.size() + item_.body.size() + item_.location.size()) +
                  36 * item_.entries.size();
    for (const ExtraProperty& extra : item_.fields.extras) {
      size += extra.property.size() + extra.value.size() + 3;
    }
    return size;
  }

  DATE Beginning() const {
    return item_.start != 0.0 ? item_.start : item_.isTask ? item_.end : 0.0;
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

  void WriteReminder() {
    const std::optional<int64_t> beginning = VariantTimeToSeconds(Beginning());
    if (!item_.reminderMinutes || Beginning() == 0.0 || !beginning) return;
    const std::optional<DATE> alarm =
        SecondsToVariantTime(*beginning - int64_t{*item_.reminderMinutes} * 60);
    if (alarm) WriteMoment("AALARM", *alarm);
  }

  void WriteRecurrence() {
    if (item_.isRecurring) {
      const std::string rule = RuleText(item_.recurrence, WallClock().FromUtc(Beginning()));
      if (!rule.empty()) Plain("RRULE", rule);
    }
    WriteUid("X-PARENT-UID", item_.parentRecurUid);
    for (const RecurrenceEntry& entry : item_.entries) {
      const std::string moment = MomentText(entry.moment);
      if (!moment.empty()) Plain("X-RECUR-ENTRY", std::to_string(entry.kind) + ";" + moment);
    }
  }

  // A property that the item has come to hold itself, and says otherwise now.
  bool IsOutdated(std::string_view name) const {
    if (SameWord(name, "STATUS")) return item_.isTask && item_.status != 0;
    if (!SameWord(name, "RRULE")) return false;
    const bool isException = !item_.parentRecurUid.empty();
    return item_.isRecurring ? item_.recurrence.type != RecurrenceType::None : !isException;
  }

  void WriteExtras() {
    for (const ExtraProperty& extra : item_.fields.extras) {
      const std::string bytes = BytesOf(extra);
      LineReader reader(bytes);
      Line line;
      if (!reader.Next(line) || IsOutdated(line.name)) continue;
      if (!WriteExtra(writer_, extra, kOwn)) continue;
      hasRule_ = hasRule_ || SameWord(line.name, "RRULE") || SameWord(line.name, "RDATE") ||
                 SameWord(line.name, "EXRULE");
    }
  }

  const Calendar& item_;
  LineWriter writer_;
  bool hasRule_ = false;  // among the extras
};

}  // namespace

std::string WriteVCalendar(const Calendar& calendar) {
  return CalendarWriter(calendar).Write();
}

}  // namespace qv
