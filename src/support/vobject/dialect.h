// The two grammars of vObject texts.
#pragma once

#include <cstdint>

namespace qv {

// Old: vCard 2.1, vCalendar 1.0, vNote, vBookmark. Modern: vCard 3.0 and 4.0, iCalendar 2.0.
// They differ in whether the blank of a fold belongs to the text, in the escapes, in how bytes that
// are not ASCII are put down, and in how parameters are spelled.
enum class Dialect : uint8_t { Old, Modern };

}  // namespace qv
