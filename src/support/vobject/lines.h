// The lines of a vObject text (vCard, vCalendar, vNote and their kin).
//
// The reader knows line ends, folds, names, parameters and where a value ends; it knows nothing of
// what a property means and decodes nothing. What it finds does not depend on the dialect, so a
// property that is written back as it stood is found again as the same property in any dialect.
// Everything it hands out is a view into the text, or into the reader's own buffer where a header
// was folded; the latter is valid until the next call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

enum class ValueEncoding : uint8_t { Plain, QuotedPrintable, Base64 };

struct Line {
  std::string_view header;      // group, name and parameters as they stood, folds included
  std::string_view group;       // empty for none
  std::string_view name;        // as spelled
  std::string_view parameters;  // behind the name's ';', without folds
  std::string_view value;       // as it stood: folded, encoded, escaped
  std::string_view charset;     // empty for none
  ValueEncoding encoding = ValueEncoding::Plain;
  bool folded = false;     // the value holds line breaks
  bool malformed = false;  // a quote in the parameters is not closed
  bool bare = false;       // there is no ':'
  size_t begin = 0;        // of the header, in the text
  size_t end = 0;          // of the value, in the text
};

class LineReader {
 public:
  explicit LineReader(std::string_view text);

  // The next line that is not blank; false at the end. A line without ':' has an empty value.
  bool Next(Line& line);
  // Behind the line break of the line that was read last.
  size_t position() const { return place_.position; }
  std::string_view text() const { return text_; }

 private:
  // One physical line after the other; `end` is that of its characters.
  void TakePhysicalLine();
  void TakeFolds();
  void TakeSoftBreaks(size_t valueBegin);
  void TakeBase64Lines();
  size_t BreakFrom(size_t from);
  size_t BehindBreak(size_t at) const;
  void ReadHeader(Line& line, bool folded);

  std::string_view text_;
  struct Place {
    size_t position = 0;  // of the next physical line
    size_t end = 0;       // of the characters taken so far
    size_t nextLf = 0;    // the first one at or behind the last search
    size_t nextCr = 0;
  };
  Place place_;
  std::string unfolded_;
};

// One parameter; a bare word has no name. `raw` is as it stood, between two ';'.
struct Parameter {
  std::string_view raw;
  std::string_view name;
  std::string_view value;  // without blanks around it and without quotes
};

// Walks `Line::parameters`. Empty ones are passed over.
class ParameterReader {
 public:
  explicit ParameterReader(std::string_view parameters);
  bool Next(Parameter& parameter);

 private:
  std::string_view rest_;
  bool quotes_;  // quotes count: every one of them is closed
};

// The next word of a list `a,"b",c`, cut from the front of `list`; false at the end.
bool NextWord(std::string_view& list, std::string_view& word);

// A group prefix that can stand before a name.
bool IsGroupName(std::string_view group);
// Parameters say how the value is written down, not what it means: ENCODING, CHARSET, VALUE.
bool IsTransport(const Parameter& parameter);
// Could the line be more of a base64 value above it?
bool IsBase64Text(std::string_view line);
// Without the blanks at both ends.
std::string_view Trimmed(std::string_view text);
// ASCII letters compare without regard to case.
bool SameLetters(std::string_view a, std::string_view b);  // of equal length
inline bool SameWord(std::string_view a, std::string_view b) {
  return a.size() == b.size() && SameLetters(a, b);
}

}  // namespace qv
