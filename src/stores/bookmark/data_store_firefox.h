// vBookmarks onto one fixed folder below the user's Favorites: the same files, tables and numbers
// as the Favorites store's, with simpler rules.
#pragma once

#include "stores/bookmark/bookmark_tree_store.h"

namespace qv {

class CDataStoreFireFox final : public BookmarkTreeStore {
 public:
  CDataStoreFireFox() : BookmarkTreeStore(kFixedFolderPolicy) {}
};

}  // namespace qv
