#include "pim/outlook_exp_manager.h"

#include <algorithm>
#include <new>

#include "items/item_objects.h"
#include "pim/contact_content.h"
#include "platform/com/status_error.h"
#include "platform/database/sqlite.h"
#include "platform/system/clock.h"
#include "platform/system/identifiers.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

// Persisted.
constexpr char kSchema[] = R"(
CREATE TABLE IF NOT EXISTS entries(
  number INTEGER PRIMARY KEY AUTOINCREMENT,
  entry_id TEXT NOT NULL UNIQUE,
  modified_local INTEGER NOT NULL,
  content BLOB NOT NULL);
)";
constexpr std::u16string_view kIdStart = u"WAB:";

// The book's fields. Each of these the book has once.
constexpr PhoneKind kNumbers[] = {PhoneKind::Home,    PhoneKind::Work,   PhoneKind::HomeFax,
                                  PhoneKind::WorkFax, PhoneKind::Mobile, PhoneKind::Pager};
constexpr PlaceKind kPlaces[] = {PlaceKind::Home, PlaceKind::Work};
constexpr EventKind kEvents[] = {EventKind::Birthday, EventKind::Anniversary};

// The first entry of each kind, in the book's order.
template <class Entry, class Kinds>
std::vector<Entry> OneOfEach(const std::vector<Entry>& entries, const Kinds& kinds) {
  std::vector<Entry> kept;
  for (const auto kind : kinds) {
    const auto first = std::ranges::find(entries, kind, &Entry::kind);
    if (first != entries.end()) kept.push_back(*first);
  }
  return kept;
}

int64_t PresentLocal() {
  const DATE now = DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds());
  return UnixSecondsFromDate(UtcToLocal(now, true).value);
}

}  // namespace

ContactContent EntryOf(const ContactContent& contact) {
  ContactContent entry;
  entry.formattedName = contact.formattedName;
  entry.familyName = contact.familyName;
  entry.givenName = contact.givenName;
  entry.additionalNames = contact.additionalNames;
  entry.nickname = contact.nickname;
  for (const Mail& mail : contact.mails) {
    if (!mail.value.empty()) entry.mails.push_back({MailKind::Other, mail.value});
  }
  entry.telephones = OneOfEach(contact.telephones, kNumbers);
  entry.webAddresses = OneOfEach(contact.webAddresses, kPlaces);
  for (const PlaceKind kind : kPlaces) {
    const auto first = std::ranges::find_if(
        contact.addresses, [&](const auto& address) { return address && address->kind == kind; });
    if (first != contact.addresses.end()) entry.addresses.push_back(*first);
  }
  if (!contact.organisations.empty()) {
    const Organisation& first = contact.organisations.front();
    entry.organisations.push_back({OrganisationKind::Work, first.name, first.department});
  }
  if (!contact.jobTitles.empty()) entry.jobTitles.push_back(contact.jobTitles.front());
  entry.events = OneOfEach(contact.events, kEvents);
  entry.note = contact.note;
  return entry;
}

OutlookExpSettings& TheOutlookExpSettings() {
  static OutlookExpSettings settings;
  return settings;
}

struct OutlookExpManager::State {
  struct Refusal {
    std::string text;
  };

  explicit State(const std::string& path)
      : db(path, SqliteDatabase::Durability::Full),
        schema(db),
        insert(db.Prepare("INSERT INTO entries(entry_id,modified_local,content) VALUES(?,?,?)")),
        update(db.Prepare("UPDATE entries SET modified_local=?,content=? WHERE entry_id=?")),
        remove(db.Prepare("DELETE FROM entries WHERE entry_id=?")),
        read(db.Prepare("SELECT modified_local,content FROM entries WHERE entry_id=?")) {}

  struct Schema {
    explicit Schema(SqliteDatabase& db) { db.Execute(kSchema); }
  };

  // The packed content; throws a Refusal for an entry that is not there.
  std::string Content(const std::u16string& entryId, int64_t& modified) {
    read.Reset();
    read.Bind(1, entryId);
    if (!read.Step()) {
      read.Reset();
      throw Refusal{"no entry " + ToUtf8(entryId)};
    }
    modified = read.Int(0);
    std::string content = read.Blob(1);
    read.Reset();
    return content;
  }

  SqliteDatabase db;
  Schema schema;
  SqliteStatement insert;
  SqliteStatement update;
  SqliteStatement remove;
  SqliteStatement read;
  std::vector<std::unique_ptr<SqliteTransaction>> groups;
};

namespace {

const Contact& AsContact(const ComPtr<IItemCommon>& item) {
  const Contact* contact = item ? ContactOf(item.get()) : nullptr;
  if (contact == nullptr) throw StatusError(E_POINTER);
  return *contact;
}

}  // namespace

OutlookExpManager::OutlookExpManager() = default;
OutlookExpManager::~OutlookExpManager() {
  while (state_ && !state_->groups.empty()) state_->groups.pop_back();
}

int OutlookExpManager::isOutlookInstalled() {
  return TheOutlookExpSettings().installed ? 1 : 0;
}

int OutlookExpManager::isOutlookValid() {
  return TheOutlookExpSettings().valid ? 1 : 0;
}

int OutlookExpManager::isInitialized() const {
  return state_ != nullptr ? 1 : 0;
}

template <class Body>
HRESULT OutlookExpManager::Run(Body&& body) {
  try {
    if (!state_) throw State::Refusal{"no address book is open"};
    body(*state_);
    return S_OK;
  } catch (const State::Refusal& refusal) {
    error_ = TheOutlookExpSettings().file + ": " + refusal.text;
  } catch (const SqliteError& failure) {
    error_ = failure.what();
  } catch (const StatusError& failure) {
    error_ = "the item is no contact";
    return failure.status();
  } catch (const std::bad_alloc&) {
    error_ = "out of memory";
    return E_OUTOFMEMORY;
  }
  return E_FAIL;
}

int OutlookExpManager::initialize() {
  if (state_) return 1;
  const std::string& file = TheOutlookExpSettings().file;
  if (file.empty()) {
    error_ = "no file is set for the address book";
    return 0;
  }
  try {
    state_ = std::make_unique<State>(file);
  } catch (const SqliteError& failure) {
    error_ = failure.what();
  }
  if (state_ && TheOutlookExpSettings().opened) TheOutlookExpSettings().opened(*this);
  return state_ ? 1 : 0;
}

HRESULT OutlookExpManager::CreateItem(std::u16string& entryId, const ComPtr<IItemCommon>& item) {
  entryId.clear();
  return Run([&](State& state) {
    std::u16string id = FormatGuid(Service<GuidSource>::Get().New());
    std::erase_if(id, [](char16_t c) { return c == u'{' || c == u'-' || c == u'}'; });
    id.insert(0, kIdStart);
    state.insert.Reset();
    state.insert.Bind(1, id).Bind(2, PresentLocal());
    state.insert.BindBlob(3, PackContact(EntryOf(AsContact(item)))).Run();
    entryId = std::move(id);
  });
}

HRESULT OutlookExpManager::UpdateItem(const std::u16string& entryId,
                                      const ComPtr<IItemCommon>& item) {
  return Run([&](State& state) {
    int64_t modified = 0;
    const std::string content = PackContact(EntryOf(AsContact(item)));
    if (state.Content(entryId, modified) == content) return;
    state.update.Reset();
    state.update.Bind(1, PresentLocal()).BindBlob(2, content).Bind(3, entryId).Run();
  });
}

HRESULT OutlookExpManager::DeleteItem(const std::u16string& entryId) {
  return Run([&](State& state) {
    state.remove.Reset();
    state.remove.Bind(1, entryId).Run();
    if (state.db.Changes() == 0) throw State::Refusal{"no entry " + ToUtf8(entryId)};
  });
}

HRESULT OutlookExpManager::GetItem(const std::u16string& entryId, ComPtr<IItemCommon>& item) {
  item = nullptr;
  return Run([&](State& state) {
    int64_t modified = 0;
    std::string why;
    auto content = UnpackContact(state.Content(entryId, modified), why);
    if (!content) throw State::Refusal{"entry " + ToUtf8(entryId) + " is damaged: " + why};
    Contact contact;
    static_cast<ContactContent&>(contact) = *std::move(content);
    contact.fields.modified = LocalToUtc(DateFromUnixSeconds(modified), true).value;
    item = MakeContactItem(std::move(contact));
  });
}

HRESULT OutlookExpManager::GetEntryIds(std::vector<std::u16string>& entryIds) {
  entryIds.clear();
  std::vector<OLEXPMetaData> datas;
  const HRESULT status = GetMetaDatas(datas, 0);
  for (OLEXPMetaData& data : datas) entryIds.push_back(std::move(data.entryId));
  return status;
}

HRESULT OutlookExpManager::GetMetaDatas(std::vector<OLEXPMetaData>& datas, int) {
  datas.clear();
  const HRESULT status = Run([&](State& state) {
    SqliteStatement all =
        state.db.Prepare("SELECT entry_id,modified_local FROM entries ORDER BY number");
    while (all.Step()) datas.push_back({all.Text16(0), DateFromUnixSeconds(all.Int(1))});
  });
  if (Failed(status)) datas.clear();
  return status;
}

HRESULT OutlookExpManager::GetMetaData(const std::u16string& entryId, OLEXPMetaData& data) {
  data = {};
  return Run([&](State& state) {
    int64_t modified = 0;
    state.Content(entryId, modified);
    data = {entryId, DateFromUnixSeconds(modified)};
  });
}

HRESULT OutlookExpManager::Begin() {
  return Run(
      [](State& state) { state.groups.push_back(std::make_unique<SqliteTransaction>(state.db)); });
}

HRESULT OutlookExpManager::Commit() {
  return Run([](State& state) {
    if (state.groups.empty()) throw State::Refusal{"no group is open"};
    state.groups.back()->Commit();
    state.groups.pop_back();
  });
}

HRESULT OutlookExpManager::Rollback() {
  return Run([](State& state) {
    if (state.groups.empty()) throw State::Refusal{"no group is open"};
    state.groups.pop_back();
  });
}

}  // namespace qv
