#include "support/text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace qv {
namespace {

template <class Char>
size_t ReplaceAllIn(std::basic_string<Char>& text, std::basic_string_view<Char> from,
                    std::basic_string_view<Char> to) {
  using Text = std::basic_string<Char>;
  if (from.empty() || from == to) return Text::npos;
  size_t hit = text.find(from);
  if (hit == Text::npos) return 0;
  if (from.size() == to.size()) {
    size_t count = 0;
    for (; hit != Text::npos; hit = text.find(from, hit + from.size()), ++count) {
      to.copy(text.data() + hit, to.size());
    }
    return count;
  }
  // Built anew in one pass: replacing in place would move the rest at every hit.
  Text result;
  result.reserve(text.size());
  size_t count = 0;
  size_t done = 0;
  for (; hit != Text::npos; hit = text.find(from, done)) {
    result.append(text, done, hit - done).append(to);
    done = hit + from.size();
    ++count;
  }
  text = std::move(result.append(text, done, Text::npos));
  return count;
}

template <class Char>
Char Folded(Char c) {
  return c >= Char('A') && c <= Char('Z') ? static_cast<Char>(c - 'A' + 'a') : c;
}

template <class Char>
bool EqualsFolded(std::basic_string_view<Char> a, std::basic_string_view<Char> b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](Char x, Char y) { return Folded(x) == Folded(y); });
}

bool IsBlank(char16_t c) {
  return c == u' ' || (c >= u'\t' && c <= u'\r');
}

}  // namespace

std::u16string Concat(std::initializer_list<std::u16string_view> pieces) {
  size_t length = 0;
  for (const auto piece : pieces) length += piece.size();
  std::u16string text;
  text.reserve(length);
  for (const auto piece : pieces) text.append(piece);
  return text;
}

size_t ReplaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to) {
  return ReplaceAllIn(text, from, to);
}

size_t ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  return ReplaceAllIn(text, from, to);
}

bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  return EqualsFolded(a, b);
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return EqualsFolded(a, b);
}

int32_t ToInt(std::u16string_view text) {
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  size_t at = 0;
  while (at < text.size() && IsBlank(text[at])) ++at;
  const bool isNegative = at < text.size() && text[at] == u'-';
  if (at < text.size() && (isNegative || text[at] == u'+')) ++at;
  int64_t number = 0;
  for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
    number = std::min(number * 10 + (text[at] - u'0'), kMax + 1);
  }
  return static_cast<int32_t>(isNegative ? -number : std::min(number, kMax));
}

std::u16string Decimal(int64_t number) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  return std::u16string(digits, end);
}

void AppendPadded(std::u16string& text, int number, int width) {
  char digits[16];
  const char* begin = digits;
  const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  if (number < 0) text.push_back(static_cast<char16_t>(*begin++));
  for (auto missing = width - (end - digits); missing > 0; --missing) text.push_back(u'0');
  text.append(begin, end);
}

std::u16string FromAscii(std::string_view text) {
  std::u16string wide(text.size(), u'\0');
  std::transform(text.begin(), text.end(), wide.begin(),
                 [](char c) { return static_cast<char16_t>(c & 0x7F); });
  return wide;
}

std::string ToUtf16Le(std::u16string_view text) {
  std::string bytes(text.size() * 2, '\0');
  for (size_t i = 0; i < text.size(); ++i) {
    bytes[2 * i] = static_cast<char>(text[i] & 0xFF);
    bytes[2 * i + 1] = static_cast<char>(text[i] >> 8);
  }
  return bytes;
}

std::u16string FromUtf16Le(std::string_view bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(static_cast<uint8_t>(bytes[2 * i]) |
                                    static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
  }
  return text;
}

bool IsDotName(std::u16string_view name) {
  return name == u"." || name == u"..";
}

bool HasExactTail(std::u16string_view name, std::u16string_view tail) {
  const auto sameLetter = [](char16_t a, char16_t b) { return Folded(a) == Folded(b); };
  const auto found = std::search(name.begin(), name.end(), tail.begin(), tail.end(), sameLetter);
  return found != name.end() && name.end() - found == std::ssize(tail);
}

void ReplaceCharacters(std::u16string& name, std::u16string_view characters) {
  std::replace_if(
      name.begin(), name.end(), [&](char16_t c) { return characters.find(c) != characters.npos; },
      u'+');
}

void SanitizeFileName(std::u16string& name) {
  ReplaceCharacters(name, u"\\/:*?\"<>|");
}

}  // namespace qv
