#include "platform/system/internet_shortcut.h"

#include <algorithm>

#include "platform/system/code_page.h"
#include "platform/system/service.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

constexpr std::string_view kSection = "[InternetShortcut]";
constexpr std::string_view kUrl = "URL=";
constexpr std::string_view kLineEnd = "\r\n";

// Percent-encoded as UTF-8 a URL means the same, and any page can hold it.
std::string PercentEncoded(std::u16string_view url) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string bytes;
  for (const char c : ToUtf8(url)) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte < 0x80) {
      bytes.push_back(c);
    } else {
      bytes.push_back('%');
      bytes.push_back(kDigits[byte >> 4]);
      bytes.push_back(kDigits[byte & 15]);
    }
  }
  return bytes;
}

std::string UrlBytes(std::u16string_view url) {
  CodePages& pages = Service<CodePages>::Get();
  std::string bytes = pages.Encode(url, kAnsiPage);
  return pages.Decode(bytes, kAnsiPage) == url ? bytes : PercentEncoded(url);
}

}  // namespace

std::optional<UrlRange> FindUrlRange(std::string_view bytes) {
  const size_t section = bytes.find(kSection);
  if (section == bytes.npos) return std::nullopt;
  const size_t line = bytes.find(kUrl, section + kSection.size());
  if (line == bytes.npos) return std::nullopt;
  const size_t begin = line + kUrl.size();
  return UrlRange{begin, std::min(bytes.find_first_of(kLineEnd, begin), bytes.size()) - begin};
}

std::string ShortcutBytes(std::u16string_view url) {
  std::string bytes(kSection);
  bytes.append(kLineEnd).append(kUrl).append(UrlBytes(url)).append(kLineEnd);
  return bytes;
}

std::u16string ShortcutUrl(std::string_view bytes) {
  const std::optional<UrlRange> range = FindUrlRange(bytes);
  if (!range) return {};
  return Service<CodePages>::Get().Decode(bytes.substr(range->begin, range->length), kAnsiPage);
}

SystemError InternetShortcut::Load(std::u16string_view path) {
  return ReadFileBytes(path, bytes_);
}

void InternetShortcut::SetURL(std::u16string_view url, uint32_t) {
  if (const std::optional<UrlRange> range = FindUrlRange(bytes_)) {
    bytes_.replace(range->begin, range->length, UrlBytes(url));
    return;
  }
  if (!bytes_.empty() && bytes_.back() != '\n') bytes_.append(kLineEnd);
  bytes_.append(ShortcutBytes(url));
}

SystemError InternetShortcut::Save(std::u16string_view path) const {
  return ReplaceFileBytes(path, bytes_);
}

}  // namespace qv
