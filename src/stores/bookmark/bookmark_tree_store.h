// The stores over a tree of folders and `.url` files.
//
// The engine speaks in numbers, the file system in paths that change with every rename: `PathMap`
// keeps both together, `BookmarkTree` is the files. Each operation is a fixed sequence of steps;
// steps done before a failure stay done. A member of the family is a row of `TreePolicy`.
//
// Times of files, items and rows are local wall-clock time. An identifier without a path, and a
// parent without one, give E_FAIL before anything is touched; so does the root as what is replaced
// or deleted, and so a folder to be deleted that holds, at any depth, an entry whose name cannot be
// used: it would go unseen.
//
// What is done to files is on disk after `IBookmarkTreeInfo::Settle`, at the latest when the store
// goes.
#pragma once

#include <string>
#include <vector>

#include "stores/bookmark/bookmark_tree.h"
#include "stores/bookmark/tree_info.h"
#include "stores/bookmark/tree_matches.h"
#include "stores/bookmark/tree_policy.h"
#include "syncdb/path_map.h"
#include "syncdb/status_table.h"

namespace qv {

class BookmarkTreeStore : public StoreBase {
 protected:
  explicit BookmarkTreeStore(const TreePolicy& policy)
      : StoreBase(policy.identity), policy_(policy) {}

 private:
  // An identifier with its path in the map and on the disk.
  struct Place {
    std::u16string uid;
    std::u16string path;
    std::u16string full;
  };

  IUnknown* FindInterface(const IID& iid) noexcept final;
  void OnFinalRelease() final { changes_.Settle(); }
  HRESULT OnInitialize() final;
  ComPtr<IItemCommon> OnParse(const IncomingText& text) final { return texts_.Parse(text); }
  HRESULT OnAdd(const IncomingText& text, std::u16string& sourceUid) final;
  HRESULT OnReplace(const std::u16string& sourceUid, const IncomingText& text) final;
  HRESULT OnDelete(const std::u16string& sourceUid, bool softDelete) final;
  HRESULT OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) final;
  HRESULT OnGetAllUid(std::vector<std::u16string>& uids) final;
  HRESULT OnDeleteAll() final;
  HRESULT OnPrepareSlowSync() final;
  HRESULT OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) final;
  HRESULT OnProcessConflict(const IncomingText& text, const std::u16string& sourceUid,
                            RESV_CONFLTLASTMODIFIED& outcome) final;
  HRESULT OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                        std::u16string_view parent, bool isFolder) final;
  HRESULT OnIsFolder(const std::u16string& sourceUid, bool& isFolder) final;
  HRESULT OnGetParent(const std::u16string& sourceUid, std::u16string& parent) final;
  HRESULT OnGetChildren(const std::u16string& parent, ComPtr<IUnknown>& list) final;
  HRESULT OnStatusInitialize() final;
  HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnDeleteAllStatus() final;
  HRESULT OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) final;

  // Steps. They throw StatusError.
  std::u16string FindRoot();
  Place Find(const std::u16string& uid);
  Place FindParent(const IncomingText& text);
  ComPtr<IItemCommon> CachedOrParsed(const IncomingText& text);
  std::u16string TitleName(const Bookmark& bookmark) const;
  std::u16string FolderName(const Folder& folder) const;
  std::u16string NameForNewFile(const Bookmark& bookmark, const Place& parent);
  HRESULT AddBookmark(Bookmark& bookmark, const Place& parent, std::u16string& uid);
  HRESULT AddFolder(Folder& folder, const Place& parent, std::u16string& uid);
  HRESULT ReplaceBookmark(Bookmark& bookmark, const Place& old, const IncomingText& text);
  HRESULT ReplaceFolder(Folder& folder, const Place& old, const IncomingText& text);
  HRESULT MoveFolder(const Place& old, const Place& fresh, const std::u16string& parentUid);
  HRESULT RenameFolder(const Folder& folder, const Place& old);
  void Rename(const std::u16string& from, const std::u16string& to, std::u16string_view message);
  void WriteIdentity(const std::u16string& uid, const ItemFields& fields,
                     const std::u16string& full);
  HRESULT WriteStatus(STATUSDB_UPDATECMD command, const Place& place, std::u16string_view parentUid,
                      bool isFolder);
  HRESULT Touch(const std::u16string& folderUid);
  HRESULT TouchParents(const Place& place, const std::u16string& newParentUid);
  void RequireUsableNames(const std::u16string& path) const;
  HRESULT DeleteBookmark(const Place& place);
  HRESULT DeleteEmptyFolder(const Place& place);
  HRESULT DeleteFullFolder(const Place& place, std::vector<std::u16string> uids);
  std::vector<std::u16string> Subtree(const Place& place);
  void NoteMade(const std::u16string& full, EntryKind kind);
  void NoteMoved(const std::u16string& from, const std::u16string& to);
  void NoteRemoved(const std::u16string& full);
  void LogError(std::u16string_view message, SystemError error) const;

  ComPtr<IItemCommon> ReadBookmark(const Place& place);
  ComPtr<IItemCommon> ReadFolder(const Place& place);
  ComPtr<IItemCommon> KeyItem(const Place& place);
  std::u16string ParentUid(const std::u16string& path);
  DATE ModifiedOf(const std::u16string& full) const;

  const TreePolicy& policy_;
  BookmarkTexts texts_;
  BookmarkTree tree_;
  PathMap map_{session()};
  StatusTable status_{session(), kBookmarkStatus};
  TreeMatches matches_;
  EntryNames names_;
  UnsettledChanges changes_;
  TreeInfo info_{*static_cast<IDataStore*>(this), tree_, map_, changes_};
  bool statusReady_ = false;
};

}  // namespace qv
