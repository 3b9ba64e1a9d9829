#include "platform/database/sqlite.h"

#include <sqlite3.h>

#include <string>
#include <utility>

#include "platform/database/stored_text.h"

namespace qv {
namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kBusyPauseMs = 20;

struct Advice {
  int code;
  const char* text;
};
constexpr Advice kAdvice[] = {
    {SQLITE_BUSY, "another program is using it: try again when that one has finished"},
    {SQLITE_LOCKED, "another program is using it: try again when that one has finished"},
    {SQLITE_CORRUPT,
     "the file is damaged: put back a copy of it, or move it away to start with an empty one"},
    {SQLITE_NOTADB,
     "this is no database, or a damaged one: put back a copy of it, or move it away to start with "
     "an empty one"},
    {SQLITE_FULL, "the disk is full: make room and try again"},
    {SQLITE_READONLY, "the file and its folder must be writable"},
    {SQLITE_CANTOPEN, "its folder must exist and be writable"},
    {SQLITE_PERM, "the file and its folder must be writable"},
    {SQLITE_IOERR, "the disk could not be read or written"},
};

std::string Describe(int code, const std::string& path, std::string_view doing,
                     std::string_view reason) {
  std::string text = path;
  text.append(": cannot ").append(doing).append(": ").append(reason);
  for (const Advice& advice : kAdvice) {
    if (advice.code == code) text.append(" (").append(advice.text).append(")");
  }
  return text;
}

// A path is never an URI, whatever the library was built to think.
std::string PlainPath(const std::string& path) {
  return path.starts_with("file:") ? "./" + path : path;
}

// Another process may be turning the same new file to the log at this moment; SQLite then answers
// "busy" without waiting.
int UseWriteAheadLog(sqlite3* db) {
  int code = SQLITE_BUSY;
  for (int waited = 0; code == SQLITE_BUSY && waited < kBusyTimeoutMs; waited += kBusyPauseMs) {
    if (waited > 0) sqlite3_sleep(kBusyPauseMs);
    code = sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
  }
  return code;
}

}  // namespace

SqliteDatabase::SqliteDatabase(const std::string& path, Durability durability) : path_(path) {
  // An empty path would be a throw-away database.
  if (path.empty()) throw SqliteError(SQLITE_CANTOPEN, "cannot open a database without a path");
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  int code = sqlite3_open_v2(PlainPath(path).c_str(), &db_, flags, nullptr);
  try {
    if (code != SQLITE_OK) Fail(code, "open the database");
    if (sqlite3_db_readonly(db_, "main") == 1) Fail(SQLITE_READONLY, "open the database");
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
    // A word in double quotes is a name, never silently a text.
    sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    code = UseWriteAheadLog(db_);
    if (code != SQLITE_OK) Fail(code, "open the database");
    // Identifiers are random, so a large store's indexes are written all over: pages that many
    // commits touch are kept, and brought from the log to the file once for all of them.
    Execute("PRAGMA cache_size=-16384");
    Execute("PRAGMA wal_autocheckpoint=8000");
    // What a part of a transaction would be undone by stays in memory: no temporary files.
    Execute("PRAGMA temp_store=MEMORY");
    Execute(durability == Durability::Full ? "PRAGMA synchronous=FULL"
                                           : "PRAGMA synchronous=NORMAL");
  } catch (...) {
    sqlite3_close_v2(db_);
    throw;
  }
}

SqliteDatabase::~SqliteDatabase() {
  sqlite3_close_v2(db_);
}

void SqliteDatabase::Execute(const char* script) {
  const int code = sqlite3_exec(db_, script, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Fail(code, "run a statement");
}

SqliteStatement SqliteDatabase::Prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const int code =
      sqlite3_prepare_v2(db_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
  if (code != SQLITE_OK) Fail(code, "prepare a statement");
  return SqliteStatement(*this, statement);
}

int64_t SqliteDatabase::LastRowId() const {
  return sqlite3_last_insert_rowid(db_);
}

int SqliteDatabase::Changes() const {
  return sqlite3_changes(db_);
}

bool SqliteDatabase::IsUndone() const {
  return open_ > 0 && sqlite3_get_autocommit(db_) != 0;
}

void SqliteDatabase::Fail(int code, std::string_view doing) const {
  // The connection's own text tells more than the code's, when it is about the same failure.
  const bool same = db_ != nullptr && (sqlite3_errcode(db_) & 0xFF) == (code & 0xFF);
  const char* reason = same ? sqlite3_errmsg(db_) : sqlite3_errstr(code);
  throw SqliteError(code & 0xFF, Describe(code & 0xFF, path_, doing, reason));
}

SqliteStatement::SqliteStatement(const SqliteDatabase& db, sqlite3_stmt* statement)
    : db_(&db), statement_(statement) {}

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept
    : db_(other.db_), statement_(std::exchange(other.statement_, nullptr)) {}

SqliteStatement::~SqliteStatement() {
  sqlite3_finalize(statement_);
}

SqliteStatement& SqliteStatement::Bind(int index, std::u16string_view text) {
  return Bind(index, std::string_view(StoredText(text)));
}

SqliteStatement& SqliteStatement::Bind(int index, std::string_view text) {
  // A null pointer would bind NULL.
  const char* bytes = text.data() == nullptr ? "" : text.data();
  const int code =
      sqlite3_bind_text64(statement_, index, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  if (code != SQLITE_OK) db_->Fail(code, "bind a text");
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int index, int64_t number) {
  const int code = sqlite3_bind_int64(statement_, index, number);
  if (code != SQLITE_OK) db_->Fail(code, "bind a number");
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int index, double number) {
  const int code = sqlite3_bind_double(statement_, index, number);
  if (code != SQLITE_OK) db_->Fail(code, "bind a number");
  return *this;
}

SqliteStatement& SqliteStatement::BindBlob(int index, std::string_view bytes) {
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  const int code = sqlite3_bind_blob64(statement_, index, data, bytes.size(), SQLITE_TRANSIENT);
  if (code != SQLITE_OK) db_->Fail(code, "bind bytes");
  return *this;
}

bool SqliteStatement::Step() {
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  // A reset would overwrite the reason, so it comes after the text is made.
  try {
    db_->Fail(code, "run a statement");
  } catch (...) {
    Reset();
    throw;
  }
}

void SqliteStatement::Run() {
  while (Step()) {
  }
  Reset();
}

void SqliteStatement::Reset() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

std::u16string SqliteStatement::Text16(int column) const {
  std::u16string text;
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (bytes != nullptr) {
    const auto length = static_cast<size_t>(sqlite3_column_bytes(statement_, column));
    AppendFromStoredText({bytes, length}, text);
  }
  return text;
}

std::string SqliteStatement::Text(int column) const {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string SqliteStatement::Blob(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

int64_t SqliteStatement::Int(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double SqliteStatement::Real(int column) const {
  return sqlite3_column_double(statement_, column);
}

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

SqliteTransaction::SqliteTransaction(SqliteDatabase& db) : db_(db), isPart_(db.open_ > 0) {
  if (db.IsUndone()) {
    throw SqliteError(SQLITE_ABORT, db.path() + ": an earlier failure undid the transaction");
  }
  db_.Execute(isPart_ ? "SAVEPOINT part" : "BEGIN IMMEDIATE");
  ++db_.open_;
}

SqliteTransaction::~SqliteTransaction() {
  if (!open_) return;
  const char* undo = isPart_ ? "ROLLBACK TO part;RELEASE part" : "ROLLBACK";
  if (!db_.IsUndone()) sqlite3_exec(db_.handle(), undo, nullptr, nullptr, nullptr);
  --db_.open_;
}

void SqliteTransaction::Commit() {
  db_.Execute(isPart_ ? "RELEASE part" : "COMMIT");
  open_ = false;
  --db_.open_;
}

}  // namespace qv
