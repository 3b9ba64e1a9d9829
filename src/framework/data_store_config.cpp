#include "framework/data_store_config.h"

#include <variant>

#include "platform/com/edge.h"
#include "support/text.h"

namespace qv {
namespace {

using StoreNames = std::u16string_view[2];

constexpr std::u16string_view kTrueText = u"true";
constexpr std::u16string_view kFalseText = u"false";

bool Names(const StoreNames& names, std::u16string_view store) {
  for (const auto name : names) {
    if (!name.empty() && EqualsIgnoreCase(name, store)) return true;
  }
  return false;
}

// Which stores a key belongs to; no name means every store.
constexpr StoreNames kEvery = {};
constexpr StoreNames kSchedule = {u"DataStore.Schedule"};
constexpr StoreNames kBookmarks = {u"DataStore.Bookmark", u"DataStore.BRBookmark"};
// The backup of bookmarks reads its hierarchy flag and never writes it back: on purpose.
constexpr StoreNames kBookmarkOnly = {u"DataStore.Bookmark"};

template <class Stored>
HRESULT Read(const Stored& stored, Stored* out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, stored); });
}

HRESULT Read(const std::u16string& stored, BSTR* out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, stored); });
}

HRESULT Read(bool stored, BOOL* out) noexcept {
  return Read(ToBool(stored), out);
}

HRESULT Read(const ComPtr<IVarList>& stored, IUnknown** out) noexcept {
  return Slot(Requires(), Outs(out), [&] { return HandOut(out, stored); });
}

HRESULT Write(std::u16string& stored, BSTR value) noexcept {
  return Guarded([&] {
    stored = View(value);
    return S_OK;
  });
}

HRESULT Write(int32_t& stored, int32_t value) noexcept {
  stored = value;
  return S_OK;
}

HRESULT Write(bool& stored, BOOL value) noexcept {
  stored = value != kFalse;
  return S_OK;
}

HRESULT Write(ComPtr<IVarList>& stored, IUnknown* value) noexcept {
  stored = Query<IVarList>(value);
  return value != nullptr && !stored ? E_NOINTERFACE : S_OK;
}

}  // namespace

// One key of the bag: suffix, member, and the stores that read and that write it.
struct DataStoreConfig::Key {
  std::u16string_view suffix;
  std::variant<std::u16string DataStoreConfig::*, int32_t DataStoreConfig::*,
               bool DataStoreConfig::*>
      member;
  const StoreNames* readers = &kEvery;
  const StoreNames* writers = &kEvery;
};

// In the order in which the bag is read and written. Persisted.
const DataStoreConfig::Key DataStoreConfig::kKeys[] = {
    {u".SourceURI", &DataStoreConfig::sourceUri_},
    {u".TargetURI", &DataStoreConfig::targetUri_},
    {u".SyncType", &DataStoreConfig::syncType_},
    {u".MimeType", &DataStoreConfig::mimeType_},
    {u".Version", &DataStoreConfig::version_},
    {u".SourceMaxLOBSize", &DataStoreConfig::sourceMaxLobSize_},
    {u".TargetMaxLOBSize", &DataStoreConfig::targetMaxLobSize_},
    {u".EntryId", &DataStoreConfig::entryId_},
    {u".SupportFilter", &DataStoreConfig::supportFilter_, &kSchedule, &kSchedule},
    {u".FilterRecordData", &DataStoreConfig::filterRecordData_, &kSchedule, &kSchedule},
    {u".SupportHierarchy", &DataStoreConfig::supportHierarchy_, &kBookmarks, &kBookmarkOnly},
};

HRESULT DataStoreConfig::Load(BSTR dsName, IUnknown* pIConfig) noexcept {
  return Guarded([&] {
    const std::u16string name(View(dsName));
    bag_ = ComPtr<IEngineConfig>(AsEngineConfig(pIConfig));
    for (const Key& key : kKeys) {
      if (key.readers != &kEvery && !Names(*key.readers, name)) continue;
      const std::u16string text = ReadConfigText(bag_.get(), name + std::u16string(key.suffix));
      if (auto* textMember = std::get_if<std::u16string DataStoreConfig::*>(&key.member)) {
        this->*(*textMember) = text;
      } else if (auto* number = std::get_if<int32_t DataStoreConfig::*>(&key.member)) {
        this->*(*number) = ToInt(text);
      } else {
        this->*std::get<bool DataStoreConfig::*>(key.member) = text == kTrueText;
      }
    }
    storeName_ = name;
    return S_OK;
  });
}

HRESULT DataStoreConfig::Save() noexcept {
  if (storeName_.empty() || !bag_) return E_FAIL;
  return Guarded([&] {
    for (const Key& key : kKeys) {
      if (key.writers != &kEvery && !Names(*key.writers, storeName_)) continue;
      std::u16string text;
      if (auto* textMember = std::get_if<std::u16string DataStoreConfig::*>(&key.member)) {
        text = this->*(*textMember);
      } else if (auto* number = std::get_if<int32_t DataStoreConfig::*>(&key.member)) {
        text = Decimal(this->*(*number));
      } else {
        text = this->*std::get<bool DataStoreConfig::*>(key.member) ? kTrueText : kFalseText;
      }
      WriteConfigText(bag_.get(), storeName_ + std::u16string(key.suffix), text);
    }
    return S_OK;
  });
}

HRESULT DataStoreConfig::get_SyncType(int32_t* value) noexcept {
  return Read(syncType_, value);
}
HRESULT DataStoreConfig::put_SyncType(int32_t value) noexcept {
  return Write(syncType_, value);
}
HRESULT DataStoreConfig::get_sourceURI(BSTR* value) noexcept {
  return Read(sourceUri_, value);
}
HRESULT DataStoreConfig::put_sourceURI(BSTR value) noexcept {
  return Write(sourceUri_, value);
}
HRESULT DataStoreConfig::get_TargetURI(BSTR* value) noexcept {
  return Read(targetUri_, value);
}
HRESULT DataStoreConfig::put_TargetURI(BSTR value) noexcept {
  return Write(targetUri_, value);
}
HRESULT DataStoreConfig::get_MimeType(BSTR* value) noexcept {
  return Read(mimeType_, value);
}
HRESULT DataStoreConfig::put_MimeType(BSTR value) noexcept {
  return Write(mimeType_, value);
}
HRESULT DataStoreConfig::get_Version(BSTR* value) noexcept {
  return Read(version_, value);
}
HRESULT DataStoreConfig::put_Version(BSTR value) noexcept {
  return Write(version_, value);
}
HRESULT DataStoreConfig::get_SourceMaxLOBSize(int32_t* value) noexcept {
  return Read(sourceMaxLobSize_, value);
}
HRESULT DataStoreConfig::put_SourceMaxLOBSize(int32_t value) noexcept {
  return Write(sourceMaxLobSize_, value);
}
HRESULT DataStoreConfig::get_TargetMaxLOBSize(int32_t* value) noexcept {
  return Read(targetMaxLobSize_, value);
}
HRESULT DataStoreConfig::put_TargetMaxLOBSize(int32_t value) noexcept {
  return Write(targetMaxLobSize_, value);
}
HRESULT DataStoreConfig::get_SupportHierarchy(BOOL* value) noexcept {
  return Read(supportHierarchy_, value);
}
HRESULT DataStoreConfig::put_SupportHierarchy(BOOL value) noexcept {
  return Write(supportHierarchy_, value);
}
HRESULT DataStoreConfig::get_SupportFieldLevel(BOOL* value) noexcept {
  return Read(supportFieldLevel_, value);
}
HRESULT DataStoreConfig::put_SupportFieldLevel(BOOL value) noexcept {
  return Write(supportFieldLevel_, value);
}
HRESULT DataStoreConfig::get_SupportFilter(BOOL* value) noexcept {
  return Read(supportFilter_, value);
}
HRESULT DataStoreConfig::put_SupportFilter(BOOL value) noexcept {
  return Write(supportFilter_, value);
}
HRESULT DataStoreConfig::get_FilterKeywords(IUnknown** value) noexcept {
  return Read(filterKeywords_, value);
}
HRESULT DataStoreConfig::put_FilterKeywords(IUnknown* value) noexcept {
  return Write(filterKeywords_, value);
}
HRESULT DataStoreConfig::get_FilterPropNames(IUnknown** value) noexcept {
  return Read(filterPropNames_, value);
}
HRESULT DataStoreConfig::put_FilterPropNames(IUnknown* value) noexcept {
  return Write(filterPropNames_, value);
}
HRESULT DataStoreConfig::get_FilterRecordData(BSTR* value) noexcept {
  return Read(filterRecordData_, value);
}
HRESULT DataStoreConfig::put_FilterRecordData(BSTR value) noexcept {
  return Write(filterRecordData_, value);
}
HRESULT DataStoreConfig::get_FilterFieldData(BSTR* value) noexcept {
  return Read(filterFieldData_, value);
}
HRESULT DataStoreConfig::put_FilterFieldData(BSTR value) noexcept {
  return Write(filterFieldData_, value);
}
HRESULT DataStoreConfig::get_EntryId(BSTR* value) noexcept {
  return Read(entryId_, value);
}
HRESULT DataStoreConfig::put_EntryId(BSTR value) noexcept {
  return Write(entryId_, value);
}

}  // namespace qv
