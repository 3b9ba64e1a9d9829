// The engine's door to the module: creates the enabled stores, wires each to one database accessor
// and one `OutlookManager`, and hands them out by source URI.
//
// It owns one reference on each store, the accessor and its session, and the `OutlookManager`,
// which is destroyed first when the manager goes: no store may use it in its destructor.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "framework/store_contract.h"
#include "pim/outlook_manager.h"
#include "platform/com/com_object.h"
#include "platform/com/engine_config.h"
#include "platform/database/accessor.h"

namespace qv {

class DataStoreManager final : public ComObject<IDataStoreMgr> {
 public:
  // After a success, a second call tears the stores down first. After a failure the stores made so
  // far stay: the session that they use stays open beside the new one, until the tear-down, or a
  // start that finds no store left, gives all of them back.
  HRESULT Initialize(IUnknown* pIConfig) noexcept override;
  HRESULT SetUserKey(BSTR userKey) noexcept override;
  HRESULT GetDataStore(BSTR soruceURI, IDataStore** ppIDataStore) noexcept override;
  HRESULT RemoveDataStore(BSTR sourceURI) noexcept override;
  HRESULT GetDataStoreAll(IUnknown** ppIUnkList) noexcept override;
  HRESULT SetTargetKey(BSTR targetKey) noexcept override;

 private:
  // What the bag says of one enabled store.
  struct EnabledStore {
    std::u16string clsid;
    std::u16string uri;
  };

  // An accessor and what it gave for its session; 0 when that did not open.
  struct Session {
    ComPtr<IDBAccessor> accessor;
    int32_t number = 0;
  };

  void FinalRelease() override;
  std::vector<EnabledStore> ReadEnabledStores();
  HRESULT OpenAccessor();
  HRESULT CreateStore(const EnabledStore& enabled);
  void TearDown();
  void EndSessions();

  ComPtr<IEngineConfig> bag_;
  std::map<std::u16string, ComPtr<IDataStore>> stores_;
  // Second stores of a URI that was taken: kept until the manager goes.
  std::vector<ComPtr<IDataStore>> orphans_;
  std::vector<Session> sessions_;  // the last is that of new stores
  bool initialized_ = false;
  std::vector<std::u16string> uris_;  // in the order of creation
  std::unique_ptr<OutlookManager> outlook_ = std::make_unique<OutlookManager>();
};

}  // namespace qv
