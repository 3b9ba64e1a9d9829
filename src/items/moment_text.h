// Dates and moments as vObject texts write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace qv {

// "YYYYMMDD" or "YYYY-MM-DD", with or without a time of day behind it, which is checked and
// dropped. Nothing for a date without a year, month or day, and for 30 December 1899, which as an
// automation date would read as no date.
std::optional<DATE> ParseDay(std::string_view text);
// The same dates with "hh", "hhmm" or "hhmmss", with or without ':' and a fraction, and "Z" or an
// offset. UTC; a time without a zone is taken for UTC. Whole seconds.
std::optional<DATE> ParseMoment(std::string_view text);

// The same, and what the text says of it: without a time of day it is a date, without a zone it is
// wall-clock time somewhere.
struct Stamp {
  DATE date = 0.0;
  bool hasTime = false;
  bool hasZone = false;  // then `date` is UTC
};
std::optional<Stamp> ParseStamp(std::string_view text);

// The value of a line without its folds and soft breaks, for what is no text: neither dialect
// leaves a blank there.
std::string WithoutFolds(std::string_view value);

// "PT15M", "-P1DT2H", "P2W" (RFC 5545, 3.3.6); nothing for what is none. Days are days of a
// calendar, which last an hour less or more where the clocks change. Both have the same sign.
struct Duration {
  int64_t days = 0;
  int64_t seconds = 0;
};
std::optional<Duration> ParseDuration(std::string_view text);
// The same moment, so much later; equal moments are equal numbers. 0.0 for one out of range.
DATE Later(DATE date, int64_t seconds);

// A moment in UTC as local wall-clock time by the present zone's rules, and back. 0.0 for none, and
// for one that leaves the years of dates.
DATE LocalFromUtc(DATE date);
DATE UtcFromLocal(DATE date);

// "YYYYMMDD" and "YYYYMMDDThhmmssZ"; empty for a date that is none.
std::string DayText(DATE date);
std::string MomentText(DATE date);
// Wall-clock time, "YYYYMMDDThhmmss".
std::string WallText(DATE date);

}  // namespace qv
