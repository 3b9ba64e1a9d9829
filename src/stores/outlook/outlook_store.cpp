#include "stores/outlook/outlook_store.h"

#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/system/debug_log.h"
#include "stores/duplicates.h"
#include "stores/outlook/recurrence_index.h"
#include "stores/winner.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"

namespace qv {
namespace {

// Null and empty are the same parent: the root.
std::u16string_view NormaliseParent(std::u16string_view parent) {
  return parent.empty() ? kRootParent : parent;
}

ItemFields& Fields(const ComPtr<IItemCommon>& item) {
  ItemFields* fields = FieldsOf(item.get());
  if (fields == nullptr) throw StatusError(E_FAIL);
  return *fields;
}

Contact& AsContact(IUnknown* item) {
  Contact* contact = ContactOf(item);
  if (contact == nullptr) throw StatusError(E_FAIL);
  return *contact;
}

}  // namespace

OutlookStore::OutlookStore(const OutlookTraits& traits)
    : StoreBase(traits.identity), traits_(traits) {
  if (traits.filter == nullptr) return;
  const auto read = [this](const std::u16string& id, ComPtr<IItemCommon>& item) {
    return Outlook().GetItem(traits_.kind, id, item);
  };
  filter_ =
      std::make_unique<ItemFilter>(*static_cast<IDataStore*>(this), config(), traits.filter, read);
}

IUnknown* OutlookStore::FindInterface(const IID& iid) noexcept {
  if (filter_ && iid == IDataStoreFilter::kIid) return filter_.get();
  return StoreBase::FindInterface(iid);
}

OutlookManager& OutlookStore::Outlook() const {
  if (outlook() == nullptr || !isInitialized()) throw StatusError(E_FAIL);
  return *outlook();
}

FolderItems& OutlookStore::Items() const {
  if (!items_) throw StatusError(E_FAIL);
  return *items_;
}

bool OutlookStore::OpenOutlook() {
  if (outlook() == nullptr) return false;
  OutlookManager& manager = *outlook();
  if (manager.isInitialized()) return true;  // another store was here first
  if (!OutlookManager::isOutlookInstalled() || !OutlookManager::isOutlookValid()) return false;
  return manager.initialize(ReadConfigText(bag(), u"Outlook.CurProfileName")) != 0;
}

HRESULT OutlookStore::OnInitialize() {
  converter_ = CreateInstance<IConverter>(traits_.converter);
  Check(converter_->Initialize(bag()));
  if (!OpenOutlook()) return E_FAIL;
  folder_ = ConfigText(&IDataStoreConfig::get_EntryId);
  int exists = 0;
  if (!folder_.empty()) outlook()->IsFolderExist(traits_.kind, folder_, &exists);
  if (!exists) {
    OutputDebugStringW(Concat({traits_.logTag, u" Folder Not Exist"}));
    return E_FAIL;
  }
  items_ = MakeFolderItems();
  return S_OK;
}

std::unique_ptr<FolderItems> OutlookStore::MakeFolderItems() {
  if (!traits_.recurs) return std::make_unique<FolderItems>(*outlook(), traits_.kind, folder_);
  return std::make_unique<RecurrenceIndex>(*outlook(), traits_.kind, folder_, session(), map_);
}

ComPtr<IItemCommon> OutlookStore::OnParse(const IncomingText& text) {
  if (!converter_) return nullptr;
  return ReadTyped(traits_.textTypes, text.mimeType, *converter_, text.cdata);
}

HRESULT OutlookStore::WriteStatus(STATUSDB_UPDATECMD command, StoredItem stored,
                                  std::u16string_view parent, bool isFolder) {
  if (stored.modified == 0.0) Check(Items().ReadTimes(stored.id, stored));
  return OnUpdateStatus(command, {std::move(stored.id), std::u16string(parent), stored.modified,
                                  isFolder, std::move(stored.md5)});
}

HRESULT OutlookStore::RefreshSeries(const StoredItem& exception, std::u16string_view parent,
                                    std::u16string_view md5) {
  OLMetaData series;
  Check(Outlook().GetMetaData(traits_.kind, exception.seriesId, series));
  return OnUpdateStatus(STATDBUPDATE_REPL, {exception.seriesId, std::u16string(parent),
                                            series.modified, false, std::u16string(md5)});
}

HRESULT OutlookStore::RefreshExceptions(const std::u16string& seriesId) {
  std::vector<OLSubMetaData> datas;
  Check(Items().ChangedExceptions(seriesId, datas));
  for (OLSubMetaData& data : datas) {
    Check(OnUpdateStatus(STATDBUPDATE_REPL, {std::move(data.id), std::u16string(kRootParent),
                                             data.modified, false, std::move(data.md5)}));
  }
  return S_OK;
}

HRESULT OutlookStore::WriteSideRows(const std::u16string& sourceUid, IUnknown* item, bool replace) {
  const ItemFields& fields = *FieldsOf(item);
  if (replace || !fields.extras.empty()) {
    Check(sides_.WriteExtras(sourceUid, fields.extras, replace));
  }
  if (!traits_.hasHiddenLabels) return S_OK;
  const Contact& contact = AsContact(item);
  if (!replace && contact.hidden.empty()) return S_OK;
  return sides_.WriteHidden(sourceUid, contact.hidden, replace);
}

HRESULT OutlookStore::ReadSideRows(const std::u16string& sourceUid, IUnknown* item) {
  Check(sides_.ReadExtras(sourceUid, FieldsOf(item)->extras));
  return traits_.hasHiddenLabels ? sides_.ReadHidden(sourceUid, AsContact(item)) : S_OK;
}

HRESULT OutlookStore::OnAdd(const IncomingText& text, std::u16string& sourceUid) {
  if (text.IsFolderDocument()) return E_FAIL;
  const ComPtr<IItemCommon> item = cachedItem() ? cachedItem() : OnParse(text);
  if (!item) return E_FAIL;
  const ItemFields& fields = Fields(item);
  StoredItem stored;
  Check(Items().Create(item, stored));
  sourceUid = stored.id;
  if (!fields.objUid.empty()) Check(map_.Insert(sourceUid, fields.objUid, fields.objModified));
  const std::u16string_view parent = NormaliseParent(text.parent);
  Check(WriteStatus(STATDBUPDATE_ADD, stored, parent, false));
  // The hash is the exception's, deliberately.
  if (!stored.seriesId.empty()) Check(RefreshSeries(stored, parent, stored.md5));
  return WriteSideRows(sourceUid, item.get(), false);
}

HRESULT OutlookStore::OnReplace(const std::u16string& sourceUid, const IncomingText& text) {
  if (text.IsFolderDocument()) return E_FAIL;
  const ComPtr<IItemCommon> item = OnParse(text);
  if (!item) return E_FAIL;
  const ItemFields& fields = Fields(item);
  StoredItem stored;
  Check(Items().Update(sourceUid, item, stored));
  if (!fields.objUid.empty()) Check(map_.Update(sourceUid, fields.objUid, fields.objModified));
  const std::u16string_view parent = NormaliseParent(text.parent);
  Check(WriteStatus(STATDBUPDATE_REPL, stored, parent, false));
  Check(stored.seriesId.empty() ? RefreshExceptions(sourceUid)
                                : RefreshSeries(stored, parent, u""));
  return WriteSideRows(sourceUid, item.get(), true);
}

HRESULT OutlookStore::OnDelete(const std::u16string& sourceUid, bool softDelete) {
  if (softDelete && traits_.softDeleteRefused) return E_FAIL;
  bool existed = false;
  Check(Items().Delete(sourceUid, existed));
  const auto row = [this](HRESULT status) {
    return traits_.rowFailureEndsDelete ? Check(status) : status;
  };
  row(map_.Delete(sourceUid));
  StatusRow gone;
  gone.sourceUid = sourceUid;
  row(OnUpdateStatus(STATDBUPDATE_DEL, gone));
  HRESULT result = row(sides_.DeleteExtras(sourceUid));
  if (traits_.hasHiddenLabels) result = row(sides_.DeleteHidden(sourceUid));
  return existed ? result : DS_S_ALREADY_GONE;
}

HRESULT OutlookStore::OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) {
  ComPtr<IItemCommon> item;
  HRESULT status = Items().Read(sourceUid, item);
  if (!item) return Failed(status) ? status : E_FAIL;
  ItemFields& fields = Fields(item);
  status = map_.ReadOrCreate(sourceUid, fields);
  if (Succeeded(status) && updateField) {
    fields.objModified = fields.modified;
    status = map_.Update(sourceUid, fields.objUid, fields.objModified);
  }
  out.parent = NormaliseParent(fields.parentUid);
  if (Failed(status)) return status;
  Check(ReadSideRows(sourceUid, item.get()));
  const std::u16string configured = ConfigText(&IDataStoreConfig::get_MimeType);
  const TextType* type = FindOutgoing(traits_.textTypes, configured);
  if (type == nullptr) return traits_.noOutputResult;
  out.cdata = WriteTyped(*type, *converter_, item.get());
  out.mimeType = configured;
  out.item = item;
  return S_OK;
}

HRESULT OutlookStore::OnGetAllUid(std::vector<std::u16string>& uids) {
  return Items().ListIds(uids);
}

HRESULT OutlookStore::OnDeleteAll() {
  std::vector<std::u16string> ids;
  Check(Outlook().GetEntryIds(traits_.kind, folder_, ids));
  for (const std::u16string& id : ids) Check(Outlook().DeleteItem(traits_.kind, id));
  Check(map_.DeleteAll());
  const HRESULT extras = Check(sides_.DeleteAllExtras());
  return traits_.hasHiddenLabels ? sides_.DeleteAllHidden() : extras;
}

// E_FAIL for whatever keeps the class from being made.
ComPtr<IItemCommon> OutlookStore::NewItem() const {
  ComPtr<IItemCommon> item;
  if (Failed(CoCreateInstance(traits_.itemClass, nullptr, CLSCTX_ALL, IItemCommon::kIid,
                              reinterpret_cast<void**>(item.Out())))) {
    throw StatusError(E_FAIL);
  }
  return item;
}

HRESULT OutlookStore::OnPrepareSlowSync() {
  keyFields_.Clear();
  std::vector<OLMetaData> datas;
  Check(Items().List(datas, 1));
  if (datas.empty() && traits_.emptyFolderEndsSlowSync) return S_OK;
  IdentifierMap::Rows known;
  Check(map_.Load(known));
  std::vector<NewMapRow> unknown;
  for (OLMetaData& data : datas) {
    if (IsSyncStopped()) return E_FAIL;
    const ComPtr<IItemCommon> item = NewItem();
    ItemFields& fields = Fields(item);
    fields.modified = LocalToUtc(data.modified, true).value;
    fields.md5 = std::move(data.md5);
    fields.keyFields = std::move(data.keyText);
    if (const auto row = known.find(data.entryId); row != known.end()) {
      fields.objUid = row->second.objUid;
      fields.objModified = row->second.objModified;
    } else {
      fields.objUid = MakeGuidText();
      // The item's own time goes in unconverted, only the present is turned into UTC.
      fields.objModified =
          data.modified > 0.0 ? data.modified : LocalToUtc(GetCurrentDateTime(), true).value;
      unknown.push_back({data.entryId, {fields.objUid, fields.objModified}});
    }
    fields.sourceUid = std::move(data.entryId);
    keyFields_.Add(item);
  }
  return map_.InsertBatch(unknown);
}

HRESULT OutlookStore::OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) {
  if (keyFields_.IsEmpty()) return S_OK;
  HRESULT result = E_FAIL;
  ComPtr<IItemCommon> item;
  if (!text.IsFolderDocument()) {
    result = Guarded([&] {
      item = cachedItem() ? cachedItem() : OnParse(text);
      return item ? S_OK : E_FAIL;
    });
  }
  if (item) {
    if (IsSyncStopped()) return E_FAIL;
    result = FindDuplicate(item, text.parent, answer);
  }
  if (!traits_.duplicationEnd.empty()) OutputDebugStringW(traits_.duplicationEnd);
  return result;
}

// Throws what keeps the walk from its end.
HRESULT OutlookStore::FindDuplicate(const ComPtr<IItemCommon>& item, std::u16string_view parent,
                                    DuplicateAnswer& answer) {
  ItemFields& incoming = Fields(item);
  if (traits_.keyText != nullptr) incoming.keyFields = traits_.keyText(item.get());
  return MatchIncoming(
      keyFields_, incoming, NormaliseParent(parent),
      [this](const StatusRow& row) { return OnUpdateStatus(STATDBUPDATE_ADD, row); }, answer);
}

HRESULT OutlookStore::OnProcessConflict(const IncomingText& text, const std::u16string& sourceUid,
                                        RESV_CONFLTLASTMODIFIED& outcome) {
  if (text.IsFolderDocument()) return S_OK;
  const ComPtr<IItemCommon> item = OnParse(text);
  if (!item) return E_FAIL;
  OLMetaData data;
  Check(Outlook().GetMetaData(traits_.kind, sourceUid, data));
  const DATE local = LocalToUtc(data.modified, true).value;
  outcome = NewerSide(local, Fields(item).objModified).value_or(RESV_CONFLTLASTMODIFIED_NONE);
  return S_OK;
}

HRESULT OutlookStore::DeleteSideRows(const std::u16string& sourceUid) {
  Check(map_.Delete(sourceUid));
  const HRESULT extras = Check(sides_.DeleteExtras(sourceUid));
  return traits_.hasHiddenLabels ? sides_.DeleteHidden(sourceUid) : extras;
}

HRESULT OutlookStore::OnProcessOccurrence(const std::u16string& seriesId,
                                          OccurrenceAnswer& answer) {
  if (!traits_.recurs) return S_OK;
  if (!cachedItem()) return E_FAIL;
  const HRESULT status = Items().FindSameOccurrence(seriesId, cachedItem().get(), answer.sourceUid);
  answer.conflicted = answer.sourceUid.has_value();
  return status;
}

HRESULT OutlookStore::OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                                    std::u16string_view parent, bool isFolder) {
  switch (command) {
    case SENTCMD_ADD:
      return WriteStatus(STATDBUPDATE_ADD, {.id = sourceUid}, NormaliseParent(parent), isFolder);
    case SENTCMD_REPL:
    case SENTCMD_MOVE:
      return WriteStatus(STATDBUPDATE_REPL, {.id = sourceUid}, NormaliseParent(parent), isFolder);
    case SENTCMD_DEL: {
      StatusRow gone;
      gone.sourceUid = sourceUid;
      Check(OnUpdateStatus(STATDBUPDATE_DEL, gone));
      return DeleteSideRows(sourceUid);
    }
    case SENTCMD_EXEC:
      break;
  }
  return E_FAIL;
}

HRESULT OutlookStore::OnStatusInitialize() {
  return items_ ? items_->BeginSession() : S_OK;
}

HRESULT OutlookStore::OnBackupTree(ComPtr<IStatusDBItemTree>& root) {
  return status_.ReadTree(skipsFolderRows(), root);
}

HRESULT OutlookStore::OnCurrentTree(ComPtr<IStatusDBItemTree>& root) {
  auto tree = MakeStatusRoot();
  std::vector<OLMetaData> datas;
  Check(Items().List(datas, 0));
  if (!datas.empty()) {
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    for (OLMetaData& data : datas) {
      bool included = true;
      if (filter_) filter_->Includes(data.entryId, included);
      if (!included) continue;
      Check(list->Add(MakeStatusNode({std::move(data.entryId), std::u16string(kRootParent),
                                      data.modified, false, std::move(data.md5)})
                          .get()));
    }
    Check(tree->put_SubItemTree(list.get()));
  }
  root = std::move(tree);
  return S_OK;
}

HRESULT OutlookStore::OnDeleteAllStatus() {
  Check(status_.DeleteAll());
  std::vector<std::u16string> ids;
  Check(Items().ListIds(ids));
  const AliveSet alive(ids.begin(), ids.end());
  Check(PurgeTable(session(), DatastoreType::Outlook, kDataStoreMap, alive));
  const HRESULT extras = Check(PurgeTable(session(), DatastoreType::Outlook, kExtraTable, alive));
  if (!traits_.hasHiddenLabels) return extras;
  return PurgeTable(session(), DatastoreType::Outlook, kHiddenTable, alive);
}

HRESULT OutlookStore::OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) {
  return status_.Update(command, row);
}

}  // namespace qv
