// The PC side of a store with folders.
#include <algorithm>
#include <unordered_set>

#include "host/engine/bookmark_text.h"
#include "host/engine/pc_side.h"
#include "host/engine/report_words.h"
#include "platform/system/file_system.h"
#include "stores/bookmark/bookmark_tree.h"
#include "stores/bookmark/favorites_root.h"
#include "support/text.h"
#include "syncdb/path_map.h"

namespace qv {
namespace {

// An entry that the store would show.
bool MayTakePart(const EntryInfo& entry) {
  return entry.kind == EntryKind::Folder ||
         (entry.kind == EntryKind::File && HasExactTail(entry.name, kShortcutTail));
}

}  // namespace

ComPtr<IItemCommon> PcStore::ParseFolder(std::string_view text) {
  ComPtr<IUnknown> item;
  const auto converter = CreateInstance<IConverter>(CLSID_FolderConverter);
  Check(converter->Parse(Content(text).get(), item.Out()));
  return Query<IItemCommon>(item);
}

void PcStore::DeleteFolder(const std::u16string& id,
                           const std::unordered_set<std::u16string>& known) {
  const DatabaseReason reason;
  ComPtr<IUnknown> list;
  HRESULT status = store_->GetSubUids(Bstr(id), list.Out());
  if (Failed(status)) throw ItemError(reason.Explain("its content cannot be looked up", status));
  for (const std::u16string& inside : TextsOf(list)) {
    if (!known.contains(inside)) {
      throw ItemError("there is something new in it on the PC; it is taken up next time");
    }
  }
  if (const std::string other = OtherFileIn(id); !other.empty()) {
    throw ItemError("it holds what is no bookmark, " + other +
                    "; move that away, or remove the folder on the PC");
  }
  status = store_->Delete(Bstr(id), kTrue);
  if (Failed(status)) {
    throw ItemError(reason.Explain("the PC cannot delete it; other files may be in it", status));
  }
}

std::u16string PcStore::PathOf(const std::u16string& id) {
  PcItem item;
  item.id = id;
  std::u16string path = FavoritesFolder();
  path.append(u"\\").append(FromUtf8(Label(item)));
  std::ranges::replace(path, u'/', u'\\');
  return path;
}

// Empty for none. What is no bookmark would go with the folder, unseen.
std::string PcStore::OtherFileIn(const std::u16string& id) {
  std::vector<std::u16string> open = {PathOf(id)};
  std::vector<EntryInfo> entries;
  while (!open.empty()) {
    const std::u16string folder = std::move(open.back());
    open.pop_back();
    if (ListFolder(folder, ListDetail::Names, entries) != kNoError) return ToUtf8(folder);
    for (const EntryInfo& entry : entries) {
      if (!MayTakePart(entry)) return ToUtf8(entry.name);
      if (entry.kind == EntryKind::Folder) open.push_back(folder + u"\\" + entry.name);
    }
  }
  return {};
}

bool PcStore::RootChangedSince(int64_t seconds) {
  std::u16string root = FavoritesFolder();
  if (!takesFolders_) root.append(u"\\").append(kMobileBookmarks);
  EntryInfo entry;
  return FindEntry(root, entry) != kNoError || entry.modified >= seconds;
}

std::u16string PcStore::FolderName(const std::u16string& id) {
  return TitleOf(*Get(id, false).item);
}

bool PcStore::IsAt(const std::u16string& id, std::u16string_view title,
                   std::u16string_view parent) {
  Bstr now;
  return TitleOf(*Get(id, false).item) == title &&
         Succeeded(store_->GetParentUid(Bstr(id), now.Out())) && now.view() == parent;
}

// Of an entry whose title cannot be had.
std::string PcStore::FileNameOf(const std::u16string& id) {
  const SyncSession session = SessionOf(side_.phoneId());
  std::u16string path;
  const bool isKnown = Succeeded(PathMap(session).PathOf(id, path)) && !path.empty();
  return isKnown ? ToUtf8(NameInPath(path)) : "number " + ToUtf8(id);
}

std::string PcStore::Label(const PcItem& item) {
  if (!kind_.isTree) return ToUtf8(item.id);
  std::string label;
  for (std::u16string id = item.id; !id.empty() && id != root_.view();) {
    std::u16string title;
    try {
      title = TitleOf(*Get(id, false).item);
    } catch (const ItemError&) {
      // It has but its number.
    }
    std::string part = title.empty() ? FileNameOf(id) : ToUtf8(title);
    label = label.empty() ? std::move(part) : part.append("/").append(label);
    Bstr parent;
    if (Failed(store_->GetParentUid(Bstr(id), parent.Out()))) break;
    id = parent.str();
  }
  return label;
}

// The store takes a folder that cannot be opened for an empty one.
void PcStore::RequireReadable(const std::vector<PcItem>& items) {
  std::unordered_set<std::u16string_view> emptied;
  for (const PcItem& item : items) {
    if (item.change == PcChange::Gone) emptied.insert(item.parent);
  }
  for (const PcItem& item : items) {
    if (item.change != PcChange::Gone) emptied.erase(item.parent);
  }
  for (const PcItem& item : items) {
    if (item.change == PcChange::Gone || !item.isFolder || !emptied.contains(item.id)) continue;
    std::vector<EntryInfo> entries;
    const SystemError error = ListFolder(PathOf(item.id), ListDetail::Names, entries);
    const bool isGone = error == kFileNotFound || error == kPathNotFound;
    // It may be there for this look alone.
    const bool isEmpty = error == kNoError && std::ranges::none_of(entries, MayTakePart);
    if (isGone || isEmpty) continue;
    throw StoreFailure("the folder " + Label(item) + " of the Favorites cannot be read (error " +
                       std::to_string(error) + "); what is in it would look deleted");
  }
}

}  // namespace qv
