// How people and programs write which half of a day a time lies in: "PM", "p. m.", "下午", "오전".
#pragma once

#include <optional>
#include <string_view>

namespace qv {

enum class DayHalf { Morning, Afternoon };

// Dots, blanks, quotes and letter case do not count. Nothing for any other word.
std::optional<DayHalf> DayHalfOf(std::u16string_view word);

}  // namespace qv
