#include "stores/file_names.h"

#include "support/narrow_files.h"
#include "syncdb/sync_session.h"

namespace qv {

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
                        std::u16string_view extension) {
  if (folder.size() + 1 + name.size() + extension.size() >= kPathLimit) {
    if (folder.size() >= kCutPathLength) return {};
    name = CutStem(name, kCutPathLength - folder.size());
  }
  return Concat({folder, u"\\", name});
}

}  // namespace qv
