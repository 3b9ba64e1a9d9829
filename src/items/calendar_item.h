// `CalendarItem`: an appointment or a task behind its component interfaces.
#pragma once

#include "items/calendar.h"
#include "items/item_object.h"

namespace qv {

class CalendarItem final : public ItemObject<Calendar, ICalendarItem, ICalendarAccess> {
 public:
  using ItemObject::ItemObject;

  Calendar& calendar() noexcept override { return value_; }

  // ICalendarItem
  HRESULT get_Subject(BSTR* value) noexcept override;
  HRESULT put_Subject(BSTR value) noexcept override;
  HRESULT get_Body(BSTR* value) noexcept override;
  HRESULT put_Body(BSTR value) noexcept override;
  HRESULT get_Location(BSTR* value) noexcept override;
  HRESULT put_Location(BSTR value) noexcept override;
  HRESULT get_Start(DATE* value) noexcept override;
  HRESULT put_Start(DATE value) noexcept override;
  HRESULT get_End(DATE* value) noexcept override;
  HRESULT put_End(DATE value) noexcept override;
  HRESULT get_AllDay(BOOL* value) noexcept override;
  HRESULT put_AllDay(BOOL value) noexcept override;
  HRESULT get_IsTask(BOOL* value) noexcept override;
  HRESULT put_IsTask(BOOL value) noexcept override;
  HRESULT get_ReminderSet(BOOL* value) noexcept override;
  HRESULT put_ReminderSet(BOOL value) noexcept override;
  HRESULT get_ReminderMinutes(int32_t* value) noexcept override;
  HRESULT put_ReminderMinutes(int32_t value) noexcept override;
  HRESULT get_Priority(int32_t* value) noexcept override;
  HRESULT put_Priority(int32_t value) noexcept override;
  HRESULT get_Sensitivity(int32_t* value) noexcept override;
  HRESULT put_Sensitivity(int32_t value) noexcept override;
  HRESULT get_Status(int32_t* value) noexcept override;
  HRESULT put_Status(int32_t value) noexcept override;
  HRESULT get_Completed(DATE* value) noexcept override;
  HRESULT put_Completed(DATE value) noexcept override;
  HRESULT get_IsRecurring(BOOL* value) noexcept override;
  HRESULT put_IsRecurring(BOOL value) noexcept override;
  HRESULT get_RecurrenceType(int32_t* value) noexcept override;
  HRESULT put_RecurrenceType(int32_t value) noexcept override;
  HRESULT get_RecurrenceInterval(int32_t* value) noexcept override;
  HRESULT put_RecurrenceInterval(int32_t value) noexcept override;
  HRESULT get_RecurrenceDaysOfWeek(int32_t* value) noexcept override;
  HRESULT put_RecurrenceDaysOfWeek(int32_t value) noexcept override;
  HRESULT get_RecurrenceInstance(int32_t* value) noexcept override;
  HRESULT put_RecurrenceInstance(int32_t value) noexcept override;
  HRESULT get_RecurrenceDayOfMonth(int32_t* value) noexcept override;
  HRESULT put_RecurrenceDayOfMonth(int32_t value) noexcept override;
  HRESULT get_RecurrenceMonthOfYear(int32_t* value) noexcept override;
  HRESULT put_RecurrenceMonthOfYear(int32_t value) noexcept override;
  HRESULT get_RecurrenceOccurrences(int32_t* value) noexcept override;
  HRESULT put_RecurrenceOccurrences(int32_t value) noexcept override;
  HRESULT get_RecurrenceUntil(DATE* value) noexcept override;
  HRESULT put_RecurrenceUntil(DATE value) noexcept override;
  HRESULT get_ParentRecurUid(BSTR* value) noexcept override;
  HRESULT put_ParentRecurUid(BSTR value) noexcept override;
  HRESULT ExceptionCount(int32_t* count) noexcept override;
  HRESULT GetException(int32_t index, int32_t* kind, DATE* date) noexcept override;
  HRESULT AddException(int32_t kind, DATE date) noexcept override;
  HRESULT ExtraPropertyCount(int32_t* count) noexcept override;
  HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept override;
  HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept override;
};

}  // namespace qv
