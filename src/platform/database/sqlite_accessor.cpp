#include "platform/database/sqlite_accessor.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "platform/com/class_factory.h"
#include "platform/com/edge.h"
#include "platform/database/stored_text.h"
#include "platform/database/sync_connection.h"

namespace qv {
namespace {

std::string& PathSlot() {
  static std::string path;
  return path;
}

std::string& ErrorSlot() {
  static std::string error;
  return error;
}

constexpr std::u16string_view kNumberColumn = u"iscustom";

// The accessor's own refusals, in one wording.
[[noreturn]] void Refuse(const std::string& path, std::string_view why) {
  throw SqliteError(0, (path.empty() ? "the sync database" : path) + ": " + std::string(why));
}

// A slot that keeps the reason of its failure.
template <class In, class Out, class Body>
HRESULT Report(const In& required, const Out& outs, Body&& body) noexcept {
  return Slot(required, outs, [&]() -> HRESULT {
    try {
      return body();
    } catch (const SqliteError& error) {
      ErrorSlot() = error.what();
    } catch (const std::bad_alloc&) {
      ErrorSlot() = "the sync database: out of memory";
    } catch (const StatusError& error) {
      ErrorSlot() = "the sync database: a list that was handed over cannot be read";
      return error.status();
    }
    return E_FAIL;
  });
}

}  // namespace

void SetSyncDatabasePath(std::string path) {
  PathSlot() = std::move(path);
}

const std::string& SyncDatabasePath() {
  return PathSlot();
}

const std::string& LastDatabaseError() {
  return ErrorSlot();
}

struct SqliteAccessor::State {
  explicit State(std::string databasePath) : path(std::move(databasePath)) {}

  SyncConnection& Connection() {
    if (connection == nullptr) Refuse(path, "the database is not open");
    return *connection;
  }

  SyncConnection& Connection(int32_t number) {
    if (number == 0 || number != session) Refuse(path, "the session is not open");
    return Connection();
  }

  Rowset& Find(int32_t handle) {
    const auto found = rowsets.find(handle);
    if (found == rowsets.end()) Refuse(path, "no such rowset");
    return found->second;
  }

  int32_t Keep(Rowset rowset) {
    do {
      lastHandle = lastHandle == std::numeric_limits<int32_t>::max() ? 1 : lastHandle + 1;
    } while (rowsets.contains(lastHandle));
    rowsets.emplace(lastHandle, std::move(rowset));
    return lastHandle;
  }

  const std::string path;
  std::unique_ptr<SyncConnection> connection;
  int32_t session = 0;  // 0 while closed
  int32_t lastSession = 0;
  int32_t lastHandle = 0;
  std::unordered_map<int32_t, Rowset> rowsets;
  std::u16string cell;  // of the last column read; kept for its memory
};

SqliteAccessor::SqliteAccessor() : state_(std::make_unique<State>(SyncDatabasePath())) {}
SqliteAccessor::~SqliteAccessor() = default;

HRESULT SqliteAccessor::Open(BSTR) noexcept {
  return Report(Requires(), Outs(), [&] {
    if (state_->connection != nullptr) return S_OK;
    if (state_->path.empty()) Refuse(state_->path, "no path is set for it");
    state_->connection = std::make_unique<SyncConnection>(state_->path);
    return S_OK;
  });
}

HRESULT SqliteAccessor::Connect() noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Connection();
    return S_OK;
  });
}

HRESULT SqliteAccessor::BeginSession(int32_t* session) noexcept {
  return Report(Requires(), Outs(session), [&] {
    state_->Connection();
    if (state_->session == 0) state_->session = ++state_->lastSession;
    return HandOut(session, state_->session);
  });
}

HRESULT SqliteAccessor::EndSession(int32_t session) noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Connection(session);
    state_->rowsets.clear();
    state_->session = 0;
    return S_OK;
  });
}

HRESULT SqliteAccessor::GetSessionId(int32_t* session) noexcept {
  return Slot(Requires(), Outs(session), [&] { return HandOut(session, state_->session); });
}

HRESULT SqliteAccessor::ExecuteQuery(int32_t session, BSTR statement, int32_t* rowset) noexcept {
  return Report(Requires(statement), Outs(rowset), [&] {
    SyncConnection& connection = state_->Connection(session);
    return HandOut(rowset, state_->Keep(connection.Query(StoredText(View(statement)))));
  });
}

HRESULT SqliteAccessor::ExecuteNonQuery(int32_t session, BSTR statement) noexcept {
  return Report(Requires(statement), Outs(), [&] {
    state_->Connection(session).Execute(StoredText(View(statement)));
    return S_OK;
  });
}

HRESULT SqliteAccessor::MoveFirst(int32_t rowset) noexcept {
  return Report(Requires(), Outs(),
                [&] { return state_->Find(rowset).First() ? S_OK : DB_S_ENDOFROWSET; });
}

HRESULT SqliteAccessor::MoveNext(int32_t rowset) noexcept {
  return Report(Requires(), Outs(),
                [&] { return state_->Find(rowset).Next() ? S_OK : DB_S_ENDOFROWSET; });
}

HRESULT SqliteAccessor::GetColumnValue(int32_t rowset, BSTR column, VARIANT* value) noexcept {
  return Report(Requires(column), Outs(value), [&] {
    Rowset& rows = state_->Find(rowset);
    if (!rows.OnRow()) Refuse(state_->path, "the rowset stands on no row");
    const size_t index = rows.FindColumn(View(column));
    if (index == Rowset::npos) Refuse(state_->path, "the rowset has no such column");
    const std::optional<std::string_view> cell = rows.Cell(index);
    if (!cell) {
      *value = Variant::Null().Detach();
      return S_OK;
    }
    if (SameColumnName(rows.ColumnName(index), kNumberColumn)) {
      *value = Variant::Int(std::atoi(std::string(*cell).c_str())).Detach();
      return S_OK;
    }
    state_->cell.clear();
    AppendFromStoredText(*cell, state_->cell);
    *value = Variant::Text(state_->cell).Detach();
    return S_OK;
  });
}

HRESULT SqliteAccessor::CloseRowset(int32_t rowset) noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Find(rowset);
    state_->rowsets.erase(rowset);
    return S_OK;
  });
}

HRESULT SqliteAccessor::GetLastIdentity(int32_t session, BSTR table, BSTR column,
                                        int32_t* value) noexcept {
  return Report(Requires(table, column), Outs(value), [&] {
    const SyncConnection& connection = state_->Connection(session);
    const SyncTable* known = FindSyncTable(StoredText(View(table)));
    const std::u16string given = FromStoredText(known == nullptr ? "" : known->givenId);
    if (given.empty() || !SameColumnName(View(column), given)) {
      Refuse(state_->path, "the database gives no numbers to this column");
    }
    const std::optional<int64_t> id = connection.LastGivenId(known->name);
    if (!id) Refuse(state_->path, "nothing was inserted into this table yet");
    if (*id > std::numeric_limits<int32_t>::max()) {
      Refuse(state_->path, "the number that was given is too large");
    }
    return HandOut(value, static_cast<int32_t>(*id));
  });
}

HRESULT SqliteAccessor::ExecuteBatch(BSTR statement, IUnknown* rows) noexcept {
  return Report(Requires(statement, rows), Outs(), [&] {
    const ComPtr<IUnkList> list = Query<IUnkList>(rows);
    if (!list) Refuse(state_->path, "the rows of the batch are no list");
    state_->Connection(state_->session).ExecuteRows(StoredText(View(statement)), *list);
    return S_OK;
  });
}

HRESULT SqliteAccessor::Begin() noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Connection().Begin();
    return S_OK;
  });
}

HRESULT SqliteAccessor::Commit() noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Connection().Commit();
    return S_OK;
  });
}

HRESULT SqliteAccessor::Rollback() noexcept {
  return Report(Requires(), Outs(), [&] {
    state_->Connection().Rollback();
    return S_OK;
  });
}

void RegisterDatabaseClasses() {
  RegisterClass(CLSID_DBAccessor, CreateClass<SqliteAccessor>);
}

}  // namespace qv
