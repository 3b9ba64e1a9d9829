// UTF-7 (RFC 2152), in which some programs put Unicode into files that are read as ASCII.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qv {

// Nothing for what is no UTF-7.
std::optional<std::u16string> FromUtf7(std::string_view bytes);
// Any ASCII that may stand for itself does.
std::string ToUtf7(std::u16string_view text);

}  // namespace qv
