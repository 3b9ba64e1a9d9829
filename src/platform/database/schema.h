// The tables of the sync database.
//
// There is no UNIQUE beyond the numbers that the database gives: a second row with the same
// identifiers is legal. Rows of equal key come in the order of insertion; so do all rows of a store
// unless its reads sort them.
#pragma once

#include <span>
#include <string_view>

namespace qv {

class SqliteDatabase;

struct SyncTable {
  const char* name;
  const char* columns;  // as CREATE TABLE takes them
  const char* givenId;  // the column whose value the database gives; empty for none
};

std::span<const SyncTable> SyncTables();
// By exact name; null when there is none.
const SyncTable* FindSyncTable(std::string_view name);

// Makes what is missing, in one transaction, and tests that every table has its columns. Takes no
// write lock when all is there. Throws SqliteError.
void EnsureSyncSchema(SqliteDatabase& db);

}  // namespace qv
