#include "host/cli/pc_folder.h"

#include "host/cli/output.h"
#include "support/text.h"

namespace qv {

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
  if (Failed(status)) {
    throw CommandError(Exit::Failed, "cannot " + what + " on the PC side: " + outlook_.lastError());
  }
}

bool PcFolder::Exists(const std::u16string& id) {
  int exists = 0;
  CheckStatus(outlook_.IsExistItem(kind_.pcKind, id, &exists), "look an item up");
  return exists != 0;
}

std::vector<OutlookManager::ListedItem> PcFolder::List() {
  std::vector<OutlookManager::ListedItem> items;
  CheckStatus(outlook_.ListItems(kind_.pcKind, folder_, items), "list the items");
  return items;
}

int64_t PcFolder::Count() {
  std::vector<std::u16string> ids;
  CheckStatus(outlook_.GetEntryIds(kind_.pcKind, folder_, ids), "count the items");
  return static_cast<int64_t>(ids.size());
}

ComPtr<IItemCommon> PcFolder::Get(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return nullptr;
  ComPtr<IItemCommon> item;
  CheckStatus(outlook_.GetItem(kind_.pcKind, entryId, item), "read " + id);
  return item;
}

std::string PcFolder::Add(const ComPtr<IItemCommon>& item) {
  std::u16string entryId;
  CheckStatus(outlook_.CreateItem(kind_.pcKind, folder_, item, entryId), "add an item");
  return ToUtf8(entryId);
}

bool PcFolder::Replace(const std::string& id, const ComPtr<IItemCommon>& item) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  CheckStatus(outlook_.UpdateItem(kind_.pcKind, entryId, item), "replace " + id);
  return true;
}

bool PcFolder::Delete(const std::string& id) {
  const std::u16string entryId = FromUtf8(id);
  if (!Exists(entryId)) return false;
  CheckStatus(outlook_.DeleteItem(kind_.pcKind, entryId), "delete " + id);
  return true;
}

}  // namespace qv
