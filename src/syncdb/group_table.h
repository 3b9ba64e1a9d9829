// The names of contact groups and the identifiers that contacts know them by.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "syncdb/sync_session.h"

namespace qv {

// Whether single quotes within a value are doubled on its way into a statement. As they stand, a
// name that holds one is a statement that fails.
enum class QuoteRule { AsTheyStand, Doubled };

// An answer holds as long as the object: files name few groups many times.
class GroupTable {
 public:
  GroupTable(const SyncSession& session, QuoteRule quotes) : session_(session), quotes_(quotes) {}

  // Empty for a group that is not known, also where the table cannot be asked.
  std::u16string UidOf(std::u16string_view name) const;
  std::u16string NameOf(std::u16string_view uid) const;

 private:
  using Answers = std::unordered_map<std::u16string, std::u16string>;

  const std::u16string& Find(Answers& answers, std::u16string_view wanted, std::u16string_view by,
                             std::u16string_view value) const;
  std::u16string Ask(std::u16string_view wanted, std::u16string_view by,
                     std::u16string_view value) const;

  const SyncSession& session_;
  QuoteRule quotes_;
  mutable Answers uids_;
  mutable Answers names_;
};

}  // namespace qv
