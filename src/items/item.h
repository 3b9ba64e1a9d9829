// What every item holds, as plain values.
#pragma once

#include <string>
#include <vector>

#include "platform/com/types.h"
#include "support/vobject/dialect.h"

namespace qv {

// A property that the item has no place for: group, name and parameters, and the value, as they
// stood in the text, and the grammar of that text. Bytes that are no UTF-8 are held as told in
// support/vobject/raw_text.h. How it is kept and written: items/extra.h.
struct ExtraProperty {
  std::u16string property;
  std::u16string value;  // of a component from the name behind its BEGIN to its END
  Dialect dialect = Dialect::Old;
  bool bare = false;  // stood without a ':'; the value is empty
  // The item holds the value itself, and the property says more of it than the item can.
  bool label = false;

  friend bool operator==(const ExtraProperty&, const ExtraProperty&) = default;
};

// A label of a value that the item keeps without it.
struct HiddenLabel {
  std::u16string property;
  std::u16string value;
  std::u16string extended;
  bool isCustom = false;

  friend bool operator==(const HiddenLabel&, const HiddenLabel&) = default;
};

// Dates are automation dates; 0.0 means none. Those of bookmarks and folders are local wall-clock
// time, those of all other items UTC.
struct ItemFields {
  std::u16string sourceUid;  // the PC side's identifier
  std::u16string parentUid;  // and its parent
  DATE created = 0.0;
  DATE modified = 0.0;       // local modification time
  std::u16string objUid;     // the identifier inside the text
  DATE objModified = 0.0;    // the modification time inside the text
  std::u16string keyFields;  // key text for duplicate detection
  std::u16string md5;        // content hash of the PC side
  bool isFolder = false;
  std::vector<ExtraProperty> extras;  // in text order
};

}  // namespace qv
