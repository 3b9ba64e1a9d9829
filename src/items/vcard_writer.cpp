#include <array>

#include "items/extra.h"
#include "items/moment_text.h"
#include "items/uid_text.h"
#include "items/vcard.h"
#include "items/vcard_labels.h"
#include "items/vcard_tables.h"
#include "items/vcard_values.h"
#include "support/text.h"
#include "support/vobject/encode.h"

namespace qv {
namespace {

// The old grammar knows no lists in cards; programs that have them put commas between the values.
constexpr std::string_view kListNames[] = {"CATEGORIES", "NICKNAME"};
constexpr ListProperties kLists = {kListNames, u','};

// The order of the properties, and of the texts among them, is fixed: equal contacts give equal
// bytes.
class CardWriter {
 public:
  explicit CardWriter(const Contact& contact) : contact_(contact) {}
  std::string Write();

 private:
  void WriteIdentity();
  void WriteText(TextMember member);
  void WriteTelephones();
  void WriteMails();
  void WriteWebAddresses();
  void WriteAddresses();
  void WriteOrganisations();
  void WriteMessengers();
  void WriteEvents();
  void WriteGroups();
  void WritePhoto();
  void WriteExtras();
  void Line(std::string_view header, std::string_view value);

  const Contact& contact_;
  LineWriter writer_;
};

template <class Kind>
int32_t Number(Kind kind) {
  return static_cast<int32_t>(kind);
}

// Room for the card without growing: most properties are short.
size_t EstimateSize(const Contact& contact) {
  size_t size = 512 + contact.note.size() * 2 + contact.photo.size() / 3 * 4 * 78 / 75;
  for (const ExtraProperty& extra : contact.fields.extras) {
    size += extra.property.size() + extra.value.size() + 3;
  }
  return size;
}

void CardWriter::Line(std::string_view header, std::string_view value) {
  writer_.Begin(header);
  writer_.Plain(value);
}

std::string CardWriter::Write() {
  writer_.Reserve(EstimateSize(contact_));
  Line("BEGIN", "VCARD");
  Line("VERSION", "2.1");
  WriteIdentity();
  const std::array<std::u16string, 5> name = {contact_.familyName, contact_.givenName,
                                              contact_.additionalNames, contact_.namePrefix,
                                              contact_.nameSuffix};
  writer_.Begin("N");
  writer_.Parts(name);
  WriteText(&ContactContent::formattedName);
  WriteText(&ContactContent::nickname);
  WriteTelephones();
  WriteMails();
  WriteWebAddresses();
  WriteAddresses();
  WriteOrganisations();
  WriteMessengers();
  WriteEvents();
  WriteText(&ContactContent::note);
  WriteGroups();
  WritePhoto();
  WriteExtras();
  Line("END", "VCARD");
  return writer_.Take();
}

void CardWriter::WriteIdentity() {
  if (!contact_.fields.objUid.empty()) {
    writer_.Begin("UID");
    writer_.Text(DecodeUid(contact_.fields.objUid));
  }
  const std::string revision = MomentText(contact_.fields.objModified);
  if (!revision.empty()) Line("REV", revision);
}

void CardWriter::WriteText(TextMember member) {
  const std::u16string& text = contact_.*member;
  if (text.empty()) return;
  writer_.Begin(WrittenName(member));
  const std::u16string* list = FindList(contact_.fields.extras, WrittenName(member), text);
  list == nullptr ? writer_.Text(text) : writer_.Escaped(*list);
}

void CardWriter::WriteTelephones() {
  ValueLabels labels(kPhoneLabels, contact_.hidden);
  for (const Telephone& telephone : contact_.telephones) {
    const int32_t kind = Number(telephone.kind);
    BeginLabelled(writer_, kPhoneLabels, kind, labels.Take(kind, telephone.value));
    // The reader takes one scheme off.
    const bool scheme = EqualsIgnoreCase(
        std::u16string_view(telephone.value).substr(0, kTelScheme.size()), kTelScheme);
    writer_.Text(scheme ? std::u16string(kTelScheme) + telephone.value : telephone.value);
  }
}

void CardWriter::WriteMails() {
  std::vector<const HiddenLabel*> rows;
  for (const HiddenLabel& row : contact_.hidden) {
    if (IsOf(kMailLabels, row)) rows.push_back(&row);
  }
  for (size_t i = 0; i < contact_.mails.size(); ++i) {
    const Mail& mail = contact_.mails[i];
    const bool labelled = i < rows.size() && rows[i]->value == mail.value;
    BeginLabelled(writer_, kMailLabels, Number(mail.kind), labelled ? rows[i] : nullptr);
    writer_.Text(mail.value);
  }
}

void CardWriter::WriteWebAddresses() {
  std::vector<HiddenLabel> rows;
  for (const ExtraProperty& extra : contact_.fields.extras) {
    if (extra.label) rows.push_back(WebLabelOf(extra));
  }
  ValueLabels labels(kWebLabels, rows);
  for (const WebAddress& address : contact_.webAddresses) {
    const int32_t kind = Number(address.kind);
    BeginLabelled(writer_, kWebLabels, kind, labels.Take(kind, address.value));
    writer_.Text(address.value);
  }
}

void CardWriter::WriteAddresses() {
  std::vector<const HiddenLabel*> rows(contact_.addresses.size());
  for (const HiddenLabel& row : contact_.hidden) {
    if (!IsOf(kAddressLabels, row)) continue;
    const int32_t position = ToInt(row.value);
    if (position < 0 || static_cast<size_t>(position) >= rows.size()) continue;
    const HiddenLabel*& slot = rows[static_cast<size_t>(position)];
    if (slot == nullptr) slot = &row;
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    const std::optional<PostalAddress>& address = contact_.addresses[i];
    if (!address) continue;
    BeginLabelled(writer_, kAddressLabels, Number(address->kind), rows[i]);
    writer_.Parts(address->parts);
  }
}

void CardWriter::WriteOrganisations() {
  ValueLabels labels(kOrganisationLabels, contact_.hidden);
  for (const Organisation& organisation : contact_.organisations) {
    const int32_t kind = Number(organisation.kind);
    BeginLabelled(writer_, kOrganisationLabels, kind, labels.Take(kind, organisation.name));
    writer_.NameAndRest(organisation.name, organisation.department);
  }
  for (const std::u16string& title : contact_.jobTitles) {
    writer_.Begin("TITLE");
    writer_.Text(title);
  }
}

void CardWriter::WriteMessengers() {
  ValueLabels labels(kMessengerLabels, contact_.hidden);
  for (const Messenger& messenger : contact_.messengers) {
    const int32_t kind = Number(messenger.kind);
    BeginLabelled(writer_, kMessengerLabels, kind, labels.Take(kind, messenger.value));
    writer_.Text(messenger.value);
  }
}

void CardWriter::WriteEvents() {
  for (const DatedEvent& event : contact_.events) {
    const std::string day = DayText(event.date);
    if (!day.empty()) Line(WrittenName(event.kind), day);
  }
}

void CardWriter::WriteGroups() {
  if (contact_.groupUids.empty()) return;
  std::vector<std::u16string> uids;
  uids.reserve(contact_.groupUids.size());
  for (const std::u16string& uid : contact_.groupUids) uids.push_back(DecodeUid(uid));
  writer_.Begin("X-GRPUUID");
  writer_.Parts(uids);
}

void CardWriter::WritePhoto() {
  if (contact_.photo.empty()) return;
  const std::u16string type = PhotoTypeOf(ToUtf8(contact_.photoType));
  writer_.Begin("PHOTO;ENCODING=BASE64;TYPE=");
  writer_.Append(type.empty() ? "JPEG" : ToUtf8(type));
  writer_.Base64(contact_.photo);
}

void CardWriter::WriteExtras() {
  for (const ExtraProperty& extra : contact_.fields.extras) {
    WriteExtra(writer_, extra, "VCARD", kLists);
  }
}

}  // namespace

std::string WriteVCard(const Contact& contact) {
  return CardWriter(contact).Write();
}

}  // namespace qv
