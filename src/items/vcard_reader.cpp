#include <algorithm>

#include "items/kinds.h"
#include "items/vcard.h"
#include "items/vcard_labels.h"
#include "items/vcard_nesting.h"
#include "items/vcard_tables.h"
#include "items/vcard_values.h"
#include "support/text.h"
#include "support/vobject/decode.h"
#include "support/vobject/marked_text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

// Reads one card. Each Read* takes a property into the contact; false says that it has no place
// there, so that it is kept as an extra. A field that holds one value keeps the first that is not
// empty.
//
// What is an extra must not depend on the dialect: a card is written back in the old one, extras
// as they stood, and must read the same. Dates, pictures and URIs are therefore unfolded in one
// way only.
class CardReader {
 public:
  explicit CardReader(std::string_view text) : reader_(text) {}

  // False when no card with an end begins in the text.
  bool Read();
  Contact Take();

 private:
  bool FindBegin();
  void ReadProperty(const Line& line);
  bool ReadField(const VCardProperty& property, const Line& line);
  void ReadNested(const Line& begin, bool card);
  void KeepExtra(const Line& line);

  void ReadVersion(const Line& line);
  bool ReadUid(const Line& line);
  bool ReadRevision(const Line& line);
  bool ReadName(const Line& line);
  bool ReadText(const Line& line, TextMember member);
  bool ReadTelephone(const Line& line);
  bool ReadMail(const Line& line);
  bool ReadWeb(const Line& line);
  bool ReadAddress(const Line& line);
  bool ReadOrganisation(const Line& line);
  bool ReadTitle(const Line& line);
  bool ReadMessenger(const Line& line, const VCardProperty& property);
  bool ReadEvent(const Line& line, EventKind kind);
  bool ReadPhoto(const Line& line);
  bool ReadGroupUids(const Line& line);
  bool ReadGroupName(const Line& line);

  // Escapes undone; nothing for a value that cannot be decoded.
  std::optional<std::u16string> TextOf(const Line& line);
  bool SplitInto(const Line& line, Surplus surplus, std::span<std::u16string> parts);
  // Free of folds in either dialect.
  std::optional<std::string_view> TokenOf(const Line& line);
  void KeepMailLabel(Label label);

  LineReader reader_;
  ValueDecoder decoder_;
  Dialect dialect_ = Dialect::Old;
  bool ended_ = false;
  Contact contact_;
  std::vector<HiddenLabel> phoneLabels_;
  std::vector<HiddenLabel> mailLabels_;  // empty, or one per address
  std::vector<HiddenLabel> addressLabels_;
  std::vector<HiddenLabel> organisationLabels_;
  std::vector<HiddenLabel> messengerLabels_;
};

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

bool CardReader::Read() {
  if (!FindBegin()) return false;
  for (Line line; !ended_ && reader_.Next(line);) ReadProperty(line);
  return ended_;
}

bool CardReader::FindBegin() {
  for (Line line; reader_.Next(line);) {
    if (EnvelopeOf(line) == Envelope::BeginCard) return true;
  }
  return false;
}

void CardReader::ReadProperty(const Line& line) {
  const VCardProperty* property = FindVCardProperty(line.name);
  if (property == nullptr) return KeepExtra(line);
  switch (property->field) {
    case VCardField::Begin:
    case VCardField::End:
      switch (EnvelopeOf(line)) {
        case Envelope::EndCard:
          ended_ = true;
          return;
        case Envelope::BeginCard:
          return ReadNested(line, true);
        case Envelope::BeginOther:
          return ReadNested(line, false);
        default:
          return KeepExtra(line);
      }
    case VCardField::Version:
      return ReadVersion(line);
    case VCardField::Envelope:
      return;
    default:
      if (line.malformed || !ReadField(*property, line)) KeepExtra(line);
  }
}

bool CardReader::ReadField(const VCardProperty& property, const Line& line) {
  switch (property.field) {
    case VCardField::Uid:
      return ReadUid(line);
    case VCardField::Revision:
      return ReadRevision(line);
    case VCardField::Name:
      return ReadName(line);
    case VCardField::Text:
      return ReadText(line, property.text);
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

// A component inside the card is one extra, from its BEGIN to the end of its END. One without an
// end reaches to the end of the card.
void CardReader::ReadNested(const Line& begin, bool card) {
  const size_t valueBegin = static_cast<size_t>(begin.value.data() - reader_.text().data());
  const std::string_view header = begin.header;
  size_t valueEnd = begin.end;
  Nesting<bool> nesting;
  nesting.Push(card, true);
  for (Line line; !nesting.empty() && !ended_ && reader_.Next(line);) {
    const Envelope envelope = EnvelopeOf(line);
    if (envelope == Envelope::BeginCard || envelope == Envelope::BeginOther) {
      nesting.Push(envelope == Envelope::BeginCard, true);
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, false);
    } else if (envelope == Envelope::EndCard) {
      ended_ = !nesting.Pop(true, false);
    }
    if (!ended_) valueEnd = line.end;
  }
  const std::string_view value = reader_.text().substr(valueBegin, valueEnd - valueBegin);
  contact_.fields.extras.push_back({TextFromRaw(header), TextFromRaw(value)});
}

void CardReader::KeepExtra(const Line& line) {
  contact_.fields.extras.push_back({TextFromRaw(line.header), TextFromRaw(line.value)});
}

std::optional<std::u16string> CardReader::TextOf(const Line& line) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return std::nullopt;
  return Unescape(*text, dialect_);
}

bool CardReader::SplitInto(const Line& line, Surplus surplus, std::span<std::u16string> parts) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return false;
  SplitValue(*text, dialect_, surplus, parts);
  return true;
}

std::optional<std::string_view> CardReader::TokenOf(const Line& line) {
  return decoder_.Octets(line, Dialect::Modern);
}

void CardReader::ReadVersion(const Line& line) {
  const std::string_view version = Trimmed(line.value);
  dialect_ = version.starts_with('3') || version.starts_with('4') ? Dialect::Modern : Dialect::Old;
}

bool CardReader::ReadUid(const Line& line) {
  if (!contact_.fields.objUid.empty()) return false;
  // A uid is an identity: its NUL is encoded, not replaced.
  const auto text = decoder_.Text(line, dialect_, true);
  if (!text) return false;
  contact_.fields.objUid = EncodeUid(Unescape(*text, dialect_));
  return true;
}

bool CardReader::ReadRevision(const Line& line) {
  const auto token = TokenOf(line);
  if (!token || contact_.fields.objModified != 0.0) return false;
  if (token->empty()) return true;
  const std::optional<DATE> moment = ParseMoment(*token);
  if (!moment) return false;
  contact_.fields.objModified = *moment;
  return true;
}

bool CardReader::ReadName(const Line& line) {
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

bool CardReader::ReadText(const Line& line, TextMember member) {
  if (!(contact_.*member).empty()) return false;
  auto text = TextOf(line);
  if (!text) return false;
  contact_.*member = std::move(*text);
  return true;
}

bool CardReader::ReadTelephone(const Line& line) {
  auto number = TextOf(line);
  if (!number || IsFull(contact_.telephones)) return false;
  if (EqualsIgnoreCase(std::u16string_view(*number).substr(0, kTelScheme.size()), kTelScheme)) {
    number->erase(0, kTelScheme.size());
  }
  Label label = ReadLabel(kPhoneLabels, line);
  contact_.telephones.push_back({static_cast<PhoneKind>(label.kind), std::move(*number)});
  if (label.hidden) {
    phoneLabels_.push_back(RowOf(kPhoneLabels, std::move(label), contact_.telephones.back().value));
  }
  return true;
}

bool CardReader::ReadMail(const Line& line) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.mails)) return false;
  Label label = ReadLabel(kMailLabels, line);
  contact_.mails.push_back({static_cast<MailKind>(label.kind), std::move(*address)});
  KeepMailLabel(std::move(label));
  return true;
}

// Mail rows count along with the addresses: from the first label on each address has a row, and
// those before get theirs. An address without text cannot keep a label.
void CardReader::KeepMailLabel(Label label) {
  const std::u16string& address = contact_.mails.back().value;
  const bool labelled = label.hidden && !address.empty();
  if (!labelled && mailLabels_.empty()) return;
  mailLabels_.resize(contact_.mails.size(),
                     {std::u16string(kMailLabels.hiddenProperty), u"", u"", false});
  if (labelled) mailLabels_.back() = RowOf(kMailLabels, std::move(label), address);
}

bool CardReader::ReadWeb(const Line& line) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.webAddresses)) return false;
  const Label label = ReadLabel(kWebLabels, line);
  contact_.webAddresses.push_back({static_cast<PlaceKind>(label.kind), std::move(*address)});
  return true;
}

bool CardReader::ReadAddress(const Line& line) {
  PostalAddress address;
  if (IsFull(contact_.addresses) || !SplitInto(line, Surplus::JoinTrimmed, address.parts)) {
    return false;
  }
  Label label = ReadLabel(kAddressLabels, line);
  address.kind = static_cast<PlaceKind>(label.kind);
  if (label.hidden) {
    addressLabels_.push_back(RowOf(kAddressLabels, std::move(label),
                                   Decimal(static_cast<int64_t>(contact_.addresses.size()))));
  }
  contact_.addresses.push_back(std::move(address));
  return true;
}

bool CardReader::ReadOrganisation(const Line& line) {
  std::array<std::u16string, 2> parts;
  if (IsFull(contact_.organisations) || !SplitInto(line, Surplus::Join, parts)) return false;
  Label label = ReadLabel(kOrganisationLabels, line);
  contact_.organisations.push_back(
      {static_cast<OrganisationKind>(label.kind), std::move(parts[0]), std::move(parts[1])});
  if (label.hidden) {
    organisationLabels_.push_back(
        RowOf(kOrganisationLabels, std::move(label), contact_.organisations.back().name));
  }
  return true;
}

bool CardReader::ReadTitle(const Line& line) {
  auto title = TextOf(line);
  if (!title || IsFull(contact_.jobTitles)) return false;
  contact_.jobTitles.push_back(std::move(*title));
  return true;
}

bool CardReader::ReadMessenger(const Line& line, const VCardProperty& property) {
  auto address = TextOf(line);
  if (!address || IsFull(contact_.messengers)) return false;
  int32_t kind = property.kind;
  if (property.foreign && kind == 0) kind = TakeMessengerScheme(*address);
  Label label = ReadLabel(kMessengerLabels, line, kind);
  contact_.messengers.push_back({static_cast<MessengerKind>(label.kind), std::move(*address)});
  if (label.hidden) {
    messengerLabels_.push_back(
        RowOf(kMessengerLabels, std::move(label), contact_.messengers.back().value));
  }
  return true;
}

bool CardReader::ReadEvent(const Line& line, EventKind kind) {
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

bool CardReader::ReadPhoto(const Line& line) {
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

bool CardReader::ReadGroupUids(const Line& line) {
  const auto text = decoder_.Text(line, dialect_);
  if (!text) return false;
  std::u16string_view rest = *text;
  for (std::u16string uid; NextComponent(rest, dialect_, uid);) {
    if (!uid.empty()) contact_.groupUids.push_back(EncodeUid(uid));
  }
  return true;
}

bool CardReader::ReadGroupName(const Line& line) {
  auto name = TextOf(line);
  if (!name) return false;
  if (!name->empty()) contact_.groupNames.push_back(std::move(*name));
  return true;
}

Contact CardReader::Take() {
  std::vector<HiddenLabel>& hidden = contact_.hidden;
  const auto value = [](const auto& entry) -> std::u16string_view { return entry.value; };
  const auto name = [](const Organisation& entry) -> std::u16string_view { return entry.name; };
  AppendInOrderOfUse(kPhoneLabels, phoneLabels_, contact_.telephones, value, hidden);
  std::move(mailLabels_.begin(), mailLabels_.end(), std::back_inserter(hidden));
  std::move(addressLabels_.begin(), addressLabels_.end(), std::back_inserter(hidden));
  AppendInOrderOfUse(kOrganisationLabels, organisationLabels_, contact_.organisations, name,
                     hidden);
  AppendInOrderOfUse(kMessengerLabels, messengerLabels_, contact_.messengers, value, hidden);
  return std::move(contact_);
}

std::optional<Contact> ReadFirstCard(std::string_view text) {
  CardReader reader(text);
  if (!reader.Read()) return std::nullopt;
  return reader.Take();
}

}  // namespace

std::optional<Contact> ParseVCard(std::string_view text) {
  std::string buffer;
  text = WithoutMark(text, buffer);
  std::optional<Contact> contact = ReadFirstCard(text);
  if (contact) return contact;
  // A card that is cut off may stand before a whole one.
  const std::vector<std::string_view> cards = SplitVCards(text);
  return cards.empty() ? std::nullopt : ReadFirstCard(cards.front());
}

}  // namespace qv
