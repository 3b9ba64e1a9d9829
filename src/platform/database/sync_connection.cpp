#include "platform/database/sync_connection.h"

#include <sqlite3.h>

#include <algorithm>
#include <climits>
#include <exception>

#include "platform/database/stored_text.h"

namespace qv {
namespace {

// What a statement may call; nothing here reaches beyond its arguments.
constexpr std::string_view kFunctions[] = {"count", "length", "like", "lower",
                                           "max",   "min",    "sum",  "upper"};

bool IsAllowedFunction(const char* name) {
  return name != nullptr &&
         std::find(std::begin(kFunctions), std::end(kFunctions), name) != std::end(kFunctions);
}

bool IsOurTable(const char* table, const char* database) {
  return table != nullptr && FindSyncTable(table) != nullptr &&
         (database == nullptr || std::string_view(database) == "main");
}

std::string Quoted(std::string_view statement) {
  return "run \"" + std::string(StatementHead(statement)) + "...\"";
}

int BindValue(sqlite3_stmt* statement, int index, const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return sqlite3_bind_null(statement, index);
    case VT_I2:
      return sqlite3_bind_int(statement, index, value.iVal);
    case VT_I4:
    case VT_INT:
      return sqlite3_bind_int(statement, index, value.lVal);
    case VT_BOOL:
      return sqlite3_bind_int(statement, index, value.boolVal != kFalse ? 1 : 0);
    case VT_R8:
    case VT_DATE:
      return sqlite3_bind_double(statement, index, value.dblVal);
    case VT_BSTR: {
      const std::string text = StoredText(View(value.bstrVal));
      return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                 SQLITE_UTF8);
    }
    default:
      return SQLITE_MISMATCH;
  }
}

}  // namespace

void SyncConnection::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SyncConnection::SyncConnection(const std::string& path)
    : db_(path, SqliteDatabase::Durability::Normal), givenIds_(SyncTables().size()) {
  EnsureSyncSchema(db_);
  sqlite3_set_authorizer(db_.handle(), Authorize, this);
  sqlite3_update_hook(
      db_.handle(),
      [](void* self, int operation, const char* database, const char* table, sqlite3_int64 row) {
        OnChange(self, operation, database, table, row);
      },
      this);
  ownWork_ = false;
}

SyncConnection::~SyncConnection() {
  ownWork_ = true;
  if (open_ > 0) sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

int SyncConnection::Authorize(void* self, int action, const char* first, const char* second,
                              const char* database, const char* /*trigger*/) {
  if (static_cast<SyncConnection*>(self)->ownWork_) return SQLITE_OK;
  switch (action) {
    case SQLITE_SELECT:
      return SQLITE_OK;
    case SQLITE_READ:
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      return IsOurTable(first, database) ? SQLITE_OK : SQLITE_DENY;
    case SQLITE_FUNCTION:
      return IsAllowedFunction(second) ? SQLITE_OK : SQLITE_DENY;
    default:
      return SQLITE_DENY;
  }
}

void SyncConnection::OnChange(void* self, int operation, const char* /*database*/,
                              const char* table, int64_t row) {
  if (operation != SQLITE_INSERT) return;
  auto& connection = *static_cast<SyncConnection*>(self);
  const std::span<const SyncTable> tables = SyncTables();
  for (size_t i = 0; i < tables.size(); ++i) {
    if (tables[i].givenId[0] != '\0' && std::string_view(tables[i].name) == table) {
      connection.givenIds_[i] = row;
    }
  }
}

Rowset SyncConnection::Query(std::string_view statement) {
  std::optional<StatementShape> shape;
  const Ready prepared = Prepare(statement, true, shape);
  const int columns = sqlite3_column_count(prepared.get());
  std::vector<std::u16string> names;
  for (int i = 0; i < columns; ++i) {
    const char* name = sqlite3_column_name(prepared.get(), i);
    names.push_back(FromStoredText(name == nullptr ? "" : name));
  }
  Rowset rowset(std::move(names));
  while (Step(prepared.get(), statement)) {
    for (int i = 0; i < columns; ++i) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(prepared.get(), i));
      if (text != nullptr) {
        rowset.AddText({text, static_cast<size_t>(sqlite3_column_bytes(prepared.get(), i))});
      } else if (sqlite3_column_type(prepared.get(), i) == SQLITE_NULL) {
        rowset.AddNull();
      } else {
        Fail(SQLITE_NOMEM, statement);
      }
    }
  }
  return rowset;
}

void SyncConnection::Execute(std::string_view statement) {
  std::optional<StatementShape> shape;
  const Ready prepared = Prepare(statement, false, shape);
  while (Step(prepared.get(), statement)) {
  }
}

void SyncConnection::ExecuteRows(std::string_view statement, IUnkList& rows) {
  int32_t count = 0;
  Check(rows.Count(&count));
  if (count == 0) return;
  RequireLiveTransaction();
  Statement prepared = PrepareText(statement, false, true);
  const bool own = open_ == 0;
  if (own) RunOwn("BEGIN IMMEDIATE");
  std::exception_ptr failure;
  try {
    for (int32_t i = 0; i < count; ++i) {
      ComPtr<IUnknown> row;
      Check(rows.Item(i, row.Out()));
      RunRow(prepared.get(), statement, row.get());
    }
  } catch (...) {
    failure = std::current_exception();
  }
  prepared.reset();
  // A failure that undid the transaction leaves nothing to commit.
  if (own && sqlite3_get_autocommit(db_.handle()) == 0) {
    try {
      RunOwn("COMMIT");
    } catch (...) {
      sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
      throw;
    }
  }
  if (failure) std::rethrow_exception(failure);
}

void SyncConnection::RunRow(sqlite3_stmt* prepared, std::string_view statement, IUnknown* row) {
  const ComPtr<IVarList> values = qv::Query<IVarList>(row);
  if (!values) Refuse(statement, "a row of the batch is no list of values");
  int32_t count = 0;
  Check(values->Count(&count));
  if (count != sqlite3_bind_parameter_count(prepared)) {
    Refuse(statement,
           "a row of the batch has another number of values than the statement has "
           "markers");
  }
  for (int32_t i = 0; i < count; ++i) {
    Variant value;
    Check(values->Item(i, value.Out()));
    const int code = BindValue(prepared, i + 1, value.get());
    if (code == SQLITE_MISMATCH) Refuse(statement, "a value of the batch is no text or number");
    if (code != SQLITE_OK) Fail(code, statement);
  }
  while (Step(prepared, statement)) {
  }
  sqlite3_reset(prepared);
}

std::optional<int64_t> SyncConnection::LastGivenId(std::string_view table) const {
  const std::span<const SyncTable> tables = SyncTables();
  for (size_t i = 0; i < tables.size(); ++i) {
    if (table == tables[i].name && givenIds_[i] != 0) return givenIds_[i];
  }
  return std::nullopt;
}

void SyncConnection::Begin() {
  RequireLiveTransaction();
  RunOwn(open_ > 0 ? "SAVEPOINT part" : "PRAGMA synchronous=FULL;BEGIN IMMEDIATE");
  ++open_;
}

void SyncConnection::Commit() {
  if (open_ == 0) throw SqliteError(SQLITE_MISUSE, db_.path() + ": no transaction is open");
  RequireLiveTransaction();
  RunOwn(open_ > 1 ? "RELEASE part" : "COMMIT;PRAGMA synchronous=NORMAL");
  --open_;
}

void SyncConnection::Rollback() {
  if (open_ == 0) throw SqliteError(SQLITE_MISUSE, db_.path() + ": no transaction is open");
  if (!Undone()) {
    RunOwn(open_ > 1 ? "ROLLBACK TO part;RELEASE part" : "ROLLBACK;PRAGMA synchronous=NORMAL");
  }
  --open_;
  std::fill(givenIds_.begin(), givenIds_.end(), 0);
}

SyncConnection::Ready::~Ready() {
  if (own_ != nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

SyncConnection::Ready SyncConnection::Prepare(std::string_view statement, bool query,
                                              std::optional<StatementShape>& shape) {
  RequireLiveTransaction();
  // A NUL would be a value that no statement text can hold.
  if (statement.find('\0') == statement.npos) shape = StatementShape::Of(statement);
  sqlite3_stmt* kept = shape ? KeptFor(*shape, query) : nullptr;
  if (kept == nullptr) return Ready(PrepareText(statement, query, false));
  for (size_t i = 0; i < shape->literals(); ++i) {
    const std::string_view value = shape->Literal(i);
    const int code = sqlite3_bind_text64(kept, static_cast<int>(i + 1), value.data(), value.size(),
                                         SQLITE_STATIC, SQLITE_UTF8);
    if (code != SQLITE_OK) Fail(code, statement);
  }
  return Ready(kept);
}

// Null when the shape cannot be prepared: the statement itself then says why.
sqlite3_stmt* SyncConnection::KeptFor(const StatementShape& shape, bool query) {
  constexpr size_t kMostKept = 64;
  const std::string key = (query ? "Q" : "X") + shape.text();
  if (const auto found = kept_.find(key); found != kept_.end()) return found->second.get();
  try {
    Statement prepared = PrepareText(shape.text(), query, true);
    if (sqlite3_bind_parameter_count(prepared.get()) != static_cast<int>(shape.literals())) {
      return nullptr;
    }
    if (kept_.size() == kMostKept) kept_.clear();
    return kept_.emplace(key, std::move(prepared)).first->second.get();
  } catch (const SqliteError&) {
    return nullptr;
  }
}

SyncConnection::Statement SyncConnection::PrepareText(std::string_view statement, bool query,
                                                      bool markers) {
  std::string why;
  const std::optional<StatementKind> kind = CheckStatement(statement, why);
  if (!kind) Refuse(statement, why);
  if (query != (*kind == StatementKind::Select)) {
    Refuse(statement, query ? "it gives no rows" : "it changes nothing");
  }
  if (statement.size() > INT_MAX) Refuse(statement, "it is too long");
  sqlite3_stmt* raw = nullptr;
  const char* tail = nullptr;
  const int code = sqlite3_prepare_v2(db_.handle(), statement.data(),
                                      static_cast<int>(statement.size()), &raw, &tail);
  Statement prepared(raw);
  if (code != SQLITE_OK) Fail(code, statement);
  const char* end = statement.data() + statement.size();
  if (!std::all_of(tail, end, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); })) {
    Refuse(statement, "there is text behind the statement");
  }
  if (!markers && sqlite3_bind_parameter_count(raw) != 0) {
    Refuse(statement, "it has markers and no values for them");
  }
  return prepared;
}

bool SyncConnection::Step(sqlite3_stmt* prepared, std::string_view statement) {
  const int code = sqlite3_step(prepared);
  if (code != SQLITE_ROW && code != SQLITE_DONE) Fail(code, statement);
  return code == SQLITE_ROW;
}

void SyncConnection::RunOwn(const char* statement) {
  ownWork_ = true;
  const int code = sqlite3_exec(db_.handle(), statement, nullptr, nullptr, nullptr);
  ownWork_ = false;
  if (code != SQLITE_OK) Fail(code, statement);
}

// A full disk and the like end a transaction behind its owner's back.
bool SyncConnection::Undone() const {
  return open_ > 0 && sqlite3_get_autocommit(db_.handle()) != 0;
}

// What would run now would stay, though its caller may yet throw it away.
void SyncConnection::RequireLiveTransaction() const {
  if (!Undone()) return;
  throw SqliteError(SQLITE_ABORT,
                    db_.path() + ": an earlier failure undid the transaction; roll it back first");
}

void SyncConnection::Refuse(std::string_view statement, std::string_view why) const {
  throw SqliteError(SQLITE_AUTH,
                    db_.path() + ": refused to " + Quoted(statement) + ": " + std::string(why));
}

void SyncConnection::Fail(int code, std::string_view statement) const {
  db_.Fail(code, Quoted(statement));
}

}  // namespace qv
