// One collection of a phone: a folder with one item a file (vdir).
//
// Hidden files, folders and files with another extension are no items. Failures come as error
// codes; a name is always one that `List` gave or `FreeName` made.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "platform/system/files.h"

namespace qv {

class PhoneFolder {
 public:
  PhoneFolder(std::string folder, std::string_view extension);

  const std::string& folder() const { return folder_; }

  // The items, by name.
  std::error_code List(std::vector<FolderEntry>& items);
  std::error_code Stat(const std::string& name, FileInfo& info) const;
  std::error_code Read(const std::string& name, std::string& text) const;
  // Whole or not at all; kept through a power loss only after `Sync`.
  std::error_code Write(const std::string& name, std::string_view text) const;
  std::error_code Remove(const std::string& name) const;
  std::error_code Sync() const;
  std::error_code Make() const;

  // A name for a new item, taken from the identifier inside its text where that is fit for one. No
  // file of the folder has it, in whatever letter case, nor has any name given out before.
  std::string FreeName(std::u16string_view uid);

 private:
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }

  std::string folder_;
  std::string extension_;
  // Names in use, in lower case; filled when the first name is asked for.
  std::optional<std::unordered_set<std::string>> taken_;
};

}  // namespace qv
