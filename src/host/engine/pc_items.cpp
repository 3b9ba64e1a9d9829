// Comparing the two status trees of a store.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "host/engine/pc_side.h"
#include "host/engine/report_words.h"
#include "platform/com/lists.h"
#include "support/date_time.h"

namespace qv {
namespace {

struct StatusEntry {
  std::u16string id;
  DATE modified = 0.0;
  std::u16string md5;
  bool isFolder = false;
  std::u16string parent = {};
};

StatusEntry EntryOf(IStatusDBItem& item, bool isFolder) {
  StatusEntry entry;
  entry.isFolder = isFolder;
  Bstr text;
  Check(item.get_parentUid(text.Out()));
  entry.parent = text.str();
  Check(item.get_sourceUid(text.Out()));
  entry.id = text.str();
  Check(item.get_md5(text.Out()));
  entry.md5 = text.str();
  Check(item.get_modified(&entry.modified));
  return entry;
}

// All items below a node, a folder before what is in it, or folders left out; no recursion,
// whatever the tree's depth.
std::vector<StatusEntry> Flatten(ComPtr<IStatusDBItemTree> root, bool withFolders) {
  std::vector<StatusEntry> entries;
  std::vector<ComPtr<IStatusDBItemTree>> open{std::move(root)};
  while (!open.empty()) {
    const ComPtr<IStatusDBItemTree> node = std::move(open.back());
    open.pop_back();
    ComPtr<IUnknown> list;
    if (node) Check(node->get_SubItemTree(list.Out()));
    const auto children = Query<IUnkList>(list);
    int32_t count = 0;
    if (children) Check(children->Count(&count));
    for (int32_t i = 0; i < count; ++i) {
      ComPtr<IUnknown> child;
      Check(children->Item(i, child.Out()));
      const auto tree = Query<IStatusDBItemTree>(child);
      if (!tree) continue;
      ComPtr<IStatusDBItem> item;
      Check(tree->get_Item(item.Out()));
      BOOL isFolder = kFalse;
      if (item) Check(item->get_IsFolder(&isFolder));
      if (isFolder != kFalse) open.push_back(tree);
      if (item && (withFolders || isFolder == kFalse)) {
        entries.push_back(EntryOf(*item, isFolder != kFalse));
      }
    }
  }
  return entries;
}

// Content hashes decide where both have one: a time that was turned into UTC and back is another in
// the hours around a change of the clocks. Without, the time alone tells. That of a folder changes
// with what is in it, and says nothing of the folder.
bool IsSame(const StatusEntry& a, const StatusEntry& b) {
  if (a.isFolder && b.isFolder) return true;
  if (!a.md5.empty() && !b.md5.empty()) return a.md5 == b.md5;
  return CompareDateTime(a.modified, b.modified) == 0;
}

bool HasGone(const std::vector<StatusEntry>& before, const std::vector<StatusEntry>& now) {
  std::unordered_set<std::u16string_view> ids;
  for (const StatusEntry& entry : now) ids.insert(entry.id);
  return std::ranges::any_of(before, [&](const StatusEntry& e) { return !ids.contains(e.id); });
}

}  // namespace

// Whether the store shows the phone only some of its items.
bool PcStore::IsFiltered() const {
  return Query<IDataStoreFilter>(store_).get() != nullptr;
}

std::vector<std::u16string> PcStore::AllIds() {
  ComPtr<IUnknown> list;
  Check(store_->GetAllUid(list.Out()));
  return TextsOf(list);
}

void PcStore::ReadItems(std::vector<PcItem>& items, int64_t& present, bool all) {
  const DatabaseReason reason;
  std::vector<StatusEntry> before;
  std::vector<StatusEntry> now;
  std::unordered_set<std::u16string> there;
  try {
    ComPtr<IStatusDBItemTree> tree;
    Check(status_->GetBackupStatusDB(tree.Out()));
    before = Flatten(std::move(tree), kind_.isTree);
    Check(status_->GetCurrentStatusDB(tree.Out()));
    now = Flatten(std::move(tree), kind_.isTree);
    if (IsFiltered() && (all || HasGone(before, now))) {
      for (std::u16string& id : AllIds()) there.insert(std::move(id));
    }
  } catch (const StatusError& error) {
    if (kind_.isTree) RequireRoot();
    throw StoreFailure(reason.Explain("the PC's items cannot be listed", error.status()));
  }
  std::unordered_map<std::u16string_view, const StatusEntry*> agreed;
  agreed.reserve(before.size());
  for (const StatusEntry& entry : before) agreed.emplace(entry.id, &entry);
  items.clear();
  items.reserve(now.size());
  for (StatusEntry& entry : now) {
    PcItem item;
    item.stamp = StampOf(entry.md5);
    if (const auto found = agreed.find(entry.id); found != agreed.end()) {
      item.change = IsSame(*found->second, entry) ? PcChange::Same : PcChange::Changed;
      agreed.erase(found);
    }
    item.id = std::move(entry.id);
    item.isFolder = entry.isFolder;
    item.parent = std::move(entry.parent);
    if (IsSubItemId(item.id) || kind_.isTree) item.modified = entry.modified;
    if (IsSubItemId(item.id)) item.md5 = std::move(entry.md5);
    there.erase(item.id);
    items.push_back(std::move(item));
  }
  present = static_cast<int64_t>(items.size() + there.size());
  for (const StatusEntry& entry : before) {
    if (!agreed.contains(entry.id)) continue;
    PcItem item;
    item.id = entry.id;
    item.change = there.erase(entry.id) != 0 ? PcChange::Filtered : PcChange::Gone;
    item.isFolder = entry.isFolder;
    item.parent = entry.parent;
    if (kind_.isTree) item.modified = entry.modified;
    items.push_back(std::move(item));
  }
  if (kind_.isTree) ReadTree(items);
  if (!all) return;
  for (const std::u16string& id : there) items.push_back({id, 0, PcChange::Filtered});
}

}  // namespace qv
