#include "framework/data_store_manager.h"

#include <algorithm>

#include "framework/outlook_argument.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"
#include "platform/system/debug_log.h"

namespace qv {
namespace {

// Persisted: the names stand in the bag, their order is the order of creation.
constexpr std::u16string_view kStoreNames[] = {
    u"DataStore.Contact",        u"DataStore.Schedule",     u"DataStore.Task",
    u"DataStore.Note",           u"DataStore.Bookmark",     u"DataStore.WindowsContact",
    u"DataStore.OutlookExpress", u"DataStore.IEContactGrp", u"DataStore.IECSVContact",
    u"DataStore.IECSVSchedule",  u"DataStore.IECSVNote",    u"DataStore.IEVCard",
    u"DataStore.IEVCal",         u"DataStore.BRContactGrp", u"DataStore.BRContact",
    u"DataStore.BRSchedule",     u"DataStore.BRBookmark",   u"DataStore.BRNote",
};
static_assert(std::size(kStoreNames) == 18);

constexpr std::u16string_view kEnabled = u"true";

}  // namespace

HRESULT DataStoreManager::Initialize(IUnknown* pIConfig) noexcept {
  OutputDebugStringW(u"[QVSyncEngine] CDataStoreManager::Initialize() Start");
  const HRESULT result = Guarded([&]() -> HRESULT {
    if (pIConfig == nullptr) return E_POINTER;
    if (initialized_) TearDown();
    bag_ = ComPtr<IEngineConfig>(AsEngineConfig(pIConfig));
    const std::vector<EnabledStore> enabled = ReadEnabledStores();
    if (const HRESULT status = OpenAccessor(); Failed(status)) return status;
    for (const EnabledStore& store : enabled) {
      if (const HRESULT status = CreateStore(store); Failed(status)) return status;
    }
    initialized_ = true;
    return S_OK;
  });
  OutputDebugStringW(u"[QVSyncEngine] CDataStoreManager::Initialize() End");
  return result;
}

std::vector<DataStoreManager::EnabledStore> DataStoreManager::ReadEnabledStores() {
  std::vector<EnabledStore> enabled;
  for (const auto row : kStoreNames) {
    const std::u16string name(row);
    if (ReadConfigText(bag_.get(), name) != kEnabled) continue;
    if (ReadConfigText(bag_.get(), name + u".Sync") != kEnabled) continue;
    enabled.push_back({ReadConfigText(bag_.get(), name + u".CLSID"),
                       ReadConfigText(bag_.get(), name + u".SourceURI")});
  }
  return enabled;
}

HRESULT DataStoreManager::OpenAccessor() {
  if (stores_.empty() && orphans_.empty()) EndSessions();  // nobody is left who uses them
  sessions_.push_back({CreateInstance<IDBAccessor>(CLSID_DBAccessor), 0});
  Session& session = sessions_.back();
  Check(session.accessor->Open(Bstr(u"")));
  Check(session.accessor->Connect());
  return Check(session.accessor->BeginSession(&session.number));
}

HRESULT DataStoreManager::CreateStore(const EnabledStore& enabled) {
  CLSID clsid;
  if (Failed(CLSIDFromString(enabled.clsid, &clsid))) return DS_E_BAD_CLSID;
  ComPtr<IUnknown> object;
  if (Failed(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IUnknown::kIid,
                              reinterpret_cast<void**>(object.Out())))) {
    return DS_E_NO_STORE_CLASS;
  }
  const ComPtr<IDataStore> store = Query<IDataStore>(object);
  if (!store) return DS_E_NO_STORE_CLASS;
  store->SetDBAccessor(Query<IUnknown>(sessions_.back().accessor).get());
  store->SetOutlookMgr(ToUnknownArgument(outlook_.get()));
  if (const HRESULT status = store->Initialize(bag_.get()); Failed(status)) return status;
  if (!stores_.try_emplace(enabled.uri, store).second) orphans_.push_back(store);
  uris_.push_back(enabled.uri);
  return S_OK;
}

void DataStoreManager::TearDown() {
  stores_.clear();
  uris_.clear();
  EndSessions();
  initialized_ = false;
}

void DataStoreManager::EndSessions() {
  for (const Session& session : sessions_) {
    if (session.number != 0) session.accessor->EndSession(session.number);
  }
  sessions_.clear();
}

void DataStoreManager::FinalRelease() {
  outlook_.reset();
  TearDown();
  orphans_.clear();
}

HRESULT DataStoreManager::SetUserKey(BSTR userKey) noexcept {
  for (const auto& [uri, store] : stores_) store->SetUserKey(userKey);
  return S_OK;
}

HRESULT DataStoreManager::SetTargetKey(BSTR targetKey) noexcept {
  for (const auto& [uri, store] : stores_) store->SetTargetKey(targetKey);
  return S_OK;
}

HRESULT DataStoreManager::GetDataStore(BSTR soruceURI, IDataStore** ppIDataStore) noexcept {
  return Slot(Requires(soruceURI), Outs(ppIDataStore), [&]() -> HRESULT {
    const auto found = stores_.find(std::u16string(View(soruceURI)));
    if (found == stores_.end()) return S_FALSE;
    return HandOut(ppIDataStore, found->second);
  });
}

HRESULT DataStoreManager::RemoveDataStore(BSTR sourceURI) noexcept {
  return Slot(Requires(sourceURI), Outs(), [&]() -> HRESULT {
    const std::u16string uri(View(sourceURI));
    if (stores_.erase(uri) == 0) return DS_S_UNKNOWN_SOURCEURI;
    if (const auto listed = std::ranges::find(uris_, uri); listed != uris_.end()) {
      uris_.erase(listed);
    }
    return S_OK;
  });
}

HRESULT DataStoreManager::GetDataStoreAll(IUnknown** ppIUnkList) noexcept {
  return Slot(Requires(), Outs(ppIUnkList), [&] {
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    for (const std::u16string& uri : uris_) {
      if (const auto found = stores_.find(uri); found != stores_.end()) {
        Check(list->Add(found->second.get()));
      }
    }
    return HandOut(ppIUnkList, list);
  });
}

}  // namespace qv
