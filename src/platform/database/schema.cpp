#include "platform/database/schema.h"

#include <sqlite3.h>

#include <algorithm>
#include <string>

#include "platform/database/sqlite.h"

namespace qv {
namespace {

// Persisted: the form of the file. A later form gets a higher number, and a step that brings an
// older file up to it.
constexpr int64_t kSchemaVersion = 2;

// Persisted. Identifiers, times and texts are TEXT: a number in a text stays as it was written.
constexpr SyncTable kTables[] = {
    {"DataStoreMap",
     "datastore_sourceuri TEXT, datastore_id TEXT, obj_uid TEXT, obj_modified TEXT, "
     "profile_id TEXT, datastore_type INTEGER DEFAULT 0",
     ""},
    {"ExtraDB",
     "profile_id TEXT, datastore_sourceuri TEXT, datastore_type INTEGER DEFAULT 0, "
     "datastore_id TEXT, property TEXT, value TEXT",
     ""},
    {"HiddenDB",
     "profile_id TEXT, datastore_sourceuri TEXT, datastore_type INTEGER DEFAULT 0, "
     "datastore_id TEXT, property TEXT, value TEXT, extended TEXT, iscustom INTEGER",
     ""},
    {"Contact_BackupStatusDB",
     "contact_id TEXT, contact_parentid TEXT, modified TEXT, isfolder INTEGER, md5 TEXT, "
     "profile_id TEXT",
     ""},
    {"Calendar_BackupStatusDB",
     "calendar_id TEXT, calendar_parentid TEXT, modified TEXT, isfolder INTEGER, md5 TEXT, "
     "profile_id TEXT",
     ""},
    {"Task_BackupStatusDB",
     "task_id TEXT, task_parentid TEXT, modified TEXT, isfolder INTEGER, md5 TEXT, profile_id TEXT",
     ""},
    {"Note_BackupStatusDB",
     "note_id TEXT, note_parentid TEXT, modified TEXT, isfolder INTEGER, md5 TEXT, profile_id TEXT",
     ""},
    {"Bookmark_BackupStatusDB",
     "bookmark_id TEXT, bookmark_parentid TEXT, modified TEXT, isfolder INTEGER, profile_id TEXT",
     ""},
    {"Bookmark(Chrome)_BackupStatusDB",
     "bookmark_id TEXT, bookmark_parentid TEXT, modified TEXT, isfolder INTEGER, profile_id TEXT",
     ""},
    {"OutlookExp_BackupStatusDB",
     "outlookexp_id TEXT, outlookexp_parentid TEXT, modified TEXT, isfolder INTEGER, "
     "profile_id TEXT",
     ""},
    {"WindowsContact_BackupStatusDB",
     "wincon_id TEXT, wincon_parentid TEXT, modified TEXT, isfolder INTEGER, profile_id TEXT", ""},
    {"Calendar_SubRecurMap",
     "profile_id TEXT, datastore_sourceuri TEXT, subrecur_id TEXT, parentrecur_id TEXT, "
     "modified TEXT, original_date TEXT, isDeleted INTEGER",
     ""},
    // AUTOINCREMENT: a number is never handed out twice, not even after all rows are gone.
    {"Bookmark_FFPathUidMap",
     "bookmark_id INTEGER PRIMARY KEY AUTOINCREMENT, filefolderpath TEXT, obj_uid TEXT, "
     "obj_modified TEXT",
     "bookmark_id"},
    {"ContGrp_NameUidMap",
     "contgrp_id INTEGER PRIMARY KEY AUTOINCREMENT, grpname TEXT, obj_uid TEXT, obj_modified TEXT",
     "contgrp_id"},
    {"OutlookExp_UidMap",
     "outlookexp_id INTEGER PRIMARY KEY AUTOINCREMENT, outlookexp_uid TEXT, obj_uid TEXT, "
     "obj_modified TEXT",
     "outlookexp_id"},
    {"WindowsContact_UidMap",
     "wincon_id INTEGER PRIMARY KEY AUTOINCREMENT, file_uid TEXT, obj_uid TEXT, obj_modified TEXT",
     "wincon_id"},
};

// An index over the columns of one WHERE. `spread` is what the planner is told of it: the number of
// rows, then how many of them share the first column, the first two, and so on. Without it the
// planner takes the longer index for the better one and walks a whole store to find one item.
struct SyncIndex {
  const char* name;
  const char* table;
  const char* columns;
  const char* spread;
  bool partial = false;  // over the rows whose (one) column is not NULL
};

constexpr char kOfItem[] = "1000000 2 1";
constexpr char kOfProfile[] = "1000000 50000";
constexpr char kOfStore[] = "1000000 50000 20000 20000";
constexpr char kOfText[] = "1000000 1";

// Persisted. The indexes of the four maps hold all that a read of the whole map asks for; being
// partial they are not taken for it, and the map is read in the order of its numbers.
//
// A status table whose reads are sorted has the identifier behind the profile, one whose
// reads are not sorted has two indexes.
constexpr SyncIndex kIndexes[] = {
    {"DataStoreMap_item", "DataStoreMap", "datastore_id, profile_id", kOfItem},
    {"DataStoreMap_uid", "DataStoreMap", "obj_uid, profile_id", kOfItem},
    {"DataStoreMap_store", "DataStoreMap", "profile_id, datastore_sourceuri, datastore_type",
     kOfStore},
    {"ExtraDB_item", "ExtraDB", "datastore_id, profile_id", kOfItem},
    {"ExtraDB_store", "ExtraDB", "profile_id, datastore_sourceuri, datastore_type", kOfStore},
    {"HiddenDB_item", "HiddenDB", "datastore_id, profile_id", kOfItem},
    {"HiddenDB_store", "HiddenDB", "profile_id, datastore_sourceuri, datastore_type", kOfStore},
    {"Contact_sorted", "Contact_BackupStatusDB", "profile_id, contact_id", "1000000 50000 1"},
    {"Calendar_sorted", "Calendar_BackupStatusDB", "profile_id, calendar_id", "1000000 50000 1"},
    {"Note_sorted", "Note_BackupStatusDB", "profile_id, note_id", "1000000 50000 1"},
    {"WindowsContact_sorted", "WindowsContact_BackupStatusDB", "profile_id, wincon_id",
     "1000000 50000 1"},
    {"Task_item", "Task_BackupStatusDB", "task_id, profile_id", kOfItem},
    {"Task_profile", "Task_BackupStatusDB", "profile_id", kOfProfile},
    {"Bookmark_item", "Bookmark_BackupStatusDB", "bookmark_id, profile_id", kOfItem},
    {"Bookmark_profile", "Bookmark_BackupStatusDB", "profile_id", kOfProfile},
    {"Chrome_item", "Bookmark(Chrome)_BackupStatusDB", "bookmark_id, profile_id", kOfItem},
    {"Chrome_profile", "Bookmark(Chrome)_BackupStatusDB", "profile_id", kOfProfile},
    {"OutlookExp_item", "OutlookExp_BackupStatusDB", "outlookexp_id, profile_id", kOfItem},
    {"OutlookExp_profile", "OutlookExp_BackupStatusDB", "profile_id", kOfProfile},
    {"SubRecur_item", "Calendar_SubRecurMap", "subrecur_id, profile_id", kOfItem},
    {"SubRecur_parent", "Calendar_SubRecurMap", "parentrecur_id, profile_id", "1000000 10 5"},
    {"SubRecur_source", "Calendar_SubRecurMap", "datastore_sourceuri", "1000000 50000"},
    {"BookmarkPath", "Bookmark_FFPathUidMap", "filefolderpath", kOfText, true},
    {"GroupName", "ContGrp_NameUidMap", "grpname", kOfText, true},
    {"GroupUid", "ContGrp_NameUidMap", "obj_uid", kOfText, true},
    {"OutlookExpEntry", "OutlookExp_UidMap", "outlookexp_uid", kOfText, true},
    {"WindowsContactFile", "WindowsContact_UidMap", "file_uid", kOfText, true},
};

// Indexes of earlier versions that serve no statement.
constexpr const char* kFormerIndexes[] = {"SubRecur_store"};

int64_t SchemaVersion(SqliteDatabase& db) {
  SqliteStatement read = db.Prepare("PRAGMA user_version");
  return read.Step() ? read.Int(0) : 0;
}

void CreateAll(SqliteDatabase& db) {
  for (const char* name : kFormerIndexes) {
    db.Execute(("DROP INDEX IF EXISTS " + std::string(name)).c_str());
  }
  for (const SyncTable& table : kTables) {
    db.Execute(
        (std::string("CREATE TABLE IF NOT EXISTS \"") + table.name + "\"(" + table.columns + ")")
            .c_str());
  }
  for (const SyncIndex& index : kIndexes) {
    db.Execute((std::string("CREATE INDEX IF NOT EXISTS \"") + index.name + "\" ON \"" +
                index.table + "\"(" + index.columns + ")" +
                (index.partial ? std::string(" WHERE ") + index.columns + " IS NOT NULL" : ""))
                   .c_str());
  }
}

// The planner reads the table when the schema is loaded; the first ANALYZE makes it (empty), the
// second makes this connection read it again.
void TellSpreads(SqliteDatabase& db) {
  db.Execute("ANALYZE sqlite_schema; DELETE FROM sqlite_stat1");
  SqliteStatement insert = db.Prepare("INSERT INTO sqlite_stat1(tbl,idx,stat) VALUES(?,?,?)");
  for (const SyncIndex& index : kIndexes) {
    insert.Bind(1, std::string_view(index.table));
    insert.Bind(2, std::string_view(index.name));
    insert.Bind(3, std::string_view(index.spread)).Run();
  }
  db.Execute("ANALYZE sqlite_schema");
}

std::string ColumnNames(std::string_view columns) {
  std::string names;
  while (!columns.empty()) {
    const size_t end = std::min(columns.find(','), columns.size());
    const std::string_view column = columns.substr(0, end);
    names.append(names.empty() ? "" : ",").append(column.substr(0, column.find(' ')));
    columns.remove_prefix(std::min(end + 2, columns.size()));
  }
  return names;
}

}  // namespace

std::span<const SyncTable> SyncTables() {
  return kTables;
}

const SyncTable* FindSyncTable(std::string_view name) {
  const auto found = std::find_if(std::begin(kTables), std::end(kTables),
                                  [&](const SyncTable& table) { return name == table.name; });
  return found == std::end(kTables) ? nullptr : found;
}

void EnsureSyncSchema(SqliteDatabase& db) {
  if (SchemaVersion(db) < kSchemaVersion) {
    SqliteTransaction transaction(db);
    CreateAll(db);
    TellSpreads(db);
    db.Execute(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
    transaction.Commit();
  }
  if (SchemaVersion(db) > kSchemaVersion) {
    throw SqliteError(SQLITE_ERROR, db.path() + ": made by a newer version of this program");
  }
  for (const SyncTable& table : kTables) {
    db.Prepare("SELECT " + ColumnNames(table.columns) + " FROM \"" + table.name + "\"");
  }
}

}  // namespace qv
