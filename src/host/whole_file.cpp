#include "host/whole_file.h"

#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace {

// The last step gives the name, and gives no name that another program has taken meanwhile.
std::error_code WriteBeside(Files& files, const std::string& path, std::string_view bytes) {
  EntryStat taken;
  if (!files.StatEntry(path, taken)) return std::make_error_code(std::errc::file_exists);
  const size_t name = path.rfind('/') + 1;
  const std::string beside = path.substr(0, name) + "." + path.substr(name) + ".new";
  std::error_code error = files.WriteAtomic(beside, bytes);
  if (error) return error;
  error = files.RenameNew(beside, path);
  if (error) files.Remove(beside);
  return error;
}

}  // namespace

std::error_code WriteWholeFile(const std::string& path, std::string_view bytes, bool replaces) {
  Files& files = Service<Files>::Get();
  const std::error_code error =
      replaces ? files.WriteAtomic(path, bytes) : WriteBeside(files, path, bytes);
  if (error) return error;
  const size_t slash = path.rfind('/');
  return files.SyncFolder(slash == path.npos ? "." : path.substr(0, slash + 1));
}

}  // namespace qv
