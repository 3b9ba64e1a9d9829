// What of an item stays with the phone, because the PC side has no field for it, and shows there.
#pragma once

#include <string>

#include "items/item_interfaces.h"

namespace qv {

// In words, for a person who looks at the PC; empty for an item that the PC shows as the phone
// does, but for properties that few programs show at all.
std::string WhatPcLacks(IItemCommon& item);

}  // namespace qv
