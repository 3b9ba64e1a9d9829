#include "syncdb/shared_tables.h"

namespace qv {

std::u16string_view TypeDigit(DatastoreType type) {
  static constexpr std::u16string_view kDigits[] = {u"0", u"1", u"2"};
  return kDigits[static_cast<size_t>(type)];
}

std::u16string RowKey(const SyncSession& session, DatastoreType type, std::u16string_view id) {
  return Concat({u" WHERE datastore_id='", id, u"' AND datastore_sourceuri='", session.sourceUri,
                 u"' AND profile_id='", session.targetKey, u"' AND datastore_type=",
                 TypeDigit(type)});
}

std::u16string StoreKey(const SyncSession& session, DatastoreType type) {
  return Concat({u" WHERE datastore_sourceuri='", session.sourceUri, u"' AND profile_id='",
                 session.targetKey, u"' AND datastore_type=", TypeDigit(type)});
}

}  // namespace qv
