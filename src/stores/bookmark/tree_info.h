// `IBookmarkTreeInfo` of a store: an interface of the store's own object, answered here, and what a
// walk notes for it.
#pragma once

#include <vector>

#include "platform/com/com_object.h"
#include "stores/bookmark/bookmark_tree.h"
#include "stores/bookmark/unsettled_changes.h"
#include "syncdb/path_map.h"

namespace qv {

class TreeInfo final : public DispatchSlots<IBookmarkTreeInfo> {
 public:
  // The owner counts the references; it and the others outlive this.
  TreeInfo(IUnknown& owner, const BookmarkTree& tree, PathMap& map, UnsettledChanges& changes)
      : owner_(owner), tree_(tree), map_(map), changes_(changes) {}

  // What a walk of the whole tree sees from now on.
  void Begin();
  void See(std::u16string_view uid, const EntryInfo& entry);
  std::vector<BlindSpot>& blindSpots() { return blind_; }

  HRESULT QueryInterface(const IID& iid, void** out) noexcept override {
    return owner_.QueryInterface(iid, out);
  }
  uint32_t AddRef() noexcept override { return owner_.AddRef(); }
  uint32_t Release() noexcept override { return owner_.Release(); }

  HRESULT GetRootFolder(BSTR* path) noexcept override;
  HRESULT GetEntryPath(BSTR sourceUid, BSTR* path) noexcept override;
  HRESULT GetEntryStamp(BSTR sourceUid, BOOL anew, TREE_ENTRYSTAMP* stamp) noexcept override;
  HRESULT GetEntryName(BSTR sourceUid, BSTR* name) noexcept override;
  HRESULT IsBroken(BSTR sourceUid, BOOL* broken) noexcept override;
  HRESULT GetFolderError(BSTR folderUid, int32_t* systemError) noexcept override;
  HRESULT CountBlindSpots(int32_t* count) noexcept override;
  HRESULT GetBlindSpot(int32_t index, TREE_BLINDSPOT* kind, BSTR* folderUid,
                       BSTR* path) noexcept override;
  HRESULT FindObstacle(BSTR folderUid, TREE_OBSTACLE* kind, BSTR* path) noexcept override;
  HRESULT Settle() noexcept override;

 private:
  struct Seen {
    int32_t number = 0;
    uint32_t nameLength = 0;
    size_t nameAt = 0;  // in `names_`
    TREE_ENTRYSTAMP stamp{};
  };

  // Throw StatusError.
  std::u16string PathOf(BSTR uid);
  std::u16string FullPathOf(BSTR uid);
  const Seen* FindSeen(std::u16string_view uid);

  IUnknown& owner_;
  const BookmarkTree& tree_;
  PathMap& map_;
  UnsettledChanges& changes_;
  std::vector<BlindSpot> blind_;
  std::vector<Seen> seen_;  // by number, once it has been asked
  std::u16string names_;    // one behind the other: a text a piece would cost more than the names
  bool isSorted_ = false;
};

}  // namespace qv
