// Prepared statements of one database, kept for as long as it is open: prepared once, reset after
// each use so that they hold no read lock.
#pragma once

#include <span>
#include <vector>

#include "platform/database/sqlite.h"

namespace qv {

class StatementSet {
 public:
  StatementSet(SqliteDatabase& db, std::span<const char* const> texts) {
    statements_.reserve(texts.size());
    for (const char* text : texts) statements_.push_back(db.Prepare(text));
  }

  // A statement while it is in use. One statement has one user at a time.
  class Use {
   public:
    explicit Use(SqliteStatement& statement) : statement_(statement) {}
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() { statement_.Reset(); }
    SqliteStatement* operator->() { return &statement_; }
    SqliteStatement& operator*() { return statement_; }

   private:
    SqliteStatement& statement_;
  };

  // `number` is the place in `texts`.
  Use operator[](size_t number) { return Use(statements_[number]); }

 private:
  std::vector<SqliteStatement> statements_;
};

}  // namespace qv
