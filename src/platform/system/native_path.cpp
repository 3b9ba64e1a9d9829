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
