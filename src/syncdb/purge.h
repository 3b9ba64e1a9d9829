// Removal of rows whose items are gone.
#pragma once

#include <string>
#include <unordered_set>

#include "syncdb/shared_tables.h"

namespace qv {

using AliveSet = std::unordered_set<std::u16string>;

// Deletes the store's rows of `table` whose identifier is not in `alive`, 500 rows a statement.
// The first failure ends it, earlier statements stay. E_FAIL when stopped.
HRESULT PurgeTable(const SyncSession& session, DatastoreType type, std::u16string_view table,
                   const AliveSet& alive) noexcept;

}  // namespace qv
