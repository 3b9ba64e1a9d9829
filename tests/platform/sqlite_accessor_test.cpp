#include "platform/database/sqlite_accessor.h"

#include <gtest/gtest.h>

#include "kit/accessor_fakes.h"
#include "kit/file_size_limit.h"
#include "kit/platform_fakes.h"
#include "platform/com/lists.h"
#include "platform/database/sqlite.h"
#include "platform/database/statement_check.h"
#include "platform/database/stored_text.h"

namespace qv::test {
namespace {

TEST(StoredTextTest, NothingIsLostOnTheWayThere) {
  const std::u16string texts[] = {
      u"",
      u"plain",
      u"\u00E4\u20AC\U0001F600",
      {u'a', 0xDC80, u'b', 0xDCFF},   // lone low surrogates
      {0xD83D, u'x', 0xDE00, 0xD83D}  // a torn pair
  };
  for (const std::u16string& text : texts) EXPECT_EQ(FromStoredText(StoredText(text)), text);
  EXPECT_EQ(StoredText(u"\U0001F600"), "\xF0\x9F\x98\x80");
  const std::pair<const char*, const char16_t*> bad[] = {
      {"a\xFFz", u"a\uFFFDz"},
      {"\xC3", u"\uFFFD"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"},
      {"\xE2\x82", u"\uFFFD\uFFFD"},
      {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},
  };
  for (const auto& [bytes, text] : bad) EXPECT_EQ(FromStoredText(bytes), text);
}

// What may run at all; the same texts go through the whole accessor.
struct Judgement {
  const char* statement;
  bool runs;
};
const Judgement kChanges[] = {
    {"INSERT INTO ExtraDB(value) VALUES('a;b')", true},
    {"INSERT INTO ExtraDB(value) VALUES('-- no /* comment */')", true},
    {"INSERT INTO ExtraDB(value) VALUES('it''s;--')", true},
    {"INSERT INTO ExtraDB(value) VALUES(1 - -2 / 3)", true},
    {" \r\n\tinsert into ExtraDB(value) values('x') \r\n", true},
    {"UPDATE \"Bookmark(Chrome)_BackupStatusDB\" SET isFolder=1", true},
    {"DELETE FROM DataStoreMap", true},
    {"", false},
    {"  ", false},
    {"DELETE FROM DataStoreMap;", false},
    {"DELETE FROM DataStoreMap; DELETE FROM ExtraDB", false},
    {"INSERT INTO ExtraDB(value) VALUES('x');DROP TABLE ExtraDB--')", false},
    {"DELETE FROM DataStoreMap -- all", false},
    {"DELETE /**/ FROM DataStoreMap", false},
    {"-- first\nDELETE FROM DataStoreMap", false},
    {"DELETE FROM DataStoreMap WHERE obj_uid='open", false},
    {"INSERT INTO ExtraDB(value) VALUES(?)", false},
    {"WITH a AS (SELECT 1) DELETE FROM DataStoreMap", false},
    {"REPLACE INTO ExtraDB(value) VALUES('x')", false},
    {"DROP TABLE ExtraDB", false},
    {"CREATE TABLE x(y)", false},
    {"ALTER TABLE ExtraDB ADD z", false},
    {"ATTACH ':memory:' AS other", false},
    {"PRAGMA synchronous=OFF", false},
    {"BEGIN", false},
    {"VACUUM", false},
    {"DELETE FROM sqlite_sequence", false},
    {"UPDATE sqlite_stat1 SET stat='1'", false},
    {"SELECT value FROM ExtraDB", false},
    {"INSERT INTO ExtraDB(value) VALUES(load_extension('x'))", false},
    {"INSERT INTO ExtraDB(value) VALUES(zeroblob(1000000000))", false},
    {"DELETEX FROM DataStoreMap", false},
    {"INSERT INTO ExtraDB(value) VALUES(\"x\")", false},
};
const Judgement kQueries[] = {
    {"SELECT value FROM ExtraDB WHERE property='a;--b'", true},
    {"SELECT count(*) FROM ExtraDB", true},
    {"SELECT value FROM sqlite_master", false},
    {"SELECT sql FROM sqlite_schema", false},
    {"SELECT name FROM pragma_table_info('ExtraDB')", false},
    {"SELECT value FROM ExtraDB UNION SELECT sql FROM sqlite_schema", false},
    {"SELECT x FROM (WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c) SELECT x FROM "
     "c)",
     false},
    {"SELECT writefile('x','y')", false},
    {"INSERT INTO ExtraDB(value) VALUES('x') RETURNING value", false},
};

class SqliteAccessorTest : public testing::Test {
 protected:
  SqliteAccessorTest() {
    if (Failed(db->GetSessionId(&session))) throw StatusError(E_FAIL);
  }

  HRESULT NonQuery(std::u16string_view text) { return db->ExecuteNonQuery(session, Bstr(text)); }

  HRESULT Batch(std::u16string_view statement, const std::vector<std::vector<Variant>>& rows) {
    auto list = MakeObject<UnkList>();
    for (const auto& row : rows) {
      auto values = MakeObject<VarList>();
      for (const Variant& value : row) Check(values->Add(value.get()));
      Check(list->Add(values.get()));
    }
    return db->ExecuteBatch(Bstr(statement), list.get());
  }

  ComPtr<RecordingAccessor> db = OpenRecorder();
  int32_t session = 0;
};

TEST_F(SqliteAccessorTest, RunsOneStatementOfTheFourKindsAndNothingElse) {
  for (const auto& [statement, runs] : kChanges) {
    EXPECT_EQ(NonQuery(FromStoredText(statement)), runs ? S_OK : E_FAIL) << statement;
  }
  for (const auto& [statement, runs] : kQueries) {
    int32_t rowset = -1;
    const HRESULT status = db->ExecuteQuery(session, Bstr(FromStoredText(statement)), &rowset);
    EXPECT_EQ(status, runs ? S_OK : E_FAIL) << statement;
    EXPECT_EQ(rowset > 0, runs) << statement;
  }
  EXPECT_EQ(NonQuery(std::u16string_view(u"DELETE FROM ExtraDB\0 WHERE 0", 28)), E_FAIL);
  EXPECT_EQ(db->Rows(u"ExtraDB", {u"value"}),
            Table({{u"a;b"}, {u"-- no /* comment */"}, {u"it's;--"}, {u"1"}, {u"x"}}));
}

TEST_F(SqliteAccessorTest, AFailureIsToldWithTheFileAndWithoutThePersonsData) {
  EXPECT_EQ(NonQuery(u"INSERT INTO ExtraDB(nowhere) VALUES('secret')"), E_FAIL);
  const std::string& error = LastDatabaseError();
  EXPECT_NE(error.find(":memory:"), std::string::npos) << error;
  EXPECT_NE(error.find("no column named nowhere"), std::string::npos) << error;
  EXPECT_EQ(error.find("secret"), std::string::npos) << error;
}

TEST_F(SqliteAccessorTest, ValuesComeByNameInTheFormThatReadersExpect) {
  const std::u16string torn = {u'a', 0xDC80};
  ASSERT_EQ(NonQuery(u"INSERT INTO HiddenDB(datastore_id,property,extended,iscustom) VALUES('007','"
                     u"\u00C4\U0001F600" +
                     torn + u"','',1)"),
            S_OK);
  int32_t rowset = 0;
  ASSERT_EQ(db->ExecuteQuery(session,
                             Bstr(u"SELECT datastore_id,property,value,extended,iscustom,"
                                  u"datastore_type FROM HiddenDB"),
                             &rowset),
            S_OK);
  Variant value;
  EXPECT_EQ(db->GetColumnValue(rowset, Bstr(u"value"), value.Out()), E_FAIL) << "before a row";
  ASSERT_EQ(db->MoveFirst(rowset), S_OK);
  const auto read = [&](const char16_t* column) {
    EXPECT_EQ(db->GetColumnValue(rowset, Bstr(column), value.Out()), S_OK);
    return value;
  };
  EXPECT_EQ(read(u"DataStore_ID").view(), u"007");
  EXPECT_EQ(read(u"property").view(), u"\u00C4\U0001F600" + torn);
  EXPECT_EQ(read(u"value").type(), VT_NULL);
  EXPECT_TRUE(read(u"extended").IsText());
  EXPECT_EQ(read(u"IsCustom").type(), VT_INT);
  EXPECT_EQ(value.get().lVal, 1);
  EXPECT_EQ(read(u"datastore_type").view(), u"0");
  EXPECT_EQ(db->GetColumnValue(rowset, Bstr(u"other"), value.Out()), E_FAIL);
  EXPECT_EQ(value.type(), VT_EMPTY);
  EXPECT_EQ(db->MoveNext(rowset), DB_S_ENDOFROWSET);
  EXPECT_EQ(db->MoveNext(rowset), DB_S_ENDOFROWSET);
  EXPECT_EQ(db->GetColumnValue(rowset, Bstr(u"value"), value.Out()), E_FAIL) << "behind the rows";
}

TEST_F(SqliteAccessorTest, ARowsetIsACopyThatLivesUntilItIsClosed) {
  ASSERT_EQ(NonQuery(u"INSERT INTO ExtraDB(value) VALUES('1'),('2')"), S_OK);
  const Bstr query(u"SELECT value FROM ExtraDB");
  int32_t first = 0;
  int32_t second = 0;
  ASSERT_EQ(db->ExecuteQuery(session, query, &first), S_OK);
  ASSERT_EQ(NonQuery(u"DELETE FROM ExtraDB"), S_OK);
  ASSERT_EQ(db->ExecuteQuery(session, query, &second), S_OK);
  EXPECT_EQ(db->MoveFirst(second), DB_S_ENDOFROWSET);
  EXPECT_EQ(db->MoveFirst(first), S_OK);
  EXPECT_EQ(db->MoveNext(first), S_OK);
  EXPECT_EQ(db->CloseRowset(first), S_OK);
  EXPECT_EQ(db->CloseRowset(first), E_FAIL);
  EXPECT_EQ(db->MoveNext(first), E_FAIL);
  EXPECT_EQ(db->EndSession(session), S_OK);
  EXPECT_EQ(db->MoveFirst(second), E_FAIL) << "a session's rowsets end with it";
}

TEST_F(SqliteAccessorTest, OnlyTheOpenSessionRunsStatements) {
  int32_t number = 0;
  EXPECT_EQ(db->BeginSession(&number), S_OK);
  EXPECT_EQ(number, session);
  EXPECT_GT(number, 0);
  const Bstr statement(u"DELETE FROM ExtraDB");
  for (const int32_t wrong : {0, -1, session + 1}) {
    EXPECT_EQ(db->ExecuteNonQuery(wrong, statement), E_FAIL) << wrong;
    EXPECT_EQ(db->EndSession(wrong), E_FAIL) << wrong;
  }
  EXPECT_EQ(db->EndSession(session), S_OK);
  EXPECT_EQ(db->GetSessionId(&number), S_OK);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(db->ExecuteNonQuery(session, statement), E_FAIL);
  EXPECT_EQ(db->ExecuteNonQuery(0, statement), E_FAIL);
  EXPECT_EQ(Batch(u"INSERT INTO ExtraDB(value) VALUES(?)", {{Variant::Int(1)}}), E_FAIL);
  int32_t next = 0;
  EXPECT_EQ(db->BeginSession(&next), S_OK);
  EXPECT_NE(next, session) << "an old number must not come alive again";
}

TEST_F(SqliteAccessorTest, TheLastGivenNumberBelongsToItsTable) {
  const auto identity = [&](const char16_t* table, const char16_t* column) {
    int32_t value = -1;
    const HRESULT status = db->GetLastIdentity(session, Bstr(table), Bstr(column), &value);
    return Failed(status) ? -1 : value;
  };
  EXPECT_EQ(identity(u"ContGrp_NameUidMap", u"contgrp_id"), -1) << "nothing inserted";
  ASSERT_EQ(NonQuery(u"INSERT INTO ContGrp_NameUidMap(grpname) VALUES('a'),('b')"), S_OK);
  ASSERT_EQ(NonQuery(u"INSERT INTO Bookmark_FFPathUidMap(filefolderpath)  VALUES('/x')"), S_OK);
  ASSERT_EQ(NonQuery(u"INSERT INTO ExtraDB(value) VALUES('x')"), S_OK);
  EXPECT_EQ(identity(u"ContGrp_NameUidMap", u"ContGrp_Id"), 2);
  EXPECT_EQ(identity(u"Bookmark_FFPathUidMap", u"bookmark_id"), 1);
  EXPECT_EQ(identity(u"ContGrp_NameUidMap", u"grpname"), -1);
  EXPECT_EQ(identity(u"ExtraDB", u"value"), -1);
  ASSERT_EQ(NonQuery(u"DELETE FROM ContGrp_NameUidMap"), S_OK);
  ASSERT_EQ(NonQuery(u"INSERT INTO ContGrp_NameUidMap(grpname) VALUES('c')"), S_OK);
  EXPECT_EQ(identity(u"ContGrp_NameUidMap", u"contgrp_id"), 3) << "never handed out twice";
}

TEST_F(SqliteAccessorTest, ABatchStopsAtTheFirstBadRowAndKeepsThoseBefore) {
  const char16_t* const insert = u"INSERT INTO ExtraDB(property,value) VALUES(?,?)";
  const auto row = [](const char16_t* a, const char16_t* b) {
    return std::vector<Variant>{Variant::Text(a), Variant::Text(b)};
  };
  EXPECT_EQ(Batch(u"no statement at all", {}), S_OK) << "nothing runs for an empty list";
  EXPECT_EQ(Batch(insert, {row(u"a", u"it's; -- 1"), {Variant::Null(), Variant::Int(7)}}), S_OK);
  EXPECT_EQ(Batch(insert, {row(u"b", u"2"), {Variant::Text(u"short")}, row(u"c", u"3")}), E_FAIL);
  EXPECT_EQ(
      Batch(insert, {row(u"d", u"4"), {Variant::Object(ComPtr<IDBAccessor>(db)), Variant::Null()}}),
      E_FAIL);
  EXPECT_EQ(Batch(u"DROP TABLE ExtraDB", {{}}), E_FAIL);
  EXPECT_EQ(Batch(u"SELECT value FROM ExtraDB WHERE property=?", {{Variant::Int(1)}}), E_FAIL);
  EXPECT_EQ(db->ExecuteBatch(Bstr(insert), nullptr), E_POINTER);
  EXPECT_EQ(db->ExecuteBatch(Bstr(insert), static_cast<IDBAccessor*>(db.get())), E_FAIL);
  EXPECT_EQ(db->Rows(u"ExtraDB", {u"property", u"value"}),
            Table({{u"a", u"it's; -- 1"}, {u"<null>", u"7"}, {u"b", u"2"}, {u"d", u"4"}}));
}

TEST_F(SqliteAccessorTest, ATransactionTakesStatementsAndBatchesBack) {
  EXPECT_EQ(db->Commit(), E_FAIL);
  EXPECT_EQ(db->Rollback(), E_FAIL);
  for (const bool keep : {false, true}) {
    ASSERT_EQ(db->Begin(), S_OK);
    EXPECT_EQ(NonQuery(u"INSERT INTO ExtraDB(value) VALUES('one')"), S_OK);
    // A part is taken back alone, and one that was kept goes with the whole.
    for (const bool keepPart : {false, true}) {
      ASSERT_EQ(db->Begin(), S_OK);
      EXPECT_EQ(NonQuery(u"INSERT INTO ExtraDB(value) VALUES('part')"), S_OK);
      EXPECT_EQ(keepPart ? db->Commit() : db->Rollback(), S_OK);
    }
    EXPECT_EQ(Batch(u"INSERT INTO ExtraDB(value) VALUES(?)", {{Variant::Int(2)}, {}}), E_FAIL);
    EXPECT_EQ(db->Rows(u"ExtraDB", {u"value"}), Table({{u"one"}, {u"part"}, {u"2"}}));
    EXPECT_EQ(keep ? db->Commit() : db->Rollback(), S_OK);
    EXPECT_EQ(db->Rows(u"ExtraDB", {u"value"}).size(), keep ? 3u : 0u);
    EXPECT_EQ(db->Commit(), E_FAIL) << "nothing is open any more";
  }
}

TEST(SqliteAccessorFileTest, RowsOutliveTheAccessorAndAnOpenTransactionDoesNot) {
  TempFolder folder;
  const std::string path = folder.File("sync.db");
  {
    auto db = OpenRecorder(path);
    EXPECT_EQ(db->Open(nullptr), S_OK) << "open already";
    db->Run(u"INSERT INTO ExtraDB(value) VALUES('kept')");
    ASSERT_EQ(db->Begin(), S_OK);
    db->Run(u"INSERT INTO ExtraDB(value) VALUES('dropped')");
  }
  auto db = OpenRecorder(path);
  EXPECT_EQ(db->Rows(u"ExtraDB", {u"value"}), Table({{u"kept"}}));
  SqliteDatabase other(path, SqliteDatabase::Durability::Normal);
  SqliteStatement mode = other.Prepare("PRAGMA journal_mode");
  EXPECT_TRUE(mode.Step());
  EXPECT_EQ(mode.Text(0), "wal");
}

// A write that fails may undo the whole transaction; what its owner believes to be inside it must
// not then run, and stay, on its own.
TEST(SqliteAccessorFileTest, AFullDiskNeverLeavesHalfATransaction) {
  TempFolder folder;
  auto db = OpenRecorder(folder.File("sync.db"));
  db->Run(u"INSERT INTO ExtraDB(value) VALUES('kept')");
  ASSERT_EQ(db->Begin(), S_OK);
  db->Run(u"INSERT INTO ExtraDB(value) VALUES('before')");
  {
    FileSizeLimit limit(1 << 20);
    // More than the page cache holds, so that it must go to disk at once.
    const std::u16string big(32 << 20, u'x');
    EXPECT_THROW(db->Run(u"INSERT INTO ExtraDB(value) VALUES('" + big + u"')"), StatusError);
    EXPECT_NE(LastDatabaseError().find(folder.path()), std::string::npos) << LastDatabaseError();
  }
  EXPECT_THROW(db->Run(u"INSERT INTO ExtraDB(value) VALUES('behind')"), StatusError);
  EXPECT_EQ(db->Commit(), E_FAIL);
  EXPECT_EQ(db->Rollback(), S_OK);
  EXPECT_EQ(db->Rows(u"ExtraDB", {u"value"}), Table({{u"kept"}}));
  db->Run(u"INSERT INTO ExtraDB(value) VALUES('after')");
}

TEST(SqliteAccessorFileTest, AFileThatIsNoDatabaseFailsInOpenAndSaysSo) {
  TempFolder folder;
  std::string cut;  // a database whose schema page is spoilt behind its header
  {
    const std::string path = folder.File("whole.db");
    OpenRecorder(path);
    cut = *folder.Get("whole.db");
    cut.replace(100, 3900, 3900, '\x5A');
  }
  const std::pair<const char*, std::string> files[] = {
      {"rubbish.db", std::string(8192, 'x')},
      {"short.db", "SQLite format 3"},
      {"spoilt.db", cut},
  };
  for (const auto& [name, bytes] : files) {
    SetSyncDatabasePath(folder.Put(name, bytes));
    auto db = MakeObject<SqliteAccessor>();
    EXPECT_EQ(db->Open(nullptr), E_FAIL) << name;
    EXPECT_EQ(db->Connect(), E_FAIL) << name;
    int32_t session = -1;
    EXPECT_EQ(db->BeginSession(&session), E_FAIL) << name;
    EXPECT_EQ(session, 0) << name;
    EXPECT_EQ(*folder.Get(name), bytes) << name << " was touched";
  }
  SetSyncDatabasePath(folder.File("rubbish.db"));
  EXPECT_EQ(MakeObject<SqliteAccessor>()->Open(nullptr), E_FAIL);
  EXPECT_NE(LastDatabaseError().find("rubbish.db"), std::string::npos) << LastDatabaseError();
  EXPECT_NE(LastDatabaseError().find("damaged"), std::string::npos) << LastDatabaseError();
  for (const std::string& path : {std::string(), folder.path(), folder.File("no/such/folder.db")}) {
    SetSyncDatabasePath(path);
    EXPECT_EQ(MakeObject<SqliteAccessor>()->Open(nullptr), E_FAIL) << path;
  }
  SetSyncDatabasePath("");
}

}  // namespace
}  // namespace qv::test
