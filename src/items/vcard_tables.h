// The names of a vCard: which property is which field.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "items/contact.h"

namespace qv {

enum class VCardField : uint8_t {
  None,
  Producer,  // who wrote the card: neither a field nor an extra
  Begin,
  End,
  Version,
  Uid,
  Revision,
  Name,
  Text,
  Telephone,
  Mail,
  Web,
  Address,
  Organisation,
  Title,
  Messenger,
  Event,
  Photo,
  GroupUids,
  GroupName,
};

using TextMember = std::u16string ContactContent::*;

struct VCardProperty {
  std::string_view name;
  VCardField field;
  int32_t kind = 0;           // that the name alone says: a messenger's or an event's
  TextMember text = nullptr;  // of a Text
  bool foreign = false;       // read, never written
  bool isList = false;        // of texts, with commas between them
};

// Without regard to ASCII case; null for a name without a field.
const VCardProperty* FindVCardProperty(std::string_view name);
// The name that is written for a text or an event.
std::string_view WrittenName(TextMember text);
std::string_view WrittenName(EventKind kind);

// The scheme of a number that is written as a URI.
inline constexpr std::u16string_view kTelScheme = u"tel:";

// Reads `IMPP:scheme:address`: cuts a known scheme off the address and returns its kind; 0, and no
// change, for any other.
int32_t TakeMessengerScheme(std::u16string& address);

}  // namespace qv
