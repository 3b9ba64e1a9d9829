#include "stores/outlook/folder_items.h"

#include "platform/com/status_error.h"

namespace qv {

HRESULT FolderItems::Create(const ComPtr<IItemCommon>& item, StoredItem& stored) {
  return outlook_.CreateItem(kind_, folder_, item, stored.id);
}

HRESULT FolderItems::Update(const std::u16string& id, const ComPtr<IItemCommon>& item,
                            StoredItem& stored) {
  stored.id = id;
  return outlook_.UpdateItem(kind_, id, item);
}

HRESULT FolderItems::Delete(const std::u16string& id, bool& existed) {
  int exists = 0;
  const HRESULT status = outlook_.IsExistItem(kind_, id, &exists);
  existed = exists != 0;
  return Failed(status) || !existed ? status : outlook_.DeleteItem(kind_, id);
}

HRESULT FolderItems::Read(const std::u16string& id, ComPtr<IItemCommon>& item) {
  return outlook_.GetItem(kind_, id, item);
}

HRESULT FolderItems::ReadTimes(const std::u16string& id, StoredItem& stored) {
  OLMetaData data;
  const HRESULT status = outlook_.GetMetaData(kind_, id, data);
  stored.modified = data.modified;
  stored.md5 = std::move(data.md5);
  return status;
}

HRESULT FolderItems::List(std::vector<OLMetaData>& datas, int withKeyText) {
  return outlook_.GetMetaDatas(kind_, folder_, datas, withKeyText);
}

HRESULT FolderItems::ListIds(std::vector<std::u16string>& ids) {
  return outlook_.GetEntryIds(kind_, folder_, ids);
}

}  // namespace qv
