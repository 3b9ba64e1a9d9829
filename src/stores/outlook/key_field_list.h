// The local items of a slow sync, waiting to be matched by incoming ones.
//
// The answer is always that of a walk from the front: the first waiting entry that matches. Two
// indexes find it without the walk. An entry matches when its uid equals the incoming one, or when
// both key texts are equal and not empty; either way both uids must not be empty.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "items/item_objects.h"

namespace qv {

class KeyFieldList {
 public:
  // An item object of this module. Its uid and key text must not change while it waits.
  void Add(ComPtr<IItemCommon> item);
  void Clear() { *this = KeyFieldList(); }
  bool IsEmpty() const { return waiting_ == 0; }

  // The position of the first match; nothing when there is none.
  std::optional<size_t> Find(const ItemFields& incoming) const;
  const ItemFields& At(size_t position) const { return *FieldsOf(entries_[position].get()); }
  // The entry leaves the list: it cannot match a second time.
  void Remove(size_t position);

 private:
  // Positions in ascending order; those that left are passed over and dropped from the front.
  struct Positions {
    std::vector<size_t> all;
    mutable size_t next = 0;
  };
  using Index = std::unordered_map<std::u16string, Positions>;

  std::optional<size_t> FirstWaiting(const Index& index, const std::u16string& key) const;

  std::vector<ComPtr<IItemCommon>> entries_;  // null once it left
  size_t waiting_ = 0;
  Index byUid_;
  Index byKey_;
};

}  // namespace qv
