#include "pim/profile_file.h"

#include <sqlite3.h>

#include <utility>

#include "platform/system/utf8.h"

namespace qv {
namespace {

// Persisted: the form of the file.
constexpr int64_t kFormVersion = 2;

// Persisted. Contents have a table of their own, so that a listing reads past no pictures; they say
// whose they are, so that a row that a damaged file mixed up is known for one.
constexpr char kSchema[] = R"(
CREATE TABLE IF NOT EXISTS folders(
  number INTEGER PRIMARY KEY,
  entry_id TEXT NOT NULL UNIQUE,
  kind INTEGER NOT NULL,
  name TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS items(
  number INTEGER PRIMARY KEY,
  entry_id TEXT NOT NULL UNIQUE,
  kind INTEGER NOT NULL,
  folder INTEGER NOT NULL,
  modified_utc INTEGER NOT NULL,
  modified_local INTEGER NOT NULL,
  md5 TEXT NOT NULL,
  key_text TEXT NOT NULL,
  name TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS items_of_folder ON items(folder);
CREATE TABLE IF NOT EXISTS contents(
  number INTEGER PRIMARY KEY,
  content BLOB NOT NULL,
  entry_id TEXT NOT NULL DEFAULT '');
)";

// Persisted: from the first form, whose contents did not say whose they are.
constexpr char kFromFormOne[] = R"(
ALTER TABLE contents ADD COLUMN entry_id TEXT NOT NULL DEFAULT '';
UPDATE contents SET entry_id=
  ifnull((SELECT entry_id FROM items WHERE items.number=contents.number),'');
)";

enum StatementId : size_t {
  kFindFolder,
  kFirstFolder,
  kInsertFolder,
  kInsertItem,
  kInsertContent,
  kUpdateItem,
  kUpdateContent,
  kDeleteContent,
  kDeleteItem,
  kFindItem,
  kReadItem,
  kListWithTexts,
  kListWithoutTexts,
  kListIdentifiers,
  kListContents,
};

constexpr const char* kStatements[] = {
    "SELECT number FROM folders WHERE entry_id=? AND kind=?",
    "SELECT entry_id FROM folders WHERE kind=? ORDER BY number LIMIT 1",
    "INSERT INTO folders(entry_id,kind,name) VALUES(?,?,?)",
    "INSERT INTO items(kind,entry_id,modified_utc,modified_local,md5,key_text,name,folder) "
    "VALUES(?,?,?,?,?,?,?,?)",
    "INSERT INTO contents(content,number,entry_id) VALUES(?,?,?)",
    "UPDATE items SET modified_utc=?3,modified_local=?4,md5=?5,key_text=?6,name=?7 "
    "WHERE entry_id=?2 AND kind=?1",
    "UPDATE contents SET content=? WHERE number=(SELECT number FROM items WHERE entry_id=?)",
    "DELETE FROM contents WHERE number=(SELECT number FROM items WHERE entry_id=? AND kind=?)",
    "DELETE FROM items WHERE entry_id=? AND kind=?",
    "SELECT entry_id,modified_utc,modified_local,md5 FROM items WHERE entry_id=? AND kind=?",
    "SELECT i.entry_id,modified_utc,modified_local,md5,content,c.entry_id FROM items AS i "
    "LEFT JOIN contents AS c USING(number) WHERE i.entry_id=? AND kind=?",
    "SELECT entry_id,modified_utc,modified_local,md5,key_text,name FROM items WHERE folder=? "
    "ORDER BY number",
    "SELECT entry_id,modified_utc,modified_local,md5 FROM items WHERE folder=? ORDER BY number",
    "SELECT entry_id FROM items WHERE folder=? ORDER BY number",
    "SELECT i.entry_id,modified_utc,modified_local,md5,key_text,name,content FROM items AS i "
    "LEFT JOIN contents AS c USING(number) WHERE folder=? ORDER BY number",
};

int64_t FormVersion(SqliteDatabase& db) {
  SqliteStatement read = db.Prepare("PRAGMA user_version");
  return read.Step() ? read.Int(0) : 0;
}

// The same file, in the form of this program.
SqliteDatabase& InForm(SqliteDatabase& db) {
  if (FormVersion(db) > kFormVersion) {
    throw SqliteError(SQLITE_ERROR, db.path() + ": made by a newer version of this program");
  }
  if (FormVersion(db) == kFormVersion) return db;
  SqliteTransaction transaction(db);
  // Asked again: another process may have done it meanwhile.
  if (FormVersion(db) == 1) db.Execute(kFromFormOne);
  db.Execute(kSchema);
  db.Execute(SubItemTable::kSchema);
  db.Execute(("PRAGMA user_version=" + std::to_string(kFormVersion)).c_str());
  transaction.Commit();
  return db;
}

ItemRow RowAt(const SqliteStatement& statement, bool texts) {
  ItemRow row;
  row.entryId = statement.Text16(0);
  row.modifiedUtc = statement.Int(1);
  row.modifiedLocal = statement.Int(2);
  row.md5 = statement.Text16(3);
  if (texts) {
    row.keyText = statement.Text16(4);
    row.name = statement.Text16(5);
  }
  return row;
}

void BindRow(SqliteStatement& statement, OlObjectClass kind, const ItemRow& row) {
  statement.Bind(1, int64_t{kind})
      .Bind(2, row.entryId)
      .Bind(3, row.modifiedUtc)
      .Bind(4, row.modifiedLocal)
      .Bind(5, row.md5)
      .Bind(6, row.keyText)
      .Bind(7, row.name);
}

}  // namespace

ProfileFile::ProfileFile(const std::string& path, const std::function<std::u16string()>& newId)
    : db_(path, SqliteDatabase::Durability::Full),
      statements_(InForm(db_), kStatements),
      subItems_(db_) {
  for (const ItemKind& kind : ItemKinds()) {
    if (!FirstFolder(kind.kind).empty()) continue;
    SqliteTransaction transaction(db_);
    // Another process may have made it meanwhile.
    if (!FirstFolder(kind.kind).empty()) continue;
    auto insert = statements_[kInsertFolder];
    insert->Bind(1, newId())
        .Bind(2, int64_t{kind.kind})
        .Bind(3, std::u16string_view(kind.folderName));
    insert->Step();
    transaction.Commit();
  }
}

std::optional<int64_t> ProfileFile::FindFolder(OlObjectClass kind, std::u16string_view folderId) {
  auto find = statements_[kFindFolder];
  find->Bind(1, folderId).Bind(2, int64_t{kind});
  if (!find->Step()) return std::nullopt;
  return find->Int(0);
}

std::u16string ProfileFile::FirstFolder(OlObjectClass kind) {
  auto find = statements_[kFirstFolder];
  find->Bind(1, int64_t{kind});
  return find->Step() ? find->Text16(0) : std::u16string();
}

void ProfileFile::Insert(OlObjectClass kind, int64_t folder, const ItemRow& row,
                         std::string_view content) {
  SqliteTransaction transaction(db_);
  auto item = statements_[kInsertItem];
  BindRow(*item, kind, row);
  item->Bind(8, folder);
  item->Step();
  auto contents = statements_[kInsertContent];
  contents->BindBlob(1, content).Bind(2, db_.LastRowId()).Bind(3, row.entryId);
  contents->Step();
  transaction.Commit();
}

bool ProfileFile::Update(OlObjectClass kind, const ItemRow& row, std::string_view content) {
  SqliteTransaction transaction(db_);
  if (!Rewrite(kind, row, content)) return false;
  transaction.Commit();
  return true;
}

bool ProfileFile::Rewrite(OlObjectClass kind, const ItemRow& row, std::string_view content) {
  auto item = statements_[kUpdateItem];
  BindRow(*item, kind, row);
  item->Step();
  if (db_.Changes() == 0) return false;
  auto contents = statements_[kUpdateContent];
  contents->BindBlob(1, content).Bind(2, row.entryId);
  contents->Step();
  return true;
}

void ProfileFile::Change(const std::function<void(SubItemTable&)>& change) {
  SqliteTransaction transaction(db_);
  change(subItems_);
  transaction.Commit();
}

bool ProfileFile::Delete(OlObjectClass kind, std::u16string_view entryId) {
  SqliteTransaction transaction(db_);
  subItems_.DeleteAllOf(kind, entryId);
  for (const StatementId id : {kDeleteContent, kDeleteItem}) {
    auto remove = statements_[id];
    remove->Bind(1, entryId).Bind(2, int64_t{kind});
    remove->Step();
  }
  if (db_.Changes() == 0) return false;
  transaction.Commit();
  return true;
}

std::optional<ItemRow> ProfileFile::Find(OlObjectClass kind, std::u16string_view entryId) {
  auto find = statements_[kFindItem];
  find->Bind(1, entryId).Bind(2, int64_t{kind});
  if (!find->Step()) return std::nullopt;
  return RowAt(*find, false);
}

std::optional<ItemRow> ProfileFile::Read(OlObjectClass kind, std::u16string_view entryId,
                                         std::string& content) {
  auto read = statements_[kReadItem];
  read->Bind(1, entryId).Bind(2, int64_t{kind});
  if (!read->Step()) return std::nullopt;
  ItemRow row = RowAt(*read, false);
  if (read->Text16(5) != entryId) {
    throw SqliteError(SQLITE_CORRUPT, db_.path() + ": the content found for item " +
                                          ToUtf8(entryId) + " is not its own");
  }
  content = read->Blob(4);
  return row;
}

void ProfileFile::List(int64_t folder, Listing listing,
                       const std::function<void(ItemRow&&)>& take) {
  constexpr StatementId kOf[] = {kListWithTexts, kListWithoutTexts, kListIdentifiers};
  auto list = statements_[kOf[static_cast<size_t>(listing)]];
  list->Bind(1, folder);
  while (list->Step()) {
    if (listing == Listing::Identifiers) {
      ItemRow row;
      row.entryId = list->Text16(0);
      take(std::move(row));
    } else {
      take(RowAt(*list, listing == Listing::WithTexts));
    }
  }
}

void ProfileFile::ListContents(
    int64_t folder, const std::function<void(ItemRow&&, std::string_view content)>& take) {
  auto list = statements_[kListContents];
  list->Bind(1, folder);
  while (list->Step()) take(RowAt(*list, true), list->Blob(6));
}

}  // namespace qv
