// vCard text from and to contacts: reads 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350), writes 2.1.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/contact.h"

namespace qv {

// The first whole card of the text; nothing when there is none (no BEGIN:VCARD, no END:VCARD
// behind it), or when it holds more properties than any card has. A UTF-16 text needs its mark.
// Linear in the text's size; never throws on its account.
std::optional<Contact> ParseVCard(std::string_view text);

// CR LF line ends, UTF-8. Extras and hidden labels are written back.
std::string WriteVCard(const Contact& contact);

// The cards of a text, one view each from BEGIN to the line end behind END, nested cards within
// their outer one. Text between them is passed over; a card without an end is left out. A UTF-16
// text is to be converted first, see support/vobject/marked_text.h.
std::vector<std::string_view> VCardsIn(std::string_view text);

}  // namespace qv
