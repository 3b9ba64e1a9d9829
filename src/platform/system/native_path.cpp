#include <algorithm>

#include "platform/system/files.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

bool IsLetter(char16_t c) {
  return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

}  // namespace

std::optional<std::string> NativePath(std::u16string_view path) {
  static constexpr std::u16string_view kRefused(u":*?\"<>|\0", 8);
  if (path.size() >= 2 && IsLetter(path[0]) && path[1] == u':') path.remove_prefix(2);
  if (path.find_first_of(kRefused) != path.npos || !IsWellFormed(path)) return std::nullopt;
  std::string native = ToUtf8(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

}  // namespace qv
