// The names of the time zones that the program knows, in the order of their offsets from UTC.
//
// No conversion is keyed by a name; the one zone is that of the time-zone record.
#pragma once

#include <array>
#include <string_view>

namespace qv {

extern const std::array<std::u16string_view, 97> kTimeZoneNames;

}  // namespace qv
