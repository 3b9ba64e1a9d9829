#include "platform/system/known_folders.h"

#include <glib.h>

namespace qv {
namespace {

std::string WithoutLastSlash(const char* path) {
  std::string text = path;
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// HOME and the base directories of the desktop (XDG_DATA_HOME, XDG_CONFIG_HOME, and their
// defaults), as they were when the process first asked.
class DesktopFolders final : public KnownFolders {
 public:
  std::string UserHome() override { return WithoutLastSlash(g_get_home_dir()); }
  std::string UserData() override { return WithoutLastSlash(g_get_user_data_dir()); }
  std::string UserConfig() override { return WithoutLastSlash(g_get_user_config_dir()); }
};

}  // namespace

KnownFolders& KnownFolders::Default() {
  static DesktopFolders folders;
  return folders;
}

}  // namespace qv
