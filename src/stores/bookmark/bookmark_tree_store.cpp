#include "stores/bookmark/bookmark_tree_store.h"

#include "platform/system/debug_log.h"
#include "platform/system/internet_shortcut.h"
#include "stores/bookmark/favorites_root.h"
#include "stores/file_names.h"
#include "support/text.h"

namespace qv {
namespace {

bool IsRoot(std::u16string_view uid) {
  return uid == kTreeRoot;
}

// A bookmark's name without the ".url" that `EntryNames` knows where to find.
std::u16string FileName(std::u16string_view stem) {
  return Concat({stem, kShortcutTail});
}

std::u16string InFolder(std::u16string_view folder, std::u16string_view name) {
  return Concat({folder, u"\\", name});
}
std::u16string_view FolderIn(std::u16string_view full) {
  return full.substr(0, full.rfind(u'\\'));
}
std::u16string_view NameIn(std::u16string_view full) {
  return full.substr(full.rfind(u'\\') + 1);
}

}  // namespace

std::u16string BookmarkTreeStore::FindRoot() {
  std::u16string favorites = FavoritesFolder();
  if (favorites.empty()) throw StatusError(E_FAIL);
  if (policy_.rootFollowsDevice && DeviceTakesFolders(bag())) {
    tree_.Open(favorites, false);
    return favorites;
  }
  tree_.Open(InFolder(favorites, kMobileBookmarks), policy_.rootFollowsDevice);
  if (policy_.makesFavorites && !EntryExists(tree_.root()) && !EntryExists(favorites) &&
      MakeFolder(favorites) != kNoError) {
    throw StatusError(E_FAIL);
  }
  return tree_.root();
}

IUnknown* BookmarkTreeStore::FindInterface(const IID& iid) noexcept {
  return iid == IBookmarkTreeInfo::kIid ? &info_ : StoreBase::FindInterface(iid);
}

HRESULT BookmarkTreeStore::OnInitialize() {
  if (const HRESULT status = texts_.Open(bag()); Failed(status)) {
    return policy_.folderConverterMayLack ? kNotInitialized : status;
  }
  const std::u16string root = FindRoot();
  if (EntryExists(root)) return S_OK;
  if (MakeFolder(root) != kNoError) return E_FAIL;
  changes_.Made(root, EntryKind::Folder);
  return S_OK;
}

BookmarkTreeStore::Place BookmarkTreeStore::Find(const std::u16string& uid) {
  Place place{uid, {}, {}};
  if (!uid.empty()) Check(map_.PathOf(uid, place.path));
  place.full = tree_.FullPath(place.path);
  if (place.full.empty()) throw StatusError(E_FAIL);
  return place;
}

BookmarkTreeStore::Place BookmarkTreeStore::FindParent(const IncomingText& text) {
  Place parent = Find(std::u16string(text.parent));
  // Nothing is made or moved through a link that took a folder's place.
  if (!tree_.HasFolder(parent.path)) throw StatusError(E_FAIL);
  return parent;
}

ComPtr<IItemCommon> BookmarkTreeStore::CachedOrParsed(const IncomingText& text) {
  ComPtr<IItemCommon> item = cachedItem() ? cachedItem() : OnParse(text);
  if (!item) throw StatusError(E_FAIL);
  return item;
}

void BookmarkTreeStore::NoteMade(const std::u16string& full, EntryKind kind) {
  changes_.Made(full, kind);
  names_.Added(FolderIn(full), NameIn(full));
}

void BookmarkTreeStore::NoteMoved(const std::u16string& from, const std::u16string& to) {
  changes_.Moved(from, to);
  names_.Removed(FolderIn(from), NameIn(from));
  names_.Added(FolderIn(to), NameIn(to));
}

void BookmarkTreeStore::NoteRemoved(const std::u16string& full) {
  changes_.Removed(full);
  names_.Removed(FolderIn(full), NameIn(full));
}

void BookmarkTreeStore::LogError(std::u16string_view message, SystemError error) const {
  if (!message.empty()) OutputDebugStringW(Concat({message, Decimal(error)}));
}

std::u16string BookmarkTreeStore::TitleName(const Bookmark& bookmark) const {
  if (bookmark.title.empty()) throw StatusError(E_FAIL);
  std::u16string stem = bookmark.title;
  ReplaceCharacters(stem, policy_.illegalInTitles);
  return stem;
}

std::u16string BookmarkTreeStore::FolderName(const Folder& folder) const {
  std::u16string name = folder.name;
  if (policy_.folderNamesAreSafe) SanitizeFileName(name);
  // It must not lead out of the tree.
  if (name.find_first_of(u"\\/") != name.npos) throw StatusError(E_FAIL);
  return name;
}

HRESULT BookmarkTreeStore::OnAdd(const IncomingText& text, std::u16string& sourceUid) {
  if (text.parent.empty()) {
    OutputDebugStringW(u"[QVSyncEngine] Bookmark sourceParentUid is NULL!!");
    return E_FAIL;
  }
  const ComPtr<IItemCommon> item = CachedOrParsed(text);
  if (text.IsFolderDocument()) return AddFolder(AsFolder(item), FindParent(text), sourceUid);
  return AddBookmark(AsBookmark(item), FindParent(text), sourceUid);
}

std::u16string BookmarkTreeStore::NameForNewFile(const Bookmark& bookmark, const Place& parent) {
  const std::u16string title = TitleName(bookmark);
  std::u16string_view stem = title;
  std::u16string name = names_.Unique(parent.full, FileName(stem), false);
  if (InFolder(parent.full, name).size() >= kPathLimit) {
    if (parent.full.size() >= kCutPathLength) {
      OutputDebugStringW(policy_.tooLong);
      throw StatusError(E_FAIL);
    }
    stem = CutStem(stem, kCutPathLength - parent.full.size());
  } else if (NameFits(name)) {
    return name;
  }
  // A number that is appended now may pass the limit again, deliberately.
  return names_.Unique(parent.full, FileName(FittingStem(stem)), false);
}

// The identity of the item goes with the number, whatever its file is called.
void BookmarkTreeStore::WriteIdentity(const std::u16string& uid, const ItemFields& fields,
                                      const std::u16string& full) {
  if (!policy_.modifiedIsFileTime) {
    Check(map_.WriteIdentity(uid, {fields.objUid, fields.objModified}));
    return;
  }
  Check(map_.WriteObjUid(uid, fields.objUid));
  // What cannot be set is no reason to leave the row undone.
  if (fields.objModified != 0.0) SetFileModified(full, FileSeconds(fields.objModified));
}

HRESULT BookmarkTreeStore::AddBookmark(Bookmark& bookmark, const Place& parent,
                                       std::u16string& uid) {
  const std::u16string name = NameForNewFile(bookmark, parent);
  Place place{{}, ChildPath(parent.path, name), InFolder(parent.full, name)};
  const std::string bytes = bookmark.url.empty() ? std::string() : ShortcutBytes(bookmark.url);
  if (CreateNewFile(place.full, bytes) != kNoError) return E_FAIL;
  NoteMade(place.full, EntryKind::File);
  // The empty file stays behind, deliberately.
  if (bookmark.url.empty()) return E_FAIL;
  Check(map_.Assign(place.path, place.uid));
  WriteIdentity(place.uid, bookmark.fields, place.full);
  uid = place.uid;
  const HRESULT status = Check(WriteStatus(STATDBUPDATE_ADD, place, parent.uid, false));
  return policy_.touchesAncestors ? Touch(parent.uid) : status;
}

HRESULT BookmarkTreeStore::AddFolder(Folder& folder, const Place& parent, std::u16string& uid) {
  std::u16string name = FolderName(folder);
  if (policy_.folderNamesAreSafe) name = names_.Unique(parent.full, name, true);
  Place place{{}, ChildPath(parent.path, name), InFolder(parent.full, name)};
  if (MakeFolder(place.full) != kNoError) return E_FAIL;
  NoteMade(place.full, EntryKind::Folder);
  Check(map_.Assign(place.path, place.uid));
  uid = place.uid;
  const HRESULT status = Check(WriteStatus(STATDBUPDATE_ADD, place, parent.uid, true));
  return policy_.touchesAncestors ? Touch(parent.uid) : status;
}

HRESULT BookmarkTreeStore::OnReplace(const std::u16string& sourceUid, const IncomingText& text) {
  const ComPtr<IItemCommon> item = CachedOrParsed(text);
  if (IsRoot(sourceUid)) return E_FAIL;
  const Place old = Find(sourceUid);
  const EntryKind kind = text.IsFolderDocument() ? EntryKind::Folder : EntryKind::File;
  // A file must not lose its ".url", nor a folder the rows below it.
  EntryInfo entry;
  if (FindEntry(old.full, entry) == kNoError && entry.kind != kind) return E_FAIL;
  if (kind == EntryKind::Folder) return ReplaceFolder(AsFolder(item), old, text);
  return ReplaceBookmark(AsBookmark(item), old, text);
}

// A name that stays the same is no rename.
void BookmarkTreeStore::Rename(const std::u16string& from, const std::u16string& to,
                               std::u16string_view message) {
  EntryInfo entry;
  const SystemError error = from == to ? FindEntry(from, entry) : RenameEntry(from, to);
  if (error == kNoError) {
    if (from != to) NoteMoved(from, to);
    return;
  }
  LogError(message, error);
  throw StatusError(E_FAIL);
}

HRESULT BookmarkTreeStore::ReplaceBookmark(Bookmark& bookmark, const Place& old,
                                           const IncomingText& text) {
  std::u16string name = FileName(TitleName(bookmark));
  const Place parent = FindParent(text);
  if (!EqualsIgnoreCase(name, NameInPath(old.path))) {
    name = names_.Unique(parent.full, name, false);
  }
  const Place fresh{old.uid, ChildPath(parent.path, name), InFolder(parent.full, name)};
  Rename(old.full, fresh.full, policy_.renameFileFailed);
  if (bookmark.url.empty()) return E_FAIL;
  InternetShortcut shortcut;
  if (shortcut.Load(fresh.full) != kNoError) return E_FAIL;
  if (shortcut.SetURL(bookmark.url, 1)) {
    if (shortcut.Save(fresh.full) != kNoError) return E_FAIL;
    NoteMade(fresh.full, EntryKind::File);
  }
  Check(map_.SetPath(fresh.uid, fresh.path));
  WriteIdentity(fresh.uid, bookmark.fields, fresh.full);
  const HRESULT status = Check(WriteStatus(STATDBUPDATE_REPL, fresh, parent.uid, false));
  return policy_.touchesAncestors ? TouchParents(old, parent.uid) : status;
}

HRESULT BookmarkTreeStore::ReplaceFolder(Folder& folder, const Place& old,
                                         const IncomingText& text) {
  if (!policy_.foldersMove) return RenameFolder(folder, old);
  std::u16string name = FolderName(folder);
  const Place parent = FindParent(text);
  if (!EqualsIgnoreCase(name, NameInPath(old.path))) {
    name = names_.Unique(parent.full, name, true);
  }
  return MoveFolder(old, {old.uid, ChildPath(parent.path, name), InFolder(parent.full, name)},
                    parent.uid);
}

HRESULT BookmarkTreeStore::MoveFolder(const Place& old, const Place& fresh,
                                      const std::u16string& parentUid) {
  std::vector<std::u16string> uids = Subtree(old);  // while the paths are still there
  Rename(old.full, fresh.full, policy_.renameFolderFailed);
  uids.push_back(old.uid);
  Check(map_.Rewrite(uids, old.path, fresh.path));
  Check(WriteStatus(STATDBUPDATE_REPL, fresh, parentUid, true));
  return TouchParents(old, parentUid);
}

// In its place, whatever parent the phone names, and without the paths below it: they are wrong
// until the map is cleaned.
HRESULT BookmarkTreeStore::RenameFolder(const Folder& folder, const Place& old) {
  const std::u16string name = FolderName(folder);
  const Place fresh{old.uid, ChildPath(ParentPath(old.path), name),
                    tree_.FullPath(ChildPath(ParentPath(old.path), name))};
  Rename(old.full, fresh.full, policy_.renameFolderFailed);
  Check(map_.SetPath(fresh.uid, fresh.path));
  return WriteStatus(STATDBUPDATE_REPL, fresh, ParentUid(fresh.path), true);
}

HRESULT BookmarkTreeStore::OnDelete(const std::u16string& sourceUid, bool softDelete) {
  if (IsRoot(sourceUid)) return E_FAIL;
  const Place place = Find(sourceUid);
  EntryInfo entry;
  if (FindEntry(place.full, entry) != kNoError || entry.kind != EntryKind::Folder) {
    return DeleteBookmark(place);
  }
  if (softDelete || !policy_.refusesFullFolders) RequireUsableNames(place.path);
  std::vector<std::u16string> uids = Subtree(place);
  if (softDelete || !policy_.refusesFullFolders) return DeleteFullFolder(place, std::move(uids));
  return uids.empty() ? DeleteEmptyFolder(place) : DS_E_BOOKMARK;
}

// What has no number is nobody's to delete.
void BookmarkTreeStore::RequireUsableNames(const std::u16string& path) const {
  const Obstacle obstacle = tree_.FindObstacle(path, true);
  if (obstacle.kind == TREE_OBSTACLE_NONE) return;
  OutputDebugStringW(Concat({u"[", policy_.identity.className,
                             u"] Nothing deleted, a name cannot be used: ", obstacle.path}));
  throw StatusError(E_FAIL);
}

HRESULT BookmarkTreeStore::DeleteBookmark(const Place& place) {
  const SystemError error = DeleteFile(place.full);
  if (error != kNoError && error != kFileNotFound) return E_FAIL;
  NoteRemoved(place.full);
  const std::u16string parent = ParentUid(place.path);
  Check(map_.Delete(place.uid));
  StatusRow gone;
  gone.sourceUid = place.uid;
  const HRESULT status = Check(OnUpdateStatus(STATDBUPDATE_DEL, gone));
  if (error == kFileNotFound) return DS_S_ALREADY_GONE;
  return policy_.touchesAncestors ? Touch(parent) : status;
}

HRESULT BookmarkTreeStore::DeleteEmptyFolder(const Place& place) {
  if (RemoveFolder(place.full) != kNoError) return E_FAIL;
  NoteRemoved(place.full);
  const std::u16string parent = ParentUid(place.path);
  Check(map_.Delete(place.uid));
  StatusRow gone;
  gone.sourceUid = place.uid;
  Check(OnUpdateStatus(STATDBUPDATE_DEL, gone));
  return Touch(parent);
}

HRESULT BookmarkTreeStore::DeleteFullFolder(const Place& place, std::vector<std::u16string> uids) {
  // What stays behind makes the next step fail.
  tree_.EmptyFolder(place.full);
  if (const SystemError error = RemoveFolder(place.full); error != kNoError) {
    LogError(policy_.removeFolderFailed, error);
    return E_FAIL;
  }
  NoteRemoved(place.full);
  const std::u16string parent = ParentUid(place.path);
  uids.push_back(place.uid);
  Check(status_.Delete(uids));
  const HRESULT status = Check(map_.Delete(uids));
  return policy_.touchesAncestors ? Touch(parent) : status;
}

HRESULT BookmarkTreeStore::OnDeleteAll() {
  if (tree_.root().empty()) return E_FAIL;
  std::vector<EntryInfo> entries;
  std::vector<BlindSpot> unwanted;
  tree_.List(kTreeRoot, ListDetail::Names, entries, unwanted);
  for (const EntryInfo& entry : entries) {
    if (entry.kind == EntryKind::Folder) RequireUsableNames(ChildPath(kTreeRoot, entry.name));
  }
  if (!tree_.EmptyFolder(tree_.root())) return E_FAIL;
  changes_.Removed(InFolder(tree_.root(), {}));
  return map_.DeleteAll();
}

std::vector<std::u16string> BookmarkTreeStore::Subtree(const Place& place) {
  std::vector<std::u16string> uids;
  Check(tree_.Walk(place.path, [&](std::u16string_view path, const EntryInfo&) {
    std::u16string uid;
    const HRESULT status = map_.UidOf(path, uid);
    if (Succeeded(status)) uids.push_back(std::move(uid));
    return status;
  }));
  return uids;
}

HRESULT BookmarkTreeStore::WriteStatus(STATUSDB_UPDATECMD command, const Place& place,
                                       std::u16string_view parentUid, bool isFolder) {
  return OnUpdateStatus(
      command, {place.uid, std::u16string(parentUid), ModifiedOf(place.full), isFolder, {}});
}

// A change inside a folder is written into the rows of every folder up to the root.
HRESULT BookmarkTreeStore::Touch(const std::u16string& folderUid) {
  HRESULT status = S_OK;
  for (std::u16string uid = folderUid; !uid.empty() && !IsRoot(uid);) {
    Place place{uid, {}, {}};
    Check(map_.PathOf(uid, place.path));
    if (place.path.empty()) break;
    // Only a look at its time: that no link is on the way has been seen from below.
    place.full = RelativeToAbsolute(tree_.root(), place.path);
    uid = ParentUid(place.path);
    status = Check(WriteStatus(STATDBUPDATE_REPL, place, uid, true));
  }
  return status;
}

HRESULT BookmarkTreeStore::TouchParents(const Place& old, const std::u16string& newParentUid) {
  Check(Touch(newParentUid));
  return Touch(ParentUid(old.path));
}

HRESULT BookmarkTreeStore::OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                                         std::u16string_view parent, bool isFolder) {
  const std::u16string_view above = parent.empty() ? kTreeRoot : parent;
  Place place{sourceUid, {}, {}};
  switch (command) {
    case SENTCMD_ADD:
    case SENTCMD_REPL:
    case SENTCMD_MOVE:
      Check(map_.PathOf(sourceUid, place.path));
      place.full = tree_.FullPath(place.path);
      return WriteStatus(command == SENTCMD_ADD ? STATDBUPDATE_ADD : STATDBUPDATE_REPL, place,
                         above, isFolder);
    case SENTCMD_DEL: {
      StatusRow gone;
      gone.sourceUid = sourceUid;
      Check(OnUpdateStatus(STATDBUPDATE_DEL, gone));
      return map_.Delete(sourceUid);
    }
    case SENTCMD_EXEC:
      break;
  }
  return E_FAIL;
}

}  // namespace qv
