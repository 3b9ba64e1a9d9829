#include "host/spreadsheet/date_cells.h"

#include <algorithm>

#include "host/spreadsheet/sheet.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

// By DateReading.
constexpr const char* kReadingTexts[kDateReadings] = {
    "dates read as year, month, day",
    "dates read as day, month, year",
    "dates read as month, day, year",
    "dates read as day, month, year (assumed: no day above 12 tells; --dates sets it)",
    "dates read as month, day, year (assumed: no day above 12 tells; --dates sets it)",
    "dates read as day, month, year (assumed: days above 12 tell both orders; --dates sets it)",
    "dates read as month, day, year (assumed: days above 12 tell both orders; --dates sets it)",
    "dates that mean none left out",
};

bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

// "24.12.2026": the three numbers, and the sign between them.
struct DayParts {
  int parts[3] = {};
  size_t digits[3] = {};
  char16_t sign = 0;
};

// A number of up to four digits off the front; -1 for none.
int TakeNumber(std::u16string_view& text, size_t& digits) {
  int number = 0;
  for (digits = 0; digits < text.size() && IsDigit(text[digits]); ++digits) {
    if (digits == 4) return -1;
    number = number * 10 + (text[digits] - u'0');
  }
  text.remove_prefix(digits);
  return digits == 0 ? -1 : number;
}

std::optional<DayParts> TakeDay(std::u16string_view& text) {
  DayParts day;
  for (int i = 0; i < 3; ++i) {
    day.parts[i] = TakeNumber(text, day.digits[i]);
    if (day.parts[i] < 0) return std::nullopt;
    if (i == 2) break;
    if (text.empty() || (text[0] != u'.' && text[0] != u'/' && text[0] != u'-')) {
      return std::nullopt;
    }
    if (i == 1 && text[0] != day.sign) return std::nullopt;
    day.sign = text[0];
    text.remove_prefix(1);
  }
  return day;
}

// "6:00:00 PM", "18:00", "18:00 Uhr"; nothing for what is none.
std::optional<std::u16string> TimeOf(std::u16string_view text) {
  text = TrimBlanks(text);
  if (text.starts_with(u',')) text = TrimBlanks(text.substr(1));
  if (text.empty()) return u"00:00";
  int parts[3] = {};
  for (int i = 0; i < 3; ++i) {
    size_t digits = 0;
    parts[i] = TakeNumber(text, digits);
    if (parts[i] < 0) return std::nullopt;
    if (!text.starts_with(u':')) break;
    if (i == 2) return std::nullopt;
    text.remove_prefix(1);
  }
  text = TrimBlanks(text);
  const bool isAfternoon = EqualsIgnoreCase(text, u"pm") || EqualsIgnoreCase(text, u"p.m.");
  const bool isMorning = EqualsIgnoreCase(text, u"am") || EqualsIgnoreCase(text, u"a.m.");
  if (!text.empty() && !isAfternoon && !isMorning && !EqualsIgnoreCase(text, u"uhr")) {
    return std::nullopt;
  }
  if ((isAfternoon || isMorning) && parts[0] == 12) parts[0] = 0;
  if (isAfternoon) parts[0] += 12;
  if (parts[0] > 24 || parts[1] > 59) return std::nullopt;
  std::u16string time;
  AppendPadded(time, parts[0], 2);
  time.push_back(u':');
  AppendPadded(time, parts[1], 2);
  return time;
}

std::u16string DateText(int year, int month, int day) {
  std::u16string date;
  AppendPadded(date, year, 4);
  date.push_back(u'-');
  AppendPadded(date, month, 2);
  date.push_back(u'-');
  AppendPadded(date, day, 2);
  return date;
}

}  // namespace

const char* TextOf(DateReading reading) {
  return kReadingTexts[static_cast<size_t>(reading)];
}

// Years of two digits: those to come are of this century, but nobody was born in them.
int FullYear(int year, size_t digits, bool isPast) {
  if (digits > 2) return year;
  if (!isPast) return year < 50 ? 2000 + year : 1900 + year;
  const int now = GetCurrentDateTime().GetYear();
  const int full = now - now % 100 + year;
  return full > now ? full - 100 : full;
}

void DateReader::Vote(std::u16string_view cell) {
  cell = TrimBlanks(cell);
  const std::optional<DayParts> day = TakeDay(cell);
  if (!day || day->digits[0] > 2) return;
  const bool first = day->parts[0] > 12;
  const bool second = day->parts[1] > 12;
  if (first == second || std::max(day->parts[0], day->parts[1]) > 31) return;
  dayAhead_ |= first;
  monthAhead_ |= second;
}

std::optional<std::u16string> DateReader::Convert(std::u16string_view cell, bool isPast,
                                                  DateReading& reading) const {
  std::u16string_view text = TrimBlanks(cell);
  const std::optional<DayParts> day = TakeDay(text);
  if (!day) return std::nullopt;
  const bool isYearFirst = day->digits[0] == 4;
  if (isYearFirst && text.starts_with(u'T')) return std::nullopt;
  const auto& parts = day->parts;
  const bool isDayFirst = !isYearFirst && IsDayFirst(day->sign);
  const int year = isYearFirst ? parts[0] : FullYear(parts[2], day->digits[2], isPast);
  const int month = parts[isYearFirst || isDayFirst ? 1 : 0];
  const int dayOfMonth = parts[isYearFirst ? 2 : isDayFirst ? 0 : 1];
  // How programs write that there is none.
  if ((month == 0 && dayOfMonth == 0) || year == 4501) {
    reading = DateReading::None;
    return u"";
  }
  const std::optional<std::u16string> time = TimeOf(text);
  if (!time || month < 1 || month > 12 || dayOfMonth < 1 || dayOfMonth > 31) return std::nullopt;
  reading = isYearFirst ? DateReading::YearFirst : ReadingFor(day->sign);
  return DateText(year, month, dayOfMonth).append(u" ").append(*time);
}

bool DateReader::IsDayFirst(char16_t sign) const {
  if (order_ != DateOrder::Guess) return order_ == DateOrder::DayFirst;
  if (dayAhead_ != monthAhead_) return dayAhead_;
  return sign != u'/';
}

DateReading DateReader::ReadingFor(char16_t sign) const {
  const bool isDayFirst = IsDayFirst(sign);
  if (order_ != DateOrder::Guess || dayAhead_ != monthAhead_) {
    return isDayFirst ? DateReading::DayFirst : DateReading::MonthFirst;
  }
  if (dayAhead_) {
    return isDayFirst ? DateReading::DayFirstDisputed : DateReading::MonthFirstDisputed;
  }
  return isDayFirst ? DateReading::DayFirstAssumed : DateReading::MonthFirstAssumed;
}

bool IsDayAlone(std::u16string_view cell) {
  cell = TrimBlanks(cell);
  return TakeDay(cell) && TrimBlanks(cell).empty();
}

}  // namespace qv
