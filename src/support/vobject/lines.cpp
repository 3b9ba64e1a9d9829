// A text is read as
//
//   line       = [group "."] name *(";" parameter) ":" value break
//   parameter  = [name "="] word *("," word)     word may be quoted and then hold any of : ; ,
//   break      = CR LF | LF | CR
//   fold       = break blank                     anywhere, belongs to the line before
//   soft break = "=" break                       in a quoted-printable value
//
// and a base64 value goes on over unindented lines of its alphabet and includes the blank line
// that ends it.
#include "support/vobject/lines.h"

#include <algorithm>
#include <array>

namespace qv {
namespace {

constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

constexpr bool IsBreak(char c) {
  return c == '\r' || c == '\n';
}

constexpr char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr auto kBase64Letters = [] {
  std::array<bool, 256> table{};
  for (int c = 'A'; c <= 'Z'; ++c) table[static_cast<size_t>(c)] = true;
  for (int c = 'a'; c <= 'z'; ++c) table[static_cast<size_t>(c)] = true;
  for (int c = '0'; c <= '9'; ++c) table[static_cast<size_t>(c)] = true;
  for (const char c : {'+', '/', '='}) table[static_cast<size_t>(c)] = true;
  return table;
}();

struct HeaderEnd {
  size_t length = 0;
  bool colon = false;
  bool malformed = false;
};

// Quotes count behind the first ';' only. When one is never closed it cannot be told where the
// header ends; the first ':' of all is taken and the line marked.
HeaderEnd FindHeaderEnd(std::string_view line) {
  size_t firstColon = line.npos;
  bool inParameters = false;
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == ':') {
      if (!quoted) return {i, true, false};
      firstColon = std::min(firstColon, i);
    } else if (c == ';') {
      inParameters = true;
    } else if (c == '"' && inParameters) {
      quoted = !quoted;
    }
  }
  if (quoted && firstColon != line.npos) return {firstColon, true, true};
  return {line.size(), false, quoted};
}

bool HasBreak(std::string_view text) {
  return text.find('\n') != text.npos || text.find('\r') != text.npos;
}

// In a header every break is followed by the blank that makes it a fold.
void UnfoldHeader(std::string_view header, std::string& unfolded) {
  unfolded.clear();
  for (size_t i = 0; i < header.size(); ++i) {
    if (!IsBreak(header[i])) {
      unfolded += header[i];
      continue;
    }
    while (i + 1 < header.size() && IsBreak(header[i + 1])) ++i;
    ++i;
  }
}

struct EncodingWord {
  std::string_view word;
  ValueEncoding encoding;
  bool bare;  // also stands without ENCODING=
};

constexpr EncodingWord kEncodingWords[] = {
    {"QUOTED-PRINTABLE", ValueEncoding::QuotedPrintable, true},
    {"QUOTEDPRINTABLE", ValueEncoding::QuotedPrintable, true},  // as some write it, too
    {"QUOTED_PRINTABLE", ValueEncoding::QuotedPrintable, true},
    {"BASE64", ValueEncoding::Base64, true},
    {"B", ValueEncoding::Base64, false},
    {"BASE-64", ValueEncoding::Base64, false},
    {"8BIT", ValueEncoding::Plain, true},
    {"7BIT", ValueEncoding::Plain, true},
};

const EncodingWord* FindEncoding(std::string_view word, bool bare) {
  for (const EncodingWord& row : kEncodingWords) {
    if ((row.bare || !bare) && SameWord(row.word, word)) return &row;
  }
  return nullptr;
}

void ReadTransport(Line& line) {
  ParameterReader reader(line.parameters);
  bool encodingSeen = false;
  for (Parameter parameter; reader.Next(parameter);) {
    if (SameWord(parameter.name, "CHARSET")) {
      if (line.charset.empty()) line.charset = parameter.value;
    } else if (!encodingSeen && (parameter.name.empty() || SameWord(parameter.name, "ENCODING"))) {
      const EncodingWord* row = FindEncoding(parameter.value, parameter.name.empty());
      if (row == nullptr) continue;
      line.encoding = row->encoding;
      encodingSeen = true;
    }
  }
}

}  // namespace

LineReader::LineReader(std::string_view text)
    : text_(text),
      place_{.nextLf = std::min(text.find('\n'), text.size()),
             .nextCr = std::min(text.find('\r'), text.size())} {}

// Each kind of break is looked for once, so that a text with only one of them stays linear.
size_t LineReader::BreakFrom(size_t from) {
  if (place_.nextLf < from) place_.nextLf = std::min(text_.find('\n', from), text_.size());
  if (place_.nextCr < from) place_.nextCr = std::min(text_.find('\r', from), text_.size());
  return std::min(place_.nextLf, place_.nextCr);
}

size_t LineReader::BehindBreak(size_t at) const {
  if (at >= text_.size()) return text_.size();
  return at + (text_[at] == '\r' && at + 1 < text_.size() && text_[at + 1] == '\n' ? 2 : 1);
}

void LineReader::TakePhysicalLine() {
  place_.end = BreakFrom(place_.position);
  place_.position = BehindBreak(place_.end);
}

void LineReader::TakeFolds() {
  while (place_.position < text_.size() && IsBlank(text_[place_.position])) TakePhysicalLine();
}

void LineReader::TakeSoftBreaks(size_t valueBegin) {
  while (place_.end > valueBegin && text_[place_.end - 1] == '=' &&
         place_.position < text_.size()) {
    TakePhysicalLine();
    TakeFolds();
  }
}

// A line counts with its folds: a property whose name is folded is no line of base64.
void LineReader::TakeBase64Lines() {
  while (place_.position < text_.size()) {
    const Place before = place_;
    TakePhysicalLine();
    if (place_.end == before.position) return;  // blank: the break before it ends the value
    TakeFolds();
    if (IsBase64Text(text_.substr(before.position, place_.end - before.position))) continue;
    place_ = before;
    return;
  }
}

bool LineReader::Next(Line& line) {
  while (place_.position < text_.size() &&
         (IsBreak(text_[place_.position]) || IsBlank(text_[place_.position]))) {
    ++place_.position;
  }
  if (place_.position >= text_.size()) return false;
  line = Line();
  line.begin = place_.position;
  TakePhysicalLine();
  const size_t firstEnd = place_.end;
  TakeFolds();

  const HeaderEnd header = FindHeaderEnd(text_.substr(line.begin, place_.end - line.begin));
  line.header = text_.substr(line.begin, header.length);
  line.malformed = header.malformed;
  line.bare = !header.colon;
  ReadHeader(line, line.begin + header.length > firstEnd);
  const size_t valueBegin = line.begin + header.length + (header.colon ? 1 : 0);
  // Where no value begins none goes on.
  if (header.colon && line.encoding == ValueEncoding::QuotedPrintable) TakeSoftBreaks(valueBegin);
  if (header.colon && line.encoding == ValueEncoding::Base64) TakeBase64Lines();
  line.value = text_.substr(valueBegin, place_.end - valueBegin);
  line.folded = place_.end != firstEnd && HasBreak(line.value);
  line.end = place_.end;
  return true;
}

void LineReader::ReadHeader(Line& line, bool folded) {
  std::string_view header = line.header;
  if (folded) {
    UnfoldHeader(header, unfolded_);
    header = unfolded_;
  }
  const size_t semicolon = header.find(';');
  line.name = header.substr(0, semicolon);
  if (semicolon != header.npos) {
    line.parameters = header.substr(semicolon + 1);
    ReadTransport(line);
  }
  const size_t dot = line.name.find('.');
  if (dot != line.name.npos && IsGroupName(line.name.substr(0, dot))) {
    line.group = line.name.substr(0, dot);
    line.name.remove_prefix(dot + 1);
  }
}

ParameterReader::ParameterReader(std::string_view parameters)
    : rest_(parameters),
      quotes_(parameters.find('"') != parameters.npos &&
              std::count(parameters.begin(), parameters.end(), '"') % 2 == 0) {}

bool ParameterReader::Next(Parameter& parameter) {
  while (!rest_.empty()) {
    size_t end = 0;
    size_t equals = rest_.npos;
    for (bool quoted = false; end < rest_.size() && (quoted || rest_[end] != ';'); ++end) {
      if (rest_[end] == '"') quoted = quotes_ && !quoted;
      if (rest_[end] == '=' && equals == rest_.npos) equals = end;
    }
    parameter.raw = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    parameter.name =
        equals == rest_.npos ? std::string_view() : Trimmed(parameter.raw.substr(0, equals));
    std::string_view value = parameter.raw;
    if (equals != value.npos) value.remove_prefix(equals + 1);
    value = Trimmed(value);
    if (value.size() >= 2 && value.front() == '"' && value.find('"', 1) == value.size() - 1) {
      value = value.substr(1, value.size() - 2);
    }
    parameter.value = value;
    if (!Trimmed(parameter.raw).empty()) return true;
  }
  return false;
}

bool NextWord(std::string_view& list, std::string_view& word) {
  while (!list.empty()) {
    const size_t comma = list.find(',');
    word = Trimmed(list.substr(0, comma));
    list.remove_prefix(comma == list.npos ? list.size() : comma + 1);
    while (!word.empty() && word.front() == '"') word.remove_prefix(1);
    while (!word.empty() && word.back() == '"') word.remove_suffix(1);
    word = Trimmed(word);
    if (!word.empty()) return true;
  }
  return false;
}

bool IsGroupName(std::string_view group) {
  return !group.empty() && std::all_of(group.begin(), group.end(), [](char c) {
    return static_cast<unsigned char>(c) > 0x20 && c != '.' && c != ';' && c != ':' && c != '"';
  });
}

bool IsTransport(const Parameter& parameter) {
  if (parameter.name.empty()) return FindEncoding(parameter.value, true) != nullptr;
  return SameWord(parameter.name, "ENCODING") || SameWord(parameter.name, "CHARSET") ||
         SameWord(parameter.name, "VALUE");
}

bool IsBase64Text(std::string_view line) {
  return std::all_of(line.begin(), line.end(), [](char c) {
    return kBase64Letters[static_cast<unsigned char>(c)] || IsBlank(c) || IsBreak(c);
  });
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool SameLetters(std::string_view a, std::string_view b) {
  for (size_t i = 0; i < a.size(); ++i) {
    if (Upper(a[i]) != Upper(b[i])) return false;
  }
  return true;
}

}  // namespace qv
