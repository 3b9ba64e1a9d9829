// Single values of a vCard: dates, moments, pictures.
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

// "YYYYMMDD" and "YYYYMMDDThhmmssZ"; empty for a date that is none.
std::string DayText(DATE date);
std::string MomentText(DATE date);

// The type as a contact keeps it ("JPEG", "PNG"), from a type word or a media type of any case;
// empty for what is no picture type's name.
std::u16string PhotoTypeOf(std::string_view word);

struct DataUri {
  std::string_view mediaType;
  std::string bytes;
};
// "data:image/png;base64,..."; nothing for any other URI.
std::optional<DataUri> ParseDataUri(std::string_view uri);

}  // namespace qv
