// New items: who they are, and since when.
#pragma once

#include "items/item.h"

namespace qv {

// A fresh identifier, and the present moment as the time of making and of change. The moment is
// UTC; of bookmarks and folders it is local time.
void StampNew(ItemFields& fields, bool inLocalTime = false);

}  // namespace qv
