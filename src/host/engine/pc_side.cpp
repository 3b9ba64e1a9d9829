#include "host/engine/pc_side.h"

#include "framework/class_table.h"
#include "host/engine/bookmark_text.h"
#include "host/engine/report_words.h"
#include "platform/com/lists.h"
#include "stores/bookmark/bookmark_tree_info.h"
#include "stores/bookmark/favorites_root.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/identifier_map.h"
#include "syncdb/status_class_ids.h"

namespace qv {
namespace {

// Why an item is none of the kind, as an event among the tasks; empty for one that is.
std::string MisfitOf(const StoreKind& kind, const ComPtr<IItemCommon>& item) {
  if (!item) return {};
  const StoreKind& itsKind = KindOf(kind, *item);
  if (&itsKind == &kind) return {};
  return "it belongs in the folder \"" + std::string(itsKind.name) + "\"";
}

std::string Key(const StoreKind& kind, std::string_view suffix) {
  return std::string(kind.configName) + std::string(suffix);
}

std::string ContentText(IUnknown* object) {
  const auto content = Query<IContentData>(object);
  int32_t length = 0;
  if (!content || Failed(content->GetLength(&length))) return {};
  std::string text(static_cast<size_t>(length), '\0');
  Check(content->GetText(text.data(), length));
  return text;
}

}  // namespace

std::vector<std::u16string> TextsOf(const ComPtr<IUnknown>& list) {
  std::vector<std::u16string> texts;
  const auto values = Query<IVarList>(list);
  int32_t count = 0;
  if (values) Check(values->Count(&count));
  for (int32_t i = 0; i < count; ++i) {
    Variant text;
    Check(values->Item(i, text.Out()));
    texts.emplace_back(text.view());
  }
  return texts;
}

PcSide::PcSide(Profile& profile) : profile_(profile) {
  // The database is the engine's: it keeps a hand on the object that the manager is about to make.
  ClassCreator real = RegisterClass(CLSID_DBAccessor, nullptr);
  if (real) {
    RegisterClass(CLSID_DBAccessor, [this, real] {
      const CreatedObject created = real();
      if (created.root != nullptr) {
        transaction_ = Query<IDBTransaction>(created.root->Inner());
        accessor_ = Query<IDBAccessor>(created.root->Inner());
      }
      return created;
    });
  }
  realAccessor_ = real;
  // So are the profile's items.
  struct Hook {
    ~Hook() { TheOutlookSettings().opened = nullptr; }
  };
  const Hook untilMade;
  TheOutlookSettings().opened = [this](OutlookManager& items) { items_ = &items; };
  const DatabaseReason reason;
  HRESULT status = E_FAIL;
  try {
    manager_ = CreateInstance<IDataStoreMgr>(ClassId(u"DataStoreManager"));
    status = manager_->Initialize(profile.bag());
  } catch (const StatusError& error) {
    status = error.status();
  }
  if (Failed(status)) {
    const std::string why = reason.Explain("the stores cannot be opened", status);
    RegisterClass(CLSID_DBAccessor, realAccessor_);
    ExplainStart(status, why);
  }
}

PcSide::~PcSide() {
  while (!open_.empty()) Rollback();
  RegisterClass(CLSID_DBAccessor, realAccessor_);
}

// The manager tells a status and no more; what it made before the failure tells the rest.
void PcSide::ExplainStart(HRESULT status, const std::string& reason) {
  for (const StoreKind* kind : profile_.EnabledKinds()) {
    const std::string clsid = profile_.Value(Key(*kind, ".CLSID"));
    const std::string key = "the key " + Key(*kind, ".CLSID") + " in qvsync.conf";
    CLSID parsed;
    if (status == DS_E_BAD_CLSID && Failed(CLSIDFromString(FromUtf8(clsid), &parsed))) {
      throw StoreFailure(key + " is no class identifier: \"" + clsid + "\"");
    }
    if (status == DS_E_NO_STORE_CLASS &&
        (Failed(CLSIDFromString(FromUtf8(clsid), &parsed)) || !IsClassRegistered(parsed))) {
      throw StoreFailure(key + " names no store class: " + clsid);
    }
    ComPtr<IDataStore> store;
    const Bstr uri(FromUtf8(profile_.Value(Key(*kind, ".SourceURI"))));
    const bool made = manager_ && Succeeded(manager_->GetDataStore(uri, store.Out())) && store;
    if (!made && status == E_FAIL) {
      throw StoreFailure("the store of " + std::string(kind->name) + " cannot be opened (" +
                         reason + "): the PC profile in " + profile_.PcFolder() +
                         " must be readable and hold the folder that " + Key(*kind, ".EntryId") +
                         " names");
    }
  }
  throw StoreFailure(reason);
}

void PcSide::SetTargetKey(const std::string& phoneId) {
  phoneId_ = phoneId;
  manager_->SetTargetKey(Bstr(FromUtf8(phoneId)));
}

SyncSession PcSide::Session(const StoreKind& kind, const std::string& phoneId) {
  SyncSession session;
  session.accessor = accessor_;
  if (accessor_) Check(accessor_->GetSessionId(&session.session));
  session.sourceUri = FromUtf8(profile_.Value(Key(kind, ".SourceURI")));
  session.targetKey = FromUtf8(phoneId);
  return session;
}

ComPtr<IDataStore> PcSide::Store(const StoreKind& kind) {
  const std::string uri = profile_.Value(Key(kind, ".SourceURI"));
  ComPtr<IDataStore> store;
  manager_->GetDataStore(Bstr(FromUtf8(uri)), store.Out());
  if (!store) {
    throw StoreFailure("no store answers to the key " + Key(kind, ".SourceURI") + " = " + uri);
  }
  return store;
}

bool PcSide::Begin(Extent extent) {
  if (!transaction_) return false;
  if (!open_.empty()) extent = open_.back();
  if (items_ == nullptr) extent = Extent::Notes;
  if (extent == Extent::NotesAndItems && Failed(items_->Begin())) {
    throw StoreFailure("the PC's items cannot be changed: " + items_->lastError());
  }
  open_.push_back(extent);
  const DatabaseReason reason;
  if (const HRESULT status = transaction_->Begin(); Failed(status)) {
    if (extent == Extent::NotesAndItems) items_->Rollback();
    open_.pop_back();
    throw StoreFailure(reason.Explain("the sync database is not free", status));
  }
  return true;
}

void PcSide::Commit() {
  const DatabaseReason reason;
  std::string why;
  // What was begun last of the items; once it is kept there is nothing of it to roll back.
  if (open_.back() == Extent::NotesAndItems) {
    if (Succeeded(items_->Commit())) {
      open_.back() = Extent::Notes;
    } else {
      why = "the PC's items cannot be written: " + items_->lastError();
    }
  }
  if (why.empty()) {
    const HRESULT status = transaction_->Commit();
    if (Failed(status)) why = reason.Explain("the sync database cannot be written", status);
  }
  if (!why.empty()) {
    Rollback();
    throw StoreFailure(why);
  }
  open_.pop_back();
}

void PcSide::Rollback() noexcept {
  transaction_->Rollback();
  if (open_.back() == Extent::NotesAndItems) items_->Rollback();
  open_.pop_back();
}

uint64_t StampOf(std::u16string_view md5) {
  return md5.empty() ? 0 : std::hash<std::u16string_view>()(md5) | 1;
}

std::u16string UidOf(IItemCommon& item) {
  Bstr uid;
  Check(item.get_ObjUid(uid.Out()));
  return uid.str();
}

PcStore::PcStore(PcSide& side, Profile& profile, const StoreKind& kind)
    : side_(side), kind_(kind), store_(side.Store(kind)), mimeType_(kind.mimeType) {
  status_ = Query<IStatusDB>(store_);
  if (!status_) throw StoreFailure("the store of " + std::string(kind.name) + " has no status");
  if (kind.isTree) tree_ = Query<IBookmarkTreeInfo>(store_);
  if (kind.isTree && !tree_) {
    throw StoreFailure("the store of " + std::string(kind.name) + " does not tell of its files");
  }
  const DatabaseReason reason;
  HRESULT status = status_->Initialize();
  try {
    converter_ = CreateInstance<IConverter>(kind.converter);
    if (Succeeded(status)) status = converter_->Initialize(profile.bag());
  } catch (const StatusError& error) {
    status = error.status();
  }
  if (Failed(status)) throw StoreFailure(reason.Explain("the store cannot be read", status));
  const std::string entry = profile.Value(std::string(kind.configName) + ".EntryId");
  source_ = kind.isTree ? RootFolder() : profile.Value("Outlook.CurProfileName") + "/" + entry;
}

std::string PcStore::MovedFrom(const std::string& before) const {
  const std::string items(kind_.items);
  return (kind_.isTree ? "the " + items + " of the PC are those of " + source_ +
                             " now; at the last sync they were those of " + before
                       : std::string(kind_.configName) +
                             ".EntryId names another folder than at the last sync") +
         ": nothing that is missing in it counts as deleted";
}

void PcStore::PrepareSlowSync() {
  const DatabaseReason reason;
  const HRESULT status = store_->PrepareSlowSync();
  if (Failed(status) && !IsSyncStopped()) {
    throw StoreFailure(reason.Explain("the PC's items cannot be listed", status));
  }
}

ComPtr<IContentData> PcStore::Content(std::string_view text) {
  auto content = CreateInstance<IContentData>(CLSID_ContentData);
  if (text.size() > INT32_MAX) throw ItemError("the text is too large");
  Check(content->SetText(text.data(), static_cast<int32_t>(text.size())));
  return content;
}

ComPtr<IItemCommon> PcStore::Parse(std::string_view text) {
  ComPtr<IUnknown> item;
  const HRESULT status = converter_->Parse(Content(text).get(), item.Out());
  if (Failed(status)) throw ItemError("the text cannot be read: " + StatusWords(status));
  auto parsed = Query<IItemCommon>(item);
  const std::string misfit = MisfitOf(kind_, parsed);
  if (!misfit.empty()) throw AlienItem(misfit);
  return parsed;
}

ComPtr<IItemCommon> PcStore::ParseAndMatch(std::string_view text, const PcPlace& place,
                                           Duplicate& duplicate) {
  const ComPtr<IContentData> content = Content(text);
  const DatabaseReason reason;
  const Bstr parent(place.parent);
  const Bstr& type = TypeOf(place);
  if (Failed(store_->CachParseData(parent, type, content.get()))) return nullptr;
  ComPtr<IUnknown> item;
  Bstr match;
  BOOL found = kFalse;
  HRESULT status = store_->GetCachedParseData(item.Out());
  auto parsed = Query<IItemCommon>(item);
  const std::string misfit = MisfitOf(kind_, parsed);
  if (Succeeded(status) && misfit.empty()) {
    status = store_->ProcessDuplication(parent, content.get(), type, match.Out(), &duplicate.winner,
                                        &found);
  }
  store_->UnCachParseData();  // `Add` would take what is kept for its own
  // Known even where noting the match has failed.
  if (found != kFalse) duplicate.sourceUid = match.str();
  if (Failed(status)) throw ItemError(reason.Explain("it cannot be looked up", status));
  if (!misfit.empty()) throw AlienItem(misfit);
  return parsed;
}

std::u16string PcStore::SameOccurrence(const std::u16string& seriesId, std::string_view text) {
  const DatabaseReason reason;
  if (Failed(store_->CachParseData(root_, mimeType_, Content(text).get()))) return {};
  Bstr match;
  BOOL conflicted = kFalse;
  const HRESULT status = store_->ProcessConflictSubRecur(Bstr(seriesId), match.Out(), &conflicted);
  store_->UnCachParseData();
  if (Failed(status)) throw ItemError(reason.Explain("its occurrence cannot be looked up", status));
  return conflicted != kFalse ? match.str() : std::u16string();
}

RESV_CONFLTLASTMODIFIED PcStore::WhoIsNewer(const std::u16string& id, std::string_view text) {
  // The stores look for an exception among the items of the folder, where it is not.
  if (IsSubItemId(id)) return RESV_CONFLTLASTMODIFIED_NONE;
  auto winner = RESV_CONFLTLASTMODIFIED_NONE;
  const DatabaseReason reason;
  const HRESULT status =
      store_->ProcessConflictLastModified(Content(text).get(), mimeType_, Bstr(id), &winner);
  if (Failed(status)) throw ItemError(reason.Explain("the conflict cannot be judged", status));
  return winner;
}

PcText PcStore::Get(const std::u16string& id, bool forPhone) {
  const DatabaseReason reason;
  Bstr type;
  Bstr parent;
  ComPtr<IUnknown> item;
  ComPtr<IUnknown> content;
  const HRESULT status =
      store_->Get(Bstr(id), ToBool(forPhone), type.Out(), parent.Out(), item.Out(), content.Out());
  if (Failed(status)) throw ItemError(reason.Explain("the PC cannot read it", status));
  PcText result{Query<IItemCommon>(item), ContentText(content.get())};
  if (!result.item || result.text.empty()) {
    throw ItemError("no text came out; the key " + Key(kind_, ".MimeType") + " must be " +
                    ToUtf8(kind_.mimeType));
  }
  return result;
}

std::u16string PcStore::Add(std::string_view text, const PcPlace& place) {
  const DatabaseReason reason;
  Bstr id;
  const HRESULT status =
      store_->Add(Content(text).get(), TypeOf(place), Bstr(place.parent), id.Out());
  if (Failed(status)) throw ItemError(reason.Explain(Refused(text), status));
  return id.str();
}

// What may be wrong with a text that the store has refused.
std::string PcStore::Refused(std::string_view text) {
  if (kind_.isTree)
    return "the PC cannot take it (its name or the path of its folder may be too long)";
  const auto calendar = Query<ICalendarItem>(Parse(text));
  Bstr series;
  if (calendar) Check(calendar->get_ParentRecurUid(series.Out()));
  if (series.view().empty()) return "the PC cannot take it";
  return "the PC cannot take it: it is an exception of the series " + ToUtf8(series.view()) +
         (HasSeries(series.str())
              ? ", which has another one of the same occurrence there; remove one of the two"
              : ", which is not there; bring the series too, or remove this file");
}

// As the store looks for it.
bool PcStore::HasSeries(const std::u16string& uid) {
  const SyncSession session = SessionOf(side_.phoneId());
  std::u16string id;
  if (Failed(IdentifierMap(session).FindByUid(uid, id)) || id.empty()) {
    return false;
  }
  try {
    Get(id, false);
    return true;
  } catch (const ItemError&) {
    return false;
  }
}

void PcStore::Replace(const std::u16string& id, std::string_view text, const PcPlace& place) {
  const DatabaseReason reason;
  Bstr fields;
  const HRESULT status = store_->Replace(Bstr(id), Content(text).get(), TypeOf(place), kFalse,
                                         Bstr(place.parent), fields.Out());
  if (Failed(status)) throw ItemError(reason.Explain(Refused(text), status));
}

void PcStore::Delete(const std::u16string& id) {
  const DatabaseReason reason;
  const HRESULT status = store_->Delete(Bstr(id), kFalse);
  if (Failed(status)) throw ItemError(reason.Explain("the PC cannot delete it", status));
}

void PcStore::Sent(SENTCMD_TYPE command, const std::u16string& id) {
  const DatabaseReason reason;
  const HRESULT status = store_->OnProcesseSentCmdSuccess(command, Bstr(id), root_, kFalse);
  if (Failed(status)) throw ItemError(reason.Explain("it cannot be noted as sent", status));
}

// The store's note of an exception has no hash, and one that changes twice in a second would look
// unchanged.
void PcStore::Sent(SENTCMD_TYPE command, const PcItem& item) {
  if (kind_.isTree) {
    const DatabaseReason reason;
    const HRESULT status = store_->OnProcesseSentCmdSuccess(
        command, Bstr(item.id), Bstr(item.parent), ToBool(item.isFolder));
    if (Failed(status)) throw ItemError(reason.Explain("it cannot be noted as sent", status));
    return;
  }
  Sent(command, item.id);
  if (IsSubItemId(item.id)) UpdateStatus(STATDBUPDATE_REPL, item.id, {}, item.modified, item.md5);
}

void PcStore::UpdateStatus(STATUSDB_UPDATECMD command, const std::u16string& id,
                           const PcPlace& place, DATE modified, const std::u16string& md5) {
  const DatabaseReason reason;
  const auto item = CreateInstance<IStatusDBItem>(CLSID_StatusDBItem);
  Check(item->put_sourceUid(Bstr(id)));
  Check(item->put_parentUid(Bstr(place.parent)));
  Check(item->put_IsFolder(ToBool(place.isFolder)));
  Check(item->put_modified(modified));
  if (!md5.empty()) Check(item->put_md5(Bstr(md5)));
  const HRESULT status = status_->UpdateBackupStatusDB(command, item.get());
  if (Failed(status)) throw ItemError(reason.Explain("its state cannot be noted", status));
}

void PcStore::NotOnPhone(const std::u16string& id) {
  UpdateStatus(STATDBUPDATE_DEL, id);
}

// A row without a time is like no item.
void PcStore::MarkPending(const std::u16string& id, const PcPlace& place) {
  UpdateStatus(STATDBUPDATE_REPL, id, place);
}

void PcStore::AdoptUid(const std::u16string& id, const std::u16string& uid) {
  const PcText current = Get(id, false);
  Check(current.item->put_ObjUid(Bstr(uid)));
  Replace(id, Write(current.item.get()));
}

void PcStore::RequireDatabase() {
  const DatabaseReason reason;
  // An item that nobody has: each table is asked, none is changed.
  const HRESULT status = store_->OnProcesseSentCmdSuccess(SENTCMD_DEL, Bstr(u"-"), root_, kFalse);
  if (Failed(status)) throw StoreFailure(reason.Explain("the sync database fails", status));
}

void PcStore::Settle() {
  const auto tree = Query<IBookmarkTreeInfo>(store_);
  if (!tree || Succeeded(tree->Settle())) return;
  throw StoreFailure("what was changed in the folder of the " + std::string(kind_.items) +
                     " cannot be brought to disk");
}

std::string PcStore::Write(IItemCommon* item) {
  ComPtr<IUnknown> content;
  Check(converter_->Serialize(item, content.Out()));
  return ContentText(content.get());
}

}  // namespace qv
