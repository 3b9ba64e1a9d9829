#include "stores/key_field_list.h"

#include <algorithm>

namespace qv {

void KeyFieldList::Add(ComPtr<IItemCommon> item) {
  const ItemFields& fields = *FieldsOf(item.get());
  if (!fields.objUid.empty()) byUid_[fields.objUid].all.push_back(entries_.size());
  if (!fields.keyFields.empty() && MayMatchByKey(fields)) {
    byKey_[fields.keyFields].all.push_back(entries_.size());
  }
  entries_.push_back(std::move(item));
  ++waiting_;
}

std::optional<size_t> KeyFieldList::FirstWaiting(const Index& index,
                                                 const std::u16string& key) const {
  if (key.empty()) return std::nullopt;
  const auto found = index.find(key);
  if (found == index.end()) return std::nullopt;
  const Positions& positions = found->second;
  while (positions.next < positions.all.size() && !entries_[positions.all[positions.next]]) {
    ++positions.next;
  }
  if (positions.next == positions.all.size()) return std::nullopt;
  return positions.all[positions.next];
}

bool KeyFieldList::MayMatchByKey(const ItemFields& fields) const {
  switch (rule_) {
    case MatchRule::UidThenKeyBothUids:
      return !fields.objUid.empty();
    case MatchRule::UidOrKey:
      return true;
    case MatchRule::UidOnly:
      break;
  }
  return false;
}

std::optional<size_t> KeyFieldList::Find(const ItemFields& incoming) const {
  const auto byUid = FirstWaiting(byUid_, incoming.objUid);
  const auto byKey =
      MayMatchByKey(incoming) ? FirstWaiting(byKey_, incoming.keyFields) : std::nullopt;
  if (byUid && byKey) return std::min(*byUid, *byKey);
  return byUid ? byUid : byKey;
}

void KeyFieldList::Remove(size_t position) {
  if (entries_[position]) --waiting_;
  entries_[position].Reset();
}

}  // namespace qv
