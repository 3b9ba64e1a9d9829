// A note as plain values.
#pragma once

#include "items/item.h"

namespace qv {

struct Note {
  std::u16string body;
  ItemFields fields;
};

}  // namespace qv
