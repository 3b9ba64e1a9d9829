// Names for new entries of folders that nothing there has.
//
// A name that is free costs one look at it. Where it is taken the folder is listed, once for as
// long as nobody else changes it, and a number that was found taken is not tried again: many equal
// names cost no more than as many different ones.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "platform/system/file_system.h"

namespace qv {

inline constexpr std::u16string_view kShortcutTail = u".url";

// Whether the file systems here have room for the name.
bool NameFits(std::u16string_view name);

class EntryNames {
 public:
  // `name` itself, else "News(2).url", "Work(2)" and so on: a file's number stands before its last
  // ".". `folder` is a full path.
  std::u16string Unique(std::u16string_view folder, std::u16string_view name, bool isFolder);
  // The caller has made that entry, or taken it away.
  void Added(std::u16string_view folder, std::u16string_view name);
  void Removed(std::u16string_view folder, std::u16string_view name);

 private:
  struct Listing {
    // Of the folder itself, as it was then.
    int64_t modifiedNs = 0;
    int64_t changedNs = 0;
    uint64_t inode = 0;
    std::unordered_set<std::u16string> names;
    std::unordered_map<std::u16string, int> next;  // the number to try first, by name
  };

  Listing& ListingOf(std::u16string_view folder);
  static bool Stamp(std::u16string_view folder, Listing& listing);

  std::unordered_map<std::u16string, Listing> listings_;
};

}  // namespace qv
