// One collection of a phone: a folder with one item a file (vdir), or a tree of such folders.
//
// Hidden files and files with another extension are no items; neither are folders, unless this is a
// tree, and links to folders never: these are left alone, and `left` tells of them. What is named
// like an item and is no file (a pipe, a link that leads nowhere) is one that cannot be read.
// Names are paths below the collection, see model.h. Failures come as error codes; a name is always
// one that `List` gave or a `FreeName` made.
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

// What lies among the items and is none. Hidden: a hidden file that is named like an item.
enum class LeftKind : uint8_t { File, Folder, Link, Special, Hidden };
struct LeftAlone {
  std::string name;
  LeftKind kind = LeftKind::File;
};

class PhoneFolder {
 public:
  PhoneFolder(std::string folder, std::string_view extension, bool isTree = false);

  const std::string& folder() const { return folder_; }

  // The items, by name, a folder before what is in it. All of them or none: a folder below that
  // cannot be read fails the list, one that went meanwhile does not.
  std::error_code List(std::vector<FolderEntry>& items);
  // What the last list left out, by name.
  const std::vector<LeftAlone>& left() const { return left_; }
  // Of an item of that list that is no file: what it is instead, and whether an item may have been
  // put behind it. Null for any other.
  struct NoFile {
    std::string reason;
    bool mayBeItem = false;
  };
  const NoFile* NoFileAt(const std::string& name) const;
  std::error_code Stat(const std::string& name, FileInfo& info) const;
  std::error_code Read(const std::string& name, std::string& text) const;
  // Whole or not at all; kept through a power loss only after `Sync`.
  std::error_code Write(const std::string& name, std::string_view text);
  // The same for many files, which wait for the disk together: `Stage` each, `SettleStaged` all,
  // `Place` each. A name must not be free for longer than it takes to rename, nor show a file that
  // is not on disk. `Place` with `isNew` is std::errc::file_exists where the name has been taken
  // meanwhile. What is not placed is to be discarded.
  //
  // The one wait is that of the file system (see Files::Settle). Waiting for each file after all
  // have been written would write no more than that, but wait for a journal as often as there are
  // files where the file system has none to share, as on a card or stick with FAT. What else lies
  // in memory for the same file system is waited for as well: on a phone's that is little, and on a
  // busy disk each single wait would have come behind it too.
  std::error_code Stage(const std::string& name, std::string_view text, StagedFile& staged);
  std::error_code SettleStaged();
  std::error_code Place(const std::string& name, const StagedFile& staged, bool isNew);
  void Discard(const StagedFile& staged);
  // What runs that were cut off have left staged in the folders that `List` went through.
  void DiscardLeftovers();
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
  std::error_code Follow(const std::string& folder, std::vector<PlainEntry>& others,
                         std::vector<FolderEntry>& items);
  void Leave(std::string name, LeftKind kind) { left_.push_back({std::move(name), kind}); }
  bool IsItem(std::string_view name) const;
  std::string Numbered(std::string_view folder, const std::string& stem, std::string_view tail,
                       std::string_view own = {});

  std::string folder_;
  std::string extension_;
  bool isTree_;
  std::vector<LeftAlone> left_;
  std::unordered_map<std::string, NoFile> noFiles_;
  std::set<std::string> touched_;  // folders whose entries are to be brought to disk
  std::vector<std::string> staged_;
  std::vector<std::string> leftovers_;
  // Names in use by folder, in lower case; filled when the first name there is asked for.
  std::unordered_map<std::string, std::unordered_map<std::string, int>> taken_;
};

}  // namespace qv
