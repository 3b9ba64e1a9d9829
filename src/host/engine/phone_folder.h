// One collection of a phone: a folder with one item a file (vdir), or a tree of such folders.
//
// Hidden files and files with another extension are no items; neither are folders, unless this is a
// tree, and links to folders never. Names are paths below the collection, see model.h. Failures
// come as error codes; a name is always one that `List` gave or a `FreeName` made.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/engine/model.h"
#include "platform/system/files.h"

namespace qv {

class PhoneFolder {
 public:
  PhoneFolder(std::string folder, std::string_view extension, bool isTree = false);

  const std::string& folder() const { return folder_; }

  // The items, by name, a folder before what is in it. All of them or none: a folder below that
  // cannot be read fails the list, one that went meanwhile does not.
  std::error_code List(std::vector<FolderEntry>& items);
  std::error_code Stat(const std::string& name, FileInfo& info) const;
  std::error_code Read(const std::string& name, std::string& text) const;
  // Whole or not at all; kept through a power loss only after `Sync`.
  std::error_code Write(const std::string& name, std::string_view text);
  // A folder must be empty.
  std::error_code Remove(const std::string& name);
  std::error_code MakeFolder(const std::string& name);
  std::error_code Rename(const std::string& from, const std::string& to);
  // What was done so far.
  std::error_code Sync();
  std::error_code Make() const;

  // A name for a new item, taken from the identifier inside its text where that is fit for one. No
  // file of the folder has it, in whatever letter case, nor has any name given out before.
  std::string FreeName(std::u16string_view uid);
  // The same from a title, in a folder of the tree ("" on top); for a folder the name of one. The
  // item's own name until now stands in nobody's way.
  std::string FreeName(std::string_view folder, std::u16string_view title, bool isFolder,
                       std::string_view own = {});

 private:
  std::string PathOf(std::string_view name) const;
  void Touch(std::string_view name) { touched_.emplace(FolderOfName(name)); }
  std::error_code ListBelow(const std::string& folder, std::vector<FolderEntry>& items);
  bool IsItem(std::string_view name) const;
  std::string Numbered(std::string_view folder, const std::string& stem, std::string_view tail,
                       std::string_view own = {});

  std::string folder_;
  std::string extension_;
  bool isTree_;
  std::set<std::string> touched_;  // folders whose entries are to be brought to disk
  // Names in use by folder, in lower case; filled when the first name there is asked for.
  std::unordered_map<std::string, std::unordered_map<std::string, int>> taken_;
};

}  // namespace qv
