#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "items/item_objects.h"
#include "pim/outlook_state.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {
namespace {

OLSubMetaData SubMetaDataOf(const SubItemRow& row) {
  OLSubMetaData data;
  data.id = row.entryId;
  data.parentId = row.seriesId;
  data.modified = DateFromUnixSeconds(row.modifiedLocal);
  if (row.original != 0.0) data.originalDate = UtcToLocal(row.original, true).value;
  data.isDeleted = row.isDeleted;
  data.md5 = row.md5;
  return data;
}

bool IsEntryOf(const RecurrenceEntry& entry, int32_t kind, DATE moment) {
  return entry.kind == kind && UnixSecondsFromDate(entry.moment) == UnixSecondsFromDate(moment);
}

// Puts the occurrence down as deleted. False when it is already, or when it is not known.
bool AddDeleted(CalendarContent& series, DATE occurrence) {
  if (occurrence == 0.0) return false;
  const bool known = std::any_of(series.entries.begin(), series.entries.end(), [&](auto& entry) {
    return IsEntryOf(entry, kDeletedOccurrence, occurrence);
  });
  if (!known) series.entries.push_back({kDeletedOccurrence, occurrence});
  return !known;
}

}  // namespace

HRESULT OutlookManager::CreateSubItem(OlObjectClass kind, const std::u16string& seriesId,
                                      const ComPtr<IItemCommon>& item, OLSubMetaData& data) {
  data = {};
  return state_->Run([&] {
    const PackedItem packed = state_->Pack(kind, item.get());
    const Calendar* calendar = CalendarOf(item.get());
    if (calendar == nullptr)
      state_->Refuse(std::string("a ") + state_->Kind(kind).noun + " does not recur");
    SubItemRow row;
    row.seriesId = seriesId;
    row.original = ReplacedOccurrence(*calendar);
    Stamp(row, packed);
    state_->File().Change([&](SubItemTable& table) {
      const int64_t number = table.NewNumber(kind, seriesId);
      if (number == 0) state_->NoSuchItem(kind, seriesId);
      row.entryId = seriesId + u"sub" + FromUtf8(std::to_string(number));
      if (table.IsTaken(kind, seriesId, row.original, row.entryId)) {
        state_->Refuse("the series " + ToUtf8(seriesId) +
                       " has another exception of the same occurrence");
      }
      table.Insert(kind, row, packed.content);
    });
    data = SubMetaDataOf(row);
  });
}

HRESULT OutlookManager::UpdateSubItem(OlObjectClass kind, const std::u16string& seriesId,
                                      const ComPtr<IItemCommon>& item, OLSubMetaData& data) {
  return state_->Run([&] {
    PackedItem packed = state_->Pack(kind, item.get());
    SubItemRow row;
    state_->File().Change([&](SubItemTable& table) {
      std::string content;
      const std::optional<SubItemRow> old = table.Read(kind, data.id, content);
      if (!old || old->isDeleted || old->seriesId != seriesId) state_->NoSuchItem(kind, data.id);
      row = *old;
      const Calendar& calendar = *CalendarOf(item.get());
      if (const DATE original = ReplacedOccurrence(calendar); original != 0.0) {
        row.original = original;
      } else if (old->original != 0.0) {
        // An item that does not name its occurrence keeps the one it has.
        Calendar named = calendar;
        named.entries.push_back({kReplacedOccurrence, old->original});
        packed = state_->Pack(kind, MakeCalendarItem(std::move(named)).get());
      }
      if (table.IsTaken(kind, seriesId, row.original, data.id)) {
        state_->Refuse("the series " + ToUtf8(seriesId) +
                       " has another exception of the same occurrence");
      }
      Stamp(row, packed);
      if (row.md5 == old->md5) {
        row = *old;
      } else {
        table.Update(kind, row, packed.content);
      }
    });
    data = SubMetaDataOf(row);
  });
}

HRESULT OutlookManager::DeleteSubItem(OlObjectClass kind, const OLSubMetaData& data) {
  return state_->Run([&] {
    ProfileFile& file = state_->File();
    file.Change([&](SubItemTable& table) {
      std::string content;
      std::optional<SubItemRow> row = table.Read(kind, data.id, content);
      if (!row || row->isDeleted) state_->NoSuchItem(kind, data.id);
      Stamp(*row, {});
      table.MarkDeleted(kind, *row);
      std::optional<ItemRow> series = file.Read(kind, row->seriesId, content);
      if (!series) state_->NoSuchItem(kind, row->seriesId);
      const ComPtr<IItemCommon> item = state_->Unpack(kind, *series, content);
      if (!AddDeleted(*CalendarOf(item.get()), row->original)) return;
      const PackedItem packed = state_->Pack(kind, item.get());
      Stamp(*series, packed);
      file.Rewrite(kind, *series, packed.content);
    });
  });
}

HRESULT OutlookManager::GetSubItem(OlObjectClass kind, const OLSubMetaData& data,
                                   ComPtr<IItemCommon>& item) {
  item.Reset();
  return state_->Run([&] {
    std::string content;
    const std::optional<SubItemRow> row = state_->File().subItems().Read(kind, data.id, content);
    if (!row || row->isDeleted) state_->NoSuchItem(kind, data.id);
    item = state_->Unpack(kind, *row, content);
  });
}

HRESULT OutlookManager::GetSubMetaData(OlObjectClass kind, const std::u16string& seriesId,
                                       std::vector<OLSubMetaData>& datas) {
  return state_->RunList(datas, [&] {
    state_->File().subItems().ListSeries(
        kind, seriesId, [&](SubItemRow&& row) { datas.push_back(SubMetaDataOf(row)); });
  });
}

HRESULT OutlookManager::GetSubMetaDatas(OlObjectClass kind,
                                        const std::vector<std::u16string>& seriesIds,
                                        std::vector<OLSubMetaData>& datas) {
  return state_->RunList(datas, [&] {
    // One statement for all series: most of those that are asked for have no sub-item.
    std::unordered_map<std::u16string, std::vector<OLSubMetaData>> bySeries;
    state_->File().subItems().ListAll(
        kind, [&](SubItemRow&& row) { bySeries[row.seriesId].push_back(SubMetaDataOf(row)); });
    for (const std::u16string& seriesId : seriesIds) {
      const auto found = bySeries.find(seriesId);
      if (found != bySeries.end()) {
        datas.insert(datas.end(), found->second.begin(), found->second.end());
      }
    }
  });
}

// Statements and indexes make what a cache of parent items would: what is kept is that it was asked
// for.
void OutlookManager::SetCacheParentItemsPtr(OlObjectClass kind, const std::u16string&) {
  if (!IsCachedParentItemsPtr(kind)) state_->keptParents.push_back(kind);
}

bool OutlookManager::IsCachedParentItemsPtr(OlObjectClass kind) const {
  return std::ranges::find(state_->keptParents, kind) != state_->keptParents.end();
}

}  // namespace qv
