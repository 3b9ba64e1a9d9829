#include "items/folder_item.h"

#include "items/item_objects.h"

namespace qv {

HRESULT FolderItem::GetName(BSTR* value) noexcept {
  return GetText(value_.name, value);
}

HRESULT FolderItem::SetName(BSTR value) noexcept {
  return PutText(value_.name, value);
}

HRESULT FolderItem::GetCreated(DATE* value) noexcept {
  return GetValue(value_.created, value);
}

HRESULT FolderItem::SetCreated(DATE value) noexcept {
  return PutValue(value_.created, value);
}

HRESULT FolderItem::GetModified(DATE* value) noexcept {
  return GetValue(value_.modified, value);
}

HRESULT FolderItem::SetModified(DATE value) noexcept {
  return PutValue(value_.modified, value);
}

HRESULT FolderItem::GetAccessed(DATE* value) noexcept {
  return GetValue(value_.accessed, value);
}

HRESULT FolderItem::SetAccessed(DATE value) noexcept {
  return PutValue(value_.accessed, value);
}

ComPtr<IItemCommon> MakeFolderItem(Folder folder) {
  return MakeObject<FolderItem>(std::move(folder));
}

Folder* FolderOf(IUnknown* item) {
  const ComPtr<IFolderAccess> access = Query<IFolderAccess>(item);
  return access ? &access->folder() : nullptr;
}

}  // namespace qv
