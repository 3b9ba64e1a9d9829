// What a store over a tree of shortcut files tells an engine beyond the contract: what is there and
// could not be shown, where things lie, and when they are on disk. An interface of the store's own
// object; the stores without files do not have it.
//
// Nothing that a blind spot may hide counts as gone. What a tree shows no longer may be there under
// a name that cannot be used, or in a folder that cannot be read; and a folder that holds what is
// no entry of the tree would take that with it.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/component_ids.h"
#include "platform/com/unknown.h"

namespace qv {

enum TREE_BLINDSPOT : int32_t {
  // A folder, or a file that would be a bookmark, under a name that no path of the module's form
  // can hold (: * ? " < > | \, control characters, bytes that are no UTF-8). It has no number; to
  // rename it is the way out.
  TREE_BLINDSPOT_NAME,
  // A folder that is there and cannot be read. It has its number, and looks empty.
  TREE_BLINDSPOT_FOLDER,
};

enum TREE_OBSTACLE : int32_t {
  TREE_OBSTACLE_NONE,
  TREE_OBSTACLE_NAME,       // the name cannot be used, whatever stands behind it
  TREE_OBSTACLE_OTHER,      // no bookmark and no folder
  TREE_OBSTACLE_UNREADABLE  // a folder that cannot be read
};

struct TREE_ENTRYSTAMP {
  int64_t modifiedNs;  // since 1970, UTC: of the last write
  int64_t changedNs;   // of the last write, rename or other change
  int64_t createdNs;   // where it is not known the earlier of these two
  uint64_t size;
  uint64_t inode;
};

// Paths are full paths of the module's form. An identifier without a path, and one that leads out
// of the tree, give E_FAIL.
struct IBookmarkTreeInfo : IDispatch {
  static constexpr IID kIid = IID_IBookmarkTreeInfo;

  // From the store's own configuration.
  virtual HRESULT GetRootFolder(BSTR* path) noexcept = 0;
  virtual HRESULT GetEntryPath(BSTR sourceUid, BSTR* path) noexcept = 0;
  // How the last GetCurrentStatusDB saw the entry. With `anew`, and of one that it did not see, how
  // it is now; E_FAIL for none.
  virtual HRESULT GetEntryStamp(BSTR sourceUid, BOOL anew, TREE_ENTRYSTAMP* stamp) noexcept = 0;
  // What the last GetCurrentStatusDB saw it called: the last part of its path.
  virtual HRESULT GetEntryName(BSTR sourceUid, BSTR* name) noexcept = 0;
  // A file that holds nothing at all, as a loss of power leaves them: not a bookmark without an
  // address, but one to be had again from the other side, by `Replace`.
  virtual HRESULT IsBroken(BSTR sourceUid, BOOL* broken) noexcept = 0;
  // 0 for a folder that can be read, else the system's error number.
  virtual HRESULT GetFolderError(BSTR folderUid, int32_t* systemError) noexcept = 0;

  // What the last GetCurrentStatusDB came upon: in the order of the walk, from 0.
  virtual HRESULT CountBlindSpots(int32_t* count) noexcept = 0;
  // `folderUid` is the folder that the name lies in, or that cannot be read. `path` is for a
  // person: below the root, with "/" between the parts and behind a folder, "Work/What is
  // C++?.url". E_INVALIDARG for an index out of range.
  virtual HRESULT GetBlindSpot(int32_t index, TREE_BLINDSPOT* kind, BSTR* folderUid,
                               BSTR* path) noexcept = 0;
  // The first thing below the folder, as it is now, that is no entry of the tree: what would go
  // with the folder unseen. An empty path and NONE for none. Temporary files of this system's own
  // making count for nothing.
  virtual HRESULT FindObstacle(BSTR folderUid, TREE_OBSTACLE* kind, BSTR* path) noexcept = 0;

  // All that the store has made, changed, moved and removed so far is on disk; with a failure it is
  // tried again next time. To be called before anything is written down that takes it for done.
  // What is left at the store's end is settled then.
  virtual HRESULT Settle() noexcept = 0;

 protected:
  ~IBookmarkTreeInfo() = default;
};

}  // namespace qv
