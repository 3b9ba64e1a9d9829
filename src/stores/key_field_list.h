// The local items of a slow sync, waiting to be matched by incoming ones.
//
// The answer is always that of a walk from the front: the first waiting entry that matches. Two
// indexes find it without the walk. Empty uids and empty key texts equal nothing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "items/item_objects.h"

namespace qv {

// When an entry matches an incoming item.
enum class MatchRule {
  UidThenKeyBothUids,  // equal uids, or equal key texts where both have a uid
  UidOrKey,            // equal uids or equal key texts
  UidOnly,             // equal uids
};

class KeyFieldList {
 public:
  explicit KeyFieldList(MatchRule rule) : rule_(rule) {}

  // An item object of this module. Its uid and key text must not change while it waits.
  void Add(ComPtr<IItemCommon> item);
  void Clear() { *this = KeyFieldList(rule_); }
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

  bool MayMatchByKey(const ItemFields& fields) const;
  std::optional<size_t> FirstWaiting(const Index& index, const std::u16string& key) const;

  MatchRule rule_;
  std::vector<ComPtr<IItemCommon>> entries_;  // null once it left
  size_t waiting_ = 0;
  Index byUid_;
  Index byKey_;
};

}  // namespace qv
