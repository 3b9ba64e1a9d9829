#include "stores/file_items.h"

#include <optional>

#include "framework/store_base.h"
#include "platform/com/class_factory.h"
#include "platform/com/lists.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/status_item.h"

namespace qv {
namespace {

bool Exists(std::u16string_view path, bool folder) {
  const std::optional<std::string> native = ToNativePath(path);
  FileInfo info;
  return native && !Service<Files>::Get().Stat(*native, info) && info.isFolder == folder;
}

}  // namespace

size_t PlaceOf(std::u16string_view sourceUid, size_t count) {
  const int32_t place = ToInt(sourceUid);
  if (place < 0 || static_cast<size_t>(place) >= count) throw StatusError(E_FAIL);
  return static_cast<size_t>(place);
}

ComPtr<IStatusDBItemTree> TreeOfPlaces(size_t count) {
  auto root = MakeStatusRoot();
  if (count == 0) return root;
  const DateTimeValue now = GetCurrentDateTime();
  const auto children = CreateInstance<IUnkList>(CLSID_UnkList);
  for (size_t place = 0; place < count; ++place) {
    StatusRow row;
    row.sourceUid = Decimal(static_cast<int64_t>(place));
    row.parentUid = std::u16string(kRootParent);
    row.modified = now;
    Check(children->Add(MakeStatusNode(std::move(row)).get()));
  }
  Check(root->put_SubItemTree(children.get()));
  return root;
}

bool FolderExists(std::u16string_view path) {
  return Exists(path, true);
}

bool FileExists(std::u16string_view path) {
  return Exists(path, false);
}

}  // namespace qv
