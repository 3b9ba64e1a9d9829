#include "platform/database/schema.h"

#include <gtest/gtest.h>

#include <set>

#include "kit/platform_fakes.h"
#include "platform/database/sqlite.h"

namespace qv::test {
namespace {

// Every form of statement that goes to these tables. A `$` list stands for many identifiers.
const char* const kSharedStatements[] = {
    "SELECT datastore_id FROM DataStoreMap WHERE datastore_id='i' AND datastore_sourceuri='u' AND "
    "profile_id='p' AND datastore_type=0",
    "SELECT obj_uid,obj_modified FROM DataStoreMap WHERE datastore_id='i' AND profile_id='p' AND "
    "datastore_type=0",
    "UPDATE DataStoreMap SET  obj_uid='o', obj_modified='m' WHERE datastore_id='i' AND "
    "profile_id='p'",
    "SELECT datastore_id,obj_uid,obj_modified FROM DataStoreMap WHERE profile_id='p' AND "
    "datastore_sourceuri='u' AND datastore_type=0",
    "SELECT property,value FROM ExtraDB WHERE datastore_id='i' AND datastore_sourceuri='u' AND "
    "profile_id='p' AND datastore_type=0",
    "SELECT property,value,extended,iscustom FROM HiddenDB WHERE datastore_id='i' AND "
    "datastore_sourceuri='u' AND profile_id='p' AND datastore_type=2",
    "SELECT parentrecur_id,modified,original_date,isDeleted FROM Calendar_SubRecurMap WHERE "
    "subrecur_id='i' AND profile_id='p'",
    "SELECT subrecur_id,modified,original_date,isDeleted FROM Calendar_SubRecurMap WHERE "
    "parentrecur_id='i' AND profile_id='p'",
    "DELETE FROM Calendar_SubRecurMap WHERE profile_id='p' AND datastore_sourceuri='u'",
    "SELECT filefolderpath FROM Bookmark_FFPathUidMap WHERE bookmark_id='3'",
    "SELECT  bookmark_id FROM Bookmark_FFPathUidMap WHERE filefolderpath='/a'",
    "UPDATE Bookmark_FFPathUidMap SET filefolderpath = CASE bookmark_id WHEN '3' THEN '/b' END "
    "WHERE bookmark_id IN ('3','4')",
    "DELETE FROM Bookmark_FFPathUidMap WHERE filefolderpath='/b' AND bookmark_id<>'3'",
    "DELETE FROM Bookmark_FFPathUidMap WHERE filefolderpath='/b' OR (filefolderpath>='/b\\' AND "
    "filefolderpath<'/b]')",
    "SELECT bookmark_id,filefolderpath FROM Bookmark_FFPathUidMap WHERE  bookmark_id='3' OR  "
    "bookmark_id='4'",
    "SELECT obj_uid FROM ContGrp_NameUidMap WHERE grpname='g'",
    "SELECT grpname FROM ContGrp_NameUidMap WHERE obj_uid='o'",
    "SELECT obj_uid,obj_modified FROM OutlookExp_UidMap WHERE outlookexp_id='3'",
    "SELECT outlookexp_id FROM OutlookExp_UidMap WHERE outlookexp_uid='e'",
    "SELECT file_uid FROM WindowsContact_UidMap WHERE wincon_id='3'",
    "DELETE FROM WindowsContact_UidMap WHERE ( file_uid = 'a' OR  file_uid = 'b')",
};

struct StatusTable {
  const char* sql;  // the table as statements spell it
  const char* item;
  bool sorted;
};
constexpr StatusTable kStatusTables[] = {
    {"Contact_BackupStatusDB", "contact", true},
    {"Calendar_BackupStatusDB", "calendar", true},
    {"Task_BackupStatusDB", "task", false},
    {"Note_BackupStatusDB", "note", true},
    {"Bookmark_BackupStatusDB", "bookmark", false},
    {"\"Bookmark(Chrome)_BackupStatusDB\"", "bookmark", false},
    {"OutlookExp_BackupStatusDB", "outlookexp", false},
    {"WindowsContact_BackupStatusDB", "wincon", true},
};

std::string ManyTerms(const std::string& column) {
  std::string terms;
  for (int i = 0; i < 500; ++i) {
    terms += (i == 0 ? "" : " OR ") + column + "='" + std::to_string(i) + "'";
  }
  return terms;
}

class SchemaTest : public testing::Test {
 protected:
  SchemaTest() { EnsureSyncSchema(db); }

  std::string Plan(const std::string& statement) {
    SqliteStatement explain = db.Prepare("EXPLAIN QUERY PLAN " + statement);
    std::string plan;
    while (explain.Step()) plan += explain.Text(3) + "\n";
    return plan;
  }

  void ExpectSearch(const std::string& statement) {
    const std::string plan = Plan(statement);
    EXPECT_NE(plan.find("SEARCH"), std::string::npos) << statement << "\n" << plan;
    EXPECT_EQ(plan.find("SCAN"), std::string::npos) << statement << "\n" << plan;
    EXPECT_EQ(plan.find("ORDER BY"), std::string::npos) << statement << "\n" << plan;
  }

  // An item is found by its identifier, not by walking its store.
  void ExpectItemSearch(const std::string& statement, const std::string& column) {
    ExpectSearch(statement);
    EXPECT_NE(Plan(statement).find(column + "=?"), std::string::npos) << statement << "\n"
                                                                      << Plan(statement);
  }

  std::string Column(const std::string& select) {
    SqliteStatement read = db.Prepare(select);
    std::string values;
    while (read.Step()) values += read.Text(0) + " ";
    return values;
  }

  SqliteDatabase db{":memory:", SqliteDatabase::Durability::Normal};
};

TEST_F(SchemaTest, NoStatementWalksATable) {
  for (const char* statement : kSharedStatements) ExpectSearch(statement);
  for (const StatusTable& table : kStatusTables) {
    const std::string item = table.item;
    const std::string from = std::string(" FROM ") + table.sql + " WHERE profile_id='p'";
    ExpectSearch("SELECT " + item + "_id," + item + "_parentid,modified,isfolder" + from +
                 (table.sorted ? " ORDER BY " + item + "_id" : ""));
    ExpectSearch("DELETE" + from);
  }
}

TEST_F(SchemaTest, AnItemIsFoundByItsIdentifierInEveryTable) {
  const std::string store = "datastore_sourceuri='u' AND profile_id='p' AND datastore_type=0";
  for (const std::string table : {"DataStoreMap", "ExtraDB", "HiddenDB"}) {
    ExpectItemSearch("DELETE FROM " + table + " WHERE datastore_id='i' AND " + store,
                     "datastore_id");
    ExpectItemSearch(
        "DELETE FROM " + table + " WHERE " + store + " AND (" + ManyTerms("datastore_id") + ")",
        "datastore_id");
    ExpectSearch("SELECT DISTINCT datastore_id FROM " + table + " WHERE " + store);
  }
  for (const StatusTable& table : kStatusTables) {
    const std::string id = std::string(table.item) + "_id";
    const std::string where = " WHERE " + id + "='i' AND profile_id='p'";
    ExpectItemSearch("SELECT " + id + " FROM " + table.sql + where, id);
    ExpectItemSearch("UPDATE " + std::string(table.sql) + " SET modified='m',isFolder=0" + where,
                     id);
    ExpectItemSearch("DELETE FROM " + std::string(table.sql) + " WHERE  profile_id='p' AND (" +
                         ManyTerms(" " + id) + ")",
                     id);
  }
}

TEST_F(SchemaTest, RowsComeInTheOrderOfInsertion) {
  db.Execute(
      "INSERT INTO DataStoreMap(datastore_sourceuri,datastore_id,obj_uid,profile_id) VALUES"
      "('z','b','1','p'),('a','b','2','p'),('z','a','3','p'),('z','b','0','p');"
      "INSERT INTO HiddenDB(profile_id,datastore_sourceuri,datastore_id,property,value) VALUES"
      "('p','u','b','TEL','2'),('p','u','a','TEL','1'),('p','u','b','EMAIL','9'),"
      "('p','u','b','ADR','0');"
      "INSERT INTO Task_BackupStatusDB(task_id,profile_id) VALUES('b','p'),('c','p'),('a','p');"
      "INSERT INTO Note_BackupStatusDB(note_id,profile_id) VALUES('b','p'),('c','p'),('a','p')");
  EXPECT_EQ(Column("SELECT obj_uid FROM DataStoreMap WHERE datastore_id='b' AND profile_id='p' AND "
                   "datastore_type=0"),
            "1 2 0 ");
  EXPECT_EQ(Column("SELECT obj_uid FROM DataStoreMap WHERE profile_id='p' AND "
                   "datastore_sourceuri='z' AND datastore_type=0"),
            "1 3 0 ");
  EXPECT_EQ(Column("SELECT value FROM HiddenDB WHERE datastore_id='b' AND datastore_sourceuri='u' "
                   "AND profile_id='p' AND datastore_type=0"),
            "2 9 0 ");
  EXPECT_EQ(Column("SELECT task_id FROM Task_BackupStatusDB WHERE profile_id='p'"), "b c a ");
  EXPECT_EQ(Column("SELECT note_id FROM Note_BackupStatusDB WHERE profile_id='p' ORDER BY note_id"),
            "a b c ");
}

// The text in quotes meets the number that the database gave.
TEST_F(SchemaTest, GivenNumbersCompareWithTexts) {
  db.Execute("INSERT INTO Bookmark_FFPathUidMap(filefolderpath) VALUES('/c'),('/b'),('/a')");
  db.Execute(
      "UPDATE Bookmark_FFPathUidMap SET filefolderpath = CASE bookmark_id WHEN '1' THEN '/x' WHEN "
      "'3' THEN '/z' END WHERE bookmark_id IN ('1','3')");
  EXPECT_EQ(Column("SELECT filefolderpath FROM Bookmark_FFPathUidMap"), "/x /b /z ");
}

TEST(SchemaFileTest, AnOlderFileKeepsItsRowsAndANewerOneIsRefused) {
  TempFolder folder;
  const std::string path = folder.File("sync.db");
  {
    SqliteDatabase db(path, SqliteDatabase::Durability::Normal);
    db.Execute(
        "CREATE TABLE ContGrp_NameUidMap(contgrp_id INTEGER PRIMARY KEY AUTOINCREMENT, grpname "
        "TEXT, obj_uid TEXT, obj_modified TEXT); INSERT INTO ContGrp_NameUidMap(grpname) "
        "VALUES('g')");
    EnsureSyncSchema(db);
    EnsureSyncSchema(db);
    SqliteStatement read = db.Prepare("SELECT grpname FROM ContGrp_NameUidMap");
    EXPECT_TRUE(read.Step());
    EXPECT_EQ(read.Text(0), "g");
  }
  SqliteDatabase db(path, SqliteDatabase::Durability::Normal);
  db.Execute("PRAGMA user_version=99");
  try {
    EnsureSyncSchema(db);
    FAIL() << "a newer file was taken";
  } catch (const SqliteError& error) {
    EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
  }
}

}  // namespace
}  // namespace qv::test
