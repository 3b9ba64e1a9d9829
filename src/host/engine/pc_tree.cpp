// The PC side of a store with folders.
#include <algorithm>
#include <unordered_set>

#include "host/engine/bookmark_text.h"
#include "host/engine/pc_side.h"
#include "host/engine/report_words.h"
#include "platform/system/internet_shortcut.h"
#include "stores/bookmark/bookmark_tree.h"
#include "support/text.h"

namespace qv {
namespace {

FileMark MarkOf(const TREE_ENTRYSTAMP& stamp) {
  return {stamp.inode, stamp.createdNs, stamp.size, stamp.modifiedNs, stamp.changedNs};
}

std::u16string TitleOfName(std::u16string_view name, bool isFolder) {
  return std::u16string(isFolder ? name : name.substr(0, name.rfind(u'.')));
}

constexpr const char* kObstacles[] = {
    "",
    ", whose name no name of a bookmark or folder can be; rename that",
    ", which is no bookmark; move that away, or remove the folder on the PC",
    ", which cannot be read",
};

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
  // What is no bookmark would go with the folder, unseen.
  auto obstacle = TREE_OBSTACLE_NONE;
  Bstr path;
  Check(tree_->FindObstacle(Bstr(id), &obstacle, path.Out()));
  if (obstacle != TREE_OBSTACLE_NONE) {
    throw ItemError("it holds " + ToUtf8(path.view()) + kObstacles[obstacle]);
  }
  status = store_->Delete(Bstr(id), kTrue);
  if (Failed(status)) {
    throw ItemError(reason.Explain("the PC cannot delete it; other files may be in it", status));
  }
}

void PcStore::RequireRoot() {
  int32_t rootError = 0;
  const HRESULT status = tree_->GetFolderError(root_, &rootError);
  const auto error = static_cast<SystemError>(rootError);
  const bool isMissing = error == kFileNotFound || error == kPathNotFound;
  if (Failed(status) || (error != kNoError && !isMissing)) {
    throw StoreFailure("the folder " + RootFolder() + " cannot be read (" +
                       SystemErrorWords(error) +
                       "); all bookmarks of the PC would look deleted. Make it readable and run "
                       "the sync again");
  }
}

void PcStore::ReadTree(std::vector<PcItem>& items) {
  RequireRoot();
  for (PcItem& item : items) {
    Bstr name;
    TREE_ENTRYSTAMP stamp{};
    const bool isSeen = item.change != PcChange::Gone &&
                        Succeeded(tree_->GetEntryName(Bstr(item.id), name.Out())) &&
                        Succeeded(tree_->GetEntryStamp(Bstr(item.id), kFalse, &stamp));
    if (!isSeen) continue;
    item.title = TitleOfName(name.view(), item.isFolder);
    item.file = MarkOf(stamp);
    item.says = MeaningOf(item.title, {});
    item.isBroken = !item.isFolder && stamp.size == 0;
  }
  ReadBlindSpots(items);
}

// A folder that cannot be read looks empty, and what was in it gone.
void PcStore::ReadBlindSpots(const std::vector<PcItem>& items) {
  std::unordered_set<std::u16string_view> robbed;
  for (const PcItem& item : items) {
    if (item.change == PcChange::Gone) robbed.insert(item.parent);
  }
  int32_t count = 0;
  Check(tree_->CountBlindSpots(&count));
  blindSpots_.clear();
  for (int32_t i = 0; i < count; ++i) {
    auto kind = TREE_BLINDSPOT_NAME;
    Bstr folder;
    Bstr path;
    Check(tree_->GetBlindSpot(i, &kind, folder.Out(), path.Out()));
    const bool isFolder = kind == TREE_BLINDSPOT_FOLDER;
    if (isFolder && robbed.contains(folder.view())) {
      throw StoreFailure("the folder " + ToUtf8(path.view()) +
                         " of the Favorites cannot be read; what is in it would look deleted");
    }
    blindSpots_.push_back({folder.str(), ToUtf8(path.view()), isFolder});
  }
}

std::string PcStore::RootFolder() {
  Bstr root;
  if (tree_) tree_->GetRootFolder(root.Out());
  std::string folder = ToUtf8(root.view());
  std::ranges::replace(folder, '\\', '/');
  return folder;
}

Meaning PcStore::SaysNow(const PcItem& item) {
  Bstr path;
  if (Failed(tree_->GetEntryPath(Bstr(item.id), path.Out()))) {
    throw ItemError("its place on the PC is not known");
  }
  const std::u16string_view full = path.view();
  const std::u16string title = TitleOfName(full.substr(full.rfind(u'\\') + 1), item.isFolder);
  if (item.isFolder) return MeaningOf(title, {});
  std::string bytes;
  if (const SystemError error = ReadFileBytes(full, bytes); error != kNoError) {
    throw ItemError("the PC cannot read it: " + SystemErrorWords(error));
  }
  return MeaningOf(title, ShortcutUrl(bytes));
}

FileMark PcStore::FileNow(const std::u16string& id) {
  TREE_ENTRYSTAMP stamp{};
  return Failed(tree_->GetEntryStamp(Bstr(id), kTrue, &stamp)) ? FileMark() : MarkOf(stamp);
}

bool PcStore::IsBroken(const std::u16string& id) {
  BOOL broken = kFalse;
  return Succeeded(tree_->IsBroken(Bstr(id), &broken)) && broken != kFalse;
}

bool PcStore::IsAt(const PcItem& item, std::u16string_view parent) {
  Bstr now;
  Bstr path;
  if (Failed(tree_->GetEntryPath(Bstr(item.id), path.Out()))) return false;
  const std::u16string_view full = path.view();
  return TitleOfName(full.substr(full.rfind(u'\\') + 1), item.isFolder) == item.title &&
         Succeeded(store_->GetParentUid(Bstr(item.id), now.Out())) && now.view() == parent;
}

std::string PcStore::Label(const PcItem& item) {
  Bstr root;
  Bstr path;
  if (!tree_ || Failed(tree_->GetRootFolder(root.Out())) ||
      Failed(tree_->GetEntryPath(Bstr(item.id), path.Out())) ||
      path.view().size() <= root.view().size()) {
    return (tree_ ? "number " : "") + ToUtf8(item.id);
  }
  std::u16string_view below = path.view().substr(root.view().size() + 1);
  // One that holds no bookmark has no title.
  const bool hasTitle = !item.isBroken && !item.isUnreadable;
  if (hasTitle && HasExactTail(below, kShortcutTail)) below.remove_suffix(kShortcutTail.size());
  std::string label = ToUtf8(below);
  std::ranges::replace(label, '\\', '/');
  return label;
}

}  // namespace qv
