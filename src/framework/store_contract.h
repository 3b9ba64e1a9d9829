// The contract between the sync engine and every store, and the manager that hands stores out.
//
// The PC is the server of a sync, the phone the client. `sourceUid` names an item on the PC side,
// "/" is the root parent; `cdata` is an IContentData. The callee allocates texts that come out, the
// caller frees them. A null argument gives E_POINTER unless told otherwise; outs are cleared first.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/unknown.h"

namespace qv {

// Persisted contract: the value is the position.
enum RESV_CONFLTLASTMODIFIED : int32_t {
  RESV_CONFLTLASTMODIFIED_NONE,
  RESV_CONFLTLASTMODIFIED_SERVERWIN,
  RESV_CONFLTLASTMODIFIED_CLIENTWIN,
  RESV_CONFLTLASTMODIFIED_IGNORE,
};
enum SENTCMD_TYPE : int32_t {
  SENTCMD_ADD,
  SENTCMD_REPL,
  SENTCMD_DEL,
  SENTCMD_MOVE,
  SENTCMD_EXEC,
};
enum DS_SYNCTYPE : int32_t {
  DS_SYNCTYPE_NONE,
  DS_SYNCTYPE_TWO_NORMAL,
  DS_SYNCTYPE_SLOW,
  DS_SYNCTYPE_ONEFROM_CLIENT,
  DS_SYNCTYPE_ONEFROM_SERVER,
  DS_SYNCTYPE_REFRESH_CLIENT,
  DS_SYNCTYPE_REFRESH_SERVER,
};

// The module's own result codes. Positive ones inform, negative ones are failures.
inline constexpr HRESULT DS_S_UNKNOWN_SOURCEURI = 0x00040202;
inline constexpr HRESULT DS_S_ALREADY_INITIALIZED = 0x00040203;
inline constexpr HRESULT DS_S_CONFLICT_OUTCOME = 0x00040205;
inline constexpr HRESULT DS_S_ALREADY_GONE = 0x00040206;
inline constexpr HRESULT DS_E_BAD_CLSID = StatusFromBits(0x80040204u);
inline constexpr HRESULT DS_E_NO_STORE_CLASS = StatusFromBits(0x80040205u);
inline constexpr HRESULT DS_E_BOOKMARK = StatusFromBits(0x80040209u);

struct IDataStore : IDispatch {
  static constexpr IID kIid = "{16FAB4F6-10BD-4AFE-9DEF-357B2E5EF404}"_guid;
  virtual HRESULT Initialize(IUnknown* pIConfig) noexcept = 0;
  virtual HRESULT SetDBAccessor(IUnknown* pIDBAccessor) noexcept = 0;
  virtual HRESULT SetUserKey(BSTR userKey) noexcept = 0;
  virtual HRESULT Add(IUnknown* cdata, BSTR contexttype, BSTR sourceParentUid,
                      BSTR* sourceUid) noexcept = 0;
  virtual HRESULT Replace(BSTR sourceUid, IUnknown* cdata, BSTR contexttype, BOOL applyfieldlevel,
                          BSTR sourceParentUid, BSTR* updateFields) noexcept = 0;
  virtual HRESULT Delete(BSTR sourceUid, BOOL softDel) noexcept = 0;
  virtual HRESULT Move(BSTR sourceUid, BSTR sourceParentUid) noexcept = 0;
  virtual HRESULT Get(BSTR sourceUid, BOOL updateField, BSTR* contexttype, BSTR* sourceParentUid,
                      IUnknown** ppItem, IUnknown** cdata) noexcept = 0;
  virtual HRESULT GetAllUid(IUnknown** ppIVarList) noexcept = 0;
  virtual HRESULT DeleteAll() noexcept = 0;
  virtual HRESULT PrepareSlowSync() noexcept = 0;
  // `whichWin` is written only where a comparison of times ran.
  virtual HRESULT ProcessDuplication(BSTR sourceParentUid, IUnknown* cdata, BSTR contexttype,
                                     BSTR* matchSourceUid, RESV_CONFLTLASTMODIFIED* whichWin,
                                     BOOL* duplicated) noexcept = 0;
  virtual HRESULT ProcessConflictLastModified(
      IUnknown* cdata, BSTR contexttype, BSTR sourceUid,
      RESV_CONFLTLASTMODIFIED* resolve_conflict) noexcept = 0;
  virtual HRESULT IsFolder(BSTR sourceUid, BOOL* folder) noexcept = 0;
  virtual HRESULT SetTargetKey(BSTR targetKey) noexcept = 0;
  virtual HRESULT IsChangelogCreateByStatusDB(BOOL* isUseStatusdb) noexcept = 0;
  virtual HRESULT OnProcesseSentCmdSuccess(SENTCMD_TYPE cmd, BSTR sourceUid, BSTR sourceParentUid,
                                           BOOL IsFolder) noexcept = 0;
  virtual HRESULT GetParentUid(BSTR sourceUid, BSTR* parentUid) noexcept = 0;
  virtual HRESULT GetSubUids(BSTR parentUid, IUnknown** ppIVariantList) noexcept = 0;
  virtual HRESULT CachParseData(BSTR sourceParentUid, BSTR contexttype,
                                IUnknown* cdata) noexcept = 0;
  virtual HRESULT UnCachParseData() noexcept = 0;
  virtual HRESULT GetCachedParseData(IUnknown** ppIItemCommon) noexcept = 0;
  // Not a component pointer: see framework/outlook_argument.h.
  virtual HRESULT SetOutlookMgr(IUnknown* pIOutlookMgr) noexcept = 0;
  virtual HRESULT ProcessConflictSubRecur(BSTR sourceOriginalUid, BSTR* matchSourceUid,
                                          BOOL* conflicted) noexcept = 0;

 protected:
  ~IDataStore() = default;
};

// On the calendar and task stores only.
struct IDataStoreFilter : IDispatch {
  static constexpr IID kIid = "{456C7337-07BF-46E0-86A8-95E7793F1D45}"_guid;
  virtual HRESULT IsFilterExsit(BOOL* isExist) noexcept = 0;
  virtual HRESULT IsInFilter(BSTR sourceUid, BOOL* isInclude) noexcept = 0;
  virtual HRESULT GetFilteredUids(IUnknown* pIUnkList, IUnknown** ppIVarList) noexcept = 0;

 protected:
  ~IDataStoreFilter() = default;
};

struct IDataStoreMgr : IDispatch {
  static constexpr IID kIid = "{956DD4D9-40EB-47F3-95FD-3A077AD63262}"_guid;
  virtual HRESULT Initialize(IUnknown* pIConfig) noexcept = 0;
  virtual HRESULT SetUserKey(BSTR userKey) noexcept = 0;
  // S_FALSE and null for an unknown source URI.
  virtual HRESULT GetDataStore(BSTR soruceURI, IDataStore** ppIDataStore) noexcept = 0;
  virtual HRESULT RemoveDataStore(BSTR sourceURI) noexcept = 0;
  // An IUnkList in creation order.
  virtual HRESULT GetDataStoreAll(IUnknown** ppIUnkList) noexcept = 0;
  virtual HRESULT SetTargetKey(BSTR targetKey) noexcept = 0;

 protected:
  ~IDataStoreMgr() = default;
};

// Each property has its read form first. A list that is null reads as null.
struct IDataStoreConfig : IDispatch {
  static constexpr IID kIid = "{B1FA9615-6118-47BB-84F4-F3C9F0150D6C}"_guid;
  virtual HRESULT Load(BSTR dsName, IUnknown* pIConfig) noexcept = 0;
  virtual HRESULT get_SyncType(int32_t* value) noexcept = 0;
  virtual HRESULT put_SyncType(int32_t value) noexcept = 0;
  virtual HRESULT get_sourceURI(BSTR* value) noexcept = 0;
  virtual HRESULT put_sourceURI(BSTR value) noexcept = 0;
  virtual HRESULT get_TargetURI(BSTR* value) noexcept = 0;
  virtual HRESULT put_TargetURI(BSTR value) noexcept = 0;
  virtual HRESULT get_MimeType(BSTR* value) noexcept = 0;
  virtual HRESULT put_MimeType(BSTR value) noexcept = 0;
  virtual HRESULT get_Version(BSTR* value) noexcept = 0;
  virtual HRESULT put_Version(BSTR value) noexcept = 0;
  virtual HRESULT get_SourceMaxLOBSize(int32_t* value) noexcept = 0;
  virtual HRESULT put_SourceMaxLOBSize(int32_t value) noexcept = 0;
  virtual HRESULT get_TargetMaxLOBSize(int32_t* value) noexcept = 0;
  virtual HRESULT put_TargetMaxLOBSize(int32_t value) noexcept = 0;
  virtual HRESULT get_SupportHierarchy(BOOL* value) noexcept = 0;
  virtual HRESULT put_SupportHierarchy(BOOL value) noexcept = 0;
  virtual HRESULT get_SupportFieldLevel(BOOL* value) noexcept = 0;
  virtual HRESULT put_SupportFieldLevel(BOOL value) noexcept = 0;
  // Writes every value back to the bag; E_FAIL before a `Load` that went through.
  virtual HRESULT Save() noexcept = 0;
  virtual HRESULT get_SupportFilter(BOOL* value) noexcept = 0;
  virtual HRESULT put_SupportFilter(BOOL value) noexcept = 0;
  virtual HRESULT get_FilterKeywords(IUnknown** value) noexcept = 0;
  virtual HRESULT put_FilterKeywords(IUnknown* value) noexcept = 0;
  virtual HRESULT get_FilterPropNames(IUnknown** value) noexcept = 0;
  virtual HRESULT put_FilterPropNames(IUnknown* value) noexcept = 0;
  virtual HRESULT get_FilterRecordData(BSTR* value) noexcept = 0;
  virtual HRESULT put_FilterRecordData(BSTR value) noexcept = 0;
  virtual HRESULT get_FilterFieldData(BSTR* value) noexcept = 0;
  virtual HRESULT put_FilterFieldData(BSTR value) noexcept = 0;
  virtual HRESULT get_EntryId(BSTR* value) noexcept = 0;
  virtual HRESULT put_EntryId(BSTR value) noexcept = 0;

 protected:
  ~IDataStoreConfig() = default;
};

}  // namespace qv
