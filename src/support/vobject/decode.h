// From the value of a line as it stood to characters: folds, transfer encoding, charset, escapes.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/vobject/dialect.h"
#include "support/vobject/lines.h"

namespace qv {

// Keeps its buffers from value to value; each result is valid until the next call.
class ValueDecoder {
 public:
  // The bytes behind folds and transfer encoding. Nothing for base64 that is none.
  std::optional<std::string_view> Octets(const Line& line, Dialect dialect);
  // The characters, escapes still in them. Bytes of a charset that is unknown are taken for UTF-8,
  // and bytes that are no valid UTF-8 for the ANSI page. With `keepNul` unset, U+0000 becomes
  // U+FFFD.
  std::optional<std::u16string_view> Text(const Line& line, Dialect dialect, bool keepNul = false);
  // A date, a picture or a URI: free of folds in either dialect, a modern one with the escapes that
  // the old grammar would give it. So what is read of a property that is no text does not change
  // when it is put down in the old grammar.
  std::optional<std::string_view> Token(const Line& line, Dialect dialect);

 private:
  std::string octets_;
  std::string token_;
  std::u16string text_;
};

// Undoes the escapes, once, from left to right. A backslash before anything else stays.
// Old has \; and \\ alone. Modern has \, and \: too (the latter as some write URLs), and \n and \N,
// which give CR LF.
std::u16string Unescape(std::u16string_view text, Dialect dialect);

// The same text with the escapes of the old grammar: what separates still separates, a comma needs
// no backslash, and line breaks stand for themselves. Of a list `separator` is what stands between
// its values there: ';', or the comma, and then one within a value keeps its backslash.
std::u16string OldEscapes(std::u16string_view modern, char16_t separator = 0);

// A list of the old grammar whose separator is the comma, as one text: no comma in it is escaped.
std::u16string OldListText(std::u16string_view list);

// What becomes of components beyond the last part.
enum class Surplus {
  Join,         // they join the last part, each ';' kept, and the backslashes before any
  JoinTrimmed,  // they join the last part, each ';' kept, but a run of ';' at the very end goes
};
// Cuts at each ';' that is not escaped and undoes the escapes. Parts that the text does not reach
// stay as they are.
void SplitValue(std::u16string_view text, Dialect dialect, Surplus surplus,
                std::span<std::u16string> parts);

// Cuts the first component off the front, escapes undone; false when the text is empty.
bool NextComponent(std::u16string_view& text, Dialect dialect, std::u16string& component);

// Appends the bytes of base64 text; blanks and line breaks are passed over. False, with `bytes` in
// an unknown state, when there is anything else in it or it is cut within a byte.
bool AppendBase64(std::string_view text, std::string& bytes);

}  // namespace qv
