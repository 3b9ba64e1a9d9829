// Small builders of statement text.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

// Every single quote doubled; the surrounding quotes are the caller's.
std::u16string QuoteSqlText(std::u16string_view value);

// How many identifiers one statement names.
inline constexpr size_t kIdentifiersPerStatement = 500;

// WHERE texts over identifiers, at most 500 terms each: a term is a blank, the column, "='", the
// identifier and "'", the terms joined by " OR " (so two blanks stand before all but the first).
// None for an empty list. Identifiers go in as they stand.
std::vector<std::u16string> BuildOrConditions(std::span<const std::u16string> ids,
                                              std::u16string_view column);
// The same as one text whatever the number, with the values' quotes doubled; empty for none.
std::u16string BuildQuotedOrCondition(std::span<const std::u16string> values,
                                      std::u16string_view column);

}  // namespace qv
