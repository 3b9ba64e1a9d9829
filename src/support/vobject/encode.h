// Writes the lines of a text in the old dialect (vCard 2.1, vCalendar 1.0 and their kin).
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qv {

// Files of texts are cut and rewritten by what looks like the begin or end of an item, a charset or
// a mark of theirs, wherever it stands. Whether a value has such a look.
bool LooksLikeEnvelope(std::string_view value);

// Appends lines to one text, each ended by CR LF. A line is `Begin` with the whole header, then
// one of the others.
class LineWriter {
 public:
  // `header` is group, name and parameters, without the ':'.
  void Begin(std::string_view header) {
    lineStart_ = text_.size();
    text_ += header;
  }
  // More of the header.
  void Append(std::string_view header) { text_ += header; }

  // A text. Anything but printable ASCII goes out in UTF-8 as quoted-printable, marked in the
  // header and broken at 76 columns; so does what looks like an envelope, its colons too. A
  // backslash is doubled.
  void Text(std::u16string_view value);
  // A text that has its escapes already.
  void Escaped(std::u16string_view value) { Finish(value); }
  // Parts joined by ';', one within a part escaped.
  void Parts(std::span<const std::u16string> parts);
  // Two parts, of which the second may have been several: each ';' in it separates again, unless a
  // backslash stands before it. It is left out when empty.
  void NameAndRest(std::u16string_view name, std::u16string_view rest);
  // Characters that need no encoding: numbers, dates.
  void Plain(std::string_view value);
  // Folded at 76 columns and ended by a blank line. The header names the encoding.
  void Base64(std::string_view bytes);
  // The header is the whole line.
  void Bare() { text_ += "\r\n"; }

  void Reserve(size_t bytes) { text_.reserve(bytes); }
  std::string_view text() const { return text_; }
  // Takes back what was written behind the first `size` bytes.
  void Cut(size_t size) { text_.resize(size); }
  std::string Take() { return std::move(text_); }

 private:
  void Finish(std::u16string_view escaped);

  std::string text_;
  size_t lineStart_ = 0;
  std::u16string escaped_;
};

}  // namespace qv
