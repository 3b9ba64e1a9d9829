// Base64 of RFC 4648 in wide text.
#pragma once

#include <limits>
#include <string>
#include <string_view>

#include "support/xml/xml_error.h"

namespace qv {

// The bytes of a text, whose white space is passed over. `error` tells:
//   Base64Character  a sign that is none of the alphabet, or one behind "=": no bytes
//   Base64Buffer     more than `limit` bytes: no bytes
//   Base64Length     the signs are no multiple of 4: the bytes of whole groups (a warning)
//   Base64Truncated  a group of which "=" leaves less than a byte: likewise
std::string DecodeBase64(std::u16string_view text, XmlError& error,
                         size_t limit = std::numeric_limits<size_t>::max());

}  // namespace qv
