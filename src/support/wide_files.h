// Whole files of wide text (UTF-16, low byte first, no mark), and narrow text of code pages.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/com/bstr.h"

namespace qv {

// Up to the first NUL; an odd last byte is dropped. Empty for a file that is missing or unreadable.
// A mark stays in the text. Paths are in the module's form.
std::u16string ReadWideFile(std::u16string_view path);
// Exactly two bytes a character. 0 when the file cannot be created or written, else nonzero.
int WriteWideFile(std::u16string_view path, std::u16string_view text);

// NUL-terminated text in the ANSI code page; null for null. Characters the page lacks become "?".
std::unique_ptr<char[]> ToAnsi(const char16_t* bstr);
// From a NUL-terminated narrow text; an empty string for null.
std::u16string ToWide(const char* text, uint32_t codePage = 3);

}  // namespace qv
