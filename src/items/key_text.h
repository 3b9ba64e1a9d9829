// The key text for duplicate detection: one rule per kind, used by the stores and by the PC side
// alike, so that both find the same duplicates.
#pragma once

#include <string>

#include "items/contact.h"

namespace qv {

// The MD5 text over, each left out when empty: family name, given name, additional names, prefix,
// suffix; the mobile number, two home numbers; the first three mail addresses.
std::u16string MakeContactKey(const ContactContent& contact);

}  // namespace qv
