#include "support/vobject/encode.h"

#include <algorithm>
#include <cstdint>

namespace qv {
namespace {

constexpr size_t kColumns = 76;
constexpr std::string_view kBreak = "\r\n";
constexpr std::string_view kEncoded = ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:";

bool IsPrintableAscii(std::u16string_view text) {
  bool printable = true;
  for (const char16_t c : text) printable &= c - 0x20u <= 0x7Eu - 0x20u;
  return printable;
}

// How ';' within a part is written.
enum class Separator {
  Plain,    // the value is one part, or the ';' is to cut it
  Escaped,  // with a backslash before it
};

// The sign by which each is found, and what stands before and behind it.
struct EnvelopeLook {
  std::string_view before;
  char sign;
  std::string_view behind;
};
constexpr EnvelopeLook kLooks[] = {{"BEGIN", ':', "V"},       {"END", ':', "V"},
                                   {"X-QVVERSION", ':', ""},  {"X-GRPUUID", ':', ""},
                                   {"CHARSET", '=', "utf-8"}, {"CHARSET", '=', "UTF-8"}};

template <class Char>
bool HoldsLook(std::basic_string_view<Char> text) {
  const auto stands = [&](size_t at, std::string_view look) {
    return at <= text.size() && text.size() - at >= look.size() &&
           std::equal(look.begin(), look.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                      [](char c, Char other) { return static_cast<Char>(c) == other; });
  };
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != ':' && text[i] != '=') continue;
    for (const EnvelopeLook& look : kLooks) {
      if (text[i] == static_cast<Char>(look.sign) && i >= look.before.size() &&
          stands(i - look.before.size(), look.before) && stands(i + 1, look.behind)) {
        return true;
      }
    }
  }
  return false;
}

void AppendEscaped(std::u16string_view text, Separator separator, std::u16string& out) {
  for (size_t i = 0; i < text.size();) {
    const size_t run = i;
    while (i < text.size() && text[i] != u'\\' &&
           !(separator == Separator::Escaped && text[i] == u';')) {
      ++i;
    }
    out.append(text, run, i - run);
    if (i == text.size()) break;
    out += u'\\';
    out += text[i++];
  }
}

// Backslashes before a ';' say already whether it separates; all others are doubled.
void AppendUnits(std::u16string_view text, std::u16string& out) {
  while (!text.empty()) {
    const size_t slash = std::min(text.find(u'\\'), text.size());
    const size_t behind = std::min(text.find_first_not_of(u'\\', slash), text.size());
    const std::u16string_view run = text.substr(slash, behind - slash);
    out.append(text, 0, slash).append(run);
    if (!text.substr(behind).starts_with(u';')) out.append(run);
    text.remove_prefix(behind);
  }
}

void AppendNarrow(std::u16string_view text, std::string& out) {
  const size_t start = out.size();
  out.resize(start + text.size());
  std::transform(text.begin(), text.end(), out.begin() + static_cast<std::ptrdiff_t>(start),
                 [](char16_t c) { return static_cast<char>(c); });
}

// The code point at `i`, which moves behind it. A lone surrogate is U+FFFD.
char32_t NextCodePoint(std::u16string_view text, size_t& i) {
  const char16_t c = text[i++];
  if (c < 0xD800 || c > 0xDFFF) return c;
  if (c > 0xDBFF || i == text.size() || text[i] < 0xDC00 || text[i] > 0xDFFF) return 0xFFFD;
  return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) +
         (static_cast<char32_t>(text[i++]) - 0xDC00);
}

size_t EncodeUtf8(char32_t c, unsigned char (&bytes)[4]) {
  const auto tail = [&](int shift) { return static_cast<unsigned char>(0x80 | (c >> shift & 63)); };
  if (c < 0x80) {
    bytes[0] = static_cast<unsigned char>(c);
    return 1;
  }
  if (c < 0x800) {
    bytes[0] = static_cast<unsigned char>(0xC0 | c >> 6);
    bytes[1] = tail(0);
    return 2;
  }
  if (c < 0x10000) {
    bytes[0] = static_cast<unsigned char>(0xE0 | c >> 12);
    bytes[1] = tail(6);
    bytes[2] = tail(0);
    return 3;
  }
  bytes[0] = static_cast<unsigned char>(0xF0 | c >> 18);
  bytes[1] = tail(12);
  bytes[2] = tail(6);
  bytes[3] = tail(0);
  return 4;
}

// A character's codes are never cut by a soft break, and a blank next to one is coded, so that
// neither a reader of single lines nor one that trims or unfolds first can spoil the text.
void AppendQuotedPrintable(std::u16string_view text, bool hidesColons, size_t column,
                           std::string& out) {
  constexpr char kHex[] = "0123456789ABCDEF";
  for (size_t i = 0; i < text.size();) {
    const char32_t c = NextCodePoint(text, i);
    bool plain = c > 0x20 && c < 0x7F && c != '=' && !(hidesColons && c == ':');
    if (c == ' ') plain = column + 2 < kColumns && i < text.size();
    unsigned char bytes[4];
    const size_t count = EncodeUtf8(c, bytes);
    const size_t width = plain ? 1 : 3 * count;
    // The "=" of the break itself takes a column, unless this is the end of the value.
    if (column + width + (i < text.size() ? 1 : 0) > kColumns) {
      out += "=\r\n";
      column = 0;
    }
    column += width;
    if (plain) {
      out += static_cast<char>(c);
      continue;
    }
    for (size_t k = 0; k < count; ++k) {
      out += '=';
      out += kHex[bytes[k] >> 4];
      out += kHex[bytes[k] & 15];
    }
  }
}

}  // namespace

bool LooksLikeEnvelope(std::string_view value) {
  return HoldsLook(value);
}

void LineWriter::Finish(std::u16string_view escaped) {
  const bool looks = HoldsLook(escaped);
  if (!looks && IsPrintableAscii(escaped)) {
    text_ += ':';
    AppendNarrow(escaped, text_);
  } else {
    text_ += kEncoded;
    AppendQuotedPrintable(escaped, looks, text_.size() - lineStart_, text_);
  }
  text_ += kBreak;
}

void LineWriter::Text(std::u16string_view value) {
  if (value.find(u'\\') == value.npos) return Finish(value);
  escaped_.clear();
  AppendEscaped(value, Separator::Plain, escaped_);
  Finish(escaped_);
}

void LineWriter::NameAndRest(std::u16string_view name, std::u16string_view rest) {
  escaped_.clear();
  AppendEscaped(name, Separator::Escaped, escaped_);
  if (!rest.empty()) {
    escaped_ += u';';
    AppendUnits(rest, escaped_);
  }
  Finish(escaped_);
}

void LineWriter::Parts(std::span<const std::u16string> parts) {
  escaped_.clear();
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) escaped_ += u';';
    AppendEscaped(parts[i], Separator::Escaped, escaped_);
  }
  Finish(escaped_);
}

void LineWriter::Plain(std::string_view value) {
  text_ += ':';
  text_ += value;
  text_ += kBreak;
}

void LineWriter::Base64(std::string_view bytes) {
  constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  text_ += ':';
  size_t column = text_.size() - lineStart_;
  const auto put = [&](char c) {
    if (column == kColumns) {
      text_ += "\r\n ";
      column = 1;
    }
    text_ += c;
    ++column;
  };
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t bits = 0;
    for (size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    put(kLetters[bits >> 18]);
    put(kLetters[bits >> 12 & 63]);
    put(count > 1 ? kLetters[bits >> 6 & 63] : '=');
    put(count > 2 ? kLetters[bits & 63] : '=');
  }
  text_ += kBreak;
  text_ += kBreak;
}

}  // namespace qv
