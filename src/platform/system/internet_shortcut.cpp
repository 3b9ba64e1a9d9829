#include "platform/system/internet_shortcut.h"

#include <algorithm>
#include <vector>

#include "platform/system/code_page.h"
#include "platform/system/service.h"
#include "platform/system/utf7.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

constexpr std::string_view kSection = "[InternetShortcut]";
// The URL once more, as the plain line has it and in UTF-7, where the plain line cannot say it.
constexpr std::string_view kNarrowSection = "[InternetShortcut.A]";
constexpr std::string_view kWideSection = "[InternetShortcut.W]";
constexpr std::string_view kUrl = "URL=";
constexpr std::string_view kLineEnd = "\r\n";

void AppendPercent(char c, std::string& bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<uint8_t>(c);
  bytes.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
}

// Percent-encoded as UTF-8 a URL means the same, and any page can hold it.
std::string PercentEncoded(std::u16string_view url) {
  std::string bytes;
  for (const char c : ToUtf8(url)) {
    if (static_cast<uint8_t>(c) < 0x80) {
      bytes.push_back(c);
    } else {
      AppendPercent(c, bytes);
    }
  }
  return bytes;
}

// A line end within would make lines of its own.
std::u16string WithoutControls(std::u16string_view url) {
  if (std::ranges::none_of(url, [](char16_t c) { return c < u' '; })) return std::u16string(url);
  std::string bytes;
  for (const char c : ToUtf8(url)) {
    if (static_cast<uint8_t>(c) >= ' ') {
      bytes.push_back(c);
    } else {
      AppendPercent(c, bytes);
    }
  }
  return FromUtf8(bytes);
}

// As the shortcut's own reader will see it.
std::u16string NarrowUrl(std::string_view bytes) {
  std::u16string url;
  if (!AppendUtf8(bytes, url)) url = Service<CodePages>::Get().Decode(bytes, kAnsiPage);
  return url;
}

std::string UrlBytes(std::u16string_view url) {
  std::string bytes = Service<CodePages>::Get().Encode(url, kAnsiPage);
  return NarrowUrl(bytes) == url ? bytes : PercentEncoded(url);
}

// How the file's characters are written.
struct Form {
  size_t width = 1;     // bytes in each, of which
  size_t low = 0;       // this one has the low eight bits
  bool isUtf8 = false;  // a mark says so
};

Form FormOf(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) return {1, 0, true};
  if (bytes.starts_with("\xFF\xFE")) return {2, 0};
  if (bytes.starts_with("\xFE\xFF")) return {2, 1};
  if (bytes.size() < 2 || (bytes[0] == 0) == (bytes[1] == 0)) return {};
  return {2, bytes[0] == 0 ? size_t{1} : size_t{0}};
}

// One byte for each character of wide text; what is not ASCII becomes something that no key or
// section holds.
std::string Skeleton(std::string_view bytes, const Form& form) {
  std::string skeleton;
  skeleton.reserve(bytes.size() / 2);
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const bool isAscii = bytes[at + 1 - form.low] == 0;
    skeleton.push_back(isAscii ? bytes[at + form.low] : '\x80');
  }
  return skeleton;
}

std::u16string WholeShortcut(std::u16string_view url) {
  return FromUtf8(kSection) + FromUtf8(kLineEnd) + FromUtf8(kUrl) + std::u16string(url) +
         FromUtf8(kLineEnd);
}

std::string Wide(std::u16string_view text, const Form& form) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char pair[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    bytes.push_back(pair[form.low]);
    bytes.push_back(pair[1 - form.low]);
  }
  return bytes;
}

std::u16string FromWide(std::string_view bytes, const Form& form) {
  std::u16string text;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const auto low = static_cast<uint8_t>(bytes[at + form.low]);
    const auto high = static_cast<uint8_t>(bytes[at + 1 - form.low]);
    text.push_back(static_cast<char16_t>(high << 8 | low));
  }
  return text;
}

// The old bytes, which mean another URL, tell the manner.
std::string NewBytes(std::u16string_view url, std::string_view old, const Form& form) {
  std::u16string unused;
  if (form.width == 2) return Wide(url, form);
  const bool isUtf8 = form.isUtf8 || (!IsAscii(old) && AppendUtf8(old, unused));
  return isUtf8 ? ToUtf8(url) : UrlBytes(url);
}

std::u16string UrlIn(std::string_view bytes, const Form& form) {
  return form.width == 1 ? NarrowUrl(bytes) : FromWide(bytes, form);
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool StartsLike(std::string_view text, std::string_view pattern) {
  return text.size() >= pattern.size() &&
         std::equal(pattern.begin(), pattern.end(), text.begin(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

size_t SkipBlanks(std::string_view text, size_t at) {
  return std::min(text.find_first_not_of(" \t", at), text.size());
}

// Where the value begins, of a line that starts at `at`; npos for another key.
size_t LooseValue(std::string_view text, size_t at) {
  at = SkipBlanks(text, at);
  if (!StartsLike(text.substr(at), kUrl.substr(0, 3))) return text.npos;
  at = SkipBlanks(text, at + 3);
  return at < text.size() && text[at] == '=' ? at + 1 : text.npos;
}

// Behind the header of the section; npos for none.
size_t FindSection(std::string_view text, std::string_view header) {
  size_t at = text.find(header);
  for (size_t line = 0; at == text.npos && line < text.size();) {
    const size_t start = SkipBlanks(text, line);
    if (StartsLike(text.substr(start), header)) at = start;
    line = std::min(text.find_first_of(kLineEnd, line), text.size() - 1) + 1;
  }
  return at == text.npos ? at : at + header.size();
}

// Of a value: as this system writes it, or as any INI file may, in the section itself; else, where
// that will do, the first one behind it.
size_t FindValue(std::string_view text, size_t section, bool inItself) {
  std::vector<size_t> lines;
  size_t end = section;
  while (end < text.size()) {
    end = std::min(text.find_first_of(kLineEnd, end), text.size() - 1) + 1;
    const size_t start = SkipBlanks(text, end);
    if (start < text.size() && text[start] == '[') break;
    lines.push_back(end);
  }
  const size_t strict = text.find(kUrl, section);
  if (strict < end) return strict + kUrl.size();
  for (const size_t line : lines) {
    if (const size_t value = LooseValue(text, line); value != text.npos) return value;
  }
  return strict == text.npos || inItself ? text.npos : strict + kUrl.size();
}

std::optional<UrlRange> RangeIn(std::string_view text, std::string_view header, bool inItself) {
  const size_t section = FindSection(text, header);
  if (section == text.npos) return std::nullopt;
  const size_t value = FindValue(text, section, inItself);
  if (value == text.npos) return std::nullopt;
  size_t begin = value;
  size_t end = std::min(text.find_first_of(kLineEnd, begin), text.size());
  begin = std::min(SkipBlanks(text, begin), end);
  while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
  return UrlRange{begin, end - begin};
}

std::string_view In(std::string_view bytes, const UrlRange& range) {
  return bytes.substr(range.begin, range.length);
}

// Of the URL once more; never the plain line itself.
std::optional<UrlRange> Beside(std::string_view bytes, std::string_view header) {
  if (FormOf(bytes).width != 1) return std::nullopt;
  const std::optional<UrlRange> range = RangeIn(bytes, header, true);
  const std::optional<UrlRange> plain = FindUrlRange(bytes);
  return range && plain && range->begin != plain->begin ? range : std::nullopt;
}

// What a program that knows of it opens. One that does not may have changed the plain line, and
// then it no longer says what this one says, in the signs that both can hold.
std::optional<std::u16string> WideUrl(std::string_view bytes, std::u16string_view plain) {
  const std::optional<UrlRange> range = Beside(bytes, kWideSection);
  std::optional<std::u16string> wide = range ? FromUtf7(In(bytes, *range)) : std::nullopt;
  const auto isLike = [](char16_t whole, char16_t sign) { return whole == sign || whole >= 0x80; };
  const bool sayTheSame = wide && (std::ranges::equal(*wide, plain, isLike) ||
                                   FromUtf8(PercentEncoded(*wide)) == plain);
  return sayTheSame ? wide : std::nullopt;
}

}  // namespace

std::optional<UrlRange> FindUrlRange(std::string_view bytes) {
  const Form form = FormOf(bytes);
  const std::string skeleton = form.width == 1 ? std::string() : Skeleton(bytes, form);
  std::optional<UrlRange> range = RangeIn(form.width == 1 ? bytes : skeleton, kSection, false);
  if (range) *range = {range->begin * form.width, range->length * form.width};
  return range;
}

std::string ShortcutBytes(std::u16string_view url) {
  std::string bytes(kSection);
  bytes.append(kLineEnd).append(kUrl).append(UrlBytes(WithoutControls(url))).append(kLineEnd);
  return bytes;
}

std::u16string ShortcutUrl(std::string_view bytes) {
  const std::optional<UrlRange> range = FindUrlRange(bytes);
  if (!range) return {};
  std::u16string plain = UrlIn(In(bytes, *range), FormOf(bytes));
  return WideUrl(bytes, plain).value_or(std::move(plain));
}

SystemError InternetShortcut::Load(std::u16string_view path) {
  return ReadFileBytes(path, bytes_);
}

bool InternetShortcut::SetURL(std::u16string_view given, uint32_t) {
  const std::u16string url = WithoutControls(given);
  if (bytes_.find_first_not_of('\0') == bytes_.npos) bytes_.clear();
  const Form form = FormOf(bytes_);
  const std::optional<UrlRange> range = FindUrlRange(bytes_);
  if (!range) {
    const bool startsLine =
        bytes_.empty() || bytes_.find('\n', bytes_.size() - form.width) != bytes_.npos;
    const std::string own = startsLine ? std::string() : std::string(kLineEnd);
    bytes_ +=
        form.width == 1 ? own + ShortcutBytes(url) : Wide(FromUtf8(own) + WholeShortcut(url), form);
    return true;
  }
  const std::string_view old = In(bytes_, *range);
  const bool isStale = Beside(bytes_, kWideSection) && !WideUrl(bytes_, UrlIn(old, form));
  if (!isStale && ShortcutUrl(bytes_) == url) return false;
  const std::string plain = UrlIn(old, form) == url ? std::string(old) : NewBytes(url, old, form);
  bytes_.replace(range->begin, range->length, plain);
  for (const std::string_view header : {kNarrowSection, kWideSection}) {
    const std::optional<UrlRange> beside = Beside(bytes_, header);
    if (!beside) continue;
    bytes_.replace(beside->begin, beside->length, header == kWideSection ? ToUtf7(url) : plain);
  }
  return true;
}

SystemError InternetShortcut::Save(std::u16string_view path) const {
  return ReplaceFileBytes(path, bytes_);
}

}  // namespace qv
