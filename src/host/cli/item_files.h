// Files that hold the texts of items, as `add` and `replace` take them.
#pragma once

#include <string>
#include <vector>

#include "host/store_kinds.h"

namespace qv {

// One text of a file, or what stands in its place.
struct FoundText {
  std::string place;      // "FILE:LINE"
  std::string_view text;  // empty for a fault
  std::string fault;      // why there is no text
};

class ItemFile {
 public:
  // "-" is standard input. Throws UsageError when it cannot be read.
  ItemFile(const std::string& path, const StoreKind& kind);
  ItemFile(const ItemFile&) = delete;
  ItemFile& operator=(const ItemFile&) = delete;

  // In the order of the file; a text that begins and never ends is a fault, and so is a file
  // without any text.
  const std::vector<FoundText>& found() const { return found_; }

 private:
  void AddGap(size_t begin, size_t end, const StoreKind& kind);
  std::string PlaceAt(size_t offset);

  std::string name_;
  std::string bytes_;
  std::vector<FoundText> found_;
  size_t countedTo_ = 0;  // lines are counted once, front to back
  size_t line_ = 1;
};

}  // namespace qv
