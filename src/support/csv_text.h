// The text of a CSV file in its encoding.
#pragma once

#include <optional>
#include <string>

namespace qv {

// By the mark at its start: UTF-8, UTF-16 low byte first, else the ANSI code page, of UTF-16 high
// byte first too. Narrow text ends at a byte 0x1A or NUL, wide text at a NUL. Nothing for a file
// that cannot be read, and for a text of `limit` characters or more. The path is native.
//
// The file is read in pieces, so that its bytes and its text are never held at once.
std::optional<std::u16string> ReadCsvText(const std::string& path, size_t limit);

}  // namespace qv
