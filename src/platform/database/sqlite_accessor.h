// The sync database over SQLite 3: the engine side's object behind `IDBAccessor`.
//
// It opens its own path (set before the class is created), makes the tables and indexes that are
// missing, and uses the write-ahead log. Rows without ORDER BY come in the order of insertion.
// A second process that holds the database makes a statement wait (five seconds) and then fail.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "platform/com/com_object.h"
#include "platform/database/accessor.h"

namespace qv {

// The path for accessors created from now on: UTF-8, ":memory:" for a database of its own in
// memory. Empty (as at start) makes `Open` fail.
void SetSyncDatabasePath(std::string path);
const std::string& SyncDatabasePath();
// Why the last call of any accessor failed, for a person; UTF-8, names the file.
const std::string& LastDatabaseError();

class SqliteAccessor final : public ComObject<IDBAccessor, IDBBatch, IDBTransaction> {
 public:
  SqliteAccessor();
  ~SqliteAccessor() override;

  HRESULT Open(BSTR name) noexcept override;
  HRESULT Connect() noexcept override;
  HRESULT BeginSession(int32_t* session) noexcept override;
  HRESULT EndSession(int32_t session) noexcept override;
  HRESULT GetSessionId(int32_t* session) noexcept override;
  HRESULT ExecuteQuery(int32_t session, BSTR statement, int32_t* rowset) noexcept override;
  HRESULT ExecuteNonQuery(int32_t session, BSTR statement) noexcept override;
  HRESULT MoveFirst(int32_t rowset) noexcept override;
  HRESULT MoveNext(int32_t rowset) noexcept override;
  HRESULT GetColumnValue(int32_t rowset, BSTR column, VARIANT* value) noexcept override;
  HRESULT CloseRowset(int32_t rowset) noexcept override;
  HRESULT GetLastIdentity(int32_t session, BSTR table, BSTR column,
                          int32_t* value) noexcept override;
  HRESULT ExecuteBatch(BSTR statement, IUnknown* rows) noexcept override;
  HRESULT Begin() noexcept override;
  HRESULT Commit() noexcept override;
  HRESULT Rollback() noexcept override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Registers the class `DBAccessor`.
void RegisterDatabaseClasses();

}  // namespace qv
