// Files that hold the texts of items, as `add` and `replace` take them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/store_kinds.h"

namespace qv {

// One item of a file, or what stands in its place.
struct FoundItem {
  std::string place;  // "FILE:LINE"
  size_t index = 0;   // among the file's items; no meaning for a fault
  std::string fault;  // why there is no item
};

class ItemFile {
 public:
  // "-" is standard input. Throws UsageError when it cannot be read.
  ItemFile(const std::string& path, const StoreKind& kind);
  ItemFile(const ItemFile&) = delete;
  ItemFile& operator=(const ItemFile&) = delete;

  const std::string& name() const { return name_; }
  // In the order of the file; an item that begins and never ends is a fault, and so is a file
  // without any item.
  const std::vector<FoundItem>& found() const { return found_; }
  // Null, with the reason, for a fault and for one that cannot be read. An item may be of a kind
  // that shares its texts with this one, see KindOf.
  ComPtr<IItemCommon> Read(const FoundItem& found, std::string& fault) const;
  std::string Doubts() const { return items_->Doubts(); }
  // The whole text, without a mark and in UTF-8 where it had one.
  std::string_view text() const { return text_; }
  // Where an item, no fault, stands in it, without what ends its last line.
  std::string_view TextOf(const FoundItem& found) const;
  // Whether that is the file byte for byte, with no NUL in it.
  bool IsAsItStands() const {
    return text_.size() == bytes_.size() && text_.data() == bytes_.data() &&
           text_.find('\0') == text_.npos;
  }
  bool IsWithoutItems() const { return items_->Count() == 0; }

 private:
  void AddGap(size_t begin, size_t end);
  std::string PlaceAt(size_t offset);

  const StoreKind& kind_;
  std::string name_;
  std::string bytes_;
  std::string converted_;  // of a UTF-16 file
  std::string_view text_;
  std::unique_ptr<ItemTexts> items_;
  std::vector<FoundItem> found_;
  size_t countedTo_ = 0;  // lines are counted once, front to back
  size_t line_ = 1;
};

}  // namespace qv
