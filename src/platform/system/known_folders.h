// Folders that the system names.
#pragma once

#include <string>

namespace qv {

class KnownFolders {
 public:
  virtual ~KnownFolders() = default;
  // Native paths, without a slash at the end; they need not exist.
  virtual std::string UserHome() = 0;
  virtual std::string UserData() = 0;    // where programs keep a user's data
  virtual std::string UserConfig() = 0;  // where programs keep a user's settings

  static KnownFolders& Default();
};

}  // namespace qv
