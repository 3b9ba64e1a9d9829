// The half that all item objects have in common: `IItemCommon` over the item's fields.
#pragma once

#include "items/item.h"
#include "items/item_interfaces.h"
#include "items/item_slots.h"
#include "platform/com/com_object.h"

namespace qv {

// `Access` is the item's own access interface, `Value` its plain values with a member `fields`.
template <class Value, class Interface, class Access>
class ItemObject : public ComObject<IItemCommon, Interface, Access> {
 public:
  ItemObject() = default;
  explicit ItemObject(Value value) : value_(std::move(value)) {}

  ItemFields& fields() noexcept final { return value_.fields; }

  HRESULT get_SourceUid(BSTR* value) noexcept final { return GetText(fields().sourceUid, value); }
  HRESULT put_SourceUid(BSTR value) noexcept final { return PutText(fields().sourceUid, value); }
  HRESULT get_ParentUid(BSTR* value) noexcept final { return GetText(fields().parentUid, value); }
  HRESULT put_ParentUid(BSTR value) noexcept final { return PutText(fields().parentUid, value); }
  HRESULT get_Created(DATE* value) noexcept final { return GetValue(fields().created, value); }
  HRESULT put_Created(DATE value) noexcept final { return PutValue(fields().created, value); }
  HRESULT get_Modified(DATE* value) noexcept final { return GetValue(fields().modified, value); }
  HRESULT put_Modified(DATE value) noexcept final { return PutValue(fields().modified, value); }
  HRESULT get_ObjUid(BSTR* value) noexcept final { return GetText(fields().objUid, value); }
  HRESULT put_ObjUid(BSTR value) noexcept final { return PutText(fields().objUid, value); }
  HRESULT get_ObjModified(DATE* value) noexcept final {
    return GetValue(fields().objModified, value);
  }
  HRESULT put_ObjModified(DATE value) noexcept final {
    return PutValue(fields().objModified, value);
  }
  HRESULT get_KeyFields(BSTR* value) noexcept final { return GetText(fields().keyFields, value); }
  HRESULT put_KeyFields(BSTR value) noexcept final { return PutText(fields().keyFields, value); }
  HRESULT get_Md5(BSTR* value) noexcept final { return GetText(fields().md5, value); }
  HRESULT put_Md5(BSTR value) noexcept final { return PutText(fields().md5, value); }
  HRESULT get_IsFolder(BOOL* value) noexcept final {
    return GetValue(ToBool(fields().isFolder), value);
  }
  HRESULT put_IsFolder(BOOL value) noexcept final {
    return PutValue(fields().isFolder, value != kFalse);
  }

  HRESULT DropSideData() noexcept override {
    fields().extras.clear();
    return S_OK;
  }

 protected:
  Value value_;
};

}  // namespace qv
