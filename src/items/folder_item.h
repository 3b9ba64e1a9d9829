// `FolderItem`: a folder behind its component interfaces. It says that it is a folder from its
// making.
#pragma once

#include "items/bookmark.h"
#include "items/item_object.h"

namespace qv {

class FolderItem final : public ItemObject<Folder, IFolderItem, IFolderAccess> {
 public:
  FolderItem() : FolderItem(Folder()) {}
  explicit FolderItem(Folder folder) : ItemObject(std::move(folder)) {
    value_.fields.isFolder = true;
  }

  Folder& folder() noexcept override { return value_; }

  // IFolderItem
  HRESULT GetName(BSTR* value) noexcept override;
  HRESULT SetName(BSTR value) noexcept override;
  HRESULT GetCreated(DATE* value) noexcept override;
  HRESULT SetCreated(DATE value) noexcept override;
  HRESULT GetModified(DATE* value) noexcept override;
  HRESULT SetModified(DATE value) noexcept override;
  HRESULT GetAccessed(DATE* value) noexcept override;
  HRESULT SetAccessed(DATE value) noexcept override;
};

}  // namespace qv
