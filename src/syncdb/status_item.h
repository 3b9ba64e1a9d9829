// The snapshot objects: one item, and a node of the tree.
#pragma once

#include <string>

#include "platform/com/com_object.h"
#include "platform/com/lists.h"
#include "support/date_time.h"
#include "syncdb/status_interfaces.h"

namespace qv {

// One row of a snapshot as plain values. A `modified` of 0.0 or Null is written as empty text.
struct StatusRow {
  std::u16string sourceUid;
  std::u16string parentUid;
  DateTimeValue modified = DateTimeValue::Null();
  bool isFolder = false;
  std::u16string md5;
};

class CStatusDBItem final : public ComObject<IStatusDBItem> {
 public:
  CStatusDBItem() = default;
  explicit CStatusDBItem(StatusRow row) : row_(std::move(row)) {}

  HRESULT get_sourceUid(BSTR* value) noexcept override;
  HRESULT put_sourceUid(BSTR value) noexcept override;
  HRESULT get_parentUid(BSTR* value) noexcept override;
  HRESULT put_parentUid(BSTR value) noexcept override;
  HRESULT get_modified(DATE* value) noexcept override;
  HRESULT put_modified(DATE value) noexcept override;
  HRESULT get_IsFolder(BOOL* value) noexcept override;
  HRESULT put_IsFolder(BOOL value) noexcept override;
  HRESULT get_md5(BSTR* value) noexcept override;
  HRESULT put_md5(BSTR value) noexcept override;

 private:
  StatusRow row_;
};

class CStatusDBItemTree final : public ComObject<IStatusDBItemTree> {
 public:
  CStatusDBItemTree() = default;
  explicit CStatusDBItemTree(ComPtr<IStatusDBItem> item) : item_(std::move(item)) {}

  HRESULT get_Item(IStatusDBItem** value) noexcept override;
  HRESULT put_Item(IStatusDBItem* value) noexcept override;
  HRESULT get_SubItemTree(IUnknown** value) noexcept override;
  HRESULT put_SubItemTree(IUnknown* value) noexcept override;

 private:
  ComPtr<IStatusDBItem> item_;
  ComPtr<IUnkList> children_;
};

// Reads the values of any status item; a time that is not there comes out as 0.0. Throws
// StatusError.
StatusRow ReadStatusItem(IStatusDBItem& item);

// A node over a new item; and the root: identifier "/", no parent, a folder.
ComPtr<IStatusDBItemTree> MakeStatusNode(StatusRow row);
ComPtr<IStatusDBItemTree> MakeStatusRoot();

// Registers StatusDBItem and StatusDBItemTree.
void RegisterStatusClasses();

}  // namespace qv
