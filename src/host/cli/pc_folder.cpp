#include "host/cli/pc_folder.h"

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

PcFolder::PcFolder(const Profile& profile, const StoreKind& kind) : kind_(kind) {
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

void PcFolder::CheckStatus(HRESULT status, const std::string& what) {
  CheckStatus(status, what, outlook_.lastError());
}

void PcFolder::CheckStatus(HRESULT status, const std::string& what, const std::string& reason) {
  if (Failed(status)) {
    throw CommandError(Exit::Failed, "cannot " + what + " on the PC side: " + reason);
  }
}

std::vector<OLSubMetaData> PcFolder::ExceptionsOf(const std::u16string& series) {
  std::vector<OLSubMetaData> datas;
  CheckStatus(outlook_.GetSubMetaData(kind_.pcKind, series, datas), "look up a series");
  std::erase_if(datas, [](const OLSubMetaData& data) { return data.isDeleted; });
  return datas;
}

bool PcFolder::Exists(const std::u16string& id) {
  if (IsSubItemId(id)) {
    const auto exceptions = ExceptionsOf(std::u16string(SeriesPartOf(id)));
    return std::ranges::find(exceptions, id, &OLSubMetaData::id) != exceptions.end();
  }
  int exists = 0;
  CheckStatus(outlook_.IsExistItem(kind_.pcKind, id, &exists), "look an item up");
  return exists != 0;
}

std::vector<OutlookManager::ListedItem> PcFolder::List() {
  std::vector<OutlookManager::ListedItem> items;
  CheckStatus(outlook_.ListItems(kind_.pcKind, folder_, items), "list the items");
  return items;
}

HRESULT PcFolder::Read(const std::u16string& id, ComPtr<IItemCommon>& item) {
  return IsSubItemId(id) ? outlook_.GetSubItem(kind_.pcKind, Named(id), item)
                         : outlook_.GetItem(kind_.pcKind, id, item);
}

void PcFolder::ForEach(const Take& take) {
  for (const OutlookManager::ListedItem& listed : List()) {
    ComPtr<IItemCommon> item;
    const bool read = Succeeded(Read(listed.entryId, item));
    take(listed.entryId, item, read ? std::string() : outlook_.lastError());
  }
}

int64_t PcFolder::Count() {
  std::vector<std::u16string> ids;
  std::vector<OLSubMetaData> exceptions;
  CheckStatus(outlook_.GetEntryIds(kind_.pcKind, folder_, ids), "count the items");
  CheckStatus(outlook_.GetSubMetaDatas(kind_.pcKind, ids, exceptions), "count the exceptions");
  const auto live = std::ranges::count(exceptions, false, &OLSubMetaData::isDeleted);
  return static_cast<int64_t>(ids.size()) + live;
}

ComPtr<IItemCommon> PcFolder::Get(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return nullptr;
  ComPtr<IItemCommon> item;
  CheckStatus(Read(entryId, item), "read " + id);
  return item;
}

std::string PcFolder::Add(const ComPtr<IItemCommon>& item) {
  std::u16string entryId;
  CheckStatus(outlook_.CreateItem(kind_.pcKind, folder_, item, entryId), "add an item");
  return ToUtf8(entryId);
}

void PcFolder::CheckOccurrence(HRESULT status, const std::u16string& series, IItemCommon& item,
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

std::string PcFolder::AddException(const std::string& series, const ComPtr<IItemCommon>& item) {
  const std::u16string seriesId = FromUtf8(series);
  OLSubMetaData data;
  const HRESULT status = outlook_.CreateSubItem(kind_.pcKind, seriesId, item, data);
  const std::string reason = outlook_.lastError();
  CheckOccurrence(status, seriesId, *item, {});
  CheckStatus(status, "add an exception", reason);
  return ToUtf8(data.id);
}

bool PcFolder::Replace(const std::string& id, const ComPtr<IItemCommon>& item) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  if (!IsSubItemId(entryId)) {
    CheckStatus(outlook_.UpdateItem(kind_.pcKind, entryId, item), "replace " + id);
    return true;
  }
  const std::u16string series(SeriesPartOf(entryId));
  OLSubMetaData data = Named(entryId);
  const HRESULT status = outlook_.UpdateSubItem(kind_.pcKind, series, item, data);
  const std::string reason = outlook_.lastError();
  CheckOccurrence(status, series, *item, entryId);
  CheckStatus(status, "replace " + id, reason);
  return true;
}

bool PcFolder::Delete(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  CheckStatus(IsSubItemId(entryId) ? outlook_.DeleteSubItem(kind_.pcKind, Named(entryId))
                                   : outlook_.DeleteItem(kind_.pcKind, entryId),
              "delete " + id);
  return true;
}

}  // namespace qv
