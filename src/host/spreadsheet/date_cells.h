// Dates as other programs write them in cells. All of a file are read in one order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

// Guesses the order from the dates with a part above 12. When none tells, or they contradict each
// other, the month stands first before "/", and the day before "." and "-".
class DateReader {
 public:
  explicit DateReader(DateOrder order) : order_(order) {}

  // For every date of the file, before any is converted.
  void Vote(std::u16string_view cell);

  // "YYYY-MM-DD hh:mm", empty for a date that means none; nothing, and no reading, for a cell that
  // stays as it is. `isPast` for days whose year of two digits is none to come.
  std::optional<std::u16string> Convert(std::u16string_view cell, bool isPast,
                                        DateReading& reading) const;

 private:
  bool IsDayFirst(char16_t sign) const;
  DateReading ReadingFor(char16_t sign) const;

  const DateOrder order_;
  bool dayAhead_ = false;
  bool monthAhead_ = false;
};

// A date without a time.
bool IsDayAlone(std::u16string_view cell);

// Of two digits or fewer: 1950 to 2049, or no year to come.
int FullYear(int year, size_t digits, bool isPast);

}  // namespace qv
