#include "stores/addressbook/address_book_store.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "items/key_text.h"
#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/com/lists.h"
#include "platform/system/debug_log.h"
#include "platform/system/shell_folders.h"
#include "stores/addressbook/unheld_values.h"
#include "stores/duplicates.h"
#include "stores/text_types.h"
#include "stores/winner.h"
#include "support/date_time.h"
#include "support/user_flags.h"
#include "syncdb/purge.h"

namespace qv {
namespace {

const Contact& AsContact(const ComPtr<IItemCommon>& item) {
  const Contact* contact = item ? ContactOf(item.get()) : nullptr;
  if (contact == nullptr) throw StatusError(E_FAIL);
  return *contact;
}

DATE UtcOf(DATE local) {
  return local == 0.0 ? 0.0 : LocalToUtc(local, true).value;
}

// The rows of a status tree by identifier.
std::unordered_map<std::u16string, StatusRow> RowsOf(IStatusDBItemTree& root) {
  std::unordered_map<std::u16string, StatusRow> rows;
  ComPtr<IUnknown> children;
  Check(root.get_SubItemTree(children.Out()));
  const auto list = Query<IUnkList>(children);
  int32_t count = 0;
  if (list) Check(list->Count(&count));
  for (int32_t i = 0; i < count; ++i) {
    ComPtr<IUnknown> child;
    Check(list->Item(i, child.Out()));
    ComPtr<IStatusDBItem> item;
    Check(Query<IStatusDBItemTree>(child)->get_Item(item.Out()));
    StatusRow row = ReadStatusItem(*item);
    std::u16string id = row.sourceUid;
    rows.emplace(std::move(id), std::move(row));
  }
  return rows;
}

}  // namespace

AddressBookStore::AddressBookStore(const AddressBookTraits& traits,
                                   std::unique_ptr<AddressBook> book)
    : StoreBase(traits.identity), traits_(traits), book_(std::move(book)) {}

HRESULT AddressBookStore::OnCheckBag() {
  if (traits_.isOfVersion(OsMajorVersion())) return S_OK;
  OutputDebugStringW(traits_.otherVersion);
  return E_FAIL;
}

HRESULT AddressBookStore::OnInitialize() {
  converter_ = CreateInstance<IConverter>(CLSID_VCardConverter);
  Check(converter_->Initialize(bag()));
  book_->Open();
  return S_OK;
}

ComPtr<IItemCommon> AddressBookStore::OnParse(const IncomingText& text) {
  if (!converter_) return nullptr;
  return ReadTyped(kAddressBookTypes, text.mimeType, *converter_, text.cdata);
}

std::u16string AddressBookStore::EntryOf(const std::u16string& sourceUid) {
  std::u16string entry;
  if (!sourceUid.empty()) Check(map_.EntryOf(sourceUid, entry));
  if (entry.empty()) throw StatusError(E_FAIL);
  return entry;
}

std::u16string AddressBookStore::IdOf(const AddressBook::Entry& entry) {
  std::u16string id = map_.IdOf(entry.id);
  if (id.empty()) Check(map_.Insert(entry.id, {MakeGuidText(), UtcOf(entry.modified)}, id));
  return id;
}

HRESULT AddressBookStore::WriteStatus(STATUSDB_UPDATECMD command, const std::u16string& sourceUid,
                                      const std::u16string& entry) {
  AddressBook::Entry found;
  if (!book_->Find(entry, found)) return E_FAIL;
  return OnUpdateStatus(command,
                        {sourceUid, std::u16string(kRootParent), found.modified, false, {}});
}

HRESULT AddressBookStore::WriteSideRows(const std::u16string& sourceUid, Contact& contact,
                                        const ContactContent& held, bool replace) {
  MoveUnheldToExtras(contact, held);
  if (replace || !contact.fields.extras.empty()) {
    Check(sides_.WriteExtras(sourceUid, contact.fields.extras, replace));
  }
  if (!replace && contact.hidden.empty()) return S_OK;
  return sides_.WriteHidden(sourceUid, contact.hidden, replace);
}

HRESULT AddressBookStore::OnAdd(const IncomingText& text, std::u16string& sourceUid) {
  if (text.IsFolderDocument()) return E_FAIL;
  // What becomes of it here is not for the caller's item.
  Contact contact = AsContact(cachedItem() ? cachedItem() : OnParse(text));
  if (!book_->Takes(contact)) return E_FAIL;
  Normalize(contact);
  ContactContent held;
  const std::u16string entry = book_->Create(contact, held);
  Check(map_.Insert(entry, {contact.fields.objUid, contact.fields.objModified}, sourceUid));
  Check(WriteStatus(STATDBUPDATE_ADD, sourceUid, entry));
  return WriteSideRows(sourceUid, contact, held, false);
}

HRESULT AddressBookStore::OnReplace(const std::u16string& sourceUid, const IncomingText& text) {
  if (text.IsFolderDocument()) return E_FAIL;
  Contact contact = AsContact(OnParse(text));
  Normalize(contact);
  const std::u16string entry = EntryOf(sourceUid);
  std::vector<ExtraProperty> rows;
  Check(sides_.ReadExtras(sourceUid, rows));
  ContactContent held;
  book_->Update(entry, contact, UnheldIn(rows), held);
  if (!contact.fields.objUid.empty()) {
    Check(map_.identities().Write(sourceUid, {contact.fields.objUid, contact.fields.objModified}));
  }
  Check(WriteStatus(STATDBUPDATE_REPL, sourceUid, entry));
  return WriteSideRows(sourceUid, contact, held, true);
}

HRESULT AddressBookStore::DeleteRows(const std::u16string& sourceUid) {
  StatusRow gone;
  gone.sourceUid = sourceUid;
  Check(OnUpdateStatus(STATDBUPDATE_DEL, gone));
  Check(sides_.DeleteExtras(sourceUid));
  return sides_.DeleteHidden(sourceUid);
}

HRESULT AddressBookStore::OnDelete(const std::u16string& sourceUid, bool) {
  std::u16string entry;
  if (!sourceUid.empty()) Check(map_.EntryOf(sourceUid, entry));
  const bool existed = !entry.empty() && book_->Delete(entry);
  if (!entry.empty()) book_->Forget(entry);
  Check(map_.Delete(sourceUid));
  Check(DeleteRows(sourceUid));
  return existed ? S_OK : DS_S_ALREADY_GONE;
}

HRESULT AddressBookStore::OnGet(const std::u16string& sourceUid, bool updateField,
                                OutgoingItem& out) {
  const std::u16string entry = EntryOf(sourceUid);
  AddressBook::Entry found;
  const auto item = CreateInstance<IItemCommon>(CLSID_ContactItem);
  Contact& contact = *ContactOf(item.get());
  if (!book_->Read(entry, contact) || !book_->Find(entry, found)) return E_FAIL;
  ItemFields& fields = contact.fields;
  fields.sourceUid = sourceUid;
  fields.parentUid = std::u16string(kRootParent);
  fields.modified = UtcOf(found.modified);
  RowIdentity identity;
  Check(map_.identities().Read(sourceUid, identity));
  if (updateField) {
    identity.objModified = fields.modified;
    Check(map_.identities().Write(sourceUid, identity));
  }
  fields.objUid = std::move(identity.objUid);
  fields.objModified = identity.objModified;
  out.parent = std::u16string(kRootParent);
  Check(sides_.ReadExtras(sourceUid, fields.extras));
  Check(sides_.ReadHidden(sourceUid, contact));
  TakeUnheldFromExtras(contact);
  const std::u16string configured = ConfigText(&IDataStoreConfig::get_MimeType);
  const TextType* type = FindOutgoing(kAddressBookTypes, configured);
  if (type == nullptr) return S_OK;
  out.cdata = WriteTyped(*type, *converter_, item.get());
  out.mimeType = configured;
  out.item = item;
  return S_OK;
}

HRESULT AddressBookStore::OnGetAllUid(std::vector<std::u16string>& uids) {
  Check(map_.Load());
  std::vector<AddressBook::Entry> entries;
  book_->List(entries);
  std::unordered_set<std::u16string> there;
  for (AddressBook::Entry& entry : entries) there.insert(std::move(entry.id));
  for (const auto& [number, entry] : map_.entries()) {
    if (there.contains(entry)) uids.push_back(Decimal(number));
  }
  return S_OK;
}

HRESULT AddressBookStore::OnDeleteAll() {
  book_->DeleteAll();
  Check(map_.DeleteAll());
  Check(sides_.DeleteAllExtras());
  return sides_.DeleteAllHidden();
}

HRESULT AddressBookStore::OnPrepareSlowSync() {
  keyFields_.Clear();
  std::vector<AddressBook::Entry> entries;
  book_->List(entries);
  for (const AddressBook::Entry& entry : entries) {
    if (IsSyncStopped()) return E_FAIL;
    if (!entry.isReadable) continue;
    const auto item = CreateInstance<IItemCommon>(CLSID_ContactItem);
    Contact& contact = *ContactOf(item.get());
    if (!book_->ReadKeyValues(entry.id, contact)) continue;
    ItemFields& fields = contact.fields;
    fields.sourceUid = IdOf(entry);
    fields.modified = UtcOf(entry.modified);
    fields.keyFields = MakeContactKey(contact);
    RowIdentity identity;
    Check(map_.identities().Read(fields.sourceUid, identity));
    fields.objUid = std::move(identity.objUid);
    fields.objModified = identity.objModified;
    keyFields_.Add(item);
  }
  return S_OK;
}

HRESULT AddressBookStore::OnProcessDuplication(const IncomingText& text, DuplicateAnswer& answer) {
  if (keyFields_.IsEmpty()) return S_OK;
  if (text.IsFolderDocument()) return E_FAIL;
  const ComPtr<IItemCommon> item = cachedItem() ? cachedItem() : OnParse(text);
  const Contact& contact = AsContact(item);
  if (IsSyncStopped()) return E_FAIL;
  // Of the values that the book would have of it: those of an entry are no others.
  FieldsOf(item.get())->keyFields = MakeContactKey(book_->Preview(contact));
  // The time is that of the entry: turned into UTC and back it would be another in some hours.
  return MatchIncoming(
      keyFields_, contact.fields, kRootParent,
      [this](const StatusRow& row) {
        return WriteStatus(STATDBUPDATE_ADD, row.sourceUid, EntryOf(row.sourceUid));
      },
      answer);
}

HRESULT AddressBookStore::OnProcessConflict(const IncomingText& text,
                                            const std::u16string& sourceUid,
                                            RESV_CONFLTLASTMODIFIED& outcome) {
  if (text.IsFolderDocument()) return S_OK;
  const Contact& contact = AsContact(OnParse(text));
  AddressBook::Entry entry;
  if (!book_->Find(EntryOf(sourceUid), entry)) return E_FAIL;
  outcome = NewerSide(UtcOf(entry.modified), contact.fields.objModified)
                .value_or(RESV_CONFLTLASTMODIFIED_NONE);
  return S_OK;
}

HRESULT AddressBookStore::OnSentCommand(SENTCMD_TYPE command, const std::u16string& sourceUid,
                                        std::u16string_view, bool) {
  switch (command) {
    case SENTCMD_ADD:
      return WriteStatus(STATDBUPDATE_ADD, sourceUid, EntryOf(sourceUid));
    case SENTCMD_REPL:
    case SENTCMD_MOVE:
      return WriteStatus(STATDBUPDATE_REPL, sourceUid, EntryOf(sourceUid));
    case SENTCMD_DEL: {
      std::u16string entry;
      Check(map_.EntryOf(sourceUid, entry));
      if (!entry.empty()) book_->Forget(entry);
      Check(map_.Delete(sourceUid));
      return DeleteRows(sourceUid);
    }
    case SENTCMD_EXEC:
      break;
  }
  return E_FAIL;
}

HRESULT AddressBookStore::OnGetParent(const std::u16string&, std::u16string& parent) {
  parent = std::u16string(kRootParent);
  return S_OK;
}

HRESULT AddressBookStore::OnStatusInitialize() {
  Check(map_.Load());
  std::vector<AddressBook::Entry> entries;
  book_->List(entries);
  for (const AddressBook::Entry& entry : entries) {
    if (IsSyncStopped()) return E_FAIL;
    IdOf(entry);
  }
  statusReady_ = true;
  return S_OK;
}

HRESULT AddressBookStore::OnBackupTree(ComPtr<IStatusDBItemTree>& root) {
  return status_.ReadTree(skipsFolderRows(), root);
}

HRESULT AddressBookStore::OnCurrentTree(ComPtr<IStatusDBItemTree>& root) {
  if (!statusReady_) return E_FAIL;
  std::vector<AddressBook::Entry> entries;
  const bool seesAll = book_->List(entries);
  // Nobody may take for gone or for changed what is there and cannot be read: it is as it was.
  std::unordered_map<std::u16string, StatusRow> before;
  const auto isHidden = [](const AddressBook::Entry& entry) { return !entry.isReadable; };
  if (!seesAll || std::ranges::any_of(entries, isHidden)) {
    ComPtr<IStatusDBItemTree> backup;
    Check(status_.ReadTree(skipsFolderRows(), backup));
    before = RowsOf(*backup);
  }
  std::vector<StatusRow> rows;
  rows.reserve(entries.size());
  for (const AddressBook::Entry& entry : entries) {
    StatusRow row{IdOf(entry), std::u16string(kRootParent), entry.modified, false, {}};
    const auto known = before.find(row.sourceUid);
    if (!entry.isReadable) {
      if (known == before.end()) continue;
      row.modified = known->second.modified;
    }
    if (known != before.end()) before.erase(known);
    rows.push_back(std::move(row));
  }
  if (!seesAll) {
    for (auto& [id, row] : before) rows.push_back(std::move(row));
  }
  auto tree = MakeStatusRoot();
  if (!rows.empty()) {
    const auto list = CreateInstance<IUnkList>(CLSID_UnkList);
    for (StatusRow& row : rows) Check(list->Add(MakeStatusNode(std::move(row)).get()));
    Check(tree->put_SubItemTree(list.get()));
  }
  root = std::move(tree);
  return S_OK;
}

HRESULT AddressBookStore::OnDeleteAllStatus() {
  Check(status_.DeleteAll());
  Check(map_.Load());
  std::vector<AddressBook::Entry> entries;
  // The rows of what cannot be seen wait for a day on which it can.
  if (!book_->List(entries)) return S_OK;
  std::unordered_set<std::u16string> there;
  for (AddressBook::Entry& entry : entries) there.insert(std::move(entry.id));
  std::vector<std::u16string> gone;
  AliveSet alive;
  for (const auto& [number, entry] : map_.entries()) {
    if (there.contains(entry)) {
      alive.insert(Decimal(number));
    } else {
      gone.push_back(entry);
    }
  }
  Check(map_.DeleteEntries(gone));
  Check(PurgeTable(session(), traits_.rows, kExtraTable, alive));
  return PurgeTable(session(), traits_.rows, kHiddenTable, alive);
}

HRESULT AddressBookStore::OnUpdateStatus(STATUSDB_UPDATECMD command, const StatusRow& row) {
  return status_.Update(command, row);
}

}  // namespace qv
