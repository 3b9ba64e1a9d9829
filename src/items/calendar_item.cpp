#include "items/calendar_item.h"

#include <algorithm>

#include "items/calendar_days.h"
#include "items/item_objects.h"

namespace qv {

DATE ReplacedOccurrence(const CalendarContent& calendar) {
  const auto entry =
      std::ranges::find(calendar.entries, kReplacedOccurrence, &RecurrenceEntry::kind);
  return entry == calendar.entries.end() ? 0.0 : entry->moment;
}

HRESULT CalendarItem::get_Subject(BSTR* value) noexcept {
  return GetText(value_.subject, value);
}

HRESULT CalendarItem::put_Subject(BSTR value) noexcept {
  return PutText(value_.subject, value);
}

HRESULT CalendarItem::get_Body(BSTR* value) noexcept {
  return GetText(value_.body, value);
}

HRESULT CalendarItem::put_Body(BSTR value) noexcept {
  return PutText(value_.body, value);
}

HRESULT CalendarItem::get_Location(BSTR* value) noexcept {
  return GetText(value_.location, value);
}

HRESULT CalendarItem::put_Location(BSTR value) noexcept {
  return PutText(value_.location, value);
}

HRESULT CalendarItem::get_Start(DATE* value) noexcept {
  return GetValue(MomentOf(value_, value_.start), value);
}

HRESULT CalendarItem::put_Start(DATE value) noexcept {
  return PutValue(value_.start, value);
}

HRESULT CalendarItem::get_End(DATE* value) noexcept {
  return GetValue(MomentOf(value_, value_.end), value);
}

HRESULT CalendarItem::put_End(DATE value) noexcept {
  return PutValue(value_.end, value);
}

HRESULT CalendarItem::get_AllDay(BOOL* value) noexcept {
  return GetValue(ToBool(value_.allDay), value);
}

HRESULT CalendarItem::put_AllDay(BOOL value) noexcept {
  if (value_.allDay && value == kFalse) {
    value_.start = MomentOf(value_, value_.start);
    value_.end = MomentOf(value_, value_.end);
  }
  return PutValue(value_.allDay, value != kFalse);
}

HRESULT CalendarItem::get_IsTask(BOOL* value) noexcept {
  return GetValue(ToBool(value_.isTask), value);
}

HRESULT CalendarItem::put_IsTask(BOOL value) noexcept {
  return PutValue(value_.isTask, value != kFalse);
}

HRESULT CalendarItem::get_ReminderSet(BOOL* value) noexcept {
  return GetValue(ToBool(value_.reminderMinutes.has_value()), value);
}

HRESULT CalendarItem::put_ReminderSet(BOOL value) noexcept {
  if (value == kFalse) {
    value_.reminderMinutes.reset();
  } else if (!value_.reminderMinutes) {
    value_.reminderMinutes = 0;
  }
  return S_OK;
}

HRESULT CalendarItem::get_ReminderMinutes(int32_t* value) noexcept {
  return GetValue(value_.reminderMinutes.value_or(0), value);
}

HRESULT CalendarItem::put_ReminderMinutes(int32_t value) noexcept {
  value_.reminderMinutes = value;
  return S_OK;
}

HRESULT CalendarItem::get_Priority(int32_t* value) noexcept {
  return GetValue(value_.priority, value);
}

HRESULT CalendarItem::put_Priority(int32_t value) noexcept {
  return PutValue(value_.priority, value);
}

HRESULT CalendarItem::get_Sensitivity(int32_t* value) noexcept {
  return GetValue(value_.sensitivity, value);
}

HRESULT CalendarItem::put_Sensitivity(int32_t value) noexcept {
  return PutValue(value_.sensitivity, value);
}

HRESULT CalendarItem::get_Status(int32_t* value) noexcept {
  return GetValue(value_.status, value);
}

HRESULT CalendarItem::put_Status(int32_t value) noexcept {
  return PutValue(value_.status, value);
}

HRESULT CalendarItem::get_Completed(DATE* value) noexcept {
  return GetValue(value_.completed, value);
}

HRESULT CalendarItem::put_Completed(DATE value) noexcept {
  return PutValue(value_.completed, value);
}

HRESULT CalendarItem::get_IsRecurring(BOOL* value) noexcept {
  return GetValue(ToBool(value_.isRecurring), value);
}

HRESULT CalendarItem::put_IsRecurring(BOOL value) noexcept {
  return PutValue(value_.isRecurring, value != kFalse);
}

HRESULT CalendarItem::get_RecurrenceType(int32_t* value) noexcept {
  return GetValue(static_cast<int32_t>(value_.recurrence.type), value);
}

HRESULT CalendarItem::put_RecurrenceType(int32_t value) noexcept {
  const auto type = static_cast<RecurrenceType>(value);
  if (!IsKind(type)) return E_INVALIDARG;
  value_.recurrence.type = type;
  value_.recurrence.daysBehind = 0;  // who names a rule names it by the days here
  return S_OK;
}

HRESULT CalendarItem::get_RecurrenceInterval(int32_t* value) noexcept {
  return GetValue(value_.recurrence.interval, value);
}

HRESULT CalendarItem::put_RecurrenceInterval(int32_t value) noexcept {
  return PutValue(value_.recurrence.interval, value);
}

HRESULT CalendarItem::get_RecurrenceDaysOfWeek(int32_t* value) noexcept {
  return GetValue(value_.recurrence.daysOfWeek, value);
}

HRESULT CalendarItem::put_RecurrenceDaysOfWeek(int32_t value) noexcept {
  return PutValue(value_.recurrence.daysOfWeek, value);
}

HRESULT CalendarItem::get_RecurrenceInstance(int32_t* value) noexcept {
  return GetValue(value_.recurrence.instance, value);
}

HRESULT CalendarItem::put_RecurrenceInstance(int32_t value) noexcept {
  return PutValue(value_.recurrence.instance, value);
}

HRESULT CalendarItem::get_RecurrenceDayOfMonth(int32_t* value) noexcept {
  return GetValue(value_.recurrence.dayOfMonth, value);
}

HRESULT CalendarItem::put_RecurrenceDayOfMonth(int32_t value) noexcept {
  return PutValue(value_.recurrence.dayOfMonth, value);
}

HRESULT CalendarItem::get_RecurrenceMonthOfYear(int32_t* value) noexcept {
  return GetValue(value_.recurrence.monthOfYear, value);
}

HRESULT CalendarItem::put_RecurrenceMonthOfYear(int32_t value) noexcept {
  return PutValue(value_.recurrence.monthOfYear, value);
}

HRESULT CalendarItem::get_RecurrenceOccurrences(int32_t* value) noexcept {
  return GetValue(value_.recurrence.occurrences, value);
}

HRESULT CalendarItem::put_RecurrenceOccurrences(int32_t value) noexcept {
  return PutValue(value_.recurrence.occurrences, value);
}

HRESULT CalendarItem::get_RecurrenceUntil(DATE* value) noexcept {
  return GetValue(value_.recurrence.until, value);
}

HRESULT CalendarItem::put_RecurrenceUntil(DATE value) noexcept {
  return PutValue(value_.recurrence.until, value);
}

HRESULT CalendarItem::get_ParentRecurUid(BSTR* value) noexcept {
  return GetText(value_.parentRecurUid, value);
}

HRESULT CalendarItem::put_ParentRecurUid(BSTR value) noexcept {
  return PutText(value_.parentRecurUid, value);
}

HRESULT CalendarItem::ExceptionCount(int32_t* count) noexcept {
  return CountOf(value_.entries, count);
}

HRESULT CalendarItem::GetException(int32_t index, int32_t* kind, DATE* date) noexcept {
  return Slot(Requires(), Outs(kind, date), [&] {
    if (!HasIndex(value_.entries, index)) return E_INVALIDARG;
    const RecurrenceEntry& entry = value_.entries[static_cast<size_t>(index)];
    HandOut(kind, entry.kind);
    return HandOut(date, entry.moment);
  });
}

HRESULT CalendarItem::AddException(int32_t kind, DATE date) noexcept {
  return Guarded([&] {
    if (kind < 1) return E_INVALIDARG;
    value_.entries.push_back({kind, date});
    return S_OK;
  });
}

HRESULT CalendarItem::ExtraPropertyCount(int32_t* count) noexcept {
  return CountOf(value_.fields.extras, count);
}

HRESULT CalendarItem::GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept {
  return GetExtraEntry(value_.fields.extras, index, name, value);
}

HRESULT CalendarItem::AddExtraProperty(BSTR name, BSTR value) noexcept {
  return AddExtraEntry(value_.fields.extras, name, value);
}

ComPtr<IItemCommon> MakeCalendarItem(Calendar calendar) {
  return MakeObject<CalendarItem>(std::move(calendar));
}

Calendar* CalendarOf(IUnknown* item) {
  const ComPtr<ICalendarAccess> access = Query<ICalendarAccess>(item);
  return access ? &access->calendar() : nullptr;
}

}  // namespace qv
