#include "items/extra.h"
#include "items/kinds.h"
#include "items/nesting.h"
#include "items/vcard.h"
#include "items/vcard_fields.h"
#include "items/version.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

constexpr std::string_view kOwn = "VCARD";
constexpr std::string_view kModernVersions = "34";

// Finds one card and walks its properties: fields go to the contact, the rest becomes extras.
class CardReader {
 public:
  explicit CardReader(std::string_view text) : reader_(text) {}

  // False when no card with an end begins in the text.
  bool Read();
  Contact Take() { return fields_.Take(); }

 private:
  bool FindBegin();
  void ReadProperty(const Line& line);
  void ReadEnvelope(const Line& line);
  void KeepExtra(ExtraProperty extra);

  LineReader reader_;
  Dialect dialect_ = Dialect::Old;
  VCardFields fields_;
  bool ended_ = false;
  bool overfull_ = false;
};

bool CardReader::Read() {
  if (!FindBegin()) return false;
  dialect_ = DialectAhead(reader_, kOwn, kModernVersions);
  fields_.SetDialect(dialect_);
  for (Line line; !ended_ && !overfull_ && reader_.Next(line);) ReadProperty(line);
  return ended_ && !overfull_;
}

bool CardReader::FindBegin() {
  for (Line line; reader_.Next(line);) {
    if (EnvelopeOf(line, kOwn) == Envelope::BeginOwn) return true;
  }
  return false;
}

void CardReader::ReadProperty(const Line& line) {
  const VCardProperty* property = FindVCardProperty(line.name);
  const VCardField field = property == nullptr ? VCardField::None : property->field;
  switch (field) {
    case VCardField::Begin:
    case VCardField::End:
      return ReadEnvelope(line);
    case VCardField::Version:
    case VCardField::Producer:
      return;
    case VCardField::None:
      return KeepExtra(ExtraOf(line, dialect_));
    default:
      if (!fields_.Read(*property, line)) KeepExtra(ExtraOf(line, dialect_));
  }
}

void CardReader::ReadEnvelope(const Line& line) {
  switch (EnvelopeOf(line, kOwn)) {
    case Envelope::EndOwn:
      ended_ = true;
      return;
    case Envelope::BeginOwn:
    case Envelope::BeginOther: {
      // A component inside the card is one extra, from its BEGIN to the end of its END.
      const std::string_view header = line.header;
      return KeepExtra(ExtraOf(header, ReadNested(reader_, line, kOwn, ended_), dialect_));
    }
    default:
      return KeepExtra(ExtraOf(line, dialect_));
  }
}

void CardReader::KeepExtra(ExtraProperty extra) {
  overfull_ = fields_.extras().size() >= kMaxExtras;
  if (!overfull_) fields_.extras().push_back(std::move(extra));
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
  const std::vector<std::string_view> cards = VCardsIn(text);
  return cards.empty() ? std::nullopt : ReadFirstCard(cards.front());
}

std::vector<std::string_view> VCardsIn(std::string_view text) {
  return SplitComponents(text, kOwn);
}

}  // namespace qv
