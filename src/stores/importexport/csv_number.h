// Numbers as spreadsheets write them.
#pragma once

#include <cstdint>
#include <string_view>

namespace qv {

// Blanks at both ends, a sign, digits, and a fraction that is rounded, halves to the even number.
// 0 for anything else, and for what 32 bits do not hold.
int32_t CellNumber(std::u16string_view text);

}  // namespace qv
