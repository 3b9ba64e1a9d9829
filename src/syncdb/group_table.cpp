#include "syncdb/group_table.h"

#include "platform/com/status_error.h"
#include "syncdb/sql_text.h"

namespace qv {
namespace {

// Persisted.
constexpr std::u16string_view kTable = u"ContGrp_NameUidMap";
constexpr std::u16string_view kName = u"grpname";
constexpr std::u16string_view kUid = u"obj_uid";

}  // namespace

const std::u16string& GroupTable::Find(Answers& answers, std::u16string_view wanted,
                                       std::u16string_view by, std::u16string_view value) const {
  const auto [entry, isNew] = answers.try_emplace(std::u16string(value));
  if (isNew) entry->second = Ask(wanted, by, value);
  return entry->second;
}

std::u16string GroupTable::Ask(std::u16string_view wanted, std::u16string_view by,
                               std::u16string_view value) const {
  std::u16string found;
  Guarded([&] {
    const std::u16string quoted =
        quotes_ == QuoteRule::Doubled ? QuoteSqlText(value) : std::u16string(value);
    QueryRows rows;
    const HRESULT status = rows.Query(session_, Concat({u"SELECT ", wanted, u" FROM ", kTable,
                                                        u" WHERE ", by, u"='", quoted, u"'"}));
    if (Succeeded(status) && rows.Next()) found = rows.Text(Bstr(wanted));
    return status;
  });
  return found;
}

std::u16string GroupTable::UidOf(std::u16string_view name) const {
  return Find(uids_, kUid, kName, name);
}

std::u16string GroupTable::NameOf(std::u16string_view uid) const {
  return Find(names_, kName, kUid, uid);
}

}  // namespace qv
