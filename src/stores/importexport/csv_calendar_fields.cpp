#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "items/calendar_days.h"
#include "items/item_objects.h"
#include "items/kinds.h"
#include "items/stamp.h"
#include "platform/com/status_error.h"
#include "stores/importexport/csv_fields.h"
#include "stores/importexport/csv_number.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

enum class Form : uint8_t { Text, Date, AllDay, Alarm, Type, Rule, Until, Number };

struct Field {
  std::u16string_view name;
  Form form;
  std::u16string CalendarContent::*text = nullptr;
  DATE CalendarContent::*date = nullptr;
  int32_t Recurrence::*rule = nullptr;
  int32_t CalendarContent::*number = nullptr;
};

// Persisted: names are headings and what mappings call the fields, places are their numbers. The
// start stands before the alarm, whose distance is taken from it.
constexpr Field kFields[] = {
    {.name = u"Subject", .form = Form::Text, .text = &CalendarContent::subject},
    {.name = u"Description", .form = Form::Text, .text = &CalendarContent::body},
    {.name = u"Location", .form = Form::Text, .text = &CalendarContent::location},
    {.name = u"Start Date", .form = Form::Date, .date = &CalendarContent::start},
    {.name = u"End Date", .form = Form::Date, .date = &CalendarContent::end},
    {.name = u"AllDay", .form = Form::AllDay},
    {.name = u"Alarm Date", .form = Form::Alarm},
    {.name = u"Recurrence Type", .form = Form::Type},
    {.name = u"Recurrence Interval", .form = Form::Rule, .rule = &Recurrence::interval},
    {.name = u"Recurrence Instance", .form = Form::Rule, .rule = &Recurrence::instance},
    {.name = u"Recurrence DayOfWeek", .form = Form::Rule, .rule = &Recurrence::daysOfWeek},
    {.name = u"Recurrence DayOfMonth", .form = Form::Rule, .rule = &Recurrence::dayOfMonth},
    {.name = u"Recurrence MonthOfYear", .form = Form::Rule, .rule = &Recurrence::monthOfYear},
    {.name = u"Recurrence Occurrence", .form = Form::Rule, .rule = &Recurrence::occurrences},
    {.name = u"Recurrence UntileDate", .form = Form::Until},
    {.name = u"Priority", .form = Form::Number, .number = &CalendarContent::priority},
    {.name = u"Class", .form = Form::Number, .number = &CalendarContent::sensitivity},
};
constexpr size_t kFieldCount = std::size(kFields);

constexpr auto kNames = [] {
  std::array<std::u16string_view, kFieldCount> names;
  for (size_t i = 0; i < kFieldCount; ++i) names[i] = kFields[i].name;
  return names;
}();

constexpr size_t kAlarm = 6;
static_assert(kFields[kAlarm].form == Form::Alarm);

// Texts of dates are local time. 0.0 for none and for a text that is none.
DATE DateOf(const std::u16string& text) {
  const DateTimeValue date = ParseLooseDateTime(text);
  if (!date.IsDate()) return 0.0;
  const DateTimeValue utc = LocalToUtc(date, true);
  return utc.IsDate() ? utc.value : 0.0;
}

// A day is what it is on the wall, whatever the clocks did at its midnight.
std::u16string DateText(const Calendar& calendar, DATE held, int64_t earlier = 0) {
  const DATE date = DateFromUnixSeconds(UnixSecondsFromDate(held) - earlier);
  return FormatDateTimeMinutes(IsDay(calendar, held) ? DateTimeValue(date)
                                                     : UtcToLocal(date, true));
}

// From the alarm to the start, in whole minutes; below zero for an alarm behind it.
int32_t LeadMinutes(DATE start, DATE alarm) {
  const int64_t seconds = UnixSecondsFromDate(start) - UnixSecondsFromDate(alarm);
  const int64_t minutes = std::llround(static_cast<double>(seconds) / 60.0);
  return static_cast<int32_t>(std::clamp<int64_t>(minutes, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

void SetDate(DATE& target, const std::u16string& text) {
  if (const DATE date = DateOf(text); date != 0.0) target = date;
}

void AddText(Calendar& calendar, const Field& field, const std::u16string& text) {
  switch (field.form) {
    case Form::Text:
      calendar.*field.text = text;
      return;
    case Form::Date:
      return SetDate(calendar.*field.date, text);
    case Form::AllDay:
      calendar.allDay = text == u"1";
      return;
    case Form::Alarm:
      if (const DATE alarm = DateOf(text); alarm != 0.0) {
        calendar.reminderMinutes = LeadMinutes(calendar.start, alarm);
      }
      return;
    case Form::Type: {
      const auto type = static_cast<RecurrenceType>(CellNumber(text));
      calendar.recurrence.type = IsKind(type) ? type : RecurrenceType::None;
      calendar.isRecurring = calendar.recurrence.type != RecurrenceType::None;
      return;
    }
    case Form::Rule:
      calendar.recurrence.*field.rule = CellNumber(text);
      return;
    case Form::Until:
      return SetDate(calendar.recurrence.until, text);
    case Form::Number:
      calendar.*field.number = CellNumber(text);
      return;
  }
}

ComPtr<IItemCommon> ReadCalendar(const FieldTexts& texts, const GroupTable&) {
  Calendar calendar;
  for (size_t i = 0; i < kFieldCount; ++i) {
    if (!texts[i].empty()) AddText(calendar, kFields[i], texts[i]);
  }
  // One that begins or ends within a day keeps its moments as they were told.
  SettleDaysHere(calendar);
  const DATE alarm = DateOf(texts[kAlarm]);
  if (alarm != 0.0 && IsDay(calendar, calendar.start)) {
    // Of a day it lies that long before its midnight on the wall.
    calendar.reminderMinutes = LeadMinutes(calendar.start, WallClock().FromUtc(alarm));
  }
  StampNew(calendar.fields);
  return MakeCalendarItem(std::move(calendar));
}

// The text of a cell; empty for no cell.
std::u16string CellText(const Calendar& calendar, const Field& field) {
  const Recurrence& rule = calendar.recurrence;
  switch (field.form) {
    case Form::Text:
      return calendar.*field.text;
    case Form::Date:
      return calendar.*field.date == 0.0 ? std::u16string()
                                         : DateText(calendar, calendar.*field.date);
    case Form::AllDay:
      return calendar.allDay ? u"1" : u"";
    case Form::Alarm:
      if (!calendar.reminderMinutes) return {};
      return DateText(calendar, calendar.start, int64_t{*calendar.reminderMinutes} * 60);
    case Form::Type:
      return calendar.isRecurring ? Decimal(static_cast<int32_t>(rule.type)) : std::u16string();
    case Form::Rule:
      return calendar.isRecurring ? Decimal(rule.*field.rule) : std::u16string();
    case Form::Until:
      return calendar.isRecurring && rule.until != 0.0 ? DateText(calendar, rule.until)
                                                       : std::u16string();
    case Form::Number:
      return calendar.*field.number == 0 ? std::u16string() : Decimal(calendar.*field.number);
  }
  return {};
}

std::vector<FieldCell> WriteCalendar(IUnknown* item, const GroupTable&) {
  const Calendar* calendar = CalendarOf(item);
  if (calendar == nullptr) throw StatusError(E_FAIL);
  std::vector<FieldCell> cells;
  for (size_t i = 0; i < kFieldCount; ++i) {
    std::u16string text = CellText(*calendar, kFields[i]);
    if (!text.empty()) cells.push_back({static_cast<int32_t>(i), 0, std::move(text)});
  }
  return cells;
}

}  // namespace

const CsvFieldSet kCalendarFields = {kNames, ReadCalendar, WriteCalendar};

}  // namespace qv
