// Bookmarks and their folders as plain values. All dates are local wall-clock time.
#pragma once

#include "items/item.h"

namespace qv {

struct Bookmark {
  std::u16string title;
  std::u16string url;
  ItemFields fields;
};

struct Folder {
  std::u16string name;
  DATE created = 0.0;
  DATE modified = 0.0;
  DATE accessed = 0.0;
  ItemFields fields;
};

}  // namespace qv
