// The typed view on one store's keys in the engine's configuration bag.
//
// `Load` reads the keys "<store name>.<suffix>", `Save` writes them back; the properties between
// touch only the members.
#pragma once

#include <string>

#include "framework/store_contract.h"
#include "platform/com/com_object.h"
#include "platform/com/engine_config.h"
#include "platform/com/lists.h"

namespace qv {

class DataStoreConfig final : public ComObject<IDataStoreConfig> {
 public:
  // What was read before a failure stays in the members; the store name is kept last.
  HRESULT Load(BSTR dsName, IUnknown* pIConfig) noexcept override;
  HRESULT Save() noexcept override;

  HRESULT get_SyncType(int32_t* value) noexcept override;
  HRESULT put_SyncType(int32_t value) noexcept override;
  HRESULT get_sourceURI(BSTR* value) noexcept override;
  HRESULT put_sourceURI(BSTR value) noexcept override;
  HRESULT get_TargetURI(BSTR* value) noexcept override;
  HRESULT put_TargetURI(BSTR value) noexcept override;
  HRESULT get_MimeType(BSTR* value) noexcept override;
  HRESULT put_MimeType(BSTR value) noexcept override;
  HRESULT get_Version(BSTR* value) noexcept override;
  HRESULT put_Version(BSTR value) noexcept override;
  HRESULT get_SourceMaxLOBSize(int32_t* value) noexcept override;
  HRESULT put_SourceMaxLOBSize(int32_t value) noexcept override;
  HRESULT get_TargetMaxLOBSize(int32_t* value) noexcept override;
  HRESULT put_TargetMaxLOBSize(int32_t value) noexcept override;
  HRESULT get_SupportHierarchy(BOOL* value) noexcept override;
  HRESULT put_SupportHierarchy(BOOL value) noexcept override;
  HRESULT get_SupportFieldLevel(BOOL* value) noexcept override;
  HRESULT put_SupportFieldLevel(BOOL value) noexcept override;
  HRESULT get_SupportFilter(BOOL* value) noexcept override;
  HRESULT put_SupportFilter(BOOL value) noexcept override;
  HRESULT get_FilterKeywords(IUnknown** value) noexcept override;
  HRESULT put_FilterKeywords(IUnknown* value) noexcept override;
  HRESULT get_FilterPropNames(IUnknown** value) noexcept override;
  HRESULT put_FilterPropNames(IUnknown* value) noexcept override;
  HRESULT get_FilterRecordData(BSTR* value) noexcept override;
  HRESULT put_FilterRecordData(BSTR value) noexcept override;
  HRESULT get_FilterFieldData(BSTR* value) noexcept override;
  HRESULT put_FilterFieldData(BSTR value) noexcept override;
  HRESULT get_EntryId(BSTR* value) noexcept override;
  HRESULT put_EntryId(BSTR value) noexcept override;

 private:
  struct Key;
  static const Key kKeys[];

  ComPtr<IEngineConfig> bag_;
  int32_t syncType_ = 0;
  std::u16string sourceUri_;
  std::u16string targetUri_;
  std::u16string mimeType_;
  std::u16string version_;
  int32_t sourceMaxLobSize_ = 0;
  int32_t targetMaxLobSize_ = 0;
  bool supportHierarchy_ = false;
  bool supportFieldLevel_ = false;
  bool supportFilter_ = false;
  ComPtr<IVarList> filterKeywords_;
  ComPtr<IVarList> filterPropNames_;
  std::u16string filterRecordData_;
  std::u16string filterFieldData_;
  std::u16string entryId_;
  std::u16string storeName_;
};

}  // namespace qv
