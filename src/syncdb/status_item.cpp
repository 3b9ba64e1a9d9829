#include "syncdb/status_item.h"

#include "platform/com/class_factory.h"
#include "syncdb/status_class_ids.h"

namespace qv {
namespace {

HRESULT ReadText(const std::u16string& text, BSTR* out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, text); });
}

HRESULT WriteText(std::u16string& text, BSTR value) noexcept {
  return Guarded([&] {
    text = View(value);
    return S_OK;
  });
}

}  // namespace

HRESULT CStatusDBItem::get_sourceUid(BSTR* value) noexcept {
  return ReadText(row_.sourceUid, value);
}
HRESULT CStatusDBItem::put_sourceUid(BSTR value) noexcept {
  return WriteText(row_.sourceUid, value);
}
HRESULT CStatusDBItem::get_parentUid(BSTR* value) noexcept {
  return ReadText(row_.parentUid, value);
}
HRESULT CStatusDBItem::put_parentUid(BSTR value) noexcept {
  return WriteText(row_.parentUid, value);
}
HRESULT CStatusDBItem::get_md5(BSTR* value) noexcept {
  return ReadText(row_.md5, value);
}
HRESULT CStatusDBItem::put_md5(BSTR value) noexcept {
  return WriteText(row_.md5, value);
}

HRESULT CStatusDBItem::get_modified(DATE* value) noexcept {
  return Slot(Requires(), Outs(value), [&] {
    if (row_.modified.status == DateStatus::Null) return DS_S_NO_MODIFIED;
    return HandOut(value, row_.modified.value);
  });
}

HRESULT CStatusDBItem::put_modified(DATE value) noexcept {
  row_.modified = DateTimeValue(value);
  return S_OK;
}

HRESULT CStatusDBItem::get_IsFolder(BOOL* value) noexcept {
  return Slot(Requires(), Outs(value), [&] { return HandOut(value, ToBool(row_.isFolder)); });
}

HRESULT CStatusDBItem::put_IsFolder(BOOL value) noexcept {
  row_.isFolder = value != kFalse;
  return S_OK;
}

HRESULT CStatusDBItemTree::get_Item(IStatusDBItem** value) noexcept {
  return Slot(Requires(), Outs(value), [&] { return HandOut(value, item_); });
}

HRESULT CStatusDBItemTree::put_Item(IStatusDBItem* value) noexcept {
  item_ = ComPtr<IStatusDBItem>(value);
  return S_OK;
}

HRESULT CStatusDBItemTree::get_SubItemTree(IUnknown** value) noexcept {
  return Slot(Requires(), Outs(value), [&] { return HandOut(value, children_); });
}

HRESULT CStatusDBItemTree::put_SubItemTree(IUnknown* value) noexcept {
  ComPtr<IUnkList> list = Query<IUnkList>(value);
  if (value != nullptr && !list) return E_INVALIDARG;
  children_ = std::move(list);
  return S_OK;
}

StatusRow ReadStatusItem(IStatusDBItem& item) {
  StatusRow row;
  Bstr text;
  Check(item.get_sourceUid(text.Out()));
  row.sourceUid = text.str();
  Check(item.get_parentUid(text.Out()));
  row.parentUid = text.str();
  Check(item.get_md5(text.Out()));
  row.md5 = text.str();
  DATE modified = 0.0;
  Check(item.get_modified(&modified));
  row.modified = modified;
  BOOL folder = kFalse;
  Check(item.get_IsFolder(&folder));
  row.isFolder = folder != kFalse;
  return row;
}

ComPtr<IStatusDBItemTree> MakeStatusNode(StatusRow row) {
  return MakeObject<CStatusDBItemTree>(MakeObject<CStatusDBItem>(std::move(row)));
}

ComPtr<IStatusDBItemTree> MakeStatusRoot() {
  StatusRow root;
  root.sourceUid = u"/";
  root.isFolder = true;
  return MakeStatusNode(std::move(root));
}

void RegisterStatusClasses() {
  RegisterClass(CLSID_StatusDBItem, CreateClass<CStatusDBItem>);
  RegisterClass(CLSID_StatusDBItemTree, CreateClass<CStatusDBItemTree>);
}

}  // namespace qv
