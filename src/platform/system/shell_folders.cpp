#include "platform/system/shell_folders.h"

#include <algorithm>

#include "platform/system/environment.h"
#include "platform/system/files.h"
#include "platform/system/known_folders.h"
#include "platform/system/registry.h"
#include "platform/system/service.h"

namespace qv {
namespace {

constexpr size_t kValueBytes = 2048;  // with the terminator; a longer value is not read
constexpr uint32_t kDefaultMajorVersion = 6;

std::u16string WithoutLastSeparator(std::u16string folder) {
  std::ranges::replace(folder, u'/', u'\\');  // a variable may hold a native path
  while (folder.ends_with(u'\\')) folder.pop_back();
  return folder;
}

std::u16string ShellFolderOr(std::string_view value, const std::string& native) {
  std::u16string folder = ShellFolder(value);
  return folder.empty() ? FromNativePath(native).value_or(u"") : folder;
}

}  // namespace

std::u16string ShellFolder(std::string_view value) {
  const auto text = Service<Registry>::Get().ReadText(kShellFoldersKey, value);
  if (!text || (text->size() + 1) * sizeof(char16_t) > kValueBytes) return {};
  return WithoutLastSeparator(ExpandEnvironment(*text).value_or(u""));
}

std::u16string FavoritesFolder() {
  return ShellFolder(kFavoritesValue);
}

std::u16string ContactsFolder() {
  return ShellFolderOr(kContactsValue, Service<KnownFolders>::Get().UserHome() + "/Contacts");
}

std::u16string LocalDataFolder() {
  return ShellFolderOr(kLocalDataValue, Service<KnownFolders>::Get().UserData());
}

uint32_t OsMajorVersion() {
  return Service<Registry>::Get()
      .ReadNumber(kSystemKey, kMajorVersionValue)
      .value_or(kDefaultMajorVersion);
}

}  // namespace qv
