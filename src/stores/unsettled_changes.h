// What has been done to files and folders and may not be on disk yet.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "platform/system/file_system.h"

namespace qv {

class UnsettledChanges {
 public:
  // Paths of the module's form. The entry was made or written anew; moved, with what was made below
  // it; or removed.
  void Made(std::u16string_view path, EntryKind kind);
  void Moved(std::u16string_view from, std::u16string_view to);
  void Removed(std::u16string_view path);

  bool IsEmpty() const { return folders_.empty(); }
  // One wait for a group, see Files::Settle. After a failure all of it still waits.
  SystemError Settle();

 private:
  void AddFolderOf(std::u16string_view path);

  // Native paths.
  std::set<std::string> files_;
  std::set<std::string> folders_;
};

}  // namespace qv
