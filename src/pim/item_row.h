// What the rows of a profile's file tell of an item, its content apart.
#pragma once

#include <cstdint>
#include <string>

#include "platform/com/types.h"

namespace qv {

struct ItemRow {
  std::u16string entryId;
  // The moment of the last change, in seconds since 1970, and the wall-clock time that it had then
  // where it was made, counted in the same manner: another zone does not change what was stamped.
  int64_t modifiedUtc = 0;
  int64_t modifiedLocal = 0;
  std::u16string md5;
  std::u16string keyText;
  std::u16string name;
};

struct SubItemRow : ItemRow {  // has no key text
  std::u16string seriesId;
  DATE original = 0.0;  // the occurrence that it replaces, UTC; 0.0 for none that is known
  bool isDeleted = false;
};

}  // namespace qv
