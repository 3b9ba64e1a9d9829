#include "stores/outlook/recurrence_index.h"

#include <algorithm>

#include "items/item_objects.h"
#include "platform/com/status_error.h"
#include "support/date_time.h"

namespace qv {
namespace {

std::u16string ParentOf(const ComPtr<IItemCommon>& item) {
  const Calendar* calendar = CalendarOf(item.get());
  return calendar == nullptr ? std::u16string() : calendar->parentRecurUid;
}

OLSubMetaData DataOf(const ExceptionRow& row) {
  OLSubMetaData data;
  data.id = row.id;
  data.parentId = row.seriesId;
  data.modified = row.modified;
  data.originalDate = row.originalDate;
  data.isDeleted = row.isDeleted;
  return data;
}

bool HasItem(const std::optional<ExceptionRow>& row) {
  return row && !row->seriesId.empty() && !row->isDeleted;
}

}  // namespace

HRESULT RecurrenceIndex::FindSeries(const std::u16string& parentUid, std::u16string& seriesId) {
  const HRESULT status = map_.FindByUid(parentUid, seriesId);
  return Succeeded(status) && seriesId.empty() ? E_FAIL : status;
}

HRESULT RecurrenceIndex::Create(const ComPtr<IItemCommon>& item, StoredItem& stored) {
  const std::u16string parent = ParentOf(item);
  if (parent.empty()) {
    if (!outlook_.IsCachedParentItemsPtr(kind_)) outlook_.SetCacheParentItemsPtr(kind_, folder_);
    return FolderItems::Create(item, stored);
  }
  Check(FindSeries(parent, stored.seriesId));
  OLSubMetaData data;
  const HRESULT status = outlook_.CreateSubItem(kind_, stored.seriesId, item, data);
  stored.id = std::move(data.id);
  stored.modified = data.modified;
  stored.md5 = std::move(data.md5);
  return status;
}

HRESULT RecurrenceIndex::Update(const std::u16string& id, const ComPtr<IItemCommon>& item,
                                StoredItem& stored) {
  const std::u16string parent = ParentOf(item);
  if (parent.empty()) return FolderItems::Update(id, item, stored);
  stored.id = id;
  Check(FindSeries(parent, stored.seriesId));
  OLSubMetaData data;
  data.id = id;
  data.parentId = stored.seriesId;
  const HRESULT status = outlook_.UpdateSubItem(kind_, stored.seriesId, item, data);
  stored.modified = data.modified;
  stored.md5 = std::move(data.md5);
  return status;
}

HRESULT RecurrenceIndex::Delete(const std::u16string& id, bool& existed) {
  if (!IsSubItemId(id)) return FolderItems::Delete(id, existed);
  existed = true;
  std::optional<ExceptionRow> row;
  Check(table_.Find(id, row));
  return HasItem(row) ? outlook_.DeleteSubItem(kind_, DataOf(*row)) : S_OK;
}

HRESULT RecurrenceIndex::Read(const std::u16string& id, ComPtr<IItemCommon>& item) {
  if (!IsSubItemId(id)) return FolderItems::Read(id, item);
  std::optional<ExceptionRow> row;
  Check(table_.Find(id, row));
  if (!HasItem(row)) return E_FAIL;
  Check(outlook_.GetSubItem(kind_, DataOf(*row), item));
  Calendar* exception = CalendarOf(item.get());
  if (exception == nullptr) return E_FAIL;
  exception->fields.sourceUid = id;
  // Reading must not make a row: a series that never went out has no uid yet.
  ItemFields series;
  Check(map_.Read(row->seriesId, series));
  exception->parentRecurUid = std::move(series.objUid);
  return S_OK;
}

HRESULT RecurrenceIndex::ReadTimes(const std::u16string& id, StoredItem& stored) {
  if (!IsSubItemId(id)) return FolderItems::ReadTimes(id, stored);
  std::optional<ExceptionRow> row;
  Check(table_.Find(id, row));
  if (!row) return E_FAIL;
  stored.modified = row->modified;
  stored.md5.clear();
  return S_OK;
}

HRESULT RecurrenceIndex::BeginSession() {
  known_.clear();
  return table_.DeleteAll();
}

HRESULT RecurrenceIndex::Load(const std::vector<std::u16string>& ids) {
  if (loaded_) return S_OK;
  std::vector<OLSubMetaData> datas;
  Check(outlook_.GetSubMetaDatas(kind_, ids, datas));
  exceptions_ = std::move(datas);
  known_.clear();
  for (const OLSubMetaData& data : exceptions_) {
    const ExceptionRow row{data.id, data.parentId, data.modified, data.originalDate,
                           data.isDeleted};
    // What has no row is still listed.
    if (Failed(table_.Insert(row))) break;
  }
  loaded_ = true;
  return S_OK;
}

HRESULT RecurrenceIndex::List(std::vector<OLMetaData>& datas, int withKeyText) {
  Check(FolderItems::List(datas, withKeyText));
  if (datas.empty()) return S_OK;
  if (!loaded_) {
    std::vector<std::u16string> ids;
    ids.reserve(datas.size());
    for (const OLMetaData& data : datas) ids.push_back(data.entryId);
    Check(Load(ids));
  }
  for (const OLSubMetaData& data : exceptions_) {
    if (!data.isDeleted) datas.emplace_back(data.id, data.modified, std::u16string(), data.md5);
  }
  return S_OK;
}

HRESULT RecurrenceIndex::ListIds(std::vector<std::u16string>& ids) {
  Check(FolderItems::ListIds(ids));
  Check(Load(ids));
  for (const OLSubMetaData& data : exceptions_) {
    if (!data.isDeleted) ids.push_back(data.id);
  }
  return S_OK;
}

HRESULT RecurrenceIndex::ChangedExceptions(const std::u16string& seriesId,
                                           std::vector<OLSubMetaData>& datas) {
  Check(outlook_.GetSubMetaData(kind_, seriesId, datas));
  std::erase_if(datas, [](const OLSubMetaData& data) { return data.isDeleted; });
  return S_OK;
}

HRESULT RecurrenceIndex::FindSameOccurrence(const std::u16string& seriesId, IItemCommon* item,
                                            std::optional<std::u16string>& match) {
  const Calendar* incoming = CalendarOf(item);
  if (incoming == nullptr) return E_FAIL;
  // One that names no occurrence meets a row without a date.
  const DATE replaced = ReplacedOccurrence(*incoming);
  const DATE occurrence = replaced == 0.0 ? 0.0 : UtcToLocal(replaced, true).value;
  auto known = known_.find(seriesId);
  if (known == known_.end()) {
    std::vector<ExceptionRow> rows;
    Check(table_.OfSeries(seriesId, rows));
    known = known_.try_emplace(seriesId).first;
    for (ExceptionRow& row : rows) {
      if (!row.isDeleted) known->second.emplace(row.originalDate, std::move(row.id));
    }
  }
  const auto same = known->second.find(occurrence);
  if (same != known->second.end()) match = same->second;
  return S_OK;
}

}  // namespace qv
