#include "framework/store_base.h"

#include "framework/outlook_argument.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"
#include "platform/system/debug_log.h"

namespace qv {
namespace {

IncomingText Incoming(IUnknown* cdata, BSTR contexttype, BSTR parent) {
  return {cdata, View(contexttype), View(parent)};
}

}  // namespace

StoreBase::StoreBase(const StoreIdentity& identity)
    : identity_(identity), config_(MakeObject<DataStoreConfig>()) {}

void StoreBase::Log(std::u16string_view moment) const {
  if (!identity_.logsInitialize) return;
  OutputDebugStringW(Concat({u"[QVSyncEngine] ", identity_.className, u"::Initialize() ", moment}));
}

std::u16string StoreBase::ConfigText(HRESULT (IDataStoreConfig::*read)(BSTR*) noexcept) {
  Bstr text;
  Check((config_.get()->*read)(text.Out()));
  return text.str();
}

HRESULT StoreBase::Initialize(IUnknown* pIConfig) noexcept {
  return Guarded([&]() -> HRESULT {
    Log(u"Start");
    if (initialized_) return DS_S_ALREADY_INITIALIZED;
    bag_ = identity_.isFileStore ? Query<IEngineConfig>(pIConfig)
                                 : ComPtr<IEngineConfig>(AsEngineConfig(pIConfig));
    if (!bag_) return E_FAIL;
    Check(OnCheckBag());
    Check(config_->Load(Bstr(identity_.configName), bag_.get()));
    session_.sourceUri = ConfigText(&IDataStoreConfig::get_sourceURI);
    const HRESULT status = OnInitialize();
    if (Failed(status)) return status;
    if (status == kNotInitialized) return S_OK;
    initialized_ = true;
    Log(u"End");
    return status;
  });
}

HRESULT StoreBase::SetDBAccessor(IUnknown* pIDBAccessor) noexcept {
  if (!identity_.usesDatabase) return S_OK;
  return Slot(Requires(pIDBAccessor), Outs(), [&] {
    session_.accessor = Query<IDBAccessor>(pIDBAccessor);
    session_.session = 0;
    if (!session_.accessor) return E_FAIL;
    Check(session_.accessor->GetSessionId(&session_.session));
    return session_.session == 0 ? E_FAIL : S_OK;
  });
}

void StoreBase::FinalRelease() {
  if (initialized_) OnFinalRelease();
}

HRESULT StoreBase::SetUserKey(BSTR) noexcept {
  return S_OK;
}

HRESULT StoreBase::Add(IUnknown* cdata, BSTR contexttype, BSTR sourceParentUid,
                       BSTR* sourceUid) noexcept {
  return Slot(Requires(cdata, contexttype), Outs(sourceUid), [&] {
    std::u16string created;
    const HRESULT status =
        Guarded([&] { return OnAdd(Incoming(cdata, contexttype, sourceParentUid), created); });
    const bool wasUsedUp = identity_.isFileStore && !created.empty();
    if (Succeeded(status) || wasUsedUp) HandOut(sourceUid, created);
    return status;
  });
}

HRESULT StoreBase::Replace(BSTR sourceUid, IUnknown* cdata, BSTR contexttype, BOOL,
                           BSTR sourceParentUid, BSTR* updateFields) noexcept {
  return Slot(Requires(sourceUid, cdata, contexttype), Outs(updateFields), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::Replace);
    if (!answer.isReal) return answer.stub;
    HandOut(updateFields, u"");  // items are applied whole: no field is ever named
    return OnReplace(std::u16string(View(sourceUid)),
                     Incoming(cdata, contexttype, sourceParentUid));
  });
}

HRESULT StoreBase::Delete(BSTR sourceUid, BOOL softDel) noexcept {
  return Slot(Requires(sourceUid), Outs(), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::Delete);
    if (!answer.isReal) return answer.stub;
    return OnDelete(std::u16string(View(sourceUid)), softDel != kFalse);
  });
}

HRESULT StoreBase::Move(BSTR, BSTR) noexcept {
  return E_NOTIMPL;
}

HRESULT StoreBase::Get(BSTR sourceUid, BOOL updateField, BSTR* contexttype, BSTR* sourceParentUid,
                       IUnknown** ppItem, IUnknown** cdata) noexcept {
  Bstr unwanted;
  if (identity_.isFileStore && sourceParentUid == nullptr) sourceParentUid = unwanted.Out();
  return Slot(Requires(sourceUid), Outs(contexttype, sourceParentUid, ppItem, cdata), [&] {
    OutgoingItem out;
    const HRESULT status =
        Guarded([&] { return OnGet(std::u16string(View(sourceUid)), updateField != kFalse, out); });
    if (out.parent) HandOut(sourceParentUid, *out.parent);
    if (out.mimeType) HandOut(contexttype, *out.mimeType);
    HandOut(ppItem, std::move(out.item));
    HandOut(cdata, std::move(out.cdata));
    return status;
  });
}

HRESULT StoreBase::GetAllUid(IUnknown** ppIVarList) noexcept {
  return Slot(Requires(), Outs(ppIVarList), [&]() -> HRESULT {
    const SlotAnswer& answer = Answer(StoreSlot::GetAllUid);
    if (!answer.isReal) return answer.stub;
    const auto list = CreateInstance<IVarList>(CLSID_VarList);
    std::vector<std::u16string> uids;
    if (const HRESULT status = OnGetAllUid(uids); Failed(status)) return status;
    for (const std::u16string& uid : uids) Check(list->Add(Variant::Text(uid).get()));
    return HandOut(ppIVarList, list);
  });
}

HRESULT StoreBase::DeleteAll() noexcept {
  const SlotAnswer& answer = Answer(StoreSlot::DeleteAll);
  if (!answer.isReal) return answer.stub;
  return Guarded([&] { return OnDeleteAll(); });
}

HRESULT StoreBase::PrepareSlowSync() noexcept {
  const SlotAnswer& answer = Answer(StoreSlot::PrepareSlowSync);
  if (!answer.isReal) return answer.stub;
  return Guarded([&] { return OnPrepareSlowSync(); });
}

HRESULT StoreBase::ProcessDuplication(BSTR sourceParentUid, IUnknown* cdata, BSTR contexttype,
                                      BSTR* matchSourceUid, RESV_CONFLTLASTMODIFIED* whichWin,
                                      BOOL* duplicated) noexcept {
  if (!identity_.duplicationStart.empty()) OutputDebugStringW(identity_.duplicationStart);
  if (identity_.clearsWinner && whichWin == nullptr) return E_POINTER;
  return Slot(Requires(cdata, contexttype), Outs(matchSourceUid, duplicated), [&] {
    if (identity_.clearsWinner) *whichWin = RESV_CONFLTLASTMODIFIED_NONE;
    const SlotAnswer& slot = Answer(StoreSlot::ProcessDuplication);
    if (!slot.isReal) return slot.stub;
    DuplicateAnswer answer;
    const HRESULT status = Guarded([&] {
      return OnProcessDuplication(Incoming(cdata, contexttype, sourceParentUid), answer);
    });
    HandOut(duplicated, ToBool(answer.duplicated));
    if (answer.sourceUid) HandOut(matchSourceUid, *answer.sourceUid);
    if (answer.winner && whichWin != nullptr) *whichWin = *answer.winner;
    return status;
  });
}

HRESULT StoreBase::ProcessConflictLastModified(IUnknown* cdata, BSTR contexttype, BSTR sourceUid,
                                               RESV_CONFLTLASTMODIFIED* resolve_conflict) noexcept {
  return Slot(Requires(cdata, contexttype, sourceUid), Outs(resolve_conflict), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::ProcessConflictLastModified);
    if (!answer.isReal) return answer.stub;
    return OnProcessConflict(Incoming(cdata, contexttype, nullptr), std::u16string(View(sourceUid)),
                             *resolve_conflict);
  });
}

HRESULT StoreBase::IsFolder(BSTR sourceUid, BOOL* folder) noexcept {
  return Slot(Requires(sourceUid), Outs(folder), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::IsFolder);
    if (!answer.isReal) return answer.stub;
    bool isFolder = false;
    const HRESULT status = OnIsFolder(std::u16string(View(sourceUid)), isFolder);
    HandOut(folder, ToBool(isFolder));
    return status;
  });
}

HRESULT StoreBase::SetTargetKey(BSTR targetKey) noexcept {
  return Slot(Requires(targetKey), Outs(), [&] {
    session_.targetKey = View(targetKey);
    return S_OK;
  });
}

HRESULT StoreBase::IsChangelogCreateByStatusDB(BOOL* isUseStatusdb) noexcept {
  return Slot(Requires(), Outs(isUseStatusdb), [&] { return HandOut(isUseStatusdb, kTrue); });
}

HRESULT StoreBase::OnProcesseSentCmdSuccess(SENTCMD_TYPE cmd, BSTR sourceUid, BSTR sourceParentUid,
                                            BOOL IsFolder) noexcept {
  return Slot(Requires(sourceUid), Outs(), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::OnProcesseSentCmdSuccess);
    if (!answer.isReal) return answer.stub;
    return OnSentCommand(cmd, std::u16string(View(sourceUid)), View(sourceParentUid),
                         IsFolder != kFalse);
  });
}

HRESULT StoreBase::GetParentUid(BSTR sourceUid, BSTR* parentUid) noexcept {
  return Slot(Requires(), Outs(parentUid), [&]() -> HRESULT {
    const SlotAnswer& answer = Answer(StoreSlot::GetParentUid);
    if (sourceUid == nullptr && answer.testsInput) return E_POINTER;
    std::u16string parent;
    const HRESULT status =
        answer.isReal ? OnGetParent(std::u16string(View(sourceUid)), parent) : answer.stub;
    HandOut(parentUid, parent);
    return status;
  });
}

HRESULT StoreBase::GetSubUids(BSTR parentUid, IUnknown** ppIVariantList) noexcept {
  return Slot(Requires(parentUid), Outs(ppIVariantList), [&] {
    const SlotAnswer& answer = Answer(StoreSlot::GetSubUids);
    if (!answer.isReal) return answer.stub;
    ComPtr<IUnknown> list;
    const HRESULT status = OnGetChildren(std::u16string(View(parentUid)), list);
    HandOut(ppIVariantList, std::move(list));
    return status;
  });
}

HRESULT StoreBase::CachParseData(BSTR sourceParentUid, BSTR contexttype, IUnknown* cdata) noexcept {
  return Slot(Requires(contexttype, cdata), Outs(), [&] {
    cachedItem_.Reset();
    cachedItem_ = OnParse(Incoming(cdata, contexttype, sourceParentUid));
    return cachedItem_ ? S_OK : E_FAIL;
  });
}

HRESULT StoreBase::UnCachParseData() noexcept {
  cachedItem_.Reset();
  return S_OK;
}

HRESULT StoreBase::GetCachedParseData(IUnknown** ppIItemCommon) noexcept {
  return Slot(Requires(), Outs(ppIItemCommon), [&] { return HandOut(ppIItemCommon, cachedItem_); });
}

HRESULT StoreBase::SetOutlookMgr(IUnknown* pIOutlookMgr) noexcept {
  const SlotAnswer& answer = Answer(StoreSlot::SetOutlookMgr);
  if (!answer.isReal) return answer.stub;
  return Slot(Requires(pIOutlookMgr), Outs(), [&] {
    outlook_ = FromUnknownArgument(pIOutlookMgr);
    return S_OK;
  });
}

HRESULT StoreBase::ProcessConflictSubRecur(BSTR sourceOriginalUid, BSTR* matchSourceUid,
                                           BOOL* conflicted) noexcept {
  return Slot(Requires(sourceOriginalUid), Outs(matchSourceUid, conflicted), [&] {
    const SlotAnswer& slot = Answer(StoreSlot::ProcessConflictSubRecur);
    if (!slot.isReal) return slot.stub;
    OccurrenceAnswer answer;
    const HRESULT status = OnProcessOccurrence(std::u16string(View(sourceOriginalUid)), answer);
    HandOut(conflicted, ToBool(answer.conflicted));
    if (answer.sourceUid) HandOut(matchSourceUid, *answer.sourceUid);
    return status;
  });
}

HRESULT StoreBase::Initialize() noexcept {
  return Guarded([&] { return OnStatusInitialize(); });
}

HRESULT StoreBase::GetBackupStatusDB(IStatusDBItemTree** tree) noexcept {
  return Slot(Requires(), Outs(tree), [&] {
    ComPtr<IStatusDBItemTree> root;
    const HRESULT status = OnBackupTree(root);
    HandOut(tree, std::move(root));
    return status;
  });
}

HRESULT StoreBase::GetCurrentStatusDB(IStatusDBItemTree** tree) noexcept {
  return Slot(Requires(), Outs(tree), [&] {
    ComPtr<IStatusDBItemTree> root;
    const HRESULT status = OnCurrentTree(root);
    HandOut(tree, std::move(root));
    return status;
  });
}

HRESULT StoreBase::DeleteAllStatusBackupDB() noexcept {
  return Guarded([&] { return OnDeleteAllStatus(); });
}

HRESULT StoreBase::UpdateBackupStatusDB(STATUSDB_UPDATECMD cmd,
                                        IStatusDBItem* pIStatusDBItem) noexcept {
  return Slot(Requires(pIStatusDBItem), Outs(),
              [&] { return OnUpdateStatus(cmd, ReadStatusItem(*pIStatusDBItem)); });
}

HRESULT StoreBase::OnCheckBag() {
  return S_OK;
}

// A real operation that a store did not fill reaches no result.
HRESULT StoreBase::OnReplace(const std::u16string&, const IncomingText&) {
  return E_FAIL;
}
HRESULT StoreBase::OnDelete(const std::u16string&, bool) {
  return E_FAIL;
}
HRESULT StoreBase::OnGetAllUid(std::vector<std::u16string>&) {
  return E_FAIL;
}
HRESULT StoreBase::OnDeleteAll() {
  return E_FAIL;
}
HRESULT StoreBase::OnPrepareSlowSync() {
  return E_FAIL;
}
HRESULT StoreBase::OnProcessDuplication(const IncomingText&, DuplicateAnswer&) {
  return E_FAIL;
}
HRESULT StoreBase::OnProcessConflict(const IncomingText&, const std::u16string&,
                                     RESV_CONFLTLASTMODIFIED&) {
  return E_FAIL;
}
HRESULT StoreBase::OnSentCommand(SENTCMD_TYPE, const std::u16string&, std::u16string_view, bool) {
  return E_FAIL;
}
HRESULT StoreBase::OnIsFolder(const std::u16string&, bool&) {
  return E_FAIL;
}
HRESULT StoreBase::OnGetParent(const std::u16string&, std::u16string&) {
  return E_FAIL;
}
HRESULT StoreBase::OnGetChildren(const std::u16string&, ComPtr<IUnknown>&) {
  return E_FAIL;
}
HRESULT StoreBase::OnBackupTree(ComPtr<IStatusDBItemTree>&) {
  return E_FAIL;
}
HRESULT StoreBase::OnCurrentTree(ComPtr<IStatusDBItemTree>&) {
  return E_FAIL;
}
HRESULT StoreBase::OnDeleteAllStatus() {
  return E_FAIL;
}
HRESULT StoreBase::OnUpdateStatus(STATUSDB_UPDATECMD, const StatusRow&) {
  return E_FAIL;
}
// Without recurrence nothing conflicts, and the status part needs no preparation.
HRESULT StoreBase::OnProcessOccurrence(const std::u16string&, OccurrenceAnswer&) {
  return S_OK;
}
HRESULT StoreBase::OnStatusInitialize() {
  return S_OK;
}

}  // namespace qv
