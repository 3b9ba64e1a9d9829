#include "items/vcard_fields.h"

#include <algorithm>
#include <array>

#include "items/kinds.h"
#include "items/moment_text.h"
#include "items/uid_text.h"
#include "items/vcard.h"
#include "items/vcard_values.h"
#include "support/text.h"

namespace qv {
namespace {

HiddenLabel RowOf(const LabelFamily& family, Label label, std::u16string_view value) {
  return {std::u16string(label.custom ? family.customProperty : family.hiddenProperty),
          std::u16string(value), std::move(label.extended), label.custom};
}

template <class List>
bool IsFull(const List& list) {
  return list.size() >= kMaxListEntries;
}

// A row goes to the first value that it fits. Where values repeat that need not be the one it came
// from, so the rows are put in the order in which the values will use them: reading what was
// written then gives the same rows.
template <class Values, class KeyOf>
void AppendInOrderOfUse(const LabelFamily& family, std::vector<HiddenLabel>& rows,
                        const Values& values, KeyOf keyOf, std::vector<HiddenLabel>& out) {
  if (rows.size() == values.size() || rows.size() < 2) {
    std::move(rows.begin(), rows.end(), std::back_inserter(out));
    return;
  }
  ValueLabels labels(family, rows);
  for (const auto& value : values) {
    const HiddenLabel* row = labels.Take(static_cast<int32_t>(value.kind), keyOf(value));
    if (row != nullptr) out.push_back(*row);
  }
}

}  // namespace

bool VCardFields::Read(const VCardProperty& property, const Line& line) {
  if (line.malformed || line.bare) return false;
  switch (property.field) {
    case VCardField::Uid:
      return ReadUid(line);
    case VCardField::Revision:
      return ReadRevision(line);
    case VCardField::Name:
      return ReadName(line);
    case VCardField::Text:
      return ReadText(line, property);
    case VCardField::Telephone:
      return ReadTelephone(line);
    case VCardField::Mail:
      return ReadMail(line);
    case VCardField::Web:
      return ReadWeb(line);
    case VCardField::Address:
      return ReadAddress(line);
    case VCardField::Organisation:
      return ReadOrganisation(line);
    case VCardField::Title:
      return ReadTitle(line);
    case VCardField::Messenger:
      return ReadMessenger(line, property);
    case VCardField::Event:
      return ReadEvent(line, static_cast<EventKind>(property.kind));
    case VCardField::Photo:
      return ReadPhoto(line);
    case VCardField::GroupUids:
      return ReadGroupUids(line);
    case VCardField::GroupName:
      return ReadGroupName(line);
    default:
      return false;
  }
}

std::optional<std::u16string> VCardFields::TextOf(const Line& line) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return std::nullopt;
  return Unescape(*text, dialect_);
}

bool VCardFields::SplitInto(const Line& line, Surplus surplus, std::span<std::u16string> parts) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return false;
  SplitValue(*text, dialect_, surplus, parts);
  return true;
}

std::optional<std::string_view> VCardFields::TokenOf(const Line& line) {
  return decoder_.Token(line, dialect_);
}

bool VCardFields::ReadUid(const Line& line) {
  if (!contact_.fields.objUid.empty()) return false;
  // A uid is an identity: its NUL is encoded, not replaced.
  const auto text = decoder_.Text(line, dialect_, true);
  if (!text) return false;
  contact_.fields.objUid = EncodeUid(Unescape(*text, dialect_));
  return true;
}

bool VCardFields::ReadRevision(const Line& line) {
  const auto token = TokenOf(line);
  if (!token || contact_.fields.objModified != 0.0) return false;
  if (token->empty()) return true;
  const std::optional<DATE> moment = ParseMoment(*token);
  if (!moment) return false;
  contact_.fields.objModified = *moment;
  return true;
}

bool VCardFields::ReadName(const Line& line) {
  for (const TextMember member :
       {&ContactContent::familyName, &ContactContent::givenName, &ContactContent::additionalNames,
        &ContactContent::namePrefix, &ContactContent::nameSuffix}) {
    if (!(contact_.*member).empty()) return false;
  }
  std::array<std::u16string, 5> parts;
  if (!SplitInto(line, Surplus::JoinTrimmed, parts)) return false;
  contact_.familyName = std::move(parts[0]);
  contact_.givenName = std::move(parts[1]);
  contact_.additionalNames = std::move(parts[2]);
  contact_.namePrefix = std::move(parts[3]);
  contact_.nameSuffix = std::move(parts[4]);
  return true;
}

bool VCardFields::ReadText(const Line& line, const VCardProperty& property) {
  std::u16string& member = contact_.*property.text;
  if (!member.empty()) return false;
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return false;
  if (!property.isList) {
    member = Unescape(*text, dialect_);
    return true;
  }
  const std::u16string list =
      dialect_ == Dialect::Modern ? OldEscapes(*text, u',') : std::u16string(*text);
  member = OldListText(list);
  std::u16string written = member;
  ReplaceAll(written, u"\\", u"\\\\");
  if (written != list) lists_.push_back(ListExtra(WrittenName(property.text), list));
  return true;
}

bool VCardFields::ReadTelephone(const Line& line) {
  auto number = TextOf(line);
  if (!number || IsFull(contact_.telephones)) return false;
  if (EqualsIgnoreCase(std::u16string_view(*number).substr(0, kTelScheme.size()), kTelScheme)) {
    number->erase(0, kTelScheme.size());
  }
  Label label = ReadLabel(kPhoneLabels, line, dialect_);
  contact_.telephones.push_back({static_cast<PhoneKind>(label.kind), std::move(*number)});
  if (label.hidden) {
    phoneLabels_.push_back(RowOf(kPhoneLabels, std::move(label), contact_.telephones.back().value));
  }
  return true;
}

bool VCardFields::ReadMail(const Line& line) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.mails)) return false;
  Label label = ReadLabel(kMailLabels, line, dialect_);
  contact_.mails.push_back({static_cast<MailKind>(label.kind), std::move(*address)});
  KeepMailLabel(std::move(label));
  return true;
}

// Mail rows count along with the addresses: from the first label on each address has a row, and
// those before get theirs. An address without text cannot keep a label.
void VCardFields::KeepMailLabel(Label label) {
  const std::u16string& address = contact_.mails.back().value;
  const bool labelled = label.hidden && !address.empty();
  if (!labelled && mailLabels_.empty()) return;
  mailLabels_.resize(contact_.mails.size(),
                     {std::u16string(kMailLabels.hiddenProperty), u"", u"", false});
  if (labelled) mailLabels_.back() = RowOf(kMailLabels, std::move(label), address);
}

bool VCardFields::ReadWeb(const Line& line) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.webAddresses)) return false;
  Label label = ReadLabel(kWebLabels, line, dialect_);
  contact_.webAddresses.push_back({static_cast<PlaceKind>(label.kind), std::move(*address)});
  if (label.hidden) {
    webLabels_.push_back(RowOf(kWebLabels, std::move(label), contact_.webAddresses.back().value));
  }
  return true;
}

bool VCardFields::ReadAddress(const Line& line) {
  PostalAddress address;
  if (IsFull(contact_.addresses) || !SplitInto(line, Surplus::JoinTrimmed, address.parts)) {
    return false;
  }
  Label label = ReadLabel(kAddressLabels, line, dialect_);
  address.kind = static_cast<PlaceKind>(label.kind);
  if (label.hidden) {
    addressLabels_.push_back(RowOf(kAddressLabels, std::move(label),
                                   Decimal(static_cast<int64_t>(contact_.addresses.size()))));
  }
  contact_.addresses.push_back(std::move(address));
  return true;
}

bool VCardFields::ReadOrganisation(const Line& line) {
  std::array<std::u16string, 2> parts;
  if (IsFull(contact_.organisations) || !SplitInto(line, Surplus::Join, parts)) return false;
  Label label = ReadLabel(kOrganisationLabels, line, dialect_);
  contact_.organisations.push_back(
      {static_cast<OrganisationKind>(label.kind), std::move(parts[0]), std::move(parts[1])});
  if (label.hidden) {
    organisationLabels_.push_back(
        RowOf(kOrganisationLabels, std::move(label), contact_.organisations.back().name));
  }
  return true;
}

bool VCardFields::ReadTitle(const Line& line) {
  auto title = TextOf(line);
  if (!title || IsFull(contact_.jobTitles)) return false;
  contact_.jobTitles.push_back(std::move(*title));
  return true;
}

bool VCardFields::ReadMessenger(const Line& line, const VCardProperty& property) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.messengers)) return false;
  int32_t kind = property.kind;
  if (property.foreign && kind == 0) kind = TakeMessengerScheme(*address);
  Label label = ReadLabel(kMessengerLabels, line, dialect_, kind);
  contact_.messengers.push_back({static_cast<MessengerKind>(label.kind), std::move(*address)});
  if (label.hidden) {
    messengerLabels_.push_back(
        RowOf(kMessengerLabels, std::move(label), contact_.messengers.back().value));
  }
  return true;
}

bool VCardFields::ReadEvent(const Line& line, EventKind kind) {
  for (const DatedEvent& event : contact_.events) {
    if (event.kind == kind) return false;
  }
  // The year of such a date is a stand-in.
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    if (SameWord(parameter.name, "X-APPLE-OMIT-YEAR")) return false;
  }
  const auto token = TokenOf(line);
  if (!token) return false;
  if (token->empty()) return true;
  const std::optional<DATE> day = ParseDay(*token);
  if (!day) return false;
  contact_.events.push_back({kind, *day});
  return true;
}

bool VCardFields::ReadPhoto(const Line& line) {
  const auto token = TokenOf(line);
  if (!token || !contact_.photo.empty()) return false;
  if (token->empty()) return true;
  std::u16string type;
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; type.empty() && parameters.Next(parameter);) {
    const bool named = SameWord(parameter.name, "TYPE") || SameWord(parameter.name, "MEDIATYPE");
    if (named || (parameter.name.empty() && !IsTransport(parameter))) {
      type = PhotoTypeOf(parameter.value);
    }
  }
  if (line.encoding == ValueEncoding::Base64) {
    contact_.photo = *token;
  } else {
    std::string uri(*token);
    std::erase(uri, '\\');  // the modern dialect may escape the comma
    std::optional<DataUri> data = ParseDataUri(uri);
    if (!data) return false;
    contact_.photo = std::move(data->bytes);
    if (std::u16string media = PhotoTypeOf(data->mediaType); !media.empty()) type = media;
  }
  if (!contact_.photo.empty()) contact_.photoType = type.empty() ? u"JPEG" : type;
  return true;
}

bool VCardFields::ReadGroupUids(const Line& line) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return false;
  std::u16string_view rest = *text;
  std::vector<std::u16string> uids;
  size_t room = kMaxListEntries - std::min(kMaxListEntries, contact_.groupUids.size());
  for (std::u16string uid; NextComponent(rest, dialect_, uid); --room) {
    if (room == 0) return false;
    if (!uid.empty()) uids.push_back(EncodeUid(uid));
  }
  std::move(uids.begin(), uids.end(), std::back_inserter(contact_.groupUids));
  return true;
}

// The whole value is the name: nothing in it is escaped. The names are not written, so none is kept
// as an extra either.
bool VCardFields::ReadGroupName(const Line& line) {
  const auto name = decoder_.Text(line, dialect_);
  if (!name) return false;
  if (!name->empty() && !IsFull(contact_.groupNames)) contact_.groupNames.emplace_back(*name);
  return true;
}

Contact VCardFields::Take() {
  std::vector<HiddenLabel>& hidden = contact_.hidden;
  const auto value = [](const auto& entry) -> std::u16string_view { return entry.value; };
  const auto name = [](const Organisation& entry) -> std::u16string_view { return entry.name; };
  AppendInOrderOfUse(kPhoneLabels, phoneLabels_, contact_.telephones, value, hidden);
  std::move(mailLabels_.begin(), mailLabels_.end(), std::back_inserter(hidden));
  std::move(addressLabels_.begin(), addressLabels_.end(), std::back_inserter(hidden));
  AppendInOrderOfUse(kOrganisationLabels, organisationLabels_, contact_.organisations, name,
                     hidden);
  AppendInOrderOfUse(kMessengerLabels, messengerLabels_, contact_.messengers, value, hidden);
  std::vector<HiddenLabel> web;
  AppendInOrderOfUse(kWebLabels, webLabels_, contact_.webAddresses, value, web);
  std::vector<ExtraProperty>& extras = contact_.fields.extras;
  extras.insert(extras.begin(), std::make_move_iterator(lists_.begin()),
                std::make_move_iterator(lists_.end()));
  extras.insert(extras.begin(), web.size(), {});
  std::transform(web.begin(), web.end(), extras.begin(), WebLabelExtra);
  return std::move(contact_);
}

}  // namespace qv
