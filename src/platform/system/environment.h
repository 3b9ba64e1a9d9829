// The variables of the process's environment within texts.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qv {

// The first "%NAME%" of the text replaced by the variable's value; a text without such a span as it
// stands. "%%" names nothing and ends the search. Nothing for a variable that is not set.
std::optional<std::u16string> ExpandEnvironment(std::u16string_view text);

}  // namespace qv
