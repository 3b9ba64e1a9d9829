#include "pim/contact_index.h"

#include <sqlite3.h>

#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace {

// One of another form is made anew.
constexpr int64_t kForm = 1;

constexpr char kSchema[] = R"(
CREATE TABLE IF NOT EXISTS contacts(
  path TEXT PRIMARY KEY,
  size INTEGER NOT NULL,
  inode INTEGER NOT NULL,
  modified_ns INTEGER NOT NULL,
  changed_ns INTEGER NOT NULL,
  id TEXT NOT NULL,
  stored_id TEXT NOT NULL,
  picture TEXT NOT NULL) WITHOUT ROWID;
)";

void RemoveDatabase(const std::string& path) {
  for (const char* tail : {"", "-wal", "-shm"}) Service<Files>::Get().Remove(path + tail);
}

}  // namespace

ContactIndex::ContactIndex(const std::string& path) {
  try {
    Open(path);
  } catch (const SqliteError& error) {
    if (error.code() != SQLITE_NOTADB && error.code() != SQLITE_CORRUPT &&
        error.code() != SQLITE_SCHEMA && error.code() != SQLITE_ERROR) {
      throw;
    }
    RemoveDatabase(path);
    Open(path);
  }
}

void ContactIndex::Open(const std::string& path) {
  put_.reset();
  remove_.reset();
  db_.reset();
  db_ = std::make_unique<SqliteDatabase>(path, SqliteDatabase::Durability::Normal);
  {
    SqliteStatement form = db_->Prepare("PRAGMA user_version");
    const int64_t known = form.Step() ? form.Int(0) : 0;
    if (known != kForm) {
      form.Reset();
      db_->Execute("DROP TABLE IF EXISTS contacts");
      db_->Execute(kSchema);
      db_->Execute(("PRAGMA user_version=" + std::to_string(kForm)).c_str());
    }
  }
  put_ = std::make_unique<SqliteStatement>(
      db_->Prepare("INSERT OR REPLACE INTO contacts(path,size,inode,modified_ns,changed_ns,id,"
                   "stored_id,picture) VALUES(?,?,?,?,?,?,?,?)"));
  remove_ = std::make_unique<SqliteStatement>(db_->Prepare("DELETE FROM contacts WHERE path=?"));
}

std::vector<IndexedContact> ContactIndex::Load() {
  std::vector<IndexedContact> rows;
  SqliteStatement select = db_->Prepare(
      "SELECT path,size,inode,modified_ns,changed_ns,id,stored_id,picture FROM contacts "
      "ORDER BY path");
  while (select.Step()) {
    IndexedContact& row = rows.emplace_back();
    row.path = select.Text(0);
    row.size = static_cast<uint64_t>(select.Int(1));
    row.inode = static_cast<uint64_t>(select.Int(2));
    row.modifiedNs = select.Int(3);
    row.changedNs = select.Int(4);
    row.id = select.Text16(5);
    row.storedId = select.Text16(6);
    row.picture = select.Text16(7);
  }
  return rows;
}

void ContactIndex::Put(const IndexedContact& row) {
  put_->Reset();
  put_->Bind(1, std::string_view(row.path))
      .Bind(2, static_cast<int64_t>(row.size))
      .Bind(3, static_cast<int64_t>(row.inode))
      .Bind(4, row.modifiedNs)
      .Bind(5, row.changedNs)
      .Bind(6, row.id)
      .Bind(7, row.storedId)
      .Bind(8, row.picture)
      .Run();
}

void ContactIndex::Remove(const std::string& path) {
  remove_->Reset();
  remove_->Bind(1, std::string_view(path)).Run();
}

}  // namespace qv
