// The recycle bin: the desktop's trash.
#pragma once

#include <string>
#include <system_error>

#include "platform/system/file_system.h"

namespace qv {

class RecycleBin {
 public:
  virtual ~RecycleBin() = default;
  // Moves a file, a folder with its content, or a link (not what it points to) into the bin, by
  // native path. A bin may refuse, as where the file system has none; the entry then stands.
  virtual std::error_code Take(const std::string& path) = 0;

  static RecycleBin& Default();
};

// Into the bin; where the bin refuses the entry is removed with its content all the same, and the
// debug log says so. kNoError when the entry is gone, whatever the way. A drive's top folder
// gives kAccessDenied.
SystemError RecycleEntry(std::u16string_view path);

}  // namespace qv
