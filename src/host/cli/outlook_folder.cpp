#include "host/cli/outlook_folder.h"

#include <algorithm>

#include "host/cli/output.h"
#include "items/item_objects.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

OLSubMetaData Named(const std::u16string& id) {
  OLSubMetaData data;
  data.id = id;
  return data;
}

}  // namespace

OutlookFolder::OutlookFolder(const Profile& profile, const StoreKind& kind) : PcFolder(kind) {
  if (outlook_.initialize(FromUtf8(profile.Value("Outlook.CurProfileName"))) == 0) {
    throw CommandError(Exit::Failed, "cannot open the PC side: " + outlook_.lastError());
  }
  const std::string key = std::string(kind.configName) + ".EntryId";
  const std::string configured = profile.Value(key);
  folder_ = configured.empty() ? outlook_.DefaultFolder(kind.pcKind) : FromUtf8(configured);
  int exists = 0;
  outlook_.IsFolderExist(kind.pcKind, folder_, &exists);
  if (exists == 0) {
    throw UsageError(profile.ConfigFile() + ": the key " + key + " holds \"" + configured +
                     "\", which is no folder of the PC side");
  }
}

void OutlookFolder::CheckStatus(HRESULT status, const std::string& what) {
  CheckStatus(status, what, outlook_.lastError());
}

void OutlookFolder::CheckStatus(HRESULT status, const std::string& what,
                                const std::string& reason) {
  if (Failed(status)) {
    throw CommandError(Exit::Failed, "cannot " + what + " on the PC side: " + reason);
  }
}

std::vector<OLSubMetaData> OutlookFolder::ExceptionsOf(const std::u16string& series) {
  std::vector<OLSubMetaData> datas;
  CheckStatus(outlook_.GetSubMetaData(kind().pcKind, series, datas), "look up a series");
  std::erase_if(datas, [](const OLSubMetaData& data) { return data.isDeleted; });
  return datas;
}

bool OutlookFolder::Exists(const std::u16string& id) {
  if (IsSubItemId(id)) {
    const auto exceptions = ExceptionsOf(std::u16string(SeriesPartOf(id)));
    return std::ranges::find(exceptions, id, &OLSubMetaData::id) != exceptions.end();
  }
  int exists = 0;
  CheckStatus(outlook_.IsExistItem(kind().pcKind, id, &exists), "look an item up");
  return exists != 0;
}

std::vector<PcFolder::Entry> OutlookFolder::List() {
  std::vector<OutlookManager::ListedItem> items;
  CheckStatus(outlook_.ListItems(kind().pcKind, folder_, items), "list the items");
  std::vector<Entry> entries;
  entries.reserve(items.size());
  for (const OutlookManager::ListedItem& item : items) {
    entries.push_back({ToUtf8(item.entryId), ToUtf8(item.name), item.modified});
  }
  return entries;
}

HRESULT OutlookFolder::Read(const std::u16string& id, ComPtr<IItemCommon>& item) {
  return IsSubItemId(id) ? outlook_.GetSubItem(kind().pcKind, Named(id), item)
                         : outlook_.GetItem(kind().pcKind, id, item);
}

void OutlookFolder::ForEach(const Take& take) {
  for (const Entry& listed : List()) {
    ComPtr<IItemCommon> item;
    const std::u16string id = FromUtf8(listed.id);
    const bool read = Succeeded(Read(id, item));
    take(id, item, read ? std::string() : outlook_.lastError());
  }
}

int64_t OutlookFolder::Count() {
  std::vector<std::u16string> ids;
  std::vector<OLSubMetaData> exceptions;
  CheckStatus(outlook_.GetEntryIds(kind().pcKind, folder_, ids), "count the items");
  CheckStatus(outlook_.GetSubMetaDatas(kind().pcKind, ids, exceptions), "count the exceptions");
  const auto live = std::ranges::count(exceptions, false, &OLSubMetaData::isDeleted);
  return static_cast<int64_t>(ids.size()) + live;
}

ComPtr<IItemCommon> OutlookFolder::Get(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return nullptr;
  ComPtr<IItemCommon> item;
  CheckStatus(Read(entryId, item), "read " + id);
  return item;
}

std::string OutlookFolder::Add(const ComPtr<IItemCommon>& item) {
  std::u16string entryId;
  CheckStatus(outlook_.CreateItem(kind().pcKind, folder_, item, entryId), "add an item");
  return ToUtf8(entryId);
}

void OutlookFolder::CheckOccurrence(HRESULT status, const std::u16string& series, IItemCommon& item,
                                    const std::u16string& ownId) {
  const DATE occurrence = ReplacedOccurrence(*CalendarOf(&item));
  if (Succeeded(status) || occurrence == 0.0) return;
  for (const OLSubMetaData& other : ExceptionsOf(series)) {
    if (other.id != ownId &&
        CompareDateTime(other.originalDate, UtcToLocal(occurrence, true).value) == 0) {
      throw UsageError("its series has another exception of the same occurrence, " +
                       ToUtf8(other.id));
    }
  }
}

std::string OutlookFolder::AddException(const std::string& series,
                                        const ComPtr<IItemCommon>& item) {
  const std::u16string seriesId = FromUtf8(series);
  OLSubMetaData data;
  const HRESULT status = outlook_.CreateSubItem(kind().pcKind, seriesId, item, data);
  const std::string reason = outlook_.lastError();
  CheckOccurrence(status, seriesId, *item, {});
  CheckStatus(status, "add an exception", reason);
  return ToUtf8(data.id);
}

bool OutlookFolder::Replace(const std::string& id, const ComPtr<IItemCommon>& item) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  if (!IsSubItemId(entryId)) {
    CheckStatus(outlook_.UpdateItem(kind().pcKind, entryId, item), "replace " + id);
    return true;
  }
  const std::u16string series(SeriesPartOf(entryId));
  OLSubMetaData data = Named(entryId);
  const HRESULT status = outlook_.UpdateSubItem(kind().pcKind, series, item, data);
  const std::string reason = outlook_.lastError();
  CheckOccurrence(status, series, *item, entryId);
  CheckStatus(status, "replace " + id, reason);
  return true;
}

bool OutlookFolder::Delete(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  CheckStatus(IsSubItemId(entryId) ? outlook_.DeleteSubItem(kind().pcKind, Named(entryId))
                                   : outlook_.DeleteItem(kind().pcKind, entryId),
              "delete " + id);
  return true;
}

void OutlookFolder::Begin() {
  CheckStatus(outlook_.Begin(), "change items");
}

void OutlookFolder::Settle() {
  const HRESULT status = outlook_.Commit();
  const std::string reason = outlook_.lastError();
  if (Failed(status)) outlook_.Rollback();
  CheckStatus(status, "keep what was changed", reason);
}

}  // namespace qv
