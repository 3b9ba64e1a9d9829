// Recurrence rules of texts: the grammar of vCalendar 1.0 and that of iCalendar 2.0 (RFC 5545,
// 3.3.10) read, the former written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/calendar.h"

namespace qv {

// The numbers of a rule; nothing for one that they cannot hold exactly, or that cannot be read.
// `localStart` is when the series begins, in local time (0.0 when unknown): it gives the day or
// month that a rule leaves out.
std::optional<Recurrence> ParseRule(std::string_view text, DATE localStart);

// The same for a series that tells its beginning by the clock of a zone of its own, `ownStart`: the
// days of a 2.0 rule are days there, and are told by those here; nothing where the numbers cannot.
// With `isUtc` that is no zone but UTC, which the days of many texts do not mean: they do where the
// start fits the rule by no other reading.
std::optional<Recurrence> ParseRule(std::string_view text, DATE localStart, DATE ownStart,
                                    bool isUtc);

// In the 1.0 grammar; empty for the type None.
std::string RuleText(const Recurrence& rule, DATE localStart);

}  // namespace qv
