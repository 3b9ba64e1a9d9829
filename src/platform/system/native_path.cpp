#include <algorithm>

#include "platform/system/files.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

bool IsLetter(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

// What a name cannot hold in the module's form, beside the two separators.
bool IsRefused(char16_t c) {
  static constexpr std::u16string_view kRefused = u":*?\"<>|";
  return c < 32 || kRefused.find(c) != kRefused.npos;
}

}  // namespace

std::optional<std::string> ToNativePath(std::u16string_view path) {
  if (path.size() >= 2 && IsLetter(path[0]) && path[1] == u':') path.remove_prefix(2);
  const auto isRefused = [](char16_t c) { return c == u'/' || IsRefused(c); };
  if (std::any_of(path.begin(), path.end(), isRefused) || !IsWellFormed(path)) return std::nullopt;
  std::string native = ToUtf8(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

std::u16string PrintableName(std::string_view name) {
  constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
  std::u16string text;
  while (!name.empty()) {
    const auto byte = static_cast<unsigned char>(name[0]);
    size_t length = byte < 32 || byte == 127 ? 5 : 1;
    // The shortest piece that is valid is one character.
    while (length < 5 && !AppendUtf8(name.substr(0, length), text)) ++length;
    if (length == 5) {
      text.append({u'\\', u'x', kDigits[byte >> 4], kDigits[byte & 15]});
      length = 1;
    }
    name.remove_prefix(std::min(length, name.size()));
  }
  return text;
}

std::optional<std::string_view> NameBehindTemporary(std::string_view name) {
  constexpr std::string_view kTail = ".tmp";
  if (name.size() <= 1 + kTail.size() || name[0] != '.' || !name.ends_with(kTail)) {
    return std::nullopt;
  }
  return name.substr(1, name.size() - 1 - kTail.size());
}

std::optional<std::u16string> FromNativePath(std::string_view path) {
  std::u16string text;
  const auto isRefused = [](char16_t c) { return c == u'\\' || IsRefused(c); };
  if (!AppendUtf8(path, text) || std::any_of(text.begin(), text.end(), isRefused)) {
    return std::nullopt;
  }
  std::replace(text.begin(), text.end(), u'/', u'\\');
  return text;
}

}  // namespace qv
