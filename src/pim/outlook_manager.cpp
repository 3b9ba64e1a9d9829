#include "pim/outlook_manager.h"

#include <algorithm>
#include <new>

#include "items/item_objects.h"
#include "pim/profile_file.h"
#include "platform/com/status_error.h"
#include "platform/system/clock.h"
#include "platform/system/files.h"
#include "platform/system/identifiers.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::u16string_view kDefaultProfile = u"Outlook";
constexpr std::string_view kSuffix = ".db";

// A failure that is not the file's.
struct Refusal {
  HRESULT status;
  std::string text;
};

// 32 upper-case hexadecimal digits.
std::u16string NewEntryId() {
  std::u16string id = FormatGuid(Service<GuidSource>::Get().New());
  std::erase_if(id, [](char16_t c) { return c == u'{' || c == u'-' || c == u'}'; });
  return id;
}

std::u16string ContentMd5(std::string_view content) {
  const std::optional<Md5Digest> digest = Service<Md5Provider>::Get().Digest(content);
  if (!digest) throw Refusal{E_FAIL, "the checksum service failed"};
  constexpr std::u16string_view kDigits = u"0123456789abcdef";
  std::u16string text;
  for (const uint8_t byte : *digest) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 0xF]);
  }
  return text;
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

// The row of a packed item as it is now.
ItemRow Stamped(const std::u16string& entryId, const PackedItem& packed) {
  ItemRow row;
  row.entryId = entryId;
  row.modifiedUtc = Service<Clock>::Get().UtcSeconds();
  const DateTimeValue local = UtcToLocal(DateFromUnixSeconds(row.modifiedUtc), true);
  row.modifiedLocal = UnixSecondsFromDate(local.value);
  row.md5 = ContentMd5(packed.content);
  row.keyText = packed.keyText;
  row.name = packed.name;
  return row;
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

struct OutlookManager::State {
  // Runs an operation and keeps the reason of its failure.
  template <class Body>
  HRESULT Run(Body&& body) {
    try {
      body();
      return S_OK;
    } catch (const Refusal& refusal) {
      error = refusal.text;
      return refusal.status;
    } catch (const SqliteError& failure) {
      error = failure.what();
      return E_FAIL;
    } catch (const StatusError& failure) {
      error = "an item could not be made";
      return failure.status();
    } catch (const std::bad_alloc&) {
      error = "out of memory";
      return E_OUTOFMEMORY;
    }
  }

  ProfileFile& File() {
    if (file == nullptr) throw Refusal{E_FAIL, "no profile of Outlook is open"};
    return *file;
  }

  const ItemKind& Kind(OlObjectClass kind) {
    const ItemKind* row = FindItemKind(kind);
    if (row == nullptr) {
      throw Refusal{
          E_FAIL, File().path() + ": items of the kind " + std::to_string(kind) + " are not kept"};
    }
    return *row;
  }

  int64_t Folder(OlObjectClass kind, const std::u16string& folderId) {
    const ItemKind& row = Kind(kind);
    const std::optional<int64_t> folder = File().FindFolder(kind, folderId);
    if (!folder) {
      throw Refusal{E_FAIL, File().path() + ": no " + row.noun + " folder " + ToUtf8(folderId)};
    }
    return *folder;
  }

  PackedItem Pack(OlObjectClass kind, IItemCommon* item) {
    const ItemKind& row = Kind(kind);
    if (item == nullptr) throw Refusal{E_POINTER, File().path() + ": no item to store"};
    PackedItem packed;
    if (!row.pack(item, packed)) {
      throw Refusal{E_FAIL, File().path() + ": the item is no " + row.noun};
    }
    return packed;
  }

  [[noreturn]] void NoSuchItem(OlObjectClass kind, const std::u16string& entryId) {
    throw Refusal{E_FAIL, File().path() + ": no " + Kind(kind).noun + " " + ToUtf8(entryId)};
  }

  [[noreturn]] void Damaged(const std::u16string& entryId, const std::string& why) {
    throw Refusal{E_FAIL, File().path() + ": item " + ToUtf8(entryId) + " is damaged: " + why};
  }

  std::unique_ptr<ProfileFile> file;
  std::u16string profile;
  std::string error;
};

OutlookManager::OutlookManager() : state_(std::make_unique<State>()) {}
OutlookManager::~OutlookManager() = default;

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
    state_->file.reset();
    state_->file = std::make_unique<ProfileFile>(ProfilePath(profile), NewEntryId);
    state_->profile = profile;
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
    std::optional<ItemRow> row = state_->File().Read(kind, entryId, content);
    if (!row) state_->NoSuchItem(kind, entryId);
    if (ContentMd5(content) != row->md5) state_->Damaged(entryId, "its checksum does not fit");
    std::string why;
    ComPtr<IItemCommon> unpacked = state_->Kind(kind).unpack(content, why);
    if (!unpacked) state_->Damaged(entryId, why);
    ItemFields& fields = *FieldsOf(unpacked.get());
    fields.sourceUid = entryId;
    fields.modified = DateFromUnixSeconds(row->modifiedUtc);
    fields.md5 = std::move(row->md5);
    item = std::move(unpacked);
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
  datas.clear();
  const auto listing =
      withKeyText != 0 ? ProfileFile::Listing::WithTexts : ProfileFile::Listing::WithoutTexts;
  const HRESULT status = state_->Run([&] {
    state_->File().List(state_->Folder(kind, folderId), listing,
                        [&](ItemRow&& row) { datas.push_back(MetaDataOf(std::move(row))); });
  });
  if (Failed(status)) datas.clear();
  return status;
}

HRESULT OutlookManager::GetEntryIds(OlObjectClass kind, const std::u16string& folderId,
                                    std::vector<std::u16string>& entryIds) {
  entryIds.clear();
  const HRESULT status = state_->Run([&] {
    state_->File().List(state_->Folder(kind, folderId), ProfileFile::Listing::Identifiers,
                        [&](ItemRow&& row) { entryIds.push_back(std::move(row.entryId)); });
  });
  if (Failed(status)) entryIds.clear();
  return status;
}

std::u16string OutlookManager::DefaultFolder(OlObjectClass kind) {
  std::u16string folder;
  state_->Run([&] { folder = state_->File().FirstFolder(kind); });
  return folder;
}

HRESULT OutlookManager::ListItems(OlObjectClass kind, const std::u16string& folderId,
                                  std::vector<ListedItem>& items) {
  items.clear();
  const HRESULT status = state_->Run([&] {
    state_->File().List(state_->Folder(kind, folderId), ProfileFile::Listing::WithTexts,
                        [&](ItemRow&& row) {
                          items.push_back({std::move(row.entryId), std::move(row.name),
                                           DateFromUnixSeconds(row.modifiedLocal)});
                        });
  });
  if (Failed(status)) items.clear();
  return status;
}

const std::string& OutlookManager::lastError() const {
  return state_->error;
}

}  // namespace qv
