#include "pim/outlook_manager.h"

#include <algorithm>
#include <unordered_map>

#include "pim/outlook_state.h"
#include "platform/system/files.h"
#include "platform/system/identifiers.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::u16string_view kDefaultProfile = u"Outlook";
constexpr std::string_view kSuffix = ".db";

// 32 upper-case hexadecimal digits.
std::u16string NewEntryId() {
  std::u16string id = FormatGuid(Service<GuidSource>::Get().New());
  std::erase_if(id, [](char16_t c) { return c == u'{' || c == u'-' || c == u'}'; });
  return id;
}

// A name that the file system takes, whatever characters the profile's has.
std::u16string FileNameOf(std::u16string_view profile) {
  std::u16string name(profile);
  SanitizeFileName(name);
  std::replace_if(
      name.begin(), name.end(), [](char16_t c) { return c < 0x20; }, u'+');
  return name;
}

std::string ProfilePath(std::u16string_view profile) {
  const std::string& folder = TheOutlookSettings().folder;
  if (folder.empty()) throw Refusal{E_FAIL, "no folder is set for the profiles of Outlook"};
  if (const std::error_code error = Service<Files>::Get().MakeFolder(folder)) {
    throw Refusal{E_FAIL, folder + ": cannot make the folder: " + error.message()};
  }
  return folder + "/" + ToUtf8(FileNameOf(profile)) + std::string(kSuffix);
}

ItemRow Stamped(const std::u16string& entryId, const PackedItem& packed) {
  ItemRow row;
  row.entryId = entryId;
  Stamp(row, packed);
  return row;
}

OutlookManager::ListedItem Listed(ItemRow&& row) {
  return {std::move(row.entryId), std::move(row.name), DateFromUnixSeconds(row.modifiedLocal)};
}

OLMetaData MetaDataOf(ItemRow&& row) {
  return {std::move(row.entryId), DateFromUnixSeconds(row.modifiedLocal), std::move(row.keyText),
          std::move(row.md5)};
}

}  // namespace

OLMetaData::OLMetaData(std::u16string id, DATE time, std::u16string key, std::u16string hash)
    : entryId(std::move(id)), modified(time), keyText(std::move(key)), md5(std::move(hash)) {}

OutlookSettings& TheOutlookSettings() {
  static OutlookSettings settings;
  return settings;
}

OutlookManager::OutlookManager() : state_(std::make_unique<State>()) {}
OutlookManager::~OutlookManager() {
  state_->EndGroups();
}

int OutlookManager::isOutlookInstalled() {
  return TheOutlookSettings().installed ? 1 : 0;
}

int OutlookManager::isOutlookValid() {
  return TheOutlookSettings().valid ? 1 : 0;
}

int OutlookManager::isInitialized() const {
  return state_->file != nullptr ? 1 : 0;
}

int OutlookManager::initialize(const std::u16string& profileName) {
  const HRESULT status = state_->Run([&] {
    const std::u16string profile =
        profileName.empty() ? std::u16string(kDefaultProfile) : profileName;
    if (state_->file != nullptr && state_->profile == profile) return;
    // Another profile's file is closed first: nothing may go into it by mistake.
    state_->EndGroups();
    state_->file.reset();
    state_->keptParents.clear();
    state_->file = std::make_unique<ProfileFile>(ProfilePath(profile), NewEntryId);
    state_->profile = profile;
    if (TheOutlookSettings().opened) TheOutlookSettings().opened(*this);
  });
  return Succeeded(status) ? 1 : 0;
}

int OutlookManager::IsFolderExist(OlObjectClass kind, const std::u16string& folderId, int* exists) {
  if (exists == nullptr) return 0;
  *exists = 0;
  const HRESULT status =
      state_->Run([&] { *exists = state_->File().FindFolder(kind, folderId).has_value() ? 1 : 0; });
  return Succeeded(status) ? 1 : 0;
}

HRESULT OutlookManager::CreateItem(OlObjectClass kind, const std::u16string& folderId,
                                   const ComPtr<IItemCommon>& item, std::u16string& entryId) {
  entryId.clear();
  return state_->Run([&] {
    const int64_t folder = state_->Folder(kind, folderId);
    const PackedItem packed = state_->Pack(kind, item.get());
    const std::u16string newId = NewEntryId();
    state_->File().Insert(kind, folder, Stamped(newId, packed), packed.content);
    entryId = newId;
  });
}

HRESULT OutlookManager::UpdateItem(OlObjectClass kind, const std::u16string& entryId,
                                   const ComPtr<IItemCommon>& item) {
  return state_->Run([&] {
    const PackedItem packed = state_->Pack(kind, item.get());
    const std::optional<ItemRow> old = state_->File().Find(kind, entryId);
    if (!old) state_->NoSuchItem(kind, entryId);
    const ItemRow row = Stamped(entryId, packed);
    if (row.md5 != old->md5 && !state_->File().Update(kind, row, packed.content)) {
      state_->NoSuchItem(kind, entryId);
    }
  });
}

HRESULT OutlookManager::DeleteItem(OlObjectClass kind, const std::u16string& entryId) {
  return state_->Run([&] {
    if (!state_->File().Delete(kind, entryId)) state_->NoSuchItem(kind, entryId);
  });
}

HRESULT OutlookManager::GetItem(OlObjectClass kind, const std::u16string& entryId,
                                ComPtr<IItemCommon>& item) {
  item.Reset();
  return state_->Run([&] {
    std::string content;
    const std::optional<ItemRow> row = state_->File().Read(kind, entryId, content);
    if (!row) state_->NoSuchItem(kind, entryId);
    item = state_->Unpack(kind, *row, content);
  });
}

HRESULT OutlookManager::IsExistItem(OlObjectClass kind, const std::u16string& entryId,
                                    int* exists) {
  if (exists == nullptr) return E_POINTER;
  *exists = 0;
  return state_->Run([&] { *exists = state_->File().Find(kind, entryId).has_value() ? 1 : 0; });
}

HRESULT OutlookManager::GetMetaData(OlObjectClass kind, const std::u16string& entryId,
                                    OLMetaData& data) {
  data = {};
  return state_->Run([&] {
    std::optional<ItemRow> row = state_->File().Find(kind, entryId);
    if (!row) state_->NoSuchItem(kind, entryId);
    data = MetaDataOf(std::move(*row));
  });
}

HRESULT OutlookManager::GetMetaDatas(OlObjectClass kind, const std::u16string& folderId,
                                     std::vector<OLMetaData>& datas, int withKeyText) {
  return state_->RunList(datas, [&] {
    const int64_t number = state_->Folder(kind, folderId);
    const auto keyNow = state_->Kind(kind).keyNow;
    if (withKeyText != 0 && keyNow != nullptr) {
      state_->File().ListContents(number, [&](ItemRow&& row, std::string_view content) {
        row.keyText = keyNow(content);
        datas.push_back(MetaDataOf(std::move(row)));
      });
      return;
    }
    const auto listing =
        withKeyText != 0 ? ProfileFile::Listing::WithTexts : ProfileFile::Listing::WithoutTexts;
    state_->File().List(number, listing,
                        [&](ItemRow&& row) { datas.push_back(MetaDataOf(std::move(row))); });
  });
}

HRESULT OutlookManager::GetEntryIds(OlObjectClass kind, const std::u16string& folderId,
                                    std::vector<std::u16string>& entryIds) {
  return state_->RunList(entryIds, [&] {
    state_->File().List(state_->Folder(kind, folderId), ProfileFile::Listing::Identifiers,
                        [&](ItemRow&& row) { entryIds.push_back(std::move(row.entryId)); });
  });
}

std::u16string OutlookManager::DefaultFolder(OlObjectClass kind) {
  std::u16string folder;
  state_->Run([&] { folder = state_->File().FirstFolder(kind); });
  return folder;
}

HRESULT OutlookManager::ListItems(OlObjectClass kind, const std::u16string& folderId,
                                  std::vector<ListedItem>& items) {
  return state_->RunList(items, [&] {
    const int64_t folder = state_->Folder(kind, folderId);
    std::unordered_map<std::u16string, std::vector<ListedItem>> changed;  // by series
    state_->File().subItems().ListAll(kind, [&](SubItemRow&& row) {
      if (!row.isDeleted) changed[row.seriesId].push_back(Listed(std::move(row)));
    });
    state_->File().List(folder, ProfileFile::Listing::WithTexts, [&](ItemRow&& row) {
      items.push_back(Listed(std::move(row)));
      const auto found = changed.find(items.back().entryId);
      if (found == changed.end()) return;
      for (ListedItem& item : found->second) items.push_back(std::move(item));
    });
  });
}

HRESULT OutlookManager::Begin() {
  return state_->Run([&] { state_->groups.push_back(state_->File().Group()); });
}

HRESULT OutlookManager::Commit() {
  return state_->Run([&] {
    state_->Group().Commit();
    state_->groups.pop_back();
  });
}

HRESULT OutlookManager::Rollback() {
  return state_->Run([&] {
    state_->Group();
    state_->groups.pop_back();
  });
}

const std::string& OutlookManager::lastError() const {
  return state_->error;
}

}  // namespace qv
