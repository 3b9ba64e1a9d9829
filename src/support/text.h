// Text helpers for 16-bit text: comparison, numbers, names; UTF-8 comes with
// platform/system/utf8.h.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system/utf8.h"

namespace qv {

// The pieces one behind the other.
std::u16string Concat(std::initializer_list<std::u16string_view> pieces);

// Replaces in place and returns the number of replacements. When `from` is empty or equals `to`,
// the answer is npos and the text stays. What a replacement creates is not searched again.
size_t ReplaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to);
size_t ReplaceAll(std::string& text, std::string_view from, std::string_view to);

// ASCII letters compare without regard to case, everything else as it stands.
bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// The C runtime's rule: blanks, one sign, digits up to the first other character; clamped to 32
// bits; nothing numeric gives 0.
int32_t ToInt(std::u16string_view text);
std::u16string Decimal(int64_t number);
// As "%0Nd": padded with zeros to `width`, a minus sign counts towards it.
void AppendPadded(std::u16string& text, int number, int width);

// The characters widened or cut to 7 bits: for constants and numbers.
std::u16string FromAscii(std::string_view text);

// The UTF-16 bytes of a text, low byte first, no terminator; and back, an odd last byte dropped.
std::string ToUtf16Le(std::u16string_view text);
std::u16string FromUtf16Le(std::string_view bytes);

// "." and "..", which every folder walk passes over.
bool IsDotName(std::u16string_view name);
// Is the text from the first occurrence of `tail` on, letter case aside, `tail` alone? So ".url" is
// the tail of "A.URL", and neither of "a.url.txt" nor of "a.url.url".
bool HasExactTail(std::u16string_view name, std::u16string_view tail);
// Puts "+" for each of these characters.
void ReplaceCharacters(std::u16string& name, std::u16string_view characters);
// Puts "+" for each \ / : * ? " < > | in turn; nothing else is touched.
void SanitizeFileName(std::u16string& name);

// A fresh identifier: a new GUID in upper case, 36 characters, without braces.
std::u16string MakeGuidText();

// Lower-case hexadecimal MD5 of the UTF-16 bytes, 32 characters; that of no bytes for an empty
// text. Empty when the checksum service fails.
std::u16string ComputeMd5(std::u16string_view text);

}  // namespace qv
