// Bytes of any kind carried in 16-bit text, and back without loss.
//
// Valid UTF-8 becomes its characters. A byte that is no part of valid UTF-8, and NUL, becomes the
// private character U+F700 + byte; a genuine character of U+F700 to U+F7FF is carried byte by byte
// in the same way, so that the way back is exact for every byte string.
#pragma once

#include <string>
#include <string_view>

namespace qv {

std::u16string TextFromRaw(std::string_view bytes);
// Appends. A lone surrogate, which no byte string gives, becomes U+FFFD.
void AppendRaw(std::u16string_view text, std::string& bytes);

}  // namespace qv
