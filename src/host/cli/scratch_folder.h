// A folder for what a command hands to a store, gone with all that is in it when it dies.
#pragma once

#include <string>
#include <string_view>

namespace qv {

class ScratchFolder {
 public:
  ScratchFolder() = default;
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  // Below the user's folder for temporary files, where it is made with the first file. Throws
  // CommandError when it cannot be, or when there is no room.
  void Put(const std::string& name, std::string_view bytes);
  // In the module's form; empty before the first file.
  const std::u16string& path() const { return modulePath_; }

 private:
  void Make();

  std::string path_;
  std::u16string modulePath_;
};

}  // namespace qv
