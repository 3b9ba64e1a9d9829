// Automation dates: parts, text forms, comparison, local time and UTC.
//
// A date is a 64-bit float, days since midnight of 30 December 1899. 0.0 means "no date" nearly
// everywhere. Nothing here throws; failure shows as a status, a -1 or an empty text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace qv {

enum class DateStatus : int32_t { Valid = 0, Invalid = 1, Null = 2 };

class DateTimeSpan {
 public:
  DateTimeSpan() = default;
  // A result beyond 3615897 days either way is Invalid.
  DateTimeSpan(double days, double hours, double minutes, double seconds);

  double value = 0.0;  // days
  DateStatus status = DateStatus::Valid;
};

class DateTimeValue {
 public:
  DateTimeValue() = default;
  DateTimeValue(DATE date) : value(date) {}
  DateTimeValue(DATE date, DateStatus dateStatus) : value(date), status(dateStatus) {}
  static DateTimeValue Null() { return {0.0, DateStatus::Null}; }

  // -1 unless Valid and within 1 January 100 to 31 December 9999. Rounded to whole seconds.
  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;  // 1 for Sunday to 7

  // Valid only when every part comes back as given: no day or hour is ever carried over.
  DateStatus SetDateTime(int year, int month, int day, int hour, int minute, int second);
  DateStatus SetDate(int year, int month, int day);

  // True for a valid date other than 0.0.
  bool IsDate() const { return status == DateStatus::Valid && value != 0.0; }

  DATE value = 0.0;
  DateStatus status = DateStatus::Valid;
};

// Null when an operand is Null, Invalid when one is Invalid or the result leaves the years 100 to
// 9999.
DateTimeValue operator+(const DateTimeValue& date, const DateTimeSpan& span);
DateTimeValue operator-(const DateTimeValue& date, const DateTimeSpan& span);

// Two Null dates are equal, two Invalid ones are not. < and > are false unless the left side is
// Valid and the statuses agree.
bool operator==(const DateTimeValue& a, const DateTimeValue& b);
bool operator<(const DateTimeValue& a, const DateTimeValue& b);
bool operator>(const DateTimeValue& a, const DateTimeValue& b);
bool operator<=(const DateTimeValue& a, const DateTimeValue& b);
bool operator>=(const DateTimeValue& a, const DateTimeValue& b);

// The local wall time, whole seconds.
DateTimeValue GetCurrentDateTime();
// The present moment in UTC, whole seconds.
DateTimeValue GetCurrentUtc();

// "YYYY-MM-DD hh:mm:ss" and without seconds; empty for no date.
std::u16string FormatDateTime(const DateTimeValue& date);
std::u16string FormatDateTimeMinutes(const DateTimeValue& date);
// "YYYYMMDDThhmmss"; prints -1 fields for no date.
std::u16string FormatCompactDateTime(const DateTimeValue& date);

// 1 if a is later, -1 if earlier, 0 if equal; whole seconds are the grain. The only comparison
// that decides what has changed and who is newer.
int CompareDateTime(DATE a, DATE b);

// By position, "YYYY-MM-DD hh:mm:ss"; a field past the end reads 0, an empty text is Null, hour 24
// is the next day's midnight, any other bad part Invalid.
DateTimeValue ParseDateTime(std::u16string_view text);
// Dates as people and other programs write them, see the state table at the parser.
DateTimeValue ParseLooseDateTime(std::u16string_view text);
// A database column's text as a date: 0.0 for none, for a bad one, and for an empty text.
DATE ParseDateColumn(std::u16string_view text);

// By the time-zone record that holds now. A date that is none comes back as it is. A result within
// 10 microseconds of a whole second becomes exactly what SetDateTime gives for that second.
DateTimeValue UtcToLocal(const DateTimeValue& date, bool applyDaylight);
DateTimeValue LocalToUtc(const DateTimeValue& date, bool applyDaylight);
// `daylightBias` is set whatever the answer, in minutes.
bool IsDaylightTime(const DateTimeValue& date, int32_t& daylightBias);
// `dayOfWeek` from 0 for Sunday, week 5 for the last. Null when the month has none.
DateTimeValue NthWeekdayOfMonth(int year, int month, int week, int dayOfWeek, int hour, int minute,
                                int second);

// Automation date from and to seconds since 1970; 0 for what lies outside the years 100 to 9999.
DATE DateFromUnixSeconds(int64_t seconds);
int64_t UnixSecondsFromDate(DATE date);

}  // namespace qv
