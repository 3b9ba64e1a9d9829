#include "stores/addressbook/contact_properties.h"

#include <algorithm>
#include <array>
#include <span>
#include <unordered_map>
#include <unordered_set>

#include "platform/com/lists.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

using Labels = std::array<std::u16string_view, 2>;  // the second may be empty

template <class Kind>
struct LabelRow {
  Kind kind;
  Labels labels;
};

template <class Kind>
struct WordRow {
  Kind kind;
  std::u16string_view word;
};

// Persisted contract: all of these. The order is that of reading.
constexpr LabelRow<EventKind> kEventRows[] = {
    {EventKind::Anniversary, {u"wab:Anniversary"}},
    {EventKind::Birthday, {u"wab:Birthday"}},
};
constexpr WordRow<MailKind> kMailRows[] = {
    {MailKind::Home, u"home"},
    {MailKind::Work, u"work"},
    {MailKind::Mobile, u"mobile"},
    {MailKind::Other, u"other"},
};
constexpr LabelRow<PhoneKind> kPhoneRows[] = {
    {PhoneKind::Home, {u"Personal", u"Voice"}},
    {PhoneKind::Work, {u"Business", u"Voice"}},
    {PhoneKind::HomeFax, {u"Personal", u"Fax"}},
    {PhoneKind::WorkFax, {u"Business", u"Fax"}},
    {PhoneKind::Mobile, {u"Cellular"}},
    {PhoneKind::Pager, {u"Pager"}},
    {PhoneKind::Car, {u"Car"}},
    {PhoneKind::Isdn, {u"ISDN"}},
    {PhoneKind::Video, {u"Video"}},
    {PhoneKind::TtyTdd, {u"TTY"}},
};
constexpr LabelRow<PlaceKind> kPlaceRows[] = {
    {PlaceKind::Home, {u"Personal"}},
    {PlaceKind::Work, {u"Business"}},
    {PlaceKind::Other, {u"Other"}},
};
constexpr WordRow<MessengerKind> kMessengerRows[] = {
    {MessengerKind::GoogleTalk, u"googletalk"},
    {MessengerKind::Msn, u"msn"},
    {MessengerKind::Aim, u"aim"},
    {MessengerKind::Yahoo, u"yahoo"},
    {MessengerKind::Skype, u"skype"},
    {MessengerKind::Qq, u"qq"},
    {MessengerKind::Icq, u"icq"},
    {MessengerKind::Jabber, u"jabber"},
    {MessengerKind::Other, u"other"},
};

struct NameRow {
  std::u16string_view leaf;
  std::u16string ContactContent::*member;
};
constexpr NameRow kNameRows[] = {
    {u"/FormattedName", &ContactContent::formattedName},
    {u"/FamilyName", &ContactContent::familyName},
    {u"/GivenName", &ContactContent::givenName},
    {u"/MiddleName", &ContactContent::additionalNames},
    {u"/Prefix", &ContactContent::namePrefix},
    {u"/Suffix", &ContactContent::nameSuffix},
    {u"/NickName", &ContactContent::nickname},
};

constexpr std::u16string_view kAddressLeaves[] = {
    u"/POBox",  u"/ExtendedAddress", u"/Street",  u"/Locality",
    u"/Region", u"/PostalCode",      u"/Country",
};

constexpr std::u16string_view kNote = u"Notes";
constexpr std::u16string_view kNames = u"NameCollection";
constexpr std::u16string_view kName = u"NameCollection/Name[1]";
constexpr std::u16string_view kPositions = u"PositionCollection";
constexpr std::u16string_view kPosition = u"PositionCollection/Position[1]";
constexpr std::u16string_view kBusiness = u"Business";

template <class Rows>
auto RowOfKind(const Rows& rows, auto kind) {
  const auto row = std::ranges::find_if(rows, [&](const auto& each) { return each.kind == kind; });
  return row == std::end(rows) ? nullptr : &*row;
}

// The property tree with texts of ours. Throws StatusError.
class Tree {
 public:
  explicit Tree(IContactProperties& properties) : properties_(properties) {}

  // False where the node itself is missing.
  bool Read(std::u16string_view node, std::u16string_view leaf, std::u16string& value) {
    Bstr text;
    const HRESULT status = properties_.GetString(Concat({node, leaf}).c_str(), text.Out());
    value = text.str();
    return Found(status);
  }
  std::u16string Value(std::u16string_view node, std::u16string_view leaf) {
    std::u16string value;
    Read(node, leaf, value);
    return value;
  }
  void Write(std::u16string_view node, std::u16string_view leaf, const std::u16string& value) {
    Check(properties_.SetString(Concat({node, leaf}).c_str(), value.c_str()));
  }
  std::vector<std::u16string> Nodes(std::u16string_view collection, const Labels& labels = {}) {
    const char16_t* wanted[] = {labels[0].data(), labels[1].data()};
    const auto count = static_cast<uint32_t>(
        std::ranges::count_if(labels, [](std::u16string_view label) { return !label.empty(); }));
    ComPtr<IUnknown> paths;
    Check(properties_.GetPropertyCollection(std::u16string(collection).c_str(), count, wanted,
                                            paths.Out()));
    return ListedTexts(paths);
  }
  std::u16string Create(std::u16string_view collection, const Labels& labels) {
    Bstr node;
    Check(properties_.CreateArrayNode(std::u16string(collection).c_str(), node.Out()));
    const char16_t* wanted[] = {labels[0].data(), labels[1].data()};
    const auto count = static_cast<uint32_t>(
        std::ranges::count_if(labels, [](std::u16string_view label) { return !label.empty(); }));
    if (count > 0) Check(properties_.SetLabels(node.get(), count, wanted));
    return node.str();
  }
  void Delete(const std::u16string& node) { Check(properties_.DeleteArrayNode(node.c_str())); }
  void Move(const std::u16string& node, size_t number) {
    const auto nodes = Query<IContactNodes>(&properties_);
    if (!nodes) throw StatusError(E_NOINTERFACE);
    Check(nodes->MoveArrayNode(node.c_str(), static_cast<uint32_t>(number)));
  }

 private:
  static bool Found(HRESULT status) {
    return status == kContactNotFound ? false : Succeeded(Check(status));
  }
  static std::vector<std::u16string> ListedTexts(const ComPtr<IUnknown>& list) {
    std::vector<std::u16string> texts;
    const auto all = Query<IVarList>(list);
    int32_t count = 0;
    Check(all->Count(&count));
    texts.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
      Variant text;
      Check(all->Item(i, text.Out()));
      texts.emplace_back(text.view());
    }
    return texts;
  }

  IContactProperties& properties_;
};

std::u16string NodePath(std::u16string_view collection, size_t number) {
  constexpr size_t kEnd = std::u16string_view(u"Collection").size();
  return Concat({collection, u"/", collection.substr(0, collection.size() - kEnd), u"[",
                 Decimal(static_cast<int64_t>(number)), u"]"});
}

std::u16string DayText(DATE date) {
  const auto time = VariantTimeToSystemTime(date);
  if (date == 0.0 || !time) return {};
  std::u16string text;
  AppendPadded(text, time->year, 4);
  text += u'-';
  AppendPadded(text, time->month, 2);
  text += u'-';
  AppendPadded(text, time->day, 2);
  text += u'T';
  AppendPadded(text, time->hour, 2);
  text += u':';
  AppendPadded(text, time->minute, 2);
  text += u':';
  AppendPadded(text, time->second, 2);
  return text + u'Z';
}

// The day as it is written, whatever the hour.
DATE DayOf(std::u16string_view text) {
  if (text.size() < 10 || text[4] != u'-' || text[7] != u'-') return 0.0;
  SystemTime time;
  time.year = static_cast<uint16_t>(ToInt(text.substr(0, 4)));
  time.month = static_cast<uint16_t>(ToInt(text.substr(5, 2)));
  time.day = static_cast<uint16_t>(ToInt(text.substr(8, 2)));
  return SystemTimeToVariantTime(time).value_or(0.0);
}

// A collection whose nodes are values of one list of a contact. `Value` is what stands in the list;
// `Read` gives it of a node, nothing for a node without one; `Write` makes the node of a value.
//
// The families with labels show the first node of each label; those that are walked show all.
struct Mails {
  using Value = Mail;
  static constexpr std::u16string_view kCollection = u"EmailAddressCollection";
  static constexpr bool kWalked = true;
  static std::vector<Value> Of(const ContactContent& contact) { return contact.mails; }
  static void Give(ContactContent& contact, Value value) {
    contact.mails.push_back(std::move(value));
  }
  static bool IsWritten(const Value& value) { return !value.value.empty(); }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node) {
    Value value{MailKind::Other, tree.Value(node, u"/Address")};
    if (value.value.empty()) return std::nullopt;
    const std::u16string type = tree.Value(node, u"/Type");
    for (const auto& row : kMailRows) {
      if (row.word == type) value.kind = row.kind;
    }
    return value;
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = tree.Create(kCollection, {u"Preferred"});
    const auto* row = RowOfKind(kMailRows, value.kind);
    if (row == nullptr) return node;
    tree.Write(node, u"/Address", value.value);
    tree.Write(node, u"/Type", std::u16string(row->word));
    return node;
  }
};

struct Messengers {
  using Value = Messenger;
  static constexpr std::u16string_view kCollection = u"IMAddressCollection";
  static constexpr bool kWalked = true;
  static std::vector<Value> Of(const ContactContent& contact) { return contact.messengers; }
  static void Give(ContactContent& contact, Value value) {
    contact.messengers.push_back(std::move(value));
  }
  static bool IsWritten(const Value& value) { return !value.value.empty(); }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node) {
    Value value{MessengerKind::Other, tree.Value(node, u"/Value")};
    if (value.value.empty()) return std::nullopt;
    const std::u16string protocol = tree.Value(node, u"/Protocol");
    for (const auto& row : kMessengerRows) {
      if (row.word == protocol) value.kind = row.kind;
    }
    return value;
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = tree.Create(kCollection, {u"Personal"});
    const auto* row = RowOfKind(kMessengerRows, value.kind);
    tree.Write(node, u"/Value", value.value);
    tree.Write(node, u"/Protocol", std::u16string(row == nullptr ? u"other" : row->word));
    return node;
  }
};

// What the labelled families share: one row of labels a kind.
template <class Family>
std::u16string CreateLabelled(Tree& tree, const auto& value) {
  return tree.Create(Family::kCollection, RowOfKind(Family::Rows(), value.kind)->labels);
}

struct Events {
  using Value = DatedEvent;
  static constexpr std::u16string_view kCollection = u"DateCollection";
  static constexpr bool kWalked = false;
  static std::span<const LabelRow<EventKind>> Rows() { return kEventRows; }
  static std::vector<Value> Of(const ContactContent& contact) { return contact.events; }
  static void Give(ContactContent& contact, Value value) { contact.events.push_back(value); }
  static bool IsWritten(const Value& value) { return !DayText(value.date).empty(); }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node, EventKind kind) {
    const DATE day = DayOf(tree.Value(node, u"/Value"));
    return day == 0.0 ? std::nullopt : std::optional(Value{kind, day});
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = CreateLabelled<Events>(tree, value);
    tree.Write(node, u"/Value", DayText(value.date));
    return node;
  }
};

struct Telephones {
  using Value = Telephone;
  static constexpr std::u16string_view kCollection = u"PhoneNumberCollection";
  static constexpr bool kWalked = false;
  static std::span<const LabelRow<PhoneKind>> Rows() { return kPhoneRows; }
  static std::vector<Value> Of(const ContactContent& contact) { return contact.telephones; }
  static void Give(ContactContent& contact, Value value) {
    contact.telephones.push_back(std::move(value));
  }
  static bool IsWritten(const Value& value) {
    return !value.value.empty() && RowOfKind(kPhoneRows, value.kind) != nullptr;
  }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node, PhoneKind kind) {
    Value value{kind, tree.Value(node, u"/Number")};
    return value.value.empty() ? std::nullopt : std::optional(std::move(value));
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = CreateLabelled<Telephones>(tree, value);
    tree.Write(node, u"/Number", value.value);
    return node;
  }
};

struct WebAddresses {
  using Value = WebAddress;
  static constexpr std::u16string_view kCollection = u"UrlCollection";
  static constexpr bool kWalked = false;
  static std::span<const LabelRow<PlaceKind>> Rows() { return kPlaceRows; }
  static std::vector<Value> Of(const ContactContent& contact) { return contact.webAddresses; }
  static void Give(ContactContent& contact, Value value) {
    contact.webAddresses.push_back(std::move(value));
  }
  static bool IsWritten(const Value& value) {
    return !value.value.empty() && RowOfKind(kPlaceRows, value.kind) != nullptr;
  }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node, PlaceKind kind) {
    Value value{kind, tree.Value(node, u"/Value")};
    return value.value.empty() ? std::nullopt : std::optional(std::move(value));
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = CreateLabelled<WebAddresses>(tree, value);
    tree.Write(node, u"/Value", value.value);
    return node;
  }
};

struct Addresses {
  using Value = PostalAddress;
  static constexpr std::u16string_view kCollection = u"PhysicalAddressCollection";
  static constexpr bool kWalked = false;
  static std::span<const LabelRow<PlaceKind>> Rows() { return kPlaceRows; }
  static std::vector<Value> Of(const ContactContent& contact) {
    std::vector<Value> values;
    for (const auto& address : contact.addresses) {
      if (address) values.push_back(*address);
    }
    return values;
  }
  static void Give(ContactContent& contact, Value value) {
    contact.addresses.emplace_back(std::move(value));
  }
  static bool IsWritten(const Value& value) {
    return RowOfKind(kPlaceRows, value.kind) != nullptr &&
           std::ranges::any_of(value.parts, [](const auto& part) { return !part.empty(); });
  }
  static std::optional<Value> Read(Tree& tree, const std::u16string& node, PlaceKind kind) {
    Value value{kind, {}};
    for (size_t i = 0; i < value.parts.size(); ++i) {
      value.parts[i] = tree.Value(node, kAddressLeaves[i]);
    }
    return IsWritten(value) ? std::optional(std::move(value)) : std::nullopt;
  }
  static std::u16string Write(Tree& tree, const Value& value) {
    const std::u16string node = CreateLabelled<Addresses>(tree, value);
    for (size_t i = 0; i < value.parts.size(); ++i) {
      tree.Write(node, kAddressLeaves[i], value.parts[i]);
    }
    return node;
  }
};

// Equal for equal values.
template <class Kind>
std::u16string KeyOf(const Kinded<Kind>& value) {
  return Concat({Decimal(static_cast<int32_t>(value.kind)), u" ", value.value});
}
std::u16string KeyOf(const DatedEvent& value) {
  return Concat({Decimal(static_cast<int32_t>(value.kind)), u" ", DayText(value.date)});
}
std::u16string KeyOf(const PostalAddress& value) {
  std::u16string key = Decimal(static_cast<int32_t>(value.kind));
  for (const std::u16string& part : value.parts) {
    key += Concat({u" ", Decimal(static_cast<int64_t>(part.size())), u" ", part});
  }
  return key;
}

template <class Family>
struct Shown {
  std::u16string node;
  std::optional<typename Family::Value> value;  // nothing for a node without one
};

// What reading gives, in its order.
template <class Family>
std::vector<Shown<Family>> ReadShown(Tree& tree) {
  std::vector<Shown<Family>> shown;
  if constexpr (Family::kWalked) {
    for (std::u16string& node : tree.Nodes(Family::kCollection)) {
      auto value = Family::Read(tree, node);
      shown.push_back({std::move(node), std::move(value)});
    }
  } else {
    for (const auto& row : Family::Rows()) {
      std::vector<std::u16string> nodes = tree.Nodes(Family::kCollection, row.labels);
      if (nodes.empty()) continue;
      auto value = Family::Read(tree, nodes.front(), row.kind);
      shown.push_back({std::move(nodes.front()), std::move(value)});
    }
  }
  return shown;
}

// Every node with a value that some row makes of it.
template <class Family>
std::vector<Shown<Family>> ReadAll(Tree& tree) {
  if constexpr (Family::kWalked) return ReadShown<Family>(tree);
  std::vector<Shown<Family>> all;
  if constexpr (!Family::kWalked) {
    for (const auto& row : Family::Rows()) {
      for (std::u16string& node : tree.Nodes(Family::kCollection, row.labels)) {
        auto value = Family::Read(tree, node, row.kind);
        all.push_back({std::move(node), std::move(value)});
      }
    }
  }
  return all;
}

template <class Family>
void ReadFamily(Tree& tree, ContactContent& contact) {
  for (Shown<Family>& each : ReadShown<Family>(tree)) {
    if (each.value) Family::Give(contact, std::move(*each.value));
  }
}

template <class Family>
void WriteFamily(Tree& tree, const ContactContent& contact, const ContactContent& own) {
  using Value = typename Family::Value;
  std::vector<Value> wanted = Family::Of(contact);
  std::erase_if(wanted, [](const Value& value) { return !Family::IsWritten(value); });
  const std::vector<std::u16string> before = tree.Nodes(Family::kCollection);
  if (before.empty()) {
    for (const Value& value : wanted) Family::Write(tree, value);
    return;
  }
  // Which nodes are the contact's, and which of them stay.
  enum class Fate : uint8_t { Foreign, Goes, Stays };
  std::vector<Fate> fates(before.size(), Fate::Foreign);
  std::unordered_map<std::u16string, size_t> places;
  for (size_t i = 0; i < before.size(); ++i) places.emplace(before[i], i);
  std::unordered_set<std::u16string> owned;
  for (const Value& value : Family::Of(own)) owned.insert(KeyOf(value));
  std::unordered_map<std::u16string, std::vector<size_t>> open;  // places of `wanted`, last first
  for (size_t i = wanted.size(); i-- > 0;) open[KeyOf(wanted[i])].push_back(i);
  std::vector<std::optional<size_t>> kept(wanted.size());
  for (const Shown<Family>& each : ReadShown<Family>(tree)) fates[places[each.node]] = Fate::Goes;
  const std::vector<Shown<Family>> all = ReadAll<Family>(tree);
  for (const Shown<Family>& each : all) {
    if (!each.value) continue;
    const std::u16string key = KeyOf(*each.value);
    Fate& fate = fates[places[each.node]];
    if (owned.contains(key)) fate = std::max(fate, Fate::Goes);
    const auto same = open.find(key);
    if (fate == Fate::Stays || same == open.end() || same->second.empty()) continue;
    kept[same->second.back()] = places[each.node];
    same->second.pop_back();
    fate = Fate::Stays;
  }
  // From the back, so that the numbers in front stay.
  std::vector<size_t> order;
  for (size_t i = before.size(); i-- > 0;) {
    if (fates[i] == Fate::Goes) tree.Delete(before[i]);
  }
  for (size_t i = 0; i < before.size(); ++i) {
    if (fates[i] != Fate::Goes) order.push_back(i);
  }
  if constexpr (!Family::kWalked) {
    // What is read depends on the order within a kind alone: no other order is touched.
    std::unordered_map<int32_t, size_t> ends;  // behind the last of a kind
    bool isInOrder = true;
    for (size_t i = 0; i < wanted.size(); ++i) {
      size_t& end = ends[static_cast<int32_t>(wanted[i].kind)];
      const size_t place = kept[i].value_or(before.size() + i);
      isInOrder = isInOrder && place >= end;
      end = place + 1;
    }
    for (const Shown<Family>& each : all) {
      const size_t place = places[each.node];
      if (!each.value || fates[place] != Fate::Foreign) continue;
      isInOrder = isInOrder && place >= ends[static_cast<int32_t>(each.value->kind)];
    }
    if (isInOrder) {
      for (size_t i = 0; i < wanted.size(); ++i) {
        if (!kept[i]) Family::Write(tree, wanted[i]);
      }
      return;
    }
  }
  for (size_t i = 0; i < wanted.size(); ++i) {
    const auto at = order.begin() + static_cast<std::ptrdiff_t>(i);
    size_t from = order.size();
    if (kept[i]) {
      from = static_cast<size_t>(std::find(at, order.end(), *kept[i]) - order.begin());
    } else {
      Family::Write(tree, wanted[i]);
      order.push_back(before.size());
    }
    if (from == i) continue;
    tree.Move(NodePath(Family::kCollection, from + 1), i + 1);
    const auto begin = order.begin() + static_cast<std::ptrdiff_t>(i);
    const auto end = order.begin() + static_cast<std::ptrdiff_t>(from);
    std::rotate(begin, end, end + 1);
  }
}

// The one organisation that the tree holds: the first at work, else the first.
Organisation PositionOf(const ContactContent& contact) {
  const auto& all = contact.organisations;
  const auto work = std::ranges::find(all, OrganisationKind::Work, &Organisation::kind);
  if (work != all.end()) return *work;
  return all.empty() ? Organisation() : all.front();
}

// The first node of a collection with one value; what else is in it stays.
std::u16string OnlyNode(Tree& tree, std::u16string_view collection, std::u16string_view first,
                        const Labels& labels) {
  if (tree.Nodes(collection).empty()) tree.Create(collection, labels);
  return std::u16string(first);
}

void WritePosition(Tree& tree, const ContactContent& contact) {
  const Organisation organisation = PositionOf(contact);
  const std::u16string node = OnlyNode(tree, kPositions, kPosition, {kBusiness});
  tree.Write(node, u"/Company", organisation.name);
  tree.Write(node, u"/Department", organisation.department);
  tree.Write(node, u"/JobTitle",
             contact.jobTitles.empty() ? std::u16string() : contact.jobTitles.front());
}

void ReadPosition(Tree& tree, ContactContent& contact) {
  Organisation organisation{OrganisationKind::Work, tree.Value(kPosition, u"/Company"),
                            tree.Value(kPosition, u"/Department")};
  if (!organisation.name.empty() || !organisation.department.empty()) {
    contact.organisations.push_back(std::move(organisation));
  }
  std::u16string title = tree.Value(kPosition, u"/JobTitle");
  if (!title.empty()) contact.jobTitles.push_back(std::move(title));
}

void ReadNames(Tree& tree, ContactContent& contact) {
  for (const NameRow& row : kNameRows) contact.*row.member = tree.Value(kName, row.leaf);
}

}  // namespace

void WriteContactProperties(IUnknown& contact, const ContactContent& content,
                            const ContactContent& own) {
  const auto properties = Query<IContactProperties>(&contact);
  if (!properties) throw StatusError(E_NOINTERFACE);
  Tree tree(*properties);
  ContactContent named = content;
  Normalize(named);
  const std::u16string name = OnlyNode(tree, kNames, kName, {});
  for (const NameRow& row : kNameRows) tree.Write(name, row.leaf, named.*row.member);
  WritePosition(tree, content);
  WriteFamily<Events>(tree, content, own);
  WriteFamily<Mails>(tree, content, own);
  WriteFamily<Telephones>(tree, content, own);
  WriteFamily<Addresses>(tree, content, own);
  WriteFamily<WebAddresses>(tree, content, own);
  WriteFamily<Messengers>(tree, content, own);
  tree.Write(kNote, u"", content.note);
}

ContactContent ReadContactProperties(IContactProperties& properties) {
  Tree tree(properties);
  ContactContent contact;
  ReadNames(tree, contact);
  ReadPosition(tree, contact);
  ReadFamily<Events>(tree, contact);
  ReadFamily<Mails>(tree, contact);
  ReadFamily<Telephones>(tree, contact);
  ReadFamily<Addresses>(tree, contact);
  ReadFamily<WebAddresses>(tree, contact);
  ReadFamily<Messengers>(tree, contact);
  contact.note = tree.Value(kNote, u"");
  return contact;
}

ContactContent ReadContactKeyValues(IContactProperties& properties) {
  Tree tree(properties);
  ContactContent contact;
  ReadNames(tree, contact);
  ReadFamily<Mails>(tree, contact);
  ReadFamily<Telephones>(tree, contact);
  return contact;
}

}  // namespace qv
