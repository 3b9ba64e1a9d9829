#include <algorithm>
#include <array>
#include <cmath>

#include "items/item_objects.h"
#include "items/kinds.h"
#include "items/stamp.h"
#include "platform/com/status_error.h"
#include "stores/importexport/csv_fields.h"
#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/group_table.h"

namespace qv {
namespace {

enum class Slot : uint8_t {
  Text,
  Event,
  Photo,  // takes up its column, nothing more
  Company,
  Department,
  JobTitle,
  Messenger,
  Telephone,
  Mail,
  Web,
  Address,
  Group,
};
constexpr size_t kSlots = 12;

struct Field {
  std::u16string_view name;
  Slot slot;
  int32_t kind = 0;  // in the contact's list
  std::u16string ContactContent::*text = nullptr;
  size_t part = 0;  // of an address
};

// Persisted: names are headings and what mappings call the fields, places are their numbers.
constexpr Field kFields[] = {
    {u"FamilyName", Slot::Text, 0, &ContactContent::familyName},
    {u"GivenName", Slot::Text, 0, &ContactContent::givenName},
    {u"Additional", Slot::Text, 0, &ContactContent::additionalNames},
    {u"Prefix", Slot::Text, 0, &ContactContent::namePrefix},
    {u"Suffix", Slot::Text, 0, &ContactContent::nameSuffix},
    {u"FormattedName", Slot::Text, 0, &ContactContent::formattedName},
    {u"NickName", Slot::Text, 0, &ContactContent::nickname},
    {u"Note", Slot::Text, 0, &ContactContent::note},
    {u"BirthDay", Slot::Event, 1},
    {u"Anniversary", Slot::Event, 2},
    {u"Photo", Slot::Photo},
    {u"Work Company", Slot::Company, 2},
    {u"Work Department", Slot::Department, 2},
    {u"Other Company", Slot::Company, 3},
    {u"Other Department", Slot::Department, 3},
    {u"JobTitle", Slot::JobTitle},
    {u"Google Messenger", Slot::Messenger, 1},
    {u"AIM Messenger", Slot::Messenger, 2},
    {u"MSN Messenger", Slot::Messenger, 3},
    {u"Yahoo Messenger", Slot::Messenger, 4},
    {u"Skype Messenger", Slot::Messenger, 5},
    {u"QQ Messenger", Slot::Messenger, 6},
    {u"ICQ Messenger", Slot::Messenger, 7},
    {u"Jabber Messenger", Slot::Messenger, 8},
    {u"Other Messenger", Slot::Messenger, 9},
    {u"Default Telephone", Slot::Telephone, 14},
    {u"Home Telephone", Slot::Telephone, 8},
    {u"Work Telephone", Slot::Telephone, 3},
    {u"Other Telephone", Slot::Telephone, 12},
    {u"Home Fax", Slot::Telephone, 7},
    {u"Work Fax", Slot::Telephone, 2},
    {u"Other Fax", Slot::Telephone, 11},
    {u"Mobile", Slot::Telephone, 10},
    {u"Company Telephone", Slot::Telephone, 6},
    {u"Pager", Slot::Telephone, 13},
    {u"Radio", Slot::Telephone, 15},
    {u"Car", Slot::Telephone, 5},
    {u"Assistant", Slot::Telephone, 1},
    {u"IDSN", Slot::Telephone, 9},
    {u"Callback", Slot::Telephone, 4},
    {u"Telex", Slot::Telephone, 16},
    {u"TTY-TDD", Slot::Telephone, 17},
    {u"Home Email", Slot::Mail, 2},
    {u"Work Email", Slot::Mail, 3},
    {u"Other Email", Slot::Mail, 4},
    {u"Home Url", Slot::Web, 2},
    {u"Work Url", Slot::Web, 3},
    {u"Other Url", Slot::Web, 4},
    {u"Home Address Postoffice", Slot::Address, 2, nullptr, 0},
    {u"Home Address Extended", Slot::Address, 2, nullptr, 1},
    {u"Home Address Street", Slot::Address, 2, nullptr, 2},
    {u"Home Address Locality", Slot::Address, 2, nullptr, 3},
    {u"Home Address Region", Slot::Address, 2, nullptr, 4},
    {u"Home Address Postalcode", Slot::Address, 2, nullptr, 5},
    {u"Home Address Country", Slot::Address, 2, nullptr, 6},
    {u"Work Address Postoffice", Slot::Address, 3, nullptr, 0},
    {u"Work Address Extended", Slot::Address, 3, nullptr, 1},
    {u"Work Address Street", Slot::Address, 3, nullptr, 2},
    {u"Work Address Locality", Slot::Address, 3, nullptr, 3},
    {u"Work Address Region", Slot::Address, 3, nullptr, 4},
    {u"Work Address Postalcode", Slot::Address, 3, nullptr, 5},
    {u"Work Address Country", Slot::Address, 3, nullptr, 6},
    {u"Other Address Postoffice", Slot::Address, 4, nullptr, 0},
    {u"Other Address Extended", Slot::Address, 4, nullptr, 1},
    {u"Other Address Street", Slot::Address, 4, nullptr, 2},
    {u"Other Address Locality", Slot::Address, 4, nullptr, 3},
    {u"Other Address Region", Slot::Address, 4, nullptr, 4},
    {u"Other Address Postalcode", Slot::Address, 4, nullptr, 5},
    {u"Other Address Country", Slot::Address, 4, nullptr, 6},
    {u"Group", Slot::Group},
};
constexpr size_t kFieldCount = std::size(kFields);

constexpr auto kNames = [] {
  std::array<std::u16string_view, kFieldCount> names;
  for (size_t i = 0; i < kFieldCount; ++i) names[i] = kFields[i].name;
  return names;
}();

// The (first) field of a slot and kind; -1 for none.
constexpr int32_t kMaxKind = 17;
constexpr auto kFieldOf = [] {
  std::array<std::array<int32_t, kMaxKind + 1>, kSlots> fields{};
  for (auto& row : fields) row.fill(-1);
  for (size_t i = kFieldCount; i-- > 0;) {
    fields[static_cast<size_t>(kFields[i].slot)][static_cast<size_t>(kFields[i].kind)] =
        static_cast<int32_t>(i);
  }
  return fields;
}();

template <class Kind>
int32_t FieldOf(Slot slot, Kind kind) {
  const auto number = static_cast<int32_t>(kind);
  if (number < 0 || number > kMaxKind) return -1;
  return kFieldOf[static_cast<size_t>(slot)][static_cast<size_t>(number)];
}

void AddEvent(Contact& contact, int32_t kind, const std::u16string& text) {
  DateTimeValue date = ParseLooseDateTime(text);
  if (!date.IsDate()) return;
  // The day counts, wherever it is looked at from.
  date.value = std::trunc(date.value);
  if (date.IsDate()) contact.events.push_back({static_cast<EventKind>(kind), date.value});
}

void AddTelephone(Contact& contact, int32_t kind, std::u16string text) {
  std::erase(text, u'"');
  if (!text.empty()) contact.telephones.push_back({static_cast<PhoneKind>(kind), std::move(text)});
}

template <class Entry>
using ByKind = std::array<std::optional<Entry>, kMaxKind + 1>;

template <class Entry>
Entry& EntryOf(ByKind<Entry>& entries, int32_t kind) {
  auto& entry = entries[static_cast<size_t>(kind)];
  if (!entry) entry.emplace().kind = static_cast<decltype(Entry::kind)>(kind);
  return *entry;
}

// Whatever is spread over several columns comes together behind the others.
struct Gathered {
  ByKind<Organisation> organisations;
  ByKind<PostalAddress> addresses;

  void AddTo(Contact& contact) {
    for (auto& organisation : organisations) {
      if (organisation) contact.organisations.push_back(std::move(*organisation));
    }
    for (auto& address : addresses) {
      if (address) contact.addresses.push_back(std::move(address));
    }
  }
};

void AddText(Contact& contact, const Field& field, const std::u16string& text, Gathered& gathered,
             const GroupTable& groups) {
  switch (field.slot) {
    case Slot::Text:
      contact.*field.text = text;
      return;
    case Slot::Event:
      return AddEvent(contact, field.kind, text);
    case Slot::Photo:
      return;
    case Slot::Company:
      EntryOf(gathered.organisations, field.kind).name = text;
      return;
    case Slot::Department:
      EntryOf(gathered.organisations, field.kind).department = text;
      return;
    case Slot::JobTitle:
      contact.jobTitles.push_back(text);
      return;
    case Slot::Messenger:
      contact.messengers.push_back({static_cast<MessengerKind>(field.kind), text});
      return;
    case Slot::Telephone:
      return AddTelephone(contact, field.kind, text);
    case Slot::Mail:
      contact.mails.push_back({static_cast<MailKind>(field.kind), text});
      return;
    case Slot::Web:
      contact.webAddresses.push_back({static_cast<PlaceKind>(field.kind), text});
      return;
    case Slot::Address:
      EntryOf(gathered.addresses, field.kind).parts[field.part] = text;
      return;
    case Slot::Group:
      if (std::u16string uid = groups.UidOf(text); !uid.empty()) {
        contact.groupUids.push_back(std::move(uid));
      }
      return;
  }
}

ComPtr<IItemCommon> ReadContact(const FieldTexts& texts, const GroupTable& groups) {
  Contact contact;
  Gathered gathered;
  for (size_t i = 0; i < kFieldCount; ++i) {
    if (!texts[i].empty()) AddText(contact, kFields[i], texts[i], gathered, groups);
  }
  gathered.AddTo(contact);
  Normalize(contact);
  StampNew(contact.fields);
  return MakeContactItem(std::move(contact));
}

// The cells of one contact.
class CellList {
 public:
  void Plain(int32_t field, std::u16string text) {
    if (field >= 0) cells_.push_back({field, 0, std::move(text)});
  }
  // A kind that has no field gives no cell, an empty value none either.
  void Numbered(int32_t field, std::u16string text) {
    if (field < 0 || text.empty()) return;
    cells_.push_back({field, ++counts_[static_cast<size_t>(field)], std::move(text)});
  }
  // True for the first time that the field is asked for.
  bool IsFirst(int32_t field) { return counts_[static_cast<size_t>(field)]++ == 0; }

  std::vector<FieldCell> Take() { return std::move(cells_); }

 private:
  std::vector<FieldCell> cells_;
  std::array<int32_t, kFieldCount> counts_{};
};

void AddOrganisations(CellList& cells, const Contact& contact) {
  for (size_t i = 0; i < contact.organisations.size(); ++i) {
    const Organisation& organisation = contact.organisations[i];
    const int32_t company = FieldOf(Slot::Company, organisation.kind);
    if (company >= 0 && cells.IsFirst(company)) {
      cells.Plain(company, organisation.name);
      cells.Plain(FieldOf(Slot::Department, organisation.kind), organisation.department);
    }
    if (i < contact.jobTitles.size()) {
      cells.Numbered(FieldOf(Slot::JobTitle, 0), contact.jobTitles[i]);
    }
  }
}

void AddAddresses(CellList& cells, const Contact& contact) {
  for (const std::optional<PostalAddress>& address : contact.addresses) {
    const int32_t first = address ? FieldOf(Slot::Address, address->kind) : -1;
    if (first < 0 || !cells.IsFirst(first)) continue;
    for (size_t part = 0; part < address->parts.size(); ++part) {
      cells.Plain(first + static_cast<int32_t>(part), address->parts[part]);
    }
  }
}

template <class Entry>
void AddKinded(CellList& cells, Slot slot, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) cells.Numbered(FieldOf(slot, entry.kind), entry.value);
}

std::vector<FieldCell> WriteContact(IUnknown* item, const GroupTable& groups) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) throw StatusError(E_FAIL);
  CellList cells;
  for (size_t i = 0; i < kFieldCount && kFields[i].slot == Slot::Text; ++i) {
    const std::u16string& text = contact->*kFields[i].text;
    if (!text.empty()) cells.Plain(static_cast<int32_t>(i), text);
  }
  for (const DatedEvent& event : contact->events) {
    cells.Numbered(FieldOf(Slot::Event, event.kind), FormatDateTimeMinutes(event.date));
  }
  AddOrganisations(cells, *contact);
  AddKinded(cells, Slot::Messenger, contact->messengers);
  for (const Telephone& telephone : contact->telephones) {
    if (telephone.value.empty()) continue;
    // In quotes, so that a spreadsheet keeps it as text.
    cells.Numbered(FieldOf(Slot::Telephone, telephone.kind), u'"' + telephone.value + u'"');
  }
  AddKinded(cells, Slot::Mail, contact->mails);
  AddKinded(cells, Slot::Web, contact->webAddresses);
  AddAddresses(cells, *contact);
  for (const std::u16string& uid : contact->groupUids) {
    cells.Numbered(FieldOf(Slot::Group, 0), groups.NameOf(uid));
  }
  return cells.Take();
}

}  // namespace

const CsvFieldSet kContactFields = {kNames, ReadContact, WriteContact};

}  // namespace qv
