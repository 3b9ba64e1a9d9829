// What the tree stores tell of their entries: texts, lists, matches and snapshots.
#include <unordered_set>

#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "platform/system/debug_log.h"
#include "platform/system/internet_shortcut.h"
#include "platform/system/service.h"
#include "platform/system/time_zone.h"
#include "stores/bookmark/bookmark_tree_store.h"
#include "stores/winner.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

ComPtr<IItemCommon> NewItem(const CLSID& clsid) {
  return CreateInstance<IItemCommon>(clsid);
}

}  // namespace

DATE BookmarkTreeStore::ModifiedOf(const std::u16string& full) const {
  EntryInfo entry;
  return FindEntry(full, entry) == kNoError ? FileDate(entry.modified) : 0.0;
}

std::u16string BookmarkTreeStore::ParentUid(const std::u16string& path) {
  const std::u16string parent = ParentPath(path);
  if (parent == kTreeRoot) return parent;
  std::u16string uid;
  if (!parent.empty()) Check(map_.UidOf(parent, uid));
  return uid;
}

HRESULT BookmarkTreeStore::OnGetParent(const std::u16string& sourceUid, std::u16string& parent) {
  std::u16string path;
  Check(map_.PathOf(sourceUid, path));
  parent = ParentUid(path);
  return S_OK;
}

HRESULT BookmarkTreeStore::OnIsFolder(const std::u16string& sourceUid, bool& isFolder) {
  std::u16string path;
  Check(map_.PathOf(sourceUid, path));
  EntryInfo entry;
  isFolder = FindEntry(tree_.FullPath(path), entry) == kNoError && entry.kind == EntryKind::Folder;
  return S_OK;
}

// Null for a file that cannot be read; the URL may be missing.
ComPtr<IItemCommon> BookmarkTreeStore::ReadBookmark(const Place& place) {
  EntryInfo entry;
  std::string bytes;
  if (FindEntry(place.full, entry) != kNoError || ReadFileBytes(place.full, bytes) != kNoError) {
    return nullptr;
  }
  ComPtr<IItemCommon> item = NewItem(CLSID_BookmarkItem);
  Bookmark& bookmark = AsBookmark(item);
  ItemFields& fields = bookmark.fields;
  fields.sourceUid = place.uid;
  fields.modified = FileDate(entry.modified);
  if (policy_.modifiedIsFileTime) {
    Check(map_.ReadObjUid(place.uid, fields.objUid));
    fields.objModified = fields.modified;
  } else {
    TreeIdentity identity;
    Check(map_.ReadIdentity(place.uid, identity));
    fields.objUid = std::move(identity.objUid);
    fields.objModified = identity.objModified;
  }
  bookmark.title = entry.name.substr(0, entry.name.rfind(u'.'));
  bookmark.url = ShortcutUrl(bytes);
  fields.parentUid = ParentUid(place.path);
  return item;
}

ComPtr<IItemCommon> BookmarkTreeStore::ReadFolder(const Place& place) {
  EntryInfo entry;
  if (FindEntry(place.full, entry) != kNoError) throw StatusError(E_FAIL);
  ComPtr<IItemCommon> item = NewItem(CLSID_FolderItem);
  Folder& folder = AsFolder(item);
  folder.name = entry.name;
  folder.created = FileDate(entry.created);
  folder.modified = FileDate(entry.modified);
  folder.accessed = FileDate(entry.accessed);
  folder.fields.sourceUid = place.uid;
  return item;
}

HRESULT BookmarkTreeStore::OnGet(const std::u16string& sourceUid, bool updateField,
                                 OutgoingItem& out) {
  const Place place = Find(sourceUid);
  bool isFolder = false;
  Check(OnIsFolder(sourceUid, isFolder));
  if (isFolder) {
    out.mimeType = kFolderMimeType;
    out.parent = ParentUid(place.path);
    const ComPtr<IItemCommon> item = ReadFolder(place);
    out.cdata = texts_.WriteFolder(item.get());
    out.item = item;
    return S_OK;
  }
  const ComPtr<IItemCommon> item = ReadBookmark(place);
  if (!item || AsBookmark(item).url.empty()) return E_FAIL;
  Bookmark& bookmark = AsBookmark(item);
  if (updateField) {
    bookmark.fields.objModified = bookmark.fields.modified;
    Check(
        policy_.modifiedIsFileTime
            ? map_.WriteObjUid(sourceUid, bookmark.fields.objUid)
            : map_.WriteIdentity(sourceUid, {bookmark.fields.objUid, bookmark.fields.objModified}));
  }
  if (ConfigText(&IDataStoreConfig::get_MimeType) != kBookmarkMimeType) return S_OK;
  out.mimeType = kBookmarkMimeType;
  out.parent = bookmark.fields.parentUid;
  out.cdata = texts_.WriteBookmark(item.get());
  out.item = item;
  return S_OK;
}

HRESULT BookmarkTreeStore::OnGetAllUid(std::vector<std::u16string>& uids) {
  Check(map_.Load());
  for (const auto& [path, uid] : map_.cache()) {
    if (EntryExists(tree_.FullPath(path))) uids.push_back(uid);
  }
  return S_OK;
}

HRESULT BookmarkTreeStore::OnGetChildren(const std::u16string& parent, ComPtr<IUnknown>& list) {
  Place place{parent, {}, {}};
  Check(map_.PathOf(parent, place.path));
  const std::vector<std::u16string> uids = Subtree(place);
  if (uids.empty()) return S_OK;
  const auto all = CreateInstance<IVarList>(CLSID_VarList);
  for (const std::u16string& uid : uids) Check(all->Add(Variant::Text(uid).get()));
  list = all;
  return S_OK;
}

// Null for an entry that cannot take part in a slow sync.
ComPtr<IItemCommon> BookmarkTreeStore::KeyItem(const Place& place) {
  EntryInfo entry;
  if (FindEntry(place.full, entry) != kNoError) return nullptr;
  if (entry.kind == EntryKind::Folder) {
    if (tree_.isFlat()) return nullptr;
    ComPtr<IItemCommon> item = ReadFolder(place);
    Folder& folder = AsFolder(item);
    folder.fields.parentUid = ParentUid(place.path);
    folder.fields.keyFields = folder.name;
    return item;
  }
  ComPtr<IItemCommon> item = ReadBookmark(place);
  if (!item) return nullptr;
  Bookmark& bookmark = AsBookmark(item);
  if (bookmark.url.empty()) {
    OutputDebugStringW(Concat(
        {u"[QVSyncEngine] GetAllBookmarkKeyFields bookmark (", place.uid, u") url is empty."}));
    return nullptr;
  }
  bookmark.fields.md5 = BookmarkMd5(bookmark);
  bookmark.fields.keyFields = bookmark.fields.md5;
  return item;
}

HRESULT BookmarkTreeStore::OnPrepareSlowSync() {
  matches_.Clear();
  for (const auto& [path, uid] : map_.cache()) {
    // What is there by then serves.
    if (IsSyncStopped()) break;
    if (ComPtr<IItemCommon> item = KeyItem({uid, path, tree_.FullPath(path)})) {
      matches_.Add(std::move(item));
    }
  }
  return S_OK;
}

HRESULT BookmarkTreeStore::OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) {
  if (matches_.IsEmpty()) return S_OK;
  const auto match = matches_.Find(text, CachedOrParsed(text), true, answer);
  if (!match) return S_OK;
  Place place{*answer.sourceUid, {}, {}};
  Check(map_.PathOf(place.uid, place.path));
  place.full = tree_.FullPath(place.path);
  const HRESULT status = Check(
      WriteStatus(STATDBUPDATE_ADD, place, match->fields().parentUid, text.IsFolderDocument()));
  answer.winner = match->winner;
  matches_.Remove(*match);
  return status;
}

HRESULT BookmarkTreeStore::OnProcessConflict(const IncomingText& text,
                                             const std::u16string& sourceUid,
                                             RESV_CONFLTLASTMODIFIED& outcome) {
  const ComPtr<IItemCommon> item = OnParse(text);
  if (!item) return E_FAIL;
  DATE pc = 0.0;
  DATE phone = 0.0;
  if (text.IsFolderDocument()) {
    OutgoingItem local;
    Check(OnGet(sourceUid, false, local));
    const Folder* known = FolderOf(local.item.get());
    if (known == nullptr) return E_FAIL;
    pc = known->modified;
    phone = AsFolder(item).modified;
  } else {
    pc = ModifiedOf(Find(sourceUid).full);
    phone = AsBookmark(item).fields.objModified;
  }
  outcome = NewerSide(pc, phone).value_or(RESV_CONFLTLASTMODIFIED_NONE);
  return S_OK;
}

HRESULT BookmarkTreeStore::OnStatusInitialize() {
  Check(map_.Load());
  if (policy_.sessionNeedsRoot && !EntryExists(tree_.root())) return E_FAIL;
  Check(tree_.Walk(kTreeRoot, [&](std::u16string_view path, const EntryInfo&) {
    std::u16string uid;
    return map_.AssignCached(path, uid);
  }));
  statusReady_ = true;
  return S_OK;
}

HRESULT BookmarkTreeStore::OnBackupTree(ComPtr<IStatusDBItemTree>& root) {
  return status_.ReadTree(tree_.isFlat(), root);
}

HRESULT BookmarkTreeStore::OnCurrentTree(ComPtr<IStatusDBItemTree>& root) {
  if (!statusReady_ || !EntryExists(tree_.root())) return E_FAIL;
  struct Level {
    ComPtr<IStatusDBItemTree> node;
    std::u16string uid;
    std::u16string path;
  };
  info_.Begin();
  HeldTimeZone zone;
  const ScopedService<TimeZone> held(zone);
  auto tree = MakeStatusRoot();
  std::vector<Level> open = {{tree, std::u16string(kTreeRoot), std::u16string(kTreeRoot)}};
  while (!open.empty()) {
    const Level level = std::move(open.back());
    open.pop_back();
    std::vector<EntryInfo> entries;
    const SystemError error =
        tree_.List(level.path, ListDetail::Modified, entries, info_.blindSpots());
    // An empty tree would look as if all had been deleted.
    if (error != kNoError && level.path == kTreeRoot) return E_FAIL;
    if (entries.empty()) continue;
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    for (const EntryInfo& entry : entries) {
      const bool isFolder = entry.kind == EntryKind::Folder;
      std::u16string path = ChildPath(level.path, entry.name);
      std::u16string uid;
      Check(map_.AssignCached(path, uid));
      info_.See(uid, entry);
      auto node = MakeStatusNode({uid, level.uid, FileDate(entry.modified), isFolder, {}});
      Check(list->Add(node.get()));
      if (isFolder) open.push_back({std::move(node), std::move(uid), std::move(path)});
    }
    Check(level.node->put_SubItemTree(list.get()));
  }
  root = std::move(tree);
  return S_OK;
}

HRESULT BookmarkTreeStore::OnDeleteAllStatus() {
  const HRESULT status = Check(status_.DeleteAll());
  int32_t syncType = 0;
  Check(config().get_SyncType(&syncType));
  if (!policy_.cleansMap || syncType != DS_SYNCTYPE_TWO_NORMAL) return status;
  // What was renamed since stands in the cache under its old path too; it is not gone.
  if (statusReady_) Check(map_.Load());
  std::unordered_set<std::u16string> there;
  std::vector<BlindSpot> blind;
  const auto note = [&](std::u16string_view path, const EntryInfo&) {
    there.emplace(path);
    return S_OK;
  };
  Check(tree_.Walk(kTreeRoot, note, &blind));
  // The rows of what cannot be seen wait for a day on which it can.
  if (!blind.empty() || !EntryExists(tree_.root())) return status;
  std::vector<std::u16string> gone;
  for (const auto& [path, uid] : map_.cache()) {
    if (!there.contains(path)) gone.push_back(uid);
  }
  return map_.Delete(gone);
}

HRESULT BookmarkTreeStore::OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) {
  return status_.Update(command, row);
}

}  // namespace qv
