#include "stores/bookmark/favorites_root.h"

#include "platform/com/variant.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr std::u16string_view kDeviceId = u"Transport.Obex.DeviceID";

}  // namespace

bool DeviceTakesFolders(IEngineConfig* bag) {
  Variant id;
  if (bag == nullptr || Failed(bag->GetValue(Bstr(kDeviceId), id.Out()))) return false;
  return IsBookmarkHierSupported(static_cast<uint32_t>(id.IsText() ? ToInt(id.view()) : 0));
}

}  // namespace qv
