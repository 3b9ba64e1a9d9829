// One open sync database: runs the statements that come through the accessor, and nothing else.
//
// Every failure throws SqliteError with a text for a person.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/com/lists.h"
#include "platform/database/rowset.h"
#include "platform/database/schema.h"
#include "platform/database/sqlite.h"
#include "platform/database/statement_check.h"
#include "platform/database/statement_shape.h"

struct sqlite3_stmt;

namespace qv {

class SyncConnection {
 public:
  // Opens or makes the file, and its tables when they are missing.
  explicit SyncConnection(const std::string& path);
  SyncConnection(const SyncConnection&) = delete;
  SyncConnection& operator=(const SyncConnection&) = delete;
  ~SyncConnection();

  // Statements are UTF-8, see statement_check.h. A marker (`?`) is refused but in `ExecuteRows`.
  Rowset Query(std::string_view statement);
  void Execute(std::string_view statement);
  // Once per row, in a transaction of its own unless one is open. The first row that fails ends the
  // run; those before it stay.
  void ExecuteRows(std::string_view statement, IUnkList& rows);

  // The number that this connection's last insert into the table was given.
  std::optional<int64_t> LastGivenId(std::string_view table) const;

  // As IDBTransaction tells.
  void Begin();
  void Commit();
  void Rollback();

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

  // A statement ready to step, its values bound: one of the kept ones, which goes back when this
  // dies, or one of its own.
  class Ready {
   public:
    explicit Ready(Statement own) : own_(std::move(own)), statement_(own_.get()) {}
    explicit Ready(sqlite3_stmt* kept) : statement_(kept) {}
    Ready(const Ready&) = delete;
    Ready& operator=(const Ready&) = delete;
    ~Ready();
    sqlite3_stmt* get() const { return statement_; }

   private:
    Statement own_;
    sqlite3_stmt* statement_;
  };

  static int Authorize(void* self, int action, const char* first, const char* second,
                       const char* database, const char* trigger);
  static void OnChange(void* self, int operation, const char* database, const char* table,
                       int64_t row);

  // `shape` gives the values their memory for as long as the statement runs.
  Ready Prepare(std::string_view statement, bool query, std::optional<StatementShape>& shape);
  sqlite3_stmt* KeptFor(const StatementShape& shape, bool query);
  Statement PrepareText(std::string_view statement, bool query, bool markers);
  bool Step(sqlite3_stmt* prepared, std::string_view statement);
  void RunRow(sqlite3_stmt* prepared, std::string_view statement, IUnknown* row);
  void RunOwn(const char* statement);
  void RequireLiveTransaction() const;
  bool Undone() const;
  [[noreturn]] void Refuse(std::string_view statement, std::string_view why) const;
  [[noreturn]] void Fail(int code, std::string_view statement) const;

  SqliteDatabase db_;
  bool ownWork_ = true;  // the authorizer lets everything pass
  int open_ = 0;         // transactions, each but the first a part of the one before
  // Parallel to SyncTables(); 0 before the first insert.
  std::vector<int64_t> givenIds_;
  std::unordered_map<std::string, Statement> kept_;  // by the text of their shape
};

}  // namespace qv
