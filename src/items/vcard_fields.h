// The fields of one card: properties into a contact.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "items/vcard_labels.h"
#include "items/vcard_tables.h"
#include "support/vobject/decode.h"

namespace qv {

// A field that holds one value keeps the first that is not empty.
//
// What is an extra must not depend on the dialect: a card is written back in the old one and must
// read the same. Dates, pictures and URIs are therefore tokens, which come out alike in both.
class VCardFields {
 public:
  // Of the whole card; the old one without a call.
  void SetDialect(Dialect dialect) { dialect_ = dialect; }
  // Takes a property into the contact; false when it has no place there, so that it is an extra.
  bool Read(const VCardProperty& property, const Line& line);
  // Extras join in the order of the text.
  std::vector<ExtraProperty>& extras() { return contact_.fields.extras; }
  // The contact with its hidden labels. Ends the reading.
  Contact Take();

 private:
  bool ReadUid(const Line& line);
  bool ReadRevision(const Line& line);
  bool ReadName(const Line& line);
  bool ReadText(const Line& line, const VCardProperty& property);
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

  ValueDecoder decoder_;
  Dialect dialect_ = Dialect::Old;
  Contact contact_;
  std::vector<ExtraProperty> lists_;  // of texts, see vcard_labels.h
  std::vector<HiddenLabel> phoneLabels_;
  std::vector<HiddenLabel> mailLabels_;  // empty, or one per address
  std::vector<HiddenLabel> webLabels_;
  std::vector<HiddenLabel> addressLabels_;
  std::vector<HiddenLabel> organisationLabels_;
  std::vector<HiddenLabel> messengerLabels_;
};

}  // namespace qv
