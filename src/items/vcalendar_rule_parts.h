// What the two grammars of recurrence rules share.
#pragma once

#include <array>
#include <bit>
#include <optional>
#include <string_view>

#include "items/calendar.h"
#include "items/moment_text.h"

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

// All days of a week: with the last instance they name the last day of a month.
inline constexpr int32_t kEveryDay = 0x7F;

// A rule as its text gives it: where it ends by whatever clock the text means.
struct ReadRule {
  Recurrence rule;
  std::optional<Stamp> until;
};

// 23:59:59 of a date.
DATE EndOfDay(DATE date);

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

// The 1.0 grammar has no such sign.
inline bool IsModernRule(std::string_view text) {
  return text.find('=') != text.npos;
}

// The rule of either grammar; `start` is when the series begins by the clock of the text, 0.0 when
// unknown: it gives the day or month that a rule leaves out. Nothing for one that the numbers
// cannot hold, or that cannot be read.
std::optional<ReadRule> ReadRuleText(std::string_view text, DATE start);
std::optional<ReadRule> ReadOldRule(std::string_view text, DATE start);
std::optional<ReadRule> ReadModernRule(std::string_view text, DATE start);

}  // namespace qv
