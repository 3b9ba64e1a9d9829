#include "host/engine/engine_record.h"

#include <algorithm>

#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

// Persisted contract.
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS phones(id TEXT PRIMARY KEY, path TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS stores(id INTEGER PRIMARY KEY, phone TEXT NOT NULL,"
    " store TEXT NOT NULL, slow_done INTEGER NOT NULL DEFAULT 0,"
    " last_sync TEXT NOT NULL DEFAULT '', item_count INTEGER NOT NULL DEFAULT 0,"
    " ended_ns INTEGER NOT NULL DEFAULT 0, source TEXT NOT NULL DEFAULT '', UNIQUE(phone, store));"
    "CREATE TABLE IF NOT EXISTS items(store_id INTEGER NOT NULL, name TEXT NOT NULL,"
    " size INTEGER NOT NULL, mtime_ns INTEGER NOT NULL, hash BLOB NOT NULL,"
    " uid TEXT NOT NULL, source_uid TEXT NOT NULL, inode INTEGER NOT NULL DEFAULT 0,"
    " phone_says BLOB NOT NULL DEFAULT x'', pc_says BLOB NOT NULL DEFAULT x'',"
    " pc_file BLOB NOT NULL DEFAULT x'', PRIMARY KEY(store_id, name)) WITHOUT ROWID;"
    "CREATE INDEX IF NOT EXISTS items_by_source ON items(store_id, source_uid);";
struct Column {
  const char* table;
  const char* name;
  const char* form;
};
// What a record of an earlier form lacks.
constexpr Column kLater[] = {
    {"items", "inode", "INTEGER NOT NULL DEFAULT 0"},
    {"items", "phone_says", "BLOB NOT NULL DEFAULT x''"},
    {"items", "pc_says", "BLOB NOT NULL DEFAULT x''"},
    {"items", "pc_file", "BLOB NOT NULL DEFAULT x''"},
    {"stores", "source", "TEXT NOT NULL DEFAULT ''"},
};

// Persisted: stands between the name of a row that is set aside and its `source_uid`. No name of a
// file holds it.
constexpr std::string_view kAside = "//";

bool Has(SqliteDatabase& db, const Column& column) {
  SqliteStatement found = db.Prepare("SELECT count(*) FROM pragma_table_info(?) WHERE name=?");
  found.Bind(1, std::string_view(column.table)).Bind(2, std::string_view(column.name));
  return found.Step() && found.Int(0) != 0;
}

std::string_view Bytes(const Md5Digest& hash) {
  return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

// Persisted: title and address one behind the other; empty for what is not known.
std::string Pack(const Meaning& meaning) {
  if (!meaning.IsKnown()) return {};
  return std::string(Bytes(meaning.title)).append(Bytes(meaning.url));
}
Meaning UnpackMeaning(std::string_view bytes) {
  Meaning meaning;
  constexpr size_t kHalf = sizeof meaning.title;
  if (bytes.size() != 2 * kHalf) return meaning;
  std::copy_n(bytes.begin(), kHalf, meaning.title.begin());
  std::copy_n(bytes.begin() + kHalf, kHalf, meaning.url.begin());
  return meaning;
}

// Persisted: five numbers of 64 bits, the lowest byte first; empty for a file that is not known.
std::string Pack(const FileMark& file) {
  if (file == FileMark{}) return {};
  std::string bytes;
  for (const uint64_t number :
       {file.inode, static_cast<uint64_t>(file.createdNs), file.size,
        static_cast<uint64_t>(file.modifiedNs), static_cast<uint64_t>(file.changedNs)}) {
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  }
  return bytes;
}
FileMark UnpackFile(std::string_view bytes) {
  uint64_t numbers[5] = {};
  if (bytes.size() != sizeof numbers) return {};
  for (size_t i = bytes.size(); i-- > 0;) {
    numbers[i / 8] = numbers[i / 8] << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return {numbers[0], static_cast<int64_t>(numbers[1]), numbers[2],
          static_cast<int64_t>(numbers[3]), static_cast<int64_t>(numbers[4])};
}

}  // namespace

EngineRecord::Schema::Schema(SqliteDatabase& db) {
  SqliteStatement tables =
      db.Prepare("SELECT count(*) FROM sqlite_master WHERE name='items_by_source'");
  // Asked first, so that looking writes nothing.
  if (tables.Step() && tables.Int(0) == 0) {
    tables.Reset();
    db.Execute(kSchema);
  }
}

EngineRecord::EngineRecord(const std::string& path)
    : db_(path, SqliteDatabase::Durability::Normal),
      schema_(db_),
      release_(db_.Prepare("DELETE FROM items WHERE store_id=? AND source_uid=? AND name<>?")),
      remove_(db_.Prepare("DELETE FROM items WHERE store_id=? AND source_uid=?")) {
  isCurrent_ = std::ranges::all_of(kLater, [&](const Column& column) { return Has(db_, column); });
  if (isCurrent_) PreparePut();
}

void EngineRecord::PreparePut() {
  put_.emplace(db_.Prepare("INSERT OR REPLACE INTO items VALUES(?,?,?,?,?,?,?,?,?,?,?)"));
}

void EngineRecord::Upgrade() {
  if (isCurrent_) return;
  SqliteTransaction group(db_);
  for (const Column& column : kLater) {
    if (Has(db_, column)) continue;
    const std::string statement = std::string("ALTER TABLE ") + column.table + " ADD COLUMN " +
                                  column.name + " " + column.form;
    db_.Execute(statement.c_str());
  }
  group.Commit();
  isCurrent_ = true;
  PreparePut();
}

std::string EngineRecord::PathFor(const std::string& path, bool lookOnly) {
  FileInfo info;
  const bool missing =
      Service<Files>::Get().Stat(path, info) == std::errc::no_such_file_or_directory;
  return lookOnly && missing ? ":memory:" : path;
}

std::vector<KnownPhone> EngineRecord::Phones() {
  std::vector<KnownPhone> phones;
  SqliteStatement rows = db_.Prepare("SELECT id,path FROM phones ORDER BY path,id");
  while (rows.Step()) phones.push_back({rows.Text(0), rows.Text(1)});
  return phones;
}

void EngineRecord::SavePhone(const std::string& id, const std::string& path) {
  SqliteTransaction group(db_);
  db_.Prepare("UPDATE phones SET path='' WHERE path=? AND id<>?").Bind(1, path).Bind(2, id).Run();
  db_.Prepare("INSERT OR REPLACE INTO phones VALUES(?,?)").Bind(1, id).Bind(2, path).Run();
  group.Commit();
}

StoreState EngineRecord::State(const std::string& phone, std::string_view store) {
  SqliteStatement row =
      db_.Prepare(std::string("SELECT slow_done,last_sync,item_count,ended_ns,") +
                  (isCurrent_ ? "source" : "''") + " FROM stores WHERE phone=? AND store=?");
  row.Bind(1, phone).Bind(2, store);
  if (!row.Step()) return {};
  return {row.Int(0) != 0, row.Text(1), row.Int(2), row.Int(3), row.Text(4)};
}

void EngineRecord::SaveState(const std::string& phone, std::string_view store,
                             const StoreState& state) {
  db_.Prepare(
         "UPDATE stores SET slow_done=?,last_sync=?,item_count=?,ended_ns=?,source=? WHERE id=?")
      .Bind(1, int64_t{state.slowDone})
      .Bind(2, state.lastSync)
      .Bind(3, state.itemCount)
      .Bind(4, state.endedNs)
      .Bind(5, state.source)
      .Bind(6, StoreId(phone, store, true))
      .Run();
}

// 0 for one that is not there and not to be made.
int64_t EngineRecord::StoreId(const std::string& phone, std::string_view store, bool make) {
  if (lastId_ != 0 && phone == lastPhone_ && store == lastStore_) return lastId_;
  int64_t id = 0;
  {
    SqliteStatement row = db_.Prepare("SELECT id FROM stores WHERE phone=? AND store=?");
    row.Bind(1, phone).Bind(2, store);
    if (row.Step()) id = row.Int(0);
  }
  if (id == 0 && make) {
    db_.Prepare("INSERT INTO stores(phone,store) VALUES(?,?)").Bind(1, phone).Bind(2, store).Run();
    return db_.LastRowId();  // not kept: the group that it belongs to may be undone
  }
  lastPhone_ = phone;
  lastStore_ = store;
  return lastId_ = id;
}

void EngineRecord::ClearSlowDone(const std::string& phone, std::string_view store) {
  StoreState state = State(phone, store);
  if (!state.slowDone) return;
  state.slowDone = false;
  SaveState(phone, store, state);
  db_.Execute("PRAGMA wal_checkpoint(FULL)");
}

std::vector<RecordRow> EngineRecord::Rows(const std::string& phone, std::string_view store) {
  std::vector<RecordRow> rows;
  rows.reserve(static_cast<size_t>(Count(phone, store)));
  SqliteStatement read =
      db_.Prepare(std::string("SELECT name,size,mtime_ns,hash,uid,source_uid,") +
                  (isCurrent_ ? "inode,phone_says,pc_says,pc_file" : "0,x'',x'',x''") +
                  " FROM items WHERE store_id=? ORDER BY name");
  read.Bind(1, StoreId(phone, store, false));
  while (read.Step()) {
    RecordRow row;
    row.name = read.Text(0);
    if (const size_t mark = row.name.find(kAside); mark != row.name.npos) {
      row.name.resize(mark);
      row.isAside = true;
    }
    row.size = static_cast<uint64_t>(read.Int(1));
    row.modifiedNs = read.Int(2);
    const std::string hash = read.Blob(3);
    std::copy_n(hash.begin(), std::min(hash.size(), row.hash.size()), row.hash.begin());
    row.uid = read.Text16(4);
    row.sourceUid = read.Text16(5);
    row.inode = static_cast<uint64_t>(read.Int(6));
    row.phoneSays = UnpackMeaning(read.Blob(7));
    row.pcSays = UnpackMeaning(read.Blob(8));
    row.pcFile = UnpackFile(read.Blob(9));
    rows.push_back(std::move(row));
  }
  std::ranges::stable_sort(rows, {}, &RecordRow::name);
  return rows;
}

void EngineRecord::Put(const std::string& phone, std::string_view store, const RecordRow& row) {
  const int64_t id = StoreId(phone, store, true);
  std::string name = row.name;
  if (row.isAside) name.append(kAside).append(ToUtf8(row.sourceUid));
  release_.Bind(1, id).Bind(2, row.sourceUid).Bind(3, name).Run();
  const std::string phoneSays = Pack(row.phoneSays);
  const std::string pcSays = Pack(row.pcSays);
  const std::string pcFile = Pack(row.pcFile);
  put_->Bind(1, id)
      .Bind(2, name)
      .Bind(3, static_cast<int64_t>(row.size))
      .Bind(4, row.modifiedNs)
      .BindBlob(5, Bytes(row.hash))
      .Bind(6, row.uid)
      .Bind(7, row.sourceUid)
      .Bind(8, static_cast<int64_t>(row.inode))
      .BindBlob(9, phoneSays)
      .BindBlob(10, pcSays)
      .BindBlob(11, pcFile)
      .Run();
}

void EngineRecord::Remove(const std::string& phone, std::string_view store,
                          std::u16string_view sourceUid) {
  remove_.Bind(1, StoreId(phone, store, false)).Bind(2, sourceUid).Run();
}

void EngineRecord::RenameFolder(const std::string& phone, std::string_view store,
                                const std::string& from, const std::string& to) {
  // "0" is the sign behind "/": every name that begins with the folder's lies between.
  std::string end = from;
  end.back() = '0';
  db_.Prepare(
         "UPDATE OR REPLACE items SET name=?||substr(CAST(name AS BLOB),?) WHERE store_id=?"
         " AND name>=? AND name<?")
      .Bind(1, to)
      .Bind(2, static_cast<int64_t>(from.size() + 1))
      .Bind(3, StoreId(phone, store, false))
      .Bind(4, from)
      .Bind(5, end)
      .Run();
}

void EngineRecord::SetAside(const std::string& phone, std::string_view store,
                            const std::string& name) {
  db_.Prepare("UPDATE OR REPLACE items SET name=name||?||source_uid WHERE store_id=? AND name=?")
      .Bind(1, kAside)
      .Bind(2, StoreId(phone, store, false))
      .Bind(3, name)
      .Run();
}

void EngineRecord::Clear(const std::string& phone, std::string_view store) {
  db_.Prepare("DELETE FROM items WHERE store_id=?").Bind(1, StoreId(phone, store, false)).Run();
}

int64_t EngineRecord::Count(const std::string& phone, std::string_view store) {
  SqliteStatement count = db_.Prepare("SELECT count(*) FROM items WHERE store_id=?");
  count.Bind(1, StoreId(phone, store, false));
  return count.Step() ? count.Int(0) : 0;
}

}  // namespace qv
