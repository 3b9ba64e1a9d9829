// vBookmarks onto the user's Favorites folder.
#pragma once

#include "stores/bookmark/bookmark_tree_store.h"

namespace qv {

class CDataStoreBookmark final : public BookmarkTreeStore {
 public:
  CDataStoreBookmark() : BookmarkTreeStore(kFavoritesPolicy) {}
};

}  // namespace qv
