#include "stores/addressbook/unheld_values.h"

#include <algorithm>
#include <unordered_map>

#include "items/extra.h"
#include "items/vcard.h"
#include "items/vcard_labels.h"
#include "support/text.h"
#include "support/vobject/lines.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

// What stands in every card and is nobody's line.
constexpr std::string_view kFrame[] = {"BEGIN", "VERSION", "N", "END", "UID", "REV"};
// What a line may be of that came from here.
constexpr std::u16string_view kLists[] = {
    u"TEL",   u"EMAIL",  u"URL",  u"ADR",           u"ORG",
    u"TITLE", u"X-IMPP", u"BDAY", u"X-ANNIVERSARY", u"X-GRPUUID",
};
// What a contact has one of. A second one of a text is nobody's but an extra's.
struct Single {
  std::u16string_view name;
  bool (*isFree)(const ContactContent& held);
};
constexpr Single kSingles[] = {
    {u"PHOTO", [](const ContactContent& held) { return held.photo.empty(); }},
    {u"NOTE", [](const ContactContent& held) { return held.note.empty(); }},
    {u"NICKNAME", [](const ContactContent& held) { return held.nickname.empty(); }},
    {u"FN", [](const ContactContent& held) { return held.formattedName.empty(); }},
};

template <class Value>
std::vector<Value> Without(const std::vector<Value>& whole, std::vector<Value> held) {
  std::vector<Value> rest;
  for (const Value& value : whole) {
    const auto same = std::ranges::find(held, value);
    if (same == held.end()) {
      rest.push_back(value);
    } else {
      held.erase(same);
    }
  }
  return rest;
}

// The same for a book that may hold a value under another kind.
template <class Value>
std::vector<Value> WithoutAnyKind(const std::vector<Value>& whole, const std::vector<Value>& held) {
  const std::vector<Value> others = Without(whole, held);
  std::vector<Value> left = Without(held, whole);
  const auto equal = [](Value a, const Value& b) {
    a.kind = b.kind;
    return a == b;
  };
  std::vector<Value> rest;
  for (const Value& value : others) {
    const auto same =
        std::ranges::find_if(left, [&](const Value& each) { return equal(each, value); });
    if (same == left.end()) {
      rest.push_back(value);
    } else {
      left.erase(same);
    }
  }
  return rest;
}

// The labels of mail addresses go by the place, one a place. Those of the book's places: the text's
// own, or that of a kind that the book does not tell.
std::vector<HiddenLabel> MailLabels(const Contact& contact, const ContactContent& held) {
  std::vector<const HiddenLabel*> rows;
  for (const HiddenLabel& label : contact.hidden) {
    if (IsOf(kMailLabels, label)) rows.push_back(&label);
  }
  std::vector<bool> taken(contact.mails.size());
  std::vector<HiddenLabel> labels;
  size_t used = 0;
  for (const Mail& mail : held.mails) {
    const auto find = [&](bool ofKind) {
      for (size_t i = 0; i < taken.size(); ++i) {
        const Mail& own = contact.mails[i];
        if (!taken[i] && own.value == mail.value && (!ofKind || own.kind == mail.kind)) return i;
      }
      return taken.size();
    };
    size_t at = find(true);
    if (at == taken.size()) at = find(false);
    HiddenLabel label{u"EMAIL", {}, {}, false};
    if (at < taken.size()) {
      taken[at] = true;
      if (at < rows.size() && rows[at]->value == mail.value && !rows[at]->extended.empty()) {
        label = *rows[at];
      } else if (contact.mails[at].kind != mail.kind) {
        label = LabelOfKind(kMailLabels, static_cast<int32_t>(contact.mails[at].kind), mail.value);
      }
    }
    labels.push_back(std::move(label));
    if (!labels.back().extended.empty()) used = labels.size();
  }
  labels.resize(used);
  return labels;
}

// The kinds that labels say of values which the book holds under another one.
void ApplyKinds(Contact& contact) {
  size_t place = 0;
  for (const HiddenLabel& label : contact.hidden) {
    if (IsOf(kMailLabels, label)) {
      const size_t at = place++;
      if (at >= contact.mails.size() || label.extended.empty()) continue;
      Mail& mail = contact.mails[at];
      if (mail.value == label.value) {
        mail.kind = static_cast<MailKind>(KindOfLabel(kMailLabels, label));
      }
    } else if (IsOf(kOrganisationLabels, label) && !contact.organisations.empty()) {
      Organisation& first = contact.organisations.front();
      if (first.name == label.value) {
        first.kind = static_cast<OrganisationKind>(KindOfLabel(kOrganisationLabels, label));
      }
    }
  }
}

std::u16string_view NameOf(const ExtraProperty& extra) {
  std::u16string_view name = extra.property;
  name = name.substr(0, name.find(u';'));
  const size_t dot = name.rfind(u'.');  // behind a group
  return dot == name.npos ? name : name.substr(dot + 1);
}

bool IsUnheldLine(const ExtraProperty& extra, const ContactContent& held) {
  if (extra.label || extra.bare || extra.dialect != Dialect::Old) return false;
  const std::u16string_view name = NameOf(extra);
  for (const Single& single : kSingles) {
    if (EqualsIgnoreCase(name, single.name)) return single.isFree(held);
  }
  return std::ranges::any_of(
      kLists, [&](std::u16string_view list) { return EqualsIgnoreCase(name, list); });
}

std::vector<ExtraProperty> LinesOf(const Contact& contact) {
  std::vector<ExtraProperty> lines;
  const std::string card = WriteVCard(contact);
  LineReader reader(card);
  for (Line line; reader.Next(line);) {
    const bool isFrame = std::ranges::any_of(
        kFrame, [&](std::string_view name) { return EqualsIgnoreCase(line.name, name); });
    if (!isFrame) lines.push_back(ExtraOf(line, Dialect::Old));
  }
  return lines;
}

Contact CardOf(const std::vector<ExtraProperty>& extras) {
  std::string card = "BEGIN:VCARD\r\nVERSION:2.1\r\n";
  for (const ExtraProperty& extra : extras) card += BytesOf(extra) + "\r\n";
  card += "END:VCARD\r\n";
  return ParseVCard(card).value_or(Contact());
}

template <class Value>
void Append(std::vector<Value>& to, std::vector<Value> from) {
  to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

}  // namespace

ContactContent UnheldOf(const ContactContent& whole, const ContactContent& held) {
  ContactContent rest;
  rest.telephones = Without(whole.telephones, held.telephones);
  rest.mails = WithoutAnyKind(whole.mails, held.mails);
  rest.webAddresses = Without(whole.webAddresses, held.webAddresses);
  rest.messengers = Without(whole.messengers, held.messengers);
  rest.events = Without(whole.events, held.events);
  rest.organisations = WithoutAnyKind(whole.organisations, held.organisations);
  rest.jobTitles = Without(whole.jobTitles, held.jobTitles);
  rest.groupUids = Without(whole.groupUids, held.groupUids);
  rest.groupNames = Without(whole.groupNames, held.groupNames);
  // The place of an address is what its label goes by.
  std::vector<std::optional<PostalAddress>> places = held.addresses;
  for (const auto& address : whole.addresses) {
    const auto same = address ? std::ranges::find(places, address) : places.end();
    rest.addresses.push_back(same == places.end() ? address : std::nullopt);
    if (same != places.end()) places.erase(same);
  }
  if (held.photo.empty()) {
    rest.photo = whole.photo;
    rest.photoType = whole.photoType;
  }
  if (held.note.empty()) rest.note = whole.note;
  if (held.nickname.empty()) rest.nickname = whole.nickname;
  if (held.formattedName.empty()) rest.formattedName = whole.formattedName;
  return rest;
}

void MoveUnheldToExtras(Contact& contact, const ContactContent& held) {
  Contact rest;
  static_cast<ContactContent&>(rest) = UnheldOf(contact, held);
  rest.hidden = contact.hidden;
  // The labels of what the book holds, by its places there.
  std::vector<HiddenLabel> labels;
  std::vector<std::optional<PostalAddress>> places = held.addresses;
  std::vector<std::optional<size_t>> placeOf(contact.addresses.size());
  for (size_t i = 0; i < contact.addresses.size(); ++i) {
    const auto same =
        contact.addresses[i] ? std::ranges::find(places, contact.addresses[i]) : places.end();
    if (same == places.end()) continue;
    placeOf[i] = static_cast<size_t>(same - places.begin());
    same->reset();
  }
  const auto holds = [&](const auto& values, std::u16string_view value) {
    return std::ranges::any_of(values, [&](const auto& each) { return each.value == value; });
  };
  labels = MailLabels(contact, held);
  if (!held.organisations.empty()) {
    const Organisation& first = held.organisations.front();
    const auto own = std::ranges::find_if(contact.organisations, [&](const Organisation& each) {
      return each.name == first.name && each.department == first.department;
    });
    const bool isLabelled = std::ranges::any_of(contact.hidden, [&](const HiddenLabel& label) {
      return IsOf(kOrganisationLabels, label) && label.value == first.name;
    });
    if (own != contact.organisations.end() && own->kind != first.kind && !isLabelled) {
      labels.push_back(
          LabelOfKind(kOrganisationLabels, static_cast<int32_t>(own->kind), first.name));
    }
  }
  for (HiddenLabel label : contact.hidden) {
    if (IsOf(kMailLabels, label)) continue;
    if (IsOf(kAddressLabels, label)) {
      const int32_t place = ToInt(label.value);
      if (place < 0 || static_cast<size_t>(place) >= placeOf.size()) continue;
      const auto& other = placeOf[static_cast<size_t>(place)];
      if (!other) continue;
      label.value = Decimal(static_cast<int64_t>(*other));
    }
    if (IsOf(kPhoneLabels, label) && !holds(held.telephones, label.value)) continue;
    if (IsOf(kMessengerLabels, label) && !holds(held.messengers, label.value)) continue;
    labels.push_back(std::move(label));
  }
  contact.hidden = std::move(labels);
  Append(contact.fields.extras, LinesOf(rest));
}

void TakeUnheldFromExtras(Contact& contact) {
  ApplyKinds(contact);
  std::vector<ExtraProperty> lines;
  std::vector<ExtraProperty> others;
  for (ExtraProperty& extra : contact.fields.extras) {
    (IsUnheldLine(extra, contact) ? lines : others).push_back(std::move(extra));
  }
  contact.fields.extras = std::move(others);
  if (lines.empty()) return;
  Contact card = CardOf(lines);
  // Labels of addresses go by the place.
  for (HiddenLabel& label : card.hidden) {
    if (!IsOf(kAddressLabels, label)) continue;
    label.value = Decimal(ToInt(label.value) + static_cast<int64_t>(contact.addresses.size()));
  }
  // Of two single ones the second is an extra of the card.
  Append(contact.telephones, std::move(card.telephones));
  Append(contact.mails, std::move(card.mails));
  Append(contact.webAddresses, std::move(card.webAddresses));
  Append(contact.addresses, std::move(card.addresses));
  Append(contact.organisations, std::move(card.organisations));
  Append(contact.jobTitles, std::move(card.jobTitles));
  Append(contact.messengers, std::move(card.messengers));
  Append(contact.events, std::move(card.events));
  Append(contact.groupUids, std::move(card.groupUids));
  Append(contact.groupNames, std::move(card.groupNames));
  Append(contact.hidden, std::move(card.hidden));
  if (contact.photo.empty()) {
    contact.photo = std::move(card.photo);
    contact.photoType = std::move(card.photoType);
  }
  if (contact.note.empty()) contact.note = std::move(card.note);
  if (contact.nickname.empty()) contact.nickname = std::move(card.nickname);
  if (contact.formattedName.empty()) contact.formattedName = std::move(card.formattedName);
  Append(contact.fields.extras, std::move(card.fields.extras));
}

ContactContent UnheldIn(const std::vector<ExtraProperty>& extras) {
  std::vector<ExtraProperty> lines;
  std::ranges::copy_if(extras, std::back_inserter(lines), [](const ExtraProperty& extra) {
    return IsUnheldLine(extra, ContactContent());
  });
  return lines.empty() ? ContactContent() : static_cast<ContactContent>(CardOf(lines));
}

}  // namespace qv
