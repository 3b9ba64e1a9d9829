// Who a numbered item is to the phone: the columns `obj_uid` and `obj_modified` of a map whose rows
// have a number.
//
// Operations return a status and never throw. Texts go into the statements as they stand.
#pragma once

#include <string>
#include <string_view>

#include "syncdb/sync_session.h"

namespace qv {

struct RowIdentity {
  std::u16string objUid;  // a GUID without braces, or whatever the phone gave
  DATE objModified = 0.0;
};

class IdentityRows {
 public:
  // The session must outlive it. Both names as they stand in a statement.
  IdentityRows(const SyncSession& session, std::u16string_view table, std::u16string_view idColumn)
      : session_(session), table_(table), idColumn_(idColumn) {}

  // As they stand; empty and 0.0 without a row.
  HRESULT Find(std::u16string_view id, RowIdentity& identity) noexcept;
  // What is missing is made up (a new GUID, the present) and written back.
  HRESULT Read(std::u16string_view id, RowIdentity& identity) noexcept;
  // Nothing is done for an empty identifier.
  HRESULT Write(std::u16string_view id, const RowIdentity& identity) noexcept;

  // " WHERE <number column>='<id>'"
  std::u16string Condition(std::u16string_view id) const;

 private:
  const SyncSession& session_;
  std::u16string_view table_;
  std::u16string_view idColumn_;
};

}  // namespace qv
