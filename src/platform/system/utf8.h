// UTF-8 from and to UTF-16.
//
// Valid UTF-8 is that of RFC 3629: no overlong form, no surrogate, nothing above U+10FFFF.
#pragma once

#include <string>
#include <string_view>

namespace qv {

// Bad bytes (a cut sequence as one) and lone surrogates become U+FFFD.
std::u16string FromUtf8(std::string_view bytes);
std::string ToUtf8(std::u16string_view text);
// Appends; true when every byte was part of valid UTF-8 (otherwise nothing is appended).
bool AppendUtf8(std::string_view bytes, std::u16string& text);
// Without the beginning of a character at the end of the bytes.
std::string_view WholeUtf8(std::string_view bytes);
bool IsAscii(std::string_view bytes);
// False for a text with a lone surrogate, which UTF-8 cannot hold.
bool IsWellFormed(std::u16string_view text);

}  // namespace qv
