#include "syncdb/number_map.h"

#include <algorithm>
#include <unordered_set>

#include "platform/com/status_error.h"
#include "support/date_time.h"
#include "syncdb/sql_text.h"

namespace qv {

HRESULT NumberMap::Load() noexcept {
  return Guarded([&] {
    const Bstr id(info_.idColumn);
    const Bstr entry(info_.entryColumn);
    entries_.clear();
    numbers_.clear();
    QueryRows rows;
    const HRESULT status = rows.Query(
        session_,
        Concat({u"SELECT ", info_.idColumn, u",", info_.entryColumn, u" FROM ", info_.table}));
    if (Failed(status)) return status;
    while (rows.Next()) Remember(rows.Number(id), rows.Text(entry));
    return S_OK;
  });
}

// Of two rows of one entry the first counts.
void NumberMap::Remember(int32_t number, std::u16string_view entry) {
  entries_.insert_or_assign(number, std::u16string(entry));
  numbers_.emplace(std::u16string(entry), number);
}

std::u16string NumberMap::IdOf(const std::u16string& entry) const {
  const auto known = numbers_.find(entry);
  return known == numbers_.end() ? std::u16string() : Decimal(known->second);
}

HRESULT NumberMap::EntryOf(std::u16string_view id, std::u16string& entry) noexcept {
  return Guarded([&] {
    entry.clear();
    QueryRows rows;
    const HRESULT status = rows.Query(session_, Concat({u"SELECT ", info_.entryColumn, u" FROM ",
                                                        info_.table, identities_.Condition(id)}));
    if (Failed(status)) return status;
    if (rows.Next()) entry = rows.Text(Bstr(info_.entryColumn));
    return S_OK;
  });
}

HRESULT NumberMap::Insert(std::u16string_view entry, const RowIdentity& identity,
                          std::u16string& id) noexcept {
  return Guarded([&] {
    // Two blanks before VALUES, deliberately.
    Check(session_.Run(
        Concat({u"INSERT INTO ", info_.table, u"(", info_.entryColumn,
                u",obj_uid,obj_modified)  VALUES('", QuoteSqlText(entry), u"','", identity.objUid,
                u"','", FormatDateTime(identity.objModified), u"')"})));
    int32_t number = 0;
    Check(session_.accessor->GetLastIdentity(session_.session, Bstr(info_.table),
                                             Bstr(info_.idColumn), &number));
    id = Decimal(number);
    Remember(number, entry);
    return S_OK;
  });
}

HRESULT NumberMap::Delete(std::u16string_view id) noexcept {
  return Guarded([&] {
    const HRESULT status =
        session_.Run(Concat({u"DELETE FROM ", info_.table, identities_.Condition(id)}));
    if (Failed(status)) return status;
    const auto row = entries_.find(ToInt(id));
    if (row == entries_.end()) return status;
    const auto number = numbers_.find(row->second);
    if (number != numbers_.end() && number->second == row->first) numbers_.erase(number);
    entries_.erase(row);
    return status;
  });
}

HRESULT NumberMap::DeleteEntries(std::span<const std::u16string> entries) noexcept {
  return Guarded([&] {
    for (const std::u16string& where : BuildOrConditions(entries, info_.entryColumn)) {
      Check(session_.Run(Concat({u"DELETE FROM ", info_.table, u" WHERE (", where, u")"})));
    }
    const std::unordered_set<std::u16string> gone(entries.begin(), entries.end());
    for (const std::u16string& entry : gone) numbers_.erase(entry);
    std::erase_if(entries_, [&](const auto& row) { return gone.contains(row.second); });
    return S_OK;
  });
}

HRESULT NumberMap::DeleteAll() noexcept {
  return Guarded([&] {
    const HRESULT status = session_.Run(Concat({u"DELETE FROM ", info_.table}));
    if (Succeeded(status)) {
      entries_.clear();
      numbers_.clear();
    }
    return status;
  });
}

}  // namespace qv
