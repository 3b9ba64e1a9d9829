// What the engine remembers of each phone, in `engine.db`: where it was seen, and which of its
// files is which item of the PC side.
//
// Every operation throws SqliteError. Changes are committed when the call returns, or with the
// group that is open.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/engine/model.h"
#include "platform/database/sqlite.h"

namespace qv {

struct KnownPhone {
  std::string id;
  std::string path;  // empty when another phone has taken its place
};

// Of one store on one phone.
struct StoreState {
  bool slowDone = false;    // a slow sync went through
  std::string lastSync;     // UTC, "YYYY-MM-DDThh:mm:ssZ"; empty for never
  int64_t itemCount = 0;    // pairs after it
  int64_t endedNs = 0;      // when it ended, by the clock that stamps files
  std::string source = {};  // which folder of the PC it was; empty where that was not noted

  bool IsElsewhere(const std::string& now) const {
    return slowDone && !source.empty() && source != now;
  }
};

class EngineRecord {
 public:
  explicit EngineRecord(const std::string& path);
  // Before anything is written: a record of an earlier form takes the present one, in one
  // transaction. What it did not keep is not known then.
  void Upgrade();
  // The path to open: with `lookOnly` a record that does not exist yet is not made.
  static std::string PathFor(const std::string& path, bool lookOnly);

  std::vector<KnownPhone> Phones();
  // The phone is at this path from now on, and no other one is.
  void SavePhone(const std::string& id, const std::string& path);

  StoreState State(const std::string& phone, std::string_view store);
  void SaveState(const std::string& phone, std::string_view store, const StoreState& state);
  // As SaveState with `slowDone` false, and on disk when it returns.
  void ClearSlowDone(const std::string& phone, std::string_view store);

  std::vector<RecordRow> Rows(const std::string& phone, std::string_view store);
  // Replaces the row of that name; no other row keeps the same `sourceUid`.
  void Put(const std::string& phone, std::string_view store, const RecordRow& row);
  // The row of that item of the PC side.
  void Remove(const std::string& phone, std::string_view store, std::u16string_view sourceUid);
  // The names of what is in a folder of the phone ("Work/"), after it was given another.
  void RenameFolder(const std::string& phone, std::string_view store, const std::string& from,
                    const std::string& to);
  // The row of that name, whose item goes by another one now, no longer stands in the way of the
  // item that has its name: `Rows` gives it as `isAside`.
  void SetAside(const std::string& phone, std::string_view store, const std::string& name);
  int64_t Count(const std::string& phone, std::string_view store);
  // All rows of the store.
  void Clear(const std::string& phone, std::string_view store);

  // Groups what is written while it lives.
  SqliteTransaction Group() { return SqliteTransaction(db_); }

 private:
  int64_t StoreId(const std::string& phone, std::string_view store, bool make);
  void PreparePut();

  struct Schema {
    explicit Schema(SqliteDatabase& db);
  };
  SqliteDatabase db_;
  Schema schema_;  // before the statements, which need the tables
  bool isCurrent_ = false;
  std::optional<SqliteStatement> put_;  // there in a record of the present form
  SqliteStatement release_;
  SqliteStatement remove_;
  // The store that was asked for last.
  std::string lastPhone_;
  std::string lastStore_;
  int64_t lastId_ = 0;
};

}  // namespace qv
