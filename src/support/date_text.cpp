// Dates as text: the forms of the tables, of file names, of CSV cells.
#include <cstddef>
#include <optional>

#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

struct Parts {
  int year = -1;
  int month = -1;
  int day = -1;
  int hour = -1;
  int minute = -1;
  int second = -1;
};

// All -1 for a date that cannot be read.
Parts PartsOf(const DateTimeValue& date) {
  if (date.status != DateStatus::Valid) return {};
  const std::optional<SystemTime> time = VariantTimeToSystemTime(date.value);
  if (!time) return {};
  return {time->year, time->month, time->day, time->hour, time->minute, time->second};
}

void AppendWithMark(std::u16string& text, char16_t mark, int number) {
  text.push_back(mark);
  AppendPadded(text, number, 2);
}

std::u16string FormatParts(const Parts& parts, bool withSeconds) {
  std::u16string text;
  text.reserve(19);
  AppendPadded(text, parts.year, 4);
  AppendWithMark(text, u'-', parts.month);
  AppendWithMark(text, u'-', parts.day);
  AppendWithMark(text, u' ', parts.hour);
  AppendWithMark(text, u':', parts.minute);
  if (withSeconds) AppendWithMark(text, u':', parts.second);
  return text;
}

// Hour 24 is the next day, at the minute and second given.
DateTimeValue DateOf(const Parts& parts) {
  DateTimeValue date;
  const bool isNextDay = parts.hour == 24;
  date.SetDateTime(parts.year, parts.month, parts.day, isNextDay ? 0 : parts.hour, parts.minute,
                   parts.second);
  if (!isNextDay || date.status != DateStatus::Valid) return date;
  // By whole seconds, so that the sum is the very value that SetDateTime gives for it.
  const int64_t seconds = VariantTimeToSeconds(date.value).value_or(0) + 86400;
  if (const std::optional<DATE> next = SecondsToVariantTime(seconds)) return *next;
  return {0.0, DateStatus::Invalid};
}

// One row a state, in reading order. A field is complete with `digits` digits, or where `colonEnds`
// with a ":" behind at least one. The last may also end with the text.
struct Field {
  int Parts::*part;
  int digits;
  int least;
  int most;
  bool colonEnds;
};

constexpr Field kLooseFields[] = {
    {&Parts::year, 4, 1, 9999, false}, {&Parts::month, 2, 1, 12, false},
    {&Parts::day, 2, 1, 31, false},    {&Parts::hour, 2, 0, 24, true},
    {&Parts::minute, 2, 0, 59, true},  {&Parts::second, 2, 0, 59, true},
};
constexpr size_t kHourField = 3;
constexpr size_t kSecondField = 5;

}  // namespace

std::u16string FormatDateTime(const DateTimeValue& date) {
  return date.IsDate() ? FormatParts(PartsOf(date), true) : std::u16string();
}

std::u16string FormatDateTimeMinutes(const DateTimeValue& date) {
  return date.IsDate() ? FormatParts(PartsOf(date), false) : std::u16string();
}

std::u16string FormatCompactDateTime(const DateTimeValue& date) {
  const Parts parts = PartsOf(date);
  std::u16string text;
  AppendPadded(text, parts.year, 4);
  AppendPadded(text, parts.month, 2);
  AppendPadded(text, parts.day, 2);
  AppendWithMark(text, u'T', parts.hour);
  AppendPadded(text, parts.minute, 2);
  AppendPadded(text, parts.second, 2);
  return text;
}

DateTimeValue ParseDateTime(std::u16string_view text) {
  if (text.empty()) return DateTimeValue::Null();
  const auto number = [&](size_t at, size_t length) {
    return at < text.size() ? ToInt(text.substr(at, length)) : 0;
  };
  return DateOf(
      {number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)});
}

DateTimeValue ParseLooseDateTime(std::u16string_view text) {
  Parts parts{0, 0, 0, 0, 0, 0};
  size_t state = 0;
  int number = 0;
  int digits = 0;
  // Takes the number into its field; false when it is out of range.
  const auto complete = [&] {
    const Field& field = kLooseFields[state];
    if (number < field.least || number > field.most) return false;
    parts.*field.part = number;
    number = 0;
    digits = 0;
    ++state;
    return true;
  };
  for (const char16_t c : text) {
    if (state > kSecondField) break;
    const Field& field = kLooseFields[state];
    if (c >= u'0' && c <= u'9') {
      number = number * 10 + (c - u'0');
      if (++digits < field.digits) continue;
    } else if (c != u':' || !field.colonEnds || digits == 0) {
      continue;
    }
    if (!complete()) return DateTimeValue::Null();
  }
  if (state < kHourField) return DateTimeValue::Null();
  if (state == kSecondField && digits > 0 && !complete()) return DateTimeValue::Null();
  return DateOf(parts);
}

DATE ParseDateColumn(std::u16string_view text) {
  const DateTimeValue date = ParseDateTime(text);
  return date.IsDate() ? date.value : 0.0;
}

}  // namespace qv
