#include "host/cli/scratch_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "host/cli/output.h"
#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
  std::error_code error;
  std::string pattern = (fs::temp_directory_path(error) / "qvsync-XXXXXX").string();
  if (!error && mkdtemp(pattern.data()) == nullptr) error = {errno, std::generic_category()};
  if (error) {
    throw CommandError(Exit::Failed, "no folder for temporary files can be made in " +
                                         fs::path(pattern).parent_path().string() + ": " +
                                         error.message() + "; TMPDIR names another place");
  }
  path_ = pattern;
  const std::optional<std::u16string> wide = FromNativePath(path_);
  modulePath_ = wide.value_or(u"");
  if (wide) return;
  fs::remove_all(path_, error);
  throw CommandError(Exit::Failed, "the folder for temporary files, " + path_ +
                                       ", has a name that cannot be used; TMPDIR names another");
}

ScratchFolder::~ScratchFolder() {
  std::error_code error;
  fs::remove_all(path_, error);
}

void ScratchFolder::Put(const std::string& name, std::string_view bytes) const {
  const std::error_code error = Service<Files>::Get().Write(path_ + "/" + name, bytes);
  if (!error) return;
  throw CommandError(Exit::Failed, "cannot write to " + path_ + ": " + error.message() +
                                       "; TMPDIR names another place");
}

}  // namespace qv
