// A folder for what a command hands to a store, gone with all that is in it when it dies.
#pragma once

#include <string>
#include <string_view>

namespace qv {

class ScratchFolder {
 public:
  // Below the user's folder for temporary files. Throws CommandError.
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  // In the module's form.
  const std::u16string& path() const { return modulePath_; }
  // Throws CommandError when there is no room for it.
  void Put(const std::string& name, std::string_view bytes) const;

 private:
  std::string path_;
  std::u16string modulePath_;
};

}  // namespace qv
