// Dates as other programs write them in cells. All of a file are read in one order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace qv {

// Of dates whose year stands last.
enum class DateOrder { Guess, DayFirst, MonthFirst };

// How a date was read.
enum class DateReading : uint8_t {
  YearFirst,
  DayFirst,
  MonthFirst,
  DayFirstAssumed,
  MonthFirstAssumed,
  DayFirstDisputed,
  MonthFirstDisputed,
  None,  // a date that means none
};
inline constexpr size_t kDateReadings = 8;

// As it is told.
const char* TextOf(DateReading reading);

// What the date of a cell is for.
enum class DateUse : uint8_t {
  Moment,
  DayOfAllDay,  // in whatever zone a midnight is told, it is that day
  PastDay,      // no moment, so no zone counts; a year of two digits is none to come
};

// Guesses the order from the dates with a part above 12. When none tells, or they contradict each
// other, the month stands first before "/", and the day before "." and "-".
class DateReader {
 public:
  explicit DateReader(DateOrder order) : order_(order) {}

  // For every date of the file, before any is converted.
  void Vote(std::u16string_view cell);

  // A plain cell (see below), empty for a date that means none; nothing, and no reading, for a cell
  // that stays as it is.
  std::optional<std::u16string> Convert(std::u16string_view cell, DateUse use,
                                        DateReading& reading) const;

 private:
  bool IsDayFirst(char16_t sign) const;
  DateReading ReadingFor(char16_t sign) const;

  const DateOrder order_;
  bool dayAhead_ = false;
  bool monthAhead_ = false;
};

// What stands in a plain cell, "YYYY-MM-DD hh:mm": local time, with ":ss" where there are seconds
// and "Z" behind it in UTC. Read strictly, unlike the stores, which pass over what they do not
// know.
struct PlainDate {
  DATE date = 0.0;
  bool isUtc = false;
};
std::optional<PlainDate> ReadPlainDate(std::u16string_view cell);
// The way back for local time.
std::u16string PlainDateText(DATE date);

// A date without a time.
bool IsDayAlone(std::u16string_view cell);

// Of two digits or fewer: 1950 to 2049, or no year to come.
int FullYear(int year, size_t digits, bool isPast);

}  // namespace qv
