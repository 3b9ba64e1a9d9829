#include "stores/bookmark/bookmark_tree.h"

#include <algorithm>

#include "platform/com/status_error.h"
#include "platform/system/recycle_bin.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/path_map.h"

namespace qv {
namespace {

constexpr size_t kCutNameBytes = 252;  // from there on a temporary name may lack its end

bool IsMissing(SystemError error) {
  return error == kFileNotFound || error == kPathNotFound;
}

// A shortcut that a killed run was about to write: its own name is still as it was.
bool IsLeftover(const EntryInfo& entry) {
  if (entry.kind != EntryKind::File) return false;
  const std::string name = ToUtf8(entry.name);
  const auto meant = NameBehindTemporary(name);
  return meant && (HasExactTail(FromUtf8(*meant), kShortcutTail) || name.size() >= kCutNameBytes);
}

std::u16string ReadableName(std::u16string_view folder, const UnusableEntry& entry) {
  return ReadablePath(folder, true)
      .append(PrintableName(entry.name))
      .append(entry.kind == EntryKind::Folder ? u"/" : u"");
}

}  // namespace

std::u16string ReadablePath(std::u16string_view path, bool isFolder) {
  std::u16string text(path.substr(std::min<size_t>(1, path.size())));
  std::ranges::replace(text, u'\\', u'/');
  if (isFolder && !text.empty()) text.push_back(u'/');
  return text;
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

bool BookmarkTree::WouldTakePart(const UnusableEntry& entry) const {
  return TakesPart({.name = FromUtf8(entry.name), .kind = entry.kind});
}

SystemError BookmarkTree::List(std::u16string_view path, ListDetail detail,
                               std::vector<EntryInfo>& entries,
                               std::vector<BlindSpot>& blind) const {
  std::vector<UnusableEntry> unusable;
  const SystemError error = ListFolder(RelativeToAbsolute(root_, path), detail, entries, &unusable);
  if (error != kNoError && !IsMissing(error)) {
    blind.push_back({TREE_BLINDSPOT_FOLDER, std::u16string(path), ReadablePath(path, true), error});
  }
  std::erase_if(entries, [this](const EntryInfo& entry) { return !TakesPart(entry); });
  for (const UnusableEntry& entry : unusable) {
    if (!WouldTakePart(entry)) continue;
    blind.push_back({TREE_BLINDSPOT_NAME, std::u16string(path), ReadableName(path, entry)});
  }
  return error;
}

HRESULT BookmarkTree::Walk(std::u16string_view path, const Visit& visit,
                           std::vector<BlindSpot>* blind) const {
  struct Level {
    std::u16string path;
    std::vector<EntryInfo> entries;
    size_t next = 0;
  };
  std::vector<Level> open;
  std::vector<BlindSpot> unwanted;
  const auto enter = [&](std::u16string folder) {
    std::vector<EntryInfo> entries;
    List(folder, ListDetail::Names, entries, blind != nullptr ? *blind : unwanted);
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

Obstacle BookmarkTree::FindObstacle(std::u16string_view path, bool namesAlone) const {
  std::vector<std::u16string> open = {std::u16string(path)};
  std::vector<EntryInfo> entries;
  std::vector<UnusableEntry> unusable;
  while (!open.empty()) {
    const std::u16string folder = std::move(open.back());
    open.pop_back();
    const SystemError error =
        ListFolder(RelativeToAbsolute(root_, folder), ListDetail::Names, entries, &unusable);
    if (error != kNoError && !IsMissing(error) && !namesAlone) {
      return {TREE_OBSTACLE_UNREADABLE, ReadablePath(folder, true)};
    }
    if (!unusable.empty()) return {TREE_OBSTACLE_NAME, ReadableName(folder, unusable.front())};
    for (const EntryInfo& entry : entries) {
      std::u16string child = ChildPath(folder, entry.name);
      if (!namesAlone && !TakesPart(entry) && !IsLeftover(entry)) {
        return {TREE_OBSTACLE_OTHER, ReadablePath(child, entry.kind == EntryKind::Folder)};
      }
      if (entry.kind == EntryKind::Folder) open.push_back(std::move(child));
    }
  }
  return {};
}

bool BookmarkTree::EmptyFolder(std::u16string_view fullPath) const {
  std::vector<EntryInfo> entries;
  if (fullPath.empty() || ListFolder(fullPath, ListDetail::Names, entries) != kNoError) return true;
  return std::ranges::all_of(entries, [&](const EntryInfo& entry) {
    const std::u16string full = Concat({fullPath, u"\\", entry.name});
    if (TakesPart(entry)) return RecycleEntry(full) == kNoError;
    return !IsLeftover(entry) || DeleteFile(full) == kNoError;
  });
}

}  // namespace qv
