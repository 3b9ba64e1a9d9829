// What the two grammars of recurrence rules share.
#pragma once

#include <array>
#include <bit>
#include <optional>
#include <string_view>

#include "items/calendar.h"

namespace qv {

inline constexpr int32_t kLastInstance = 5;
// By the bits of the mask, Sunday first.
inline constexpr std::array<std::string_view, 7> kDayNames = {"SU", "MO", "TU", "WE",
                                                              "TH", "FR", "SA"};

// The bit of a weekday's name; 0 for none.
int32_t DayBit(std::string_view name);

constexpr bool IsOneDay(int32_t mask) {
  return std::has_single_bit(static_cast<uint32_t>(mask));
}

// Digits alone, up to the greatest 32-bit number.
std::optional<int32_t> RuleNumber(std::string_view text);
std::optional<int32_t> RuleNumber(std::string_view text, int32_t low, int32_t high);

// The last moment of a rule. A date means the whole of that day, local time.
std::optional<DATE> ParseRuleEnd(std::string_view text);

// What a rule that leaves days and months out takes from its beginning; 0 for an unknown one.
struct StartDay {
  explicit StartDay(DATE local);
  int32_t bit = 0;
  int32_t day = 0;
  int32_t month = 0;
  bool isInLastWeek = false;  // the last such weekday of its month
};

// Is every number there that the type needs? Where one is missing the start was to give it.
bool IsWhole(const Recurrence& rule);

// The grammars, each with a text of its own; see ParseRule.
std::optional<Recurrence> ParseOldRule(std::string_view text, DATE localStart);
std::optional<Recurrence> ParseModernRule(std::string_view text, DATE localStart);

}  // namespace qv
