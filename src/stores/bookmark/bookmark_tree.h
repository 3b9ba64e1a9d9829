// The files and folders of a bookmark tree, by the paths of the map.
//
// What takes part is a folder, where the tree is not flat, and a file whose name has ".url" as its
// exact tail; nothing else is listed, walked or removed. Links are no entries. Nothing outside the
// root is ever reached: a path that a link leads out of the tree has no full path.
//
// What would take part and has a name that cannot be used is a blind spot, and so is a folder that
// cannot be read: what a listing lacks may be there all the same.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"
#include "platform/system/file_system.h"
#include "stores/bookmark/bookmark_tree_info.h"
#include "stores/bookmark/entry_names.h"
#include "stores/file_dates.h"

namespace qv {

// One thing of a walk that it could not show.
struct BlindSpot {
  TREE_BLINDSPOT kind = TREE_BLINDSPOT_NAME;
  std::u16string folder;  // in the map: where the name is, or the folder that cannot be read
  std::u16string path;    // for a person, see IBookmarkTreeInfo
  SystemError error = kNoError;
};

struct Obstacle {
  TREE_OBSTACLE kind = TREE_OBSTACLE_NONE;
  std::u16string path;
};

// A path of the map as a person reads it: with "/" between the parts, and behind a folder.
std::u16string ReadablePath(std::u16string_view path, bool isFolder);

class BookmarkTree {
 public:
  // `root` is a full path without a "\" at its end.
  void Open(std::u16string root, bool isFlat) {
    root_ = std::move(root);
    isFlat_ = isFlat;
  }
  const std::u16string& root() const { return root_; }
  bool isFlat() const { return isFlat_; }

  // The full path of a path of the map; empty for one that is empty or leads out of the tree.
  std::u16string FullPath(std::u16string_view path) const;
  // A folder of the tree stands there, no link to one; of the root it is not asked.
  bool HasFolder(std::u16string_view path) const;

  // The entries of a folder, a path of the map, by name; what it could not show goes behind
  // `blind`. A folder that cannot be opened has none.
  SystemError List(std::u16string_view path, ListDetail detail, std::vector<EntryInfo>& entries,
                   std::vector<BlindSpot>& blind) const;

  // Visits what is below a path of the map, folders before what is in them, until `visit` gives a
  // failure, which is the result.
  using Visit = std::function<HRESULT(std::u16string_view path, const EntryInfo& entry)>;
  HRESULT Walk(std::u16string_view path, const Visit& visit,
               std::vector<BlindSpot>* blind = nullptr) const;

  // The first thing below a path of the map that is no entry of the tree: of any kind, or a name
  // that cannot be used.
  Obstacle FindObstacle(std::u16string_view path, bool namesAlone) const;

  // Entries to the recycle bin, in order; false at the first that stays. The folder itself stays.
  // Temporary files that a killed run left beside them are deleted too.
  bool EmptyFolder(std::u16string_view fullPath) const;

 private:
  bool TakesPart(const EntryInfo& entry) const;
  bool WouldTakePart(const UnusableEntry& entry) const;

  std::u16string root_;
  bool isFlat_ = true;
};

}  // namespace qv
