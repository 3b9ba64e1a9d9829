// Names, types and row keys of the three tables that stores share.
#pragma once

#include <string>
#include <string_view>

#include "syncdb/sync_session.h"

namespace qv {

// Who wrote a row. Persisted. The Outlook stores write no type: the column's default is 0.
enum class DatastoreType { Outlook = 0, OutlookExpress = 1, WindowsContacts = 2 };

inline constexpr std::u16string_view kDataStoreMap = u"DataStoreMap";
inline constexpr std::u16string_view kExtraTable = u"ExtraDB";
inline constexpr std::u16string_view kHiddenTable = u"HiddenDB";

// The type as one decimal digit.
std::u16string_view TypeDigit(DatastoreType type);
// " WHERE datastore_id=..." of one item's rows, and " WHERE datastore_sourceuri=..." of a store's.
std::u16string RowKey(const SyncSession& session, DatastoreType type, std::u16string_view id);
std::u16string StoreKey(const SyncSession& session, DatastoreType type);

}  // namespace qv
