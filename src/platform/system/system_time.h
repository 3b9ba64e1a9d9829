// Broken-down time, and its conversion from and to automation dates.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/com/types.h"

namespace qv {

struct SystemTime {
  uint16_t year = 0;
  uint16_t month = 0;      // 1 to 12; in a time-zone rule 0 means "no rule"
  uint16_t dayOfWeek = 0;  // 0 for Sunday
  uint16_t day = 0;        // 1 to 31; in a yearly time-zone rule the week, 5 for the last
  uint16_t hour = 0;
  uint16_t minute = 0;
  uint16_t second = 0;
  uint16_t milliseconds = 0;

  friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

// Both know the span from 1 January 100 to 31 December 9999 and give nothing outside it.
//
// The date is rounded to the nearest second, with carry into minute, hour, day, month and year;
// milliseconds come out as 0, the day of the week is filled in.
std::optional<SystemTime> VariantTimeToSystemTime(DATE date);
// Day of week and milliseconds are not read. A day past the end of its month, an hour of 24 and
// the like give nothing.
std::optional<DATE> SystemTimeToVariantTime(const SystemTime& time);

// The same span as one number: whole seconds since midnight of 30 December 1899 (so negative for
// earlier moments), rounded as above; and the one date that stands for such a number. Nothing
// outside the span.
std::optional<int64_t> VariantTimeToSeconds(DATE date);
std::optional<DATE> SecondsToVariantTime(int64_t seconds);

}  // namespace qv
