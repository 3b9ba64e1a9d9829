// A thin owner of SQLite connections and statements, for every part of the product that keeps rows
// of its own: the sync database, the PC side, the engine's record.
//
// Errors throw SqliteError, whose text names the file and says what SQLite said.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace qv {

class SqliteError : public std::runtime_error {
 public:
  SqliteError(int code, const std::string& message) : std::runtime_error(message), code_(code) {}
  int code() const { return code_; }  // SQLite's primary result code

 private:
  int code_;
};

class SqliteStatement;

class SqliteDatabase {
 public:
  // How much a commit waits for: Full is on disk when it returns, Normal may lose the last commits
  // when the machine loses power (never the file's soundness).
  enum class Durability { Normal, Full };

  // Opens or makes the file (UTF-8 path) in write-ahead-log mode, waiting up to five seconds for
  // another process's lock.
  SqliteDatabase(const std::string& path, Durability durability);
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;
  ~SqliteDatabase();

  // Runs any number of statements without results: schemas and transactions.
  void Execute(const char* script);
  SqliteStatement Prepare(std::string_view sql);
  int64_t LastRowId() const;
  int Changes() const;
  sqlite3* handle() const { return db_; }
  const std::string& path() const { return path_; }
  // Whether a failure (a full disk and the like) ended a transaction behind its owner's back.
  bool IsUndone() const;

  [[noreturn]] void Fail(int code, std::string_view doing) const;

 private:
  friend class SqliteTransaction;
  std::string path_;
  sqlite3* db_ = nullptr;
  int open_ = 0;  // transactions, each but the first within the one before
};

// A prepared statement; reset and unbound by `Reset`, reusable. Indexes: parameters from 1, columns
// from 0. Text is UTF-16 or UTF-8 as the caller likes; what is bound is copied.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteDatabase& db, sqlite3_stmt* statement);
  SqliteStatement(SqliteStatement&& other) noexcept;
  SqliteStatement& operator=(SqliteStatement&&) = delete;
  ~SqliteStatement();

  SqliteStatement& Bind(int index, std::u16string_view text);
  SqliteStatement& Bind(int index, std::string_view text);
  SqliteStatement& Bind(int index, int64_t number);
  SqliteStatement& Bind(int index, double number);
  SqliteStatement& BindBlob(int index, std::string_view bytes);
  // True while there is a row.
  bool Step();
  // Steps to the end and resets.
  void Run();
  void Reset();

  std::u16string Text16(int column) const;  // empty for NULL
  std::string Text(int column) const;
  std::string Blob(int column) const;
  int64_t Int(int column) const;
  double Real(int column) const;
  bool IsNull(int column) const;

 private:
  const SqliteDatabase* db_;
  sqlite3_stmt* statement_;
};

// BEGIN IMMEDIATE at once, ROLLBACK unless committed. Within another one of the same connection it
// is a part of that: undone alone, and kept when the other one is. The inner one goes first. After
// a failure that has undone the outer one no inner one begins: its work would stay.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(SqliteDatabase& db);
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;
  ~SqliteTransaction();
  void Commit();

 private:
  SqliteDatabase& db_;
  bool isPart_;
  bool open_ = true;
};

}  // namespace qv
