#include "host/spreadsheet/date_cells.h"

#include <algorithm>

#include "host/spreadsheet/day_halves.h"
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

constexpr bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

// Also those that are not broken at, which programs put before "PM".
constexpr bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\u00A0' || unit == u'\u202F';
}

void SkipBlanks(std::u16string_view& text) {
  while (!text.empty() && IsBlank(text[0])) text.remove_prefix(1);
}

std::u16string_view Bare(std::u16string_view text) {
  SkipBlanks(text);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

size_t DigitsAhead(std::u16string_view text) {
  const auto end = std::ranges::find_if_not(text, IsDigit);
  return static_cast<size_t>(end - text.begin());
}

// A number of `digits` digits off the front.
int TakeDigits(std::u16string_view& text, size_t digits) {
  int number = 0;
  for (; digits > 0; --digits, text.remove_prefix(1)) number = number * 10 + (text[0] - u'0');
  return number;
}

// A number of up to four digits off the front; -1 for none.
int TakeNumber(std::u16string_view& text, size_t& digits) {
  digits = DigitsAhead(text);
  return digits == 0 || digits > 4 ? -1 : TakeDigits(text, digits);
}

// "24.12.2026": the three numbers, and the sign between them.
struct DayParts {
  int parts[3] = {};
  size_t digits[3] = {};
  char16_t sign = 0;

  bool IsYearFirst() const { return digits[0] == 4; }
};

// "20261224", alone or with a time behind it.
std::optional<DayParts> TakeCompactDay(std::u16string_view& text) {
  const size_t run = DigitsAhead(text);
  if (run != 8 && run != 12 && run != 14) return std::nullopt;
  DayParts day;
  constexpr size_t kDigits[] = {4, 2, 2};
  for (size_t i = 0; i < 3; ++i) day.parts[i] = TakeDigits(text, day.digits[i] = kDigits[i]);
  return day;
}

// day = compact | number sign [blanks] number sign [blanks] number ["."]
std::optional<DayParts> TakeDay(std::u16string_view& text) {
  if (DigitsAhead(text) > 4) return TakeCompactDay(text);
  DayParts day;
  for (int i = 0; i < 3; ++i) {
    if (i > 0) SkipBlanks(text);
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
  const size_t yearDigits = day.digits[day.IsYearFirst() ? 0 : 2];
  if (yearDigits != 4 && yearDigits > 2) return std::nullopt;
  if (day.sign == u'.' && text.starts_with(u'.')) text.remove_prefix(1);
  return day;
}

struct TimeParts {
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::optional<int> east;  // of a zone that is told: minutes ahead of UTC

  bool IsMidnight() const { return hour % 24 == 0 && minute == 0 && second == 0; }
};

// Up to two digits off the front, behind one of the signs; unchanged, and true, without a sign.
bool TakePart(std::u16string_view& text, std::u16string_view signs, int& part) {
  if (text.size() < 2 || signs.find(text[0]) == signs.npos || !IsDigit(text[1])) return true;
  text.remove_prefix(1);
  const size_t digits = DigitsAhead(text);
  if (digits > 2) return false;
  part = TakeDigits(text, digits);
  return true;
}

// clock = h [":" m [":" s [fraction]]] | hhmm [ss]; also "18.30", "18h30", "18h"
bool TakeClock(std::u16string_view& text, TimeParts& time) {
  const size_t digits = DigitsAhead(text);
  if (digits == 4 || digits == 6) {
    time.hour = TakeDigits(text, 2);
    time.minute = TakeDigits(text, 2);
    if (digits == 6) time.second = TakeDigits(text, 2);
  } else if (digits == 1 || digits == 2) {
    time.hour = TakeDigits(text, digits);
    if (!TakePart(text, u":.h", time.minute) || !TakePart(text, u":.", time.second)) return false;
  } else {
    return false;
  }
  if (text.size() > 1 && (text[0] == u'.' || text[0] == u',') && IsDigit(text[1])) {
    text.remove_prefix(1);
    text.remove_prefix(DigitsAhead(text));
  }
  return time.minute < 60 && time.second < 60;
}

// offset = ("+" | "-") hh [[":"] mm]; in minutes.
std::optional<int> OffsetOf(std::u16string_view text) {
  const bool isWest = text[0] == u'-';
  text.remove_prefix(1);
  const size_t digits = DigitsAhead(text);
  if (digits == 0 || digits == 3 || digits > 4) return std::nullopt;
  const int hours = TakeDigits(text, std::min<size_t>(digits, 2));
  int minutes = digits == 4 ? TakeDigits(text, 2) : 0;
  if (digits <= 2 && !TakePart(text, u":", minutes)) return std::nullopt;
  if (!text.empty() || hours > 14 || minutes > 59) return std::nullopt;
  return (hours * 60 + minutes) * (isWest ? -1 : 1);
}

// Takes "Z", "UTC" and the like off the end of a word.
bool TakeUtcWord(std::u16string_view& word) {
  for (const std::u16string_view name : {u"utc", u"gmt", u"z"}) {
    if (word.size() < name.size()) continue;
    const size_t at = word.size() - name.size();
    const bool isAlone = at == 0 || IsBlank(word[at - 1]);
    if (!isAlone || !EqualsIgnoreCase(word.substr(at), name)) continue;
    word = Bare(word.substr(0, at));
    return true;
  }
  return false;
}

// What stands behind the clock: a word for the half of the day, a zone, or both.
bool ReadTail(std::u16string_view tail, std::u16string_view& word, TimeParts& time) {
  const size_t sign = std::min(tail.find_first_of(u"+-"), tail.size());
  word = Bare(tail.substr(0, sign));
  if (TakeUtcWord(word)) time.east = 0;
  if (sign < tail.size()) time.east = OffsetOf(Bare(tail.substr(sign)));
  if (sign < tail.size() && !time.east) return false;
  for (const std::u16string_view clock : {u"uhr", u"h", u"hrs"}) {
    if (EqualsIgnoreCase(word, clock)) word = {};
  }
  return true;
}

bool ApplyHalf(std::u16string_view word, TimeParts& time) {
  const std::optional<DayHalf> half = DayHalfOf(word);
  if (!half) return false;
  // "18:00 PM" can only be one time; "18:00 AM" is none.
  if (time.hour > 12) return *half == DayHalf::Afternoon && time.hour < 24;
  time.hour = time.hour % 12 + (*half == DayHalf::Afternoon ? 12 : 0);
  return true;
}

// time = [","] ["T"] [word] clock [word] [zone]; midnight for nothing. False for anything that is
// not understood as a whole.
bool ReadTime(std::u16string_view text, TimeParts& time) {
  text = Bare(text);
  if (text.starts_with(u',')) text = Bare(text.substr(1));
  if (text.empty()) return true;
  if (text.size() > 1 && (text[0] == u'T' || text[0] == u't') && IsDigit(text[1])) {
    text.remove_prefix(1);
  }
  const auto digit = std::ranges::find_if(text, IsDigit);
  const auto ahead = static_cast<size_t>(digit - text.begin());
  std::u16string_view word = Bare(text.substr(0, ahead));
  text.remove_prefix(ahead);
  if (!TakeClock(text, time)) return false;
  std::u16string_view tailWord;
  if (!ReadTail(Bare(text), tailWord, time)) return false;
  if (!word.empty() && !tailWord.empty()) return false;
  if (word.empty()) word = tailWord;
  if (!word.empty() && !ApplyHalf(word, time)) return false;
  return time.hour < 24 || (time.hour == 24 && time.IsMidnight());
}

// Invalid for a day that is none.
DateTimeValue DateOf(int year, int month, int day, const TimeParts& time) {
  DateTimeValue date;
  date.SetDateTime(year, month, day, time.hour % 24, time.minute, time.second);
  return time.hour == 24 ? date + DateTimeSpan(1, 0, 0, 0) : date;
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
  cell = Bare(cell);
  const std::optional<DayParts> day = TakeDay(cell);
  if (!day || day->IsYearFirst()) return;
  const bool first = day->parts[0] > 12;
  const bool second = day->parts[1] > 12;
  if (first == second || std::max(day->parts[0], day->parts[1]) > 31) return;
  dayAhead_ |= first;
  monthAhead_ |= second;
}

std::optional<std::u16string> DateReader::Convert(std::u16string_view cell, DateUse use,
                                                  DateReading& reading) const {
  std::u16string_view text = Bare(cell);
  const std::optional<DayParts> day = TakeDay(text);
  if (!day) return std::nullopt;
  const bool isPast = use == DateUse::PastDay;
  const bool isYearFirst = day->IsYearFirst();
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
  TimeParts time;
  if (!ReadTime(text, time)) return std::nullopt;
  DateTimeValue date = DateOf(year, month, dayOfMonth, time);
  const bool isDay = isPast || (use == DateUse::DayOfAllDay && time.IsMidnight());
  const bool hasZone = time.east && !isDay;
  if (hasZone) date = date - DateTimeSpan(0, 0, *time.east, 0);
  if (!date.IsDate()) return std::nullopt;
  reading = isYearFirst ? DateReading::YearFirst : ReadingFor(day->sign);
  return PlainDateText(date.value) + (hasZone ? u"Z" : u"");
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

std::optional<PlainDate> ReadPlainDate(std::u16string_view cell) {
  PlainDate plain;
  plain.isUtc = cell.ends_with(u'Z');
  if (plain.isUtc) cell.remove_suffix(1);
  constexpr std::u16string_view kShape = u"0000-00-00 00:00:00";
  if (cell.size() != kShape.size() && cell.size() != kShape.size() - 3) return std::nullopt;
  for (size_t i = 0; i < cell.size(); ++i) {
    if (kShape[i] == u'0' ? !IsDigit(cell[i]) : cell[i] != kShape[i]) return std::nullopt;
  }
  const auto part = [&](size_t at, size_t digits) {
    return at < cell.size() ? ToInt(cell.substr(at, digits)) : 0;
  };
  DateTimeValue date;
  date.SetDateTime(part(0, 4), part(5, 2), part(8, 2), part(11, 2), part(14, 2), part(17, 2));
  if (!date.IsDate()) return std::nullopt;
  plain.date = date.value;
  return plain;
}

std::u16string PlainDateText(DATE date) {
  const bool hasSeconds = DateTimeValue(date).GetSecond() > 0;
  return hasSeconds ? FormatDateTime(date) : FormatDateTimeMinutes(date);
}

bool IsDayAlone(std::u16string_view cell) {
  cell = Bare(cell);
  return TakeDay(cell) && Bare(cell).empty();
}

}  // namespace qv
