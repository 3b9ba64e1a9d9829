#include "syncdb/purge.h"

#include <span>
#include <vector>

#include "platform/com/status_error.h"
#include "support/user_flags.h"
#include "syncdb/sql_text.h"

namespace qv {
namespace {

HRESULT DeleteChunk(const SyncSession& session, std::u16string_view table,
                    const std::u16string& where, std::span<const std::u16string> ids) {
  std::u16string statement = Concat({u"DELETE FROM ", table, where, u" AND ("});
  for (size_t i = 0; i < ids.size(); ++i) {
    // No blank before the column: this list is joined otherwise than BuildOrConditions'.
    if (i != 0) statement += u" OR ";
    statement += u"datastore_id='";
    statement += ids[i];
    statement += u'\'';
  }
  statement += u')';
  return session.Run(statement);
}

}  // namespace

HRESULT PurgeTable(const SyncSession& session, DatastoreType type, std::u16string_view table,
                   const AliveSet& alive) noexcept {
  return Guarded([&] {
    static const Bstr kId(u"datastore_id");
    const std::u16string where = StoreKey(session, type);
    // The map has one row an item, the side tables several.
    const std::u16string_view head = table == kDataStoreMap ? u"SELECT datastore_id FROM "
                                                            : u"SELECT DISTINCT datastore_id FROM ";
    std::vector<std::u16string> dead;
    {
      QueryRows rows;
      if (const HRESULT status = rows.Query(session, Concat({head, table, where}));
          Failed(status)) {
        return status;
      }
      while (rows.Next()) {
        if (IsSyncStopped()) return E_FAIL;
        std::u16string id = rows.Text(kId);
        if (!alive.contains(id)) dead.push_back(std::move(id));
      }
    }
    const std::span<const std::u16string> all(dead);
    for (size_t at = 0; at < all.size(); at += kIdentifiersPerStatement) {
      const auto chunk = all.subspan(at, std::min(kIdentifiersPerStatement, all.size() - at));
      if (chunk.size() == kIdentifiersPerStatement && IsSyncStopped()) return E_FAIL;
      if (const HRESULT status = DeleteChunk(session, table, where, chunk); Failed(status)) {
        return status;
      }
    }
    return S_OK;
  });
}

}  // namespace qv
