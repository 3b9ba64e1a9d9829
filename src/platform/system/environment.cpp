#include "platform/system/environment.h"

#include <cstdlib>

#include "platform/system/utf8.h"

namespace qv {

std::optional<std::u16string> ExpandEnvironment(std::u16string_view text) {
  const size_t begin = text.find(u'%');
  const size_t end = begin == text.npos ? text.npos : text.find(u'%', begin + 1);
  if (end == text.npos || end == begin + 1) return std::u16string(text);
  const std::u16string_view name = text.substr(begin + 1, end - begin - 1);
  // The C library would look for the part in front of it.
  if (name.find(u'\0') != name.npos) return std::nullopt;
  const char* value = std::getenv(ToUtf8(name).c_str());
  if (value == nullptr) return std::nullopt;
  std::u16string expanded(text.substr(0, begin));
  expanded.append(FromUtf8(value)).append(text.substr(end + 1));
  return expanded;
}

}  // namespace qv
