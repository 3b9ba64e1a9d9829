#include "stores/bookmark/bookmark_tree.h"

#include <algorithm>

#include "platform/com/status_error.h"
#include "platform/system/recycle_bin.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/path_map.h"

namespace qv {

DATE FileDate(int64_t utcSeconds) {
  return UtcToLocal(DateFromUnixSeconds(utcSeconds), true).value;
}

int64_t FileSeconds(DATE local) {
  return UnixSecondsFromDate(LocalToUtc(local, true).value);
}

std::u16string UniqueEntryName(std::u16string_view folder, std::u16string_view name,
                               bool isFolder) {
  const std::u16string_view stem = isFolder ? name : name.substr(0, name.rfind(u'.'));
  std::u16string candidate(name);
  for (int n = 2; EntryExists(Concat({folder, u"\\", candidate})); ++n) {
    candidate = Concat({stem, u"(", Decimal(n), u")", isFolder ? u"" : kShortcutTail});
  }
  return candidate;
}

std::u16string BookmarkTree::FullPath(std::u16string_view path) const {
  std::u16string full = RelativeToAbsolute(root_, path);
  if (root_.empty() || (full != root_ && LeavesTree(root_, full))) full.clear();
  return full;
}

bool BookmarkTree::HasFolder(std::u16string_view path) const {
  const std::u16string full = FullPath(path);
  if (full.empty() || full == root_) return !full.empty();
  EntryInfo entry;
  return FindEntry(full, entry) == kNoError && entry.kind == EntryKind::Folder;
}

bool BookmarkTree::TakesPart(const EntryInfo& entry) const {
  if (entry.kind == EntryKind::Folder) return !isFlat_;
  return entry.kind == EntryKind::File && HasExactTail(entry.name, kShortcutTail);
}

std::vector<EntryInfo> BookmarkTree::List(std::u16string_view fullPath, ListDetail detail) const {
  std::vector<EntryInfo> entries;
  if (fullPath.empty() || ListFolder(fullPath, detail, entries) != kNoError) return {};
  std::erase_if(entries, [this](const EntryInfo& entry) { return !TakesPart(entry); });
  return entries;
}

HRESULT BookmarkTree::Walk(std::u16string_view path, const Visit& visit) const {
  struct Level {
    std::u16string path;
    std::vector<EntryInfo> entries;
    size_t next = 0;
  };
  std::vector<Level> open;
  const auto enter = [&](std::u16string folder) {
    std::vector<EntryInfo> entries = List(RelativeToAbsolute(root_, folder), ListDetail::Names);
    if (!entries.empty()) open.push_back({std::move(folder), std::move(entries)});
  };
  if (!HasFolder(path)) return S_OK;
  enter(std::u16string(path));
  while (!open.empty()) {
    Level& level = open.back();
    if (level.next == level.entries.size()) {
      open.pop_back();
      continue;
    }
    const EntryInfo& entry = level.entries[level.next++];
    std::u16string child = ChildPath(level.path, entry.name);
    if (const HRESULT status = visit(child, entry); Failed(status)) return status;
    if (entry.kind == EntryKind::Folder) enter(std::move(child));
  }
  return S_OK;
}

bool BookmarkTree::EmptyFolder(std::u16string_view fullPath) const {
  return std::ranges::all_of(List(fullPath, ListDetail::Names), [&](const EntryInfo& entry) {
    return RecycleEntry(Concat({fullPath, u"\\", entry.name})) == kNoError;
  });
}

}  // namespace qv
