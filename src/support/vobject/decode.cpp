#include "support/vobject/decode.h"

#include <algorithm>
#include <array>

#include "platform/system/code_page.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr bool IsBreak(char c) {
  return c == '\r' || c == '\n';
}

constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

constexpr int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Behind the break at `i`, and in the modern dialect behind the blank that made it a fold.
size_t BehindFold(std::string_view value, size_t i, Dialect dialect) {
  i += value[i] == '\r' && i + 1 < value.size() && value[i + 1] == '\n' ? 2 : 1;
  if (dialect == Dialect::Modern && i < value.size() && IsBlank(value[i])) ++i;
  return i;
}

void Unfold(std::string_view value, Dialect dialect, std::string& octets) {
  for (size_t i = 0; i < value.size();) {
    const size_t run = i;
    while (i < value.size() && !IsBreak(value[i])) ++i;
    octets.append(value, run, i - run);
    if (i < value.size()) i = BehindFold(value, i, dialect);
  }
}

// A hexadecimal digit at `i`, or behind the one break, soft or a fold, that may cut a code in two;
// -1 for none. Moves `i` behind it.
int TakeHexDigit(std::string_view value, size_t& i) {
  size_t at = i;
  const size_t breakAt = at < value.size() && value[at] == '=' ? at + 1 : at;
  if (breakAt < value.size() && IsBreak(value[breakAt])) {
    at = BehindFold(value, breakAt, Dialect::Old);
    while (at < value.size() && IsBlank(value[at])) ++at;
  }
  const int digit = at < value.size() ? HexValue(value[at]) : -1;
  if (digit >= 0) i = at + 1;
  return digit;
}

// Takes folds out in the same pass: behind a soft break a blank is text, behind a fold it is not.
void DecodeQuotedPrintable(std::string_view value, Dialect dialect, std::string& octets) {
  octets.reserve(value.size());
  for (size_t i = 0; i < value.size();) {
    const char c = value[i];
    if (IsBreak(c)) {
      i = BehindFold(value, i, dialect);
    } else if (c != '=') {
      octets += c;
      ++i;
    } else if (i + 1 == value.size()) {
      ++i;  // a soft break that the text's end cut off
    } else if (IsBreak(value[i + 1])) {
      i = BehindFold(value, i + 1, Dialect::Old);
    } else {
      size_t behind = i + 1;
      const int high = TakeHexDigit(value, behind);
      const int low = high >= 0 ? TakeHexDigit(value, behind) : -1;
      octets += low >= 0 ? static_cast<char>(high * 16 + low) : c;
      i = low >= 0 ? behind : i + 1;
    }
  }
}

constexpr int8_t kSkip = -2;
constexpr int8_t kPad = -3;

constexpr auto kBase64Values = [] {
  std::array<int8_t, 256> table{};
  table.fill(-1);
  constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (size_t i = 0; i < kLetters.size(); ++i) {
    table[static_cast<unsigned char>(kLetters[i])] = static_cast<int8_t>(i);
  }
  for (const char c : {' ', '\t', '\r', '\n'}) table[static_cast<unsigned char>(c)] = kSkip;
  table[static_cast<unsigned char>('=')] = kPad;
  return table;
}();

bool IsUtf8Name(std::string_view name) {
  return name.empty() || SameWord(name, "UTF-8") || SameWord(name, "UTF8") ||
         SameWord(name, "US-ASCII");
}

void AppendDecoded(std::string_view octets, std::string_view charset, std::u16string& text) {
  if (!IsUtf8Name(charset)) {
    if (auto decoded = CodePages::Default().DecodeNamed(octets, charset)) {
      text = std::move(*decoded);
      return;
    }
  }
  if (!AppendUtf8(octets, text)) text = CodePages::Default().Decode(octets, kAnsiPage);
}

// The character that an escape stands for, 0 for none; a line break is told apart by 'n'.
constexpr char16_t EscapedCharacter(char16_t c, Dialect dialect) {
  if (c == u';' || c == u'\\') return c;
  if (dialect == Dialect::Old) return 0;
  if (c == u',' || c == u':') return c;
  return c == u'n' || c == u'N' ? u'n' : u'\0';
}

// Appends the text up to the first ';' that is not escaped, or its end; returns how far it came.
size_t AppendComponent(std::u16string_view text, Dialect dialect, bool stopAtSemicolon,
                       std::u16string& out) {
  size_t i = 0;
  while (i < text.size()) {
    const size_t run = i;
    while (i < text.size() && text[i] != u'\\' && !(stopAtSemicolon && text[i] == u';')) ++i;
    out.append(text, run, i - run);
    if (i == text.size() || text[i] == u';') break;
    const char16_t escaped = i + 1 < text.size() ? EscapedCharacter(text[i + 1], dialect) : u'\0';
    if (escaped == u'n') {
      out += u"\r\n";
    } else {
      out += escaped == 0 ? u'\\' : escaped;
    }
    i += escaped == 0 ? 1 : 2;
  }
  return i;
}

// Without the ';' at the end that no backslash escapes.
std::u16string_view WithoutTail(std::u16string_view text) {
  size_t end = text.size();
  while (end > 0 && text[end - 1] == u';') --end;
  size_t slashes = 0;
  while (slashes < end && text[end - 1 - slashes] == u'\\') ++slashes;
  return text.substr(0, slashes % 2 == 1 && end < text.size() ? end + 1 : end);
}

}  // namespace

std::optional<std::string_view> ValueDecoder::Octets(const Line& line, Dialect dialect) {
  if (line.encoding == ValueEncoding::Plain && !line.folded) return line.value;
  octets_.clear();
  switch (line.encoding) {
    case ValueEncoding::Plain:
      Unfold(line.value, dialect, octets_);
      break;
    case ValueEncoding::QuotedPrintable:
      DecodeQuotedPrintable(line.value, dialect, octets_);
      break;
    case ValueEncoding::Base64:
      if (!AppendBase64(line.value, octets_)) return std::nullopt;
      break;
  }
  return octets_;
}

std::optional<std::u16string_view> ValueDecoder::Text(const Line& line, Dialect dialect,
                                                      bool keepNul) {
  const std::optional<std::string_view> octets = Octets(line, dialect);
  if (!octets) return std::nullopt;
  text_.clear();
  AppendDecoded(*octets, line.charset, text_);
  if (!keepNul) std::replace(text_.begin(), text_.end(), u'\0', u'\uFFFD');
  return text_;
}

std::optional<std::string_view> ValueDecoder::Token(const Line& line, Dialect dialect) {
  const std::optional<std::string_view> octets = Octets(line, Dialect::Modern);
  if (!octets || dialect == Dialect::Old || line.encoding == ValueEncoding::Base64) return octets;
  const bool plain = std::all_of(octets->begin(), octets->end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x80 && c != '\\';
  });
  if (plain && IsUtf8Name(line.charset)) return octets;
  token_ = ToUtf8(OldEscapes(*Text(line, Dialect::Modern, true)));
  return token_;
}

std::u16string Unescape(std::u16string_view text, Dialect dialect) {
  if (text.find(u'\\') == text.npos) return std::u16string(text);
  std::u16string result;
  result.reserve(text.size());
  AppendComponent(text, dialect, false, result);
  return result;
}

std::u16string OldEscapes(std::u16string_view modern, char16_t separator) {
  std::u16string old;
  old.reserve(modern.size());
  for (size_t i = 0; i < modern.size(); ++i) {
    const char16_t next = modern[i] == u'\\' && i + 1 < modern.size() ? modern[i + 1] : u'\0';
    const char16_t escaped = EscapedCharacter(next, Dialect::Modern);
    if (escaped == 0) {
      old += separator != 0 && modern[i] == u',' ? separator : modern[i];
      continue;
    }
    ++i;
    if (escaped == u'n') {
      old += u"\r\n";
      continue;
    }
    const bool isKept =
        EscapedCharacter(escaped, Dialect::Old) != 0 || (escaped == u',' && separator == u',');
    if (isKept) old += u'\\';
    old += escaped;
  }
  return old;
}

std::u16string OldListText(std::u16string_view list) {
  std::u16string text;
  text.reserve(list.size());
  for (size_t i = 0; i < list.size(); ++i) {
    const char16_t next = list[i] == u'\\' && i + 1 < list.size() ? list[i + 1] : u'\0';
    const bool isEscape = next == u',' || EscapedCharacter(next, Dialect::Old) != 0;
    text += isEscape ? list[++i] : list[i];
  }
  return text;
}

// The escapes undone but for those before a ';', which tell the ones that separate from the others.
std::u16string UnescapeUnits(std::u16string_view text, Dialect dialect) {
  std::u16string units;
  units.reserve(text.size());
  while (!text.empty()) {
    const size_t slash = std::min(text.find(u'\\'), text.size());
    const size_t behind = std::min(text.find_first_not_of(u'\\', slash), text.size());
    units.append(text, 0, slash);
    const size_t end = std::min(behind + 1, text.size());
    const std::u16string_view run = text.substr(slash, end - slash);
    units += run.ends_with(u';') ? std::u16string(run) : Unescape(run, dialect);
    text.remove_prefix(end);
  }
  return units;
}

void SplitValue(std::u16string_view text, Dialect dialect, Surplus surplus,
                std::span<std::u16string> parts) {
  for (size_t i = 0; i < parts.size() && !text.empty(); ++i) {
    if (i + 1 == parts.size()) {
      if (surplus == Surplus::JoinTrimmed) text = WithoutTail(text);
      parts[i] = surplus == Surplus::Join ? UnescapeUnits(text, dialect) : Unescape(text, dialect);
      return;
    }
    parts[i].clear();
    text.remove_prefix(AppendComponent(text, dialect, true, parts[i]));
    if (!text.empty()) text.remove_prefix(1);
  }
}

bool NextComponent(std::u16string_view& text, Dialect dialect, std::u16string& component) {
  if (text.empty()) return false;
  component.clear();
  text.remove_prefix(AppendComponent(text, dialect, true, component));
  if (!text.empty()) text.remove_prefix(1);
  return true;
}

bool AppendBase64(std::string_view text, std::string& bytes) {
  bytes.reserve(bytes.size() + text.size() / 4 * 3);
  uint32_t bits = 0;
  int held = 0;  // letters of the present group of four
  int pads = 0;
  for (const char c : text) {
    const int8_t value = kBase64Values[static_cast<unsigned char>(c)];
    if (value == kSkip) continue;
    if (value == kPad) {
      ++pads;
      continue;
    }
    if (value < 0 || pads > 0) return false;
    bits = bits << 6 | static_cast<uint32_t>(value);
    if (++held < 4) continue;
    bytes += static_cast<char>(bits >> 16);
    bytes += static_cast<char>(bits >> 8);
    bytes += static_cast<char>(bits);
    held = 0;
    bits = 0;
  }
  if (held == 1 || pads > 2) return false;
  if (held == 3) {
    bytes += static_cast<char>(bits >> 10);
    bytes += static_cast<char>(bits >> 2);
  } else if (held == 2) {
    bytes += static_cast<char>(bits >> 4);
  }
  return true;
}

}  // namespace qv
