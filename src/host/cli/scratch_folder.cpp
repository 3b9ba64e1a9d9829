#include "host/cli/scratch_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "host/cli/output.h"
#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace fs = std::filesystem;

void ScratchFolder::Make() {
  const char* const named = std::getenv("TMPDIR");
  const std::string place = named == nullptr || *named == 0 ? "/tmp" : named;
  std::string pattern = place + "/qvsync-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    throw CommandError(Exit::Failed, "no folder for temporary files can be made in " + place +
                                         ": " +
                                         std::error_code(errno, std::generic_category()).message() +
                                         "; TMPDIR names another place");
  }
  path_ = fs::absolute(pattern).lexically_normal().string();
  const std::optional<std::u16string> wide = FromNativePath(path_);
  if (!wide) {
    throw CommandError(Exit::Failed, "the folder for temporary files, " + path_ +
                                         ", has a name that cannot be used; TMPDIR names another");
  }
  modulePath_ = *wide;
}

ScratchFolder::~ScratchFolder() {
  std::error_code error;
  if (!path_.empty()) fs::remove_all(path_, error);
}

void ScratchFolder::Put(const std::string& name, std::string_view bytes) {
  if (modulePath_.empty()) Make();
  const std::error_code error = Service<Files>::Get().Write(path_ + "/" + name, bytes);
  if (!error) return;
  throw CommandError(Exit::Failed, "cannot write to " + path_ + ": " + error.message() +
                                       "; TMPDIR names another place");
}

}  // namespace qv
