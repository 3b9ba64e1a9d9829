// The numbers of an address book's entries: `WindowsContact_UidMap` and `OutlookExp_UidMap`.
//
// A row hands an entry of the book, which has a long identifier of its own there, a small permanent
// number, which in decimal is the `sourceUid`, and keeps beside it who the contact is to the phone.
// One map serves all profiles. Operations return a status and never throw.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "syncdb/identity_rows.h"

namespace qv {

// How a table is spelled. Persisted contract.
struct NumberMapInfo {
  std::u16string_view table;
  std::u16string_view idColumn;
  std::u16string_view entryColumn;
};
inline constexpr NumberMapInfo kWindowsContactMap = {u"WindowsContact_UidMap", u"wincon_id",
                                                     u"file_uid"};
inline constexpr NumberMapInfo kOutlookExpMap = {u"OutlookExp_UidMap", u"outlookexp_id",
                                                 u"outlookexp_uid"};

class NumberMap {
 public:
  // The session must outlive the map.
  NumberMap(const SyncSession& session, const NumberMapInfo& info)
      : session_(session), info_(info), identities_(session, info.table, info.idColumn) {}

  // The cache of all rows. Inserts and deletes keep it up to date.
  HRESULT Load() noexcept;
  using Entries = std::map<int32_t, std::u16string>;  // by number
  const Entries& entries() const { return entries_; }
  // Of an entry, from the cache; empty for none.
  std::u16string IdOf(const std::u16string& entry) const;

  // From the table; empty for a number without a row.
  HRESULT EntryOf(std::u16string_view id, std::u16string& entry) noexcept;
  HRESULT Insert(std::u16string_view entry, const RowIdentity& identity,
                 std::u16string& id) noexcept;
  IdentityRows& identities() { return identities_; }

  HRESULT Delete(std::u16string_view id) noexcept;
  // By the book's identifiers, in chunks.
  HRESULT DeleteEntries(std::span<const std::u16string> entries) noexcept;
  HRESULT DeleteAll() noexcept;

 private:
  void Remember(int32_t number, std::u16string_view entry);

  const SyncSession& session_;
  const NumberMapInfo& info_;
  IdentityRows identities_;
  Entries entries_;
  std::unordered_map<std::u16string, int32_t> numbers_;
};

}  // namespace qv
