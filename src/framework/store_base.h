// What every store stands on: the contract's slots, the common state, the stub answers.
//
// A slot here tests its pointers, clears its outs and then either answers from the stub table or
// calls one hook. Hooks are ordinary C++ below the edge: they return a status or throw StatusError,
// and a hook that a real operation needs and a store lacks answers E_FAIL. Hooks are not called
// directly and do not call their base.
//
// Call order that stores rely on: SetDBAccessor, SetOutlookMgr, Initialize, SetTargetKey, then the
// operations. Before a successful Initialize whatever needs the PC side answers E_FAIL.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/data_store_config.h"
#include "framework/store_contract.h"
#include "framework/stub_table.h"
#include "items/item_interfaces.h"
#include "platform/com/com_object.h"
#include "syncdb/status_item.h"
#include "syncdb/sync_session.h"

namespace qv {

class OutlookManager;

inline constexpr std::u16string_view kFolderMimeType = u"application/vnd.omads-folder+xml";
inline constexpr std::u16string_view kRootParent = u"/";

// What tells one store class from another in the base.
struct StoreIdentity {
  StoreFamily family;
  std::u16string_view className;   // in the log: "CDataStoreContact"
  std::u16string_view configName;  // in the bag: "DataStore.Contact"
  bool usesDatabase = true;        // otherwise SetDBAccessor answers S_OK and keeps nothing
  // Logged as the first act of ProcessDuplication, before its arguments are tested; empty for none.
  std::u16string_view duplicationStart = {};
  bool logsInitialize = true;  // the lines of Start and End
  // ProcessDuplication needs its `whichWin` and starts it as NONE.
  bool clearsWinner = false;
  // Stores whose other side is a file: the bag is asked for its interface, `Get` does without a
  // place for the parent, and a failed `Add` still hands out the identifier that it has used up.
  bool isFileStore = false;
};

// From `OnInitialize`: the answer is S_OK, and the store is as little ready as before.
inline constexpr HRESULT kNotInitialized = S_FALSE;

// A text on its way in. The views are valid during the call.
struct IncomingText {
  IUnknown* cdata = nullptr;
  std::u16string_view mimeType;
  std::u16string_view parent;  // as the caller gave it

  bool IsFolderDocument() const { return mimeType == kFolderMimeType; }
};

// What `Get` hands out; whatever is set goes out, also beside a failure.
struct OutgoingItem {
  std::optional<std::u16string> mimeType;
  std::optional<std::u16string> parent;
  ComPtr<IUnknown> item;
  ComPtr<IUnknown> cdata;
};

struct DuplicateAnswer {
  bool duplicated = false;
  std::optional<std::u16string> sourceUid;
  std::optional<RESV_CONFLTLASTMODIFIED> winner;  // unset: the caller's value stays
};

struct OccurrenceAnswer {
  bool conflicted = false;
  std::optional<std::u16string> sourceUid;
};

class StoreBase : public ComObject<IDataStore, IStatusDB> {
 public:
  HRESULT Initialize(IUnknown* pIConfig) noexcept final;
  HRESULT SetDBAccessor(IUnknown* pIDBAccessor) noexcept final;
  HRESULT SetUserKey(BSTR userKey) noexcept final;
  HRESULT Add(IUnknown* cdata, BSTR contexttype, BSTR sourceParentUid,
              BSTR* sourceUid) noexcept final;
  HRESULT Replace(BSTR sourceUid, IUnknown* cdata, BSTR contexttype, BOOL applyfieldlevel,
                  BSTR sourceParentUid, BSTR* updateFields) noexcept final;
  HRESULT Delete(BSTR sourceUid, BOOL softDel) noexcept final;
  HRESULT Move(BSTR sourceUid, BSTR sourceParentUid) noexcept final;
  HRESULT Get(BSTR sourceUid, BOOL updateField, BSTR* contexttype, BSTR* sourceParentUid,
              IUnknown** ppItem, IUnknown** cdata) noexcept final;
  HRESULT GetAllUid(IUnknown** ppIVarList) noexcept final;
  HRESULT DeleteAll() noexcept final;
  HRESULT PrepareSlowSync() noexcept final;
  HRESULT ProcessDuplication(BSTR sourceParentUid, IUnknown* cdata, BSTR contexttype,
                             BSTR* matchSourceUid, RESV_CONFLTLASTMODIFIED* whichWin,
                             BOOL* duplicated) noexcept final;
  HRESULT ProcessConflictLastModified(IUnknown* cdata, BSTR contexttype, BSTR sourceUid,
                                      RESV_CONFLTLASTMODIFIED* resolve_conflict) noexcept final;
  HRESULT IsFolder(BSTR sourceUid, BOOL* folder) noexcept final;
  HRESULT SetTargetKey(BSTR targetKey) noexcept final;
  HRESULT IsChangelogCreateByStatusDB(BOOL* isUseStatusdb) noexcept final;
  HRESULT OnProcesseSentCmdSuccess(SENTCMD_TYPE cmd, BSTR sourceUid, BSTR sourceParentUid,
                                   BOOL IsFolder) noexcept final;
  HRESULT GetParentUid(BSTR sourceUid, BSTR* parentUid) noexcept final;
  HRESULT GetSubUids(BSTR parentUid, IUnknown** ppIVariantList) noexcept final;
  HRESULT CachParseData(BSTR sourceParentUid, BSTR contexttype, IUnknown* cdata) noexcept final;
  HRESULT UnCachParseData() noexcept final;
  HRESULT GetCachedParseData(IUnknown** ppIItemCommon) noexcept final;
  HRESULT SetOutlookMgr(IUnknown* pIOutlookMgr) noexcept final;
  HRESULT ProcessConflictSubRecur(BSTR sourceOriginalUid, BSTR* matchSourceUid,
                                  BOOL* conflicted) noexcept final;

  HRESULT Initialize() noexcept final;
  HRESULT GetBackupStatusDB(IStatusDBItemTree** tree) noexcept final;
  HRESULT GetCurrentStatusDB(IStatusDBItemTree** tree) noexcept final;
  HRESULT DeleteAllStatusBackupDB() noexcept final;
  HRESULT UpdateBackupStatusDB(STATUSDB_UPDATECMD cmd,
                               IStatusDBItem* pIStatusDBItem) noexcept final;

 protected:
  explicit StoreBase(const StoreIdentity& identity);
  ~StoreBase() override = default;

  // State that hooks use.
  IEngineConfig* bag() const { return bag_.get(); }
  IDataStoreConfig& config() { return *config_; }
  const SyncSession& session() const { return session_; }
  const ComPtr<IItemCommon>& cachedItem() const { return cachedItem_; }
  // Null until SetOutlookMgr. Owned by the manager and gone before the store may be: not to be
  // used in a destructor.
  OutlookManager* outlook() const { return outlook_; }
  bool skipsFolderRows() const { return skipFolderRows_; }
  // Whether Initialize went through.
  bool isInitialized() const { return initialized_; }
  // One property of the store's configuration as text; throws StatusError.
  std::u16string ConfigText(HRESULT (IDataStoreConfig::*read)(BSTR*) noexcept);

 private:
  void FinalRelease() final;
  // The last reference of a store that was initialised has gone; the store is still whole. For
  // stores that write a file when they die.
  virtual void OnFinalRelease() {}
  // What `Initialize` tests in the bag before the store's configuration is loaded.
  virtual HRESULT OnCheckBag();
  // The rest of `Initialize`, once the configuration is loaded and the source URI is set.
  virtual HRESULT OnInitialize() = 0;
  // The item of a text; null for a text or type that gives none.
  virtual ComPtr<IItemCommon> OnParse(const IncomingText& text) = 0;
  virtual HRESULT OnAdd(const IncomingText& text, std::u16string& sourceUid) = 0;
  virtual HRESULT OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) = 0;
  virtual HRESULT OnReplace(const std::u16string& sourceUid, const IncomingText& text);
  virtual HRESULT OnDelete(const std::u16string& sourceUid, bool softDelete);
  virtual HRESULT OnGetAllUid(std::vector<std::u16string>& uids);
  virtual HRESULT OnDeleteAll();
  virtual HRESULT OnPrepareSlowSync();
  virtual HRESULT OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer);
  virtual HRESULT OnProcessConflict(const IncomingText& text, const std::u16string& sourceUid,
                                    RESV_CONFLTLASTMODIFIED& outcome);
  virtual HRESULT OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                                std::u16string_view parent, bool isFolder);
  virtual HRESULT OnProcessOccurrence(const std::u16string& sourceUid, OccurrenceAnswer& answer);
  virtual HRESULT OnIsFolder(const std::u16string& sourceUid, bool& isFolder);
  virtual HRESULT OnGetParent(const std::u16string& sourceUid, std::u16string& parent);
  virtual HRESULT OnGetChildren(const std::u16string& parent, ComPtr<IUnknown>& list);
  virtual HRESULT OnStatusInitialize();
  virtual HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root);
  virtual HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root);
  virtual HRESULT OnDeleteAllStatus();
  virtual HRESULT OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row);

  const SlotAnswer& Answer(StoreSlot slot) const { return AnswerOf(identity_.family, slot); }
  void Log(std::u16string_view moment) const;

  const StoreIdentity& identity_;
  ComPtr<IEngineConfig> bag_;
  ComPtr<IDataStoreConfig> config_;
  SyncSession session_;
  OutlookManager* outlook_ = nullptr;
  ComPtr<IItemCommon> cachedItem_;
  bool skipFolderRows_ = true;
  bool initialized_ = false;
};

}  // namespace qv
