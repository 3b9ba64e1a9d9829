#include "stores/bookmark/favorites_root.h"

#include <algorithm>

#include "platform/com/variant.h"
#include "platform/system/environment.h"
#include "platform/system/registry.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr std::u16string_view kDeviceId = u"Transport.Obex.DeviceID";
constexpr size_t kValueBytes = 2048;  // with the terminator; a longer value is not read

}  // namespace

bool DeviceTakesFolders(IEngineConfig* bag) {
  Variant id;
  if (bag == nullptr || Failed(bag->GetValue(Bstr(kDeviceId), id.Out()))) return false;
  return IsBookmarkHierSupported(static_cast<uint32_t>(id.IsText() ? ToInt(id.view()) : 0));
}

std::u16string FavoritesFolder() {
  const auto value = Service<Registry>::Get().ReadText(kShellFoldersKey, kFavoritesValue);
  if (!value || (value->size() + 1) * sizeof(char16_t) > kValueBytes) return {};
  std::u16string folder = ExpandEnvironment(*value).value_or(u"");
  std::ranges::replace(folder, u'/', u'\\');  // a variable may hold a native path
  while (folder.ends_with(u'\\')) folder.pop_back();
  return folder;
}

}  // namespace qv
