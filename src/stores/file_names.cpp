#include "stores/file_names.h"

#include <algorithm>

#include "syncdb/sync_session.h"

namespace qv {
namespace {

constexpr size_t kStemBytes = 245;  // of the 255 that one name has on the file systems here

constexpr bool IsHighSurrogate(char16_t c) {
  return c >= 0xD800 && c < 0xDC00;
}
constexpr bool IsSurrogate(char16_t c) {
  return c >= 0xD800 && c < 0xE000;
}
// In UTF-8; each half of a pair counts for half of it.
constexpr size_t ByteCount(char16_t c) {
  if (c < 0x80) return 1;
  return c < 0x800 || IsSurrogate(c) ? 2 : 3;
}

}  // namespace

std::u16string_view CutStem(std::u16string_view stem, size_t length) {
  if (length >= stem.size()) return stem;
  if (length > 0 && IsHighSurrogate(stem[length - 1])) --length;
  return stem.substr(0, length);
}

std::u16string_view FittingStem(std::u16string_view stem) {
  size_t bytes = 0;
  size_t length = 0;
  while (length < stem.size() && bytes + ByteCount(stem[length]) <= kStemBytes) {
    bytes += ByteCount(stem[length++]);
  }
  return CutStem(stem, length);
}

std::vector<std::u16string_view> NamesIn(std::u16string_view list) {
  std::vector<std::u16string_view> names;
  while (!list.empty()) {
    const size_t end = std::min(list.find(u';'), list.size());
    if (end > 0) names.push_back(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return names;
}

std::u16string FileStem(std::u16string_view folder, std::u16string_view name,
                        std::u16string_view extension, const PathLimits& limits) {
  if (folder.size() + 1 + name.size() + extension.size() >= limits.path) {
    if (folder.size() >= limits.cut) return {};
    name = CutStem(name, limits.cut - folder.size());
  }
  name = FittingStem(name);
  if (name.empty()) return {};
  return Concat({folder, u"\\", name});
}

}  // namespace qv
