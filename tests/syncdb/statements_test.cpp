// Every statement text is pinned here: other versions of the product read the same tables.
#include "platform/system/registry.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "syncdb/exception_table.h"
#include "syncdb/identifier_map.h"
#include "syncdb/purge.h"
#include "syncdb/side_tables.h"
#include "syncdb/sql_text.h"
#include "syncdb/status_table.h"
#include "syncdb/sync_fixture.h"

namespace qv {
namespace {

using test::Statements;
using test::Table;

DATE At(const char16_t* text) {
  return ParseDateTime(text).value;
}

class SyncStatements : public test::SyncFixture {
 protected:
  void Stop(bool stop = true) {
    registry.CreateKey(kSyncKey);
    registry.WriteNumber(kSyncKey, "SyncStop", stop ? 1 : 0);
  }

  test::TempFolder folder;
  FileRegistry registry{folder.File("registry.ini")};
  ScopedService<Registry> useRegistry{registry};
  test::RecordingLog log;
  ScopedService<DebugLog> useLog{log};
  IdentifierMap map{session};
  SideTables sides{session, DatastoreType::Outlook};
  StatusTable status{session, kContactStatus};
};

const std::u16string kMapKey =
    u" WHERE datastore_id='A1' AND datastore_sourceuri='contacts' AND profile_id='P1' AND "
    u"datastore_type=0";
const std::u16string kMapExists = u"SELECT datastore_id FROM DataStoreMap" + kMapKey;
const std::u16string kMapInsert =
    u"INSERT INTO DataStoreMap (datastore_sourceuri,datastore_id,obj_uid,obj_modified,profile_id) "
    u"VALUES('contacts','A1','u-1','2024-05-06 07:08:09','P1')";
const std::u16string kMapUpdate =
    u"UPDATE DataStoreMap SET  obj_uid='u-1', obj_modified='2024-05-06 07:08:09' WHERE "
    u"datastore_id='A1' AND profile_id='P1'";

TEST_F(SyncStatements, MapInsertAndUpdateRunBothTextsWhenTheOtherWasDue) {
  const DATE time = At(u"2024-05-06 07:08:09");
  EXPECT_EQ(map.Update(u"A1", u"u-1", time), S_OK);
  EXPECT_EQ(Ran(), (Statements{kMapExists, kMapInsert, kMapUpdate}));
  EXPECT_EQ(map.Insert(u"A1", u"u-1", time), S_OK);
  EXPECT_EQ(Ran(), (Statements{kMapExists, kMapUpdate, kMapInsert}));
  EXPECT_EQ(db->Rows(u"DataStoreMap", {u"datastore_type"}), (Table{{u"0"}, {u"0"}}));
  EXPECT_EQ(map.Update(u"A1", u"u-1", time), S_OK);
  EXPECT_EQ(Ran(), (Statements{kMapExists, kMapUpdate}));

  EXPECT_EQ(map.Insert(u"", u"u", time), E_FAIL);
  EXPECT_EQ(map.Update(u"A1", u"", time), E_FAIL);
  EXPECT_TRUE(Ran().empty());
}

TEST_F(SyncStatements, MapResultsAreThoseOfTheNamedStatement) {
  const DATE time = At(u"2024-05-06 07:08:09");
  db->FailAt(0, -5);
  EXPECT_EQ(map.Insert(u"A1", u"u-1", time), -5);
  EXPECT_EQ(Ran(), Statements{kMapExists}) << "a failed test ends the call";
  db->FailNothing();
  ASSERT_EQ(map.Insert(u"A1", u"u-1", time), S_OK);
  db->FailAt(1, -5);
  EXPECT_EQ(map.Insert(u"A1", u"u-1", time), S_OK) << "the inner update's status is dropped";
  db->FailAt(2, -5);
  EXPECT_EQ(map.Insert(u"A1", u"u-1", time), -5);
}

TEST_F(SyncStatements, MapDeletesByTheRowAndByTheStore) {
  Ran();
  map.Delete(u"A1");
  map.DeleteAll();
  EXPECT_EQ(Ran(), (Statements{u"DELETE FROM DataStoreMap" + kMapKey,
                               u"DELETE FROM DataStoreMap WHERE datastore_sourceuri='contacts' AND "
                               u"profile_id='P1' AND datastore_type=0"}));
}

TEST_F(SyncStatements, ReadingAnUnknownItemMakesItsRow) {
  ItemFields item;
  item.modified = At(u"2020-01-02 03:04:05");
  EXPECT_EQ(map.ReadOrCreate(u"A1", item), S_OK);
  EXPECT_EQ(item.objUid, u"00000001-0000-4000-8000-000000000000");
  EXPECT_EQ(Ran()[0],
            u"SELECT obj_uid,obj_modified FROM DataStoreMap WHERE datastore_id='A1' AND "
            u"profile_id='P1' AND datastore_type=0");
  EXPECT_EQ(db->Rows(u"DataStoreMap", {u"obj_uid", u"obj_modified"}),
            (Table{{item.objUid, u"2020-01-02 03:04:05"}}));

  ItemFields timeless;
  EXPECT_EQ(map.ReadOrCreate(u"A2", timeless), S_OK);
  EXPECT_EQ(FormatDateTime(timeless.objModified), u"2023-11-14 22:13:20");
}

TEST_F(SyncStatements, APureReadMakesNoRowAndAUidFindsItsItem) {
  ItemFields item;
  EXPECT_EQ(map.Read(u"A1", item), S_OK);
  EXPECT_EQ(item.objUid, u"");
  EXPECT_EQ(Ran().size(), 1u);
  std::u16string id;
  EXPECT_EQ(map.FindByUid(u"u-1", id), S_OK);
  EXPECT_EQ(id, u"");
  EXPECT_EQ(Ran(), (Statements{u"SELECT datastore_id FROM DataStoreMap WHERE obj_uid='u-1' AND "
                               u"datastore_sourceuri='contacts' AND profile_id='P1' AND "
                               u"datastore_type=0"}));
  map.Insert(u"A1", u"u-1", 0.0);
  map.Insert(u"A2", u"u-1", 0.0);
  EXPECT_EQ(map.FindByUid(u"u-1", id), S_OK);
  EXPECT_EQ(id, u"A1") << "the first row";
  EXPECT_EQ(map.Read(u"A2", item), S_OK);
  EXPECT_EQ(item.objUid, u"u-1");
}

TEST_F(SyncStatements, ExceptionsAreFoundByThemselvesAndByTheirSeries) {
  ExceptionTable exceptions{session};
  const DATE changed = At(u"2024-05-06 07:08:09");
  const DATE occurrence = At(u"2024-06-01 10:00:00");
  EXPECT_EQ(exceptions.Insert({u"S1sub1", u"S1", changed, occurrence, false}), S_OK);
  EXPECT_EQ(exceptions.Insert({u"S1sub2", u"S1", 0.0, 0.0, true}), S_OK);
  std::optional<ExceptionRow> row;
  EXPECT_EQ(exceptions.Find(u"S1sub2", row), S_OK);
  ASSERT_TRUE(row);
  EXPECT_EQ(row->seriesId, u"S1");
  EXPECT_TRUE(row->isDeleted);
  EXPECT_EQ(row->originalDate, 0.0);
  std::vector<ExceptionRow> rows;
  EXPECT_EQ(exceptions.OfSeries(u"S1", rows), S_OK);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].id, u"S1sub1");
  EXPECT_EQ(rows[0].modified, changed);
  EXPECT_EQ(rows[0].originalDate, occurrence);
  EXPECT_EQ(exceptions.DeleteAll(), S_OK);
  EXPECT_EQ(exceptions.Find(u"S1sub1", row), S_OK);
  EXPECT_FALSE(row);
  const std::u16string insert =
      u"INSERT INTO Calendar_SubRecurMap(profile_id,datastore_sourceuri,subrecur_id,"
      u"parentrecur_id,modified,original_date,isDeleted) VALUES('P1','contacts','S1sub";
  const std::u16string byId =
      u"SELECT parentrecur_id,modified,original_date,isDeleted FROM Calendar_SubRecurMap WHERE "
      u"subrecur_id='S1sub";
  EXPECT_EQ(Ran(),
            (Statements{insert + u"1','S1','2024-05-06 07:08:09','2024-06-01 10:00:00',0)",
                        insert + u"2','S1','','',1)", byId + u"2' AND profile_id='P1'",
                        u"SELECT subrecur_id,modified,original_date,isDeleted FROM "
                        u"Calendar_SubRecurMap WHERE parentrecur_id='S1' AND profile_id='P1'",
                        u"DELETE FROM Calendar_SubRecurMap WHERE datastore_sourceuri='contacts'",
                        byId + u"1' AND profile_id='P1'"}));
}

TEST_F(SyncStatements, ReadingARowSetsOnlyColumnsWithText) {
  db->Run(
      u"INSERT INTO DataStoreMap(datastore_id,profile_id,obj_uid,obj_modified) "
      u"VALUES('A1','P1',NULL,'2024-13-45 00:00:00')");
  ItemFields item;
  item.objUid = u"before";
  item.objModified = 5.0;
  EXPECT_EQ(map.ReadOrCreate(u"A1", item), S_OK);
  EXPECT_EQ(item.objUid, u"before");
  EXPECT_EQ(item.objModified, 0.0) << "an invalid time is no time";
}

TEST_F(SyncStatements, MapLoadTakesTheFirstOfTwoRowsAndStopsWhenAsked) {
  map.Insert(u"A1", u"first", At(u"2024-05-06 07:08:09"));
  map.Insert(u"A2", u"plain", 0.0);
  db->Run(
      u"INSERT INTO DataStoreMap (datastore_sourceuri,datastore_id,obj_uid,profile_id) "
      u"VALUES('contacts','A1','second','P1')");
  Ran();
  IdentifierMap::Rows rows;
  EXPECT_EQ(map.Load(rows), S_OK);
  EXPECT_EQ(Ran(), Statements{u"SELECT datastore_id,obj_uid,obj_modified FROM DataStoreMap WHERE "
                              u"profile_id='P1' AND datastore_sourceuri='contacts' AND "
                              u"datastore_type=0"});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[u"A1"].objUid, u"first");
  EXPECT_EQ(rows[u"A2"].objModified, 0.0);
  Stop();
  EXPECT_EQ(map.Load(rows), E_FAIL);
}

TEST_F(SyncStatements, BatchInsertIsOneCallAndNothingForNothing) {
  EXPECT_EQ(map.InsertBatch({}), S_OK);
  EXPECT_TRUE(Ran().empty());
  EXPECT_EQ(
      map.InsertBatch({{u"it's", {u"u'1", 0.0}}, {u"A2", {u"u2", At(u"2024-05-06 07:08:09")}}}),
      S_OK);
  EXPECT_EQ(Ran(), Statements{u"INSERT INTO DataStoreMap (datastore_sourceuri,datastore_id,obj_uid,"
                              u"obj_modified,profile_id) VALUES(?,?,?,?,?)"});
  EXPECT_EQ(db->Rows(u"DataStoreMap", {u"datastore_id", u"obj_uid", u"obj_modified"}),
            (Table{{u"it's", u"u'1", u""}, {u"A2", u"u2", u"2024-05-06 07:08:09"}}));
}

TEST_F(SyncStatements, SideRowsAreQuotedAndARewriteDeletesFirst) {
  const std::vector<ExtraProperty> extras = {{u"X-A;P='1'", u"it's"}, {u"", u"passed over"}};
  EXPECT_EQ(sides.WriteExtras(u"A1", extras, true), S_OK);
  EXPECT_EQ(sides.WriteHidden(u"A1", {{u"TEL", u"1'", u"X-'", true}}, false), S_OK);
  EXPECT_EQ(Ran(),
            (Statements{
                u"DELETE FROM ExtraDB" + kMapKey,
                u"INSERT INTO ExtraDB(profile_id,datastore_sourceuri,datastore_id,property,value) "
                u"VALUES('P1','contacts','A1','X-A;P=''1''','it''s')",
                u"INSERT INTO HiddenDB(profile_id,datastore_sourceuri,datastore_id,property,value,"
                u"extended,iscustom) VALUES('P1','contacts','A1','TEL','1''','X-''',1)"}));
  std::vector<ExtraProperty> read;
  EXPECT_EQ(sides.ReadExtras(u"A1", read), S_OK);
  EXPECT_EQ(read, (std::vector<ExtraProperty>{extras[0]}));
  EXPECT_EQ(Ran(), Statements{u"SELECT property,value FROM ExtraDB" + kMapKey});
  EXPECT_EQ(sides.WriteExtras(u"", extras, true), E_FAIL);

  SideTables windows(session, DatastoreType::WindowsContacts);
  Ran();
  windows.WriteExtras(u"7", {{u"X", u"y"}}, false);
  EXPECT_EQ(Ran(),
            Statements{u"INSERT INTO ExtraDB(profile_id,datastore_sourceuri,datastore_type,"
                       u"datastore_id,property,value) VALUES('P1','contacts',2,'7','X','y')"});
}

TEST_F(SyncStatements, HiddenReadKeepsWhatStillHasItsValue) {
  const std::vector<HiddenLabel> rows = {{u"tel", u"123", u"X-A", false},
                                         {u"EMAIL", u"gone@x", u"PREF", false},
                                         {u"X-EMAILCUSTOM", u"b@x", u"X-B", true},
                                         {u"EMAIL", u"c@x", u"PREF", false},
                                         {u"ADR", u"0", u"DOM", false},
                                         {u"ADR", u"1", u"DOM", false},
                                         {u"ADR", u"1234", u"X-C", true},
                                         {u"ADR", u"100000", u"X-C", true},
                                         {u"ADR", u"-1", u"X-D", true},
                                         {u"ORG", u"", u"X", false},
                                         {u"X-IMPPCUSTOM", u"", u"X", true},
                                         {u"X-OTHER", u"", u"", false}};
  ASSERT_EQ(sides.WriteHidden(u"A1", rows, false), S_OK);
  Contact contact;
  contact.mails = {{MailKind::Home, u""}, {MailKind::Work, u"b@x"}};
  contact.addresses = {PostalAddress{}};
  contact.jobTitles = {u"Cook"};
  contact.messengers = {{MessengerKind::Icq, u""}, {MessengerKind::Icq, u"not looked at"}};
  Ran();
  EXPECT_EQ(sides.ReadHidden(u"A1", contact), S_OK);
  EXPECT_EQ(Ran()[0], u"SELECT property,value,extended,iscustom FROM HiddenDB" + kMapKey);
  const HiddenLabel placeholder = {u"EMAIL", u"", u"", false};
  const std::vector<HiddenLabel> kept = {rows[0], placeholder, rows[2], placeholder,
                                         rows[4], rows[6],     rows[7], rows[9]};
  EXPECT_EQ(contact.hidden, kept);
  ASSERT_EQ(contact.addresses.size(), 1235u) << "the label of the user's own made its address";
  EXPECT_TRUE(contact.addresses[1234] && !contact.addresses[1]);
  EXPECT_EQ(db->Rows(u"HiddenDB", {u"property"}).size(), kept.size());
  EXPECT_EQ(db->openRowsets(), 0);
}

TEST_F(SyncStatements, PurgeDeletesInChunksOfFiveHundred) {
  struct Case {
    size_t dead;
    size_t statements;
  };
  for (const Case& c : {Case{0, 0}, Case{1, 1}, Case{500, 1}, Case{501, 2}, Case{1000, 2}}) {
    std::vector<NewMapRow> rows;
    for (size_t i = 0; i < c.dead; ++i) {
      rows.push_back({u"D" + std::u16string(1, static_cast<char16_t>(0x4E00 + i)), {u"u", 0.0}});
    }
    rows.push_back({u"ALIVE", {u"u", 0.0}});
    ASSERT_EQ(map.InsertBatch(rows), S_OK);
    Ran();
    EXPECT_EQ(PurgeTable(session, DatastoreType::Outlook, kDataStoreMap, {u"ALIVE"}), S_OK);
    EXPECT_EQ(db->Changes().size(), c.statements) << c.dead;
    EXPECT_EQ(db->Rows(u"DataStoreMap", {u"datastore_id"}), (Table{{u"ALIVE"}}));
    map.DeleteAll();
  }
  map.InsertBatch({{u"A", {u"u", 0.0}}, {u"B", {u"u", 0.0}}});
  Ran();
  Stop();
  EXPECT_EQ(PurgeTable(session, DatastoreType::Outlook, kDataStoreMap, {}), E_FAIL);
  EXPECT_TRUE(db->Changes().empty());
  Stop(false);
  Ran();
  PurgeTable(session, DatastoreType::Outlook, kDataStoreMap, {});
  EXPECT_EQ(Ran(), (Statements{u"SELECT datastore_id FROM DataStoreMap WHERE "
                               u"datastore_sourceuri='contacts' AND profile_id='P1' AND "
                               u"datastore_type=0",
                               u"DELETE FROM DataStoreMap WHERE datastore_sourceuri='contacts' AND "
                               u"profile_id='P1' AND datastore_type=0 AND (datastore_id='A' OR "
                               u"datastore_id='B')"}));
}

TEST_F(SyncStatements, StatusUpdateIsCorrectedByWhatExists) {
  const StatusRow row = {u"A1", u"/", At(u"2024-05-06 07:08:09"), false, u"abc"};
  const std::u16string exists =
      u"SELECT contact_id FROM Contact_BackupStatusDB WHERE contact_id='A1' AND profile_id='P1'";
  const std::u16string insert =
      u"INSERT INTO Contact_BackupStatusDB (contact_id,contact_parentid,modified,isfolder,md5,"
      u"profile_id) VALUES('A1','/','2024-05-06 07:08:09',0,'abc','P1')";
  const std::u16string update =
      u"UPDATE Contact_BackupStatusDB SET contact_parentid='/',modified='2024-05-06 "
      u"07:08:09',isFolder=0,md5='abc' WHERE contact_id='A1' AND profile_id='P1'";
  EXPECT_EQ(status.Update(STATDBUPDATE_DEL, row), S_OK);
  EXPECT_EQ(Ran(), Statements{exists});
  EXPECT_EQ(status.Update(STATDBUPDATE_MOVE, row), S_OK);
  EXPECT_EQ(Ran(), (Statements{exists, insert}));
  EXPECT_EQ(status.Update(STATDBUPDATE_ADD, row), S_OK);
  EXPECT_EQ(Ran(), (Statements{exists, update}));
  EXPECT_EQ(status.Update(STATDBUPDATE_DEL, row), S_OK);
  EXPECT_EQ(Ran().back(),
            u"DELETE FROM Contact_BackupStatusDB WHERE contact_id='A1' AND "
            u"profile_id='P1'");
  EXPECT_EQ(status.Update(static_cast<STATUSDB_UPDATECMD>(9), row), E_FAIL);
  db->FailAt(0, -5);
  EXPECT_EQ(status.Update(STATDBUPDATE_ADD, row), -5);
}

TEST_F(SyncStatements, ABackupTreeIsSortedWithoutFoldersAndWithoutTheRowsOfOthers) {
  ComPtr<IStatusDBItemTree> root;
  ASSERT_EQ(status.ReadTree(true, root), S_OK);
  ComPtr<IUnknown> children;
  EXPECT_EQ(root->get_SubItemTree(children.Out()), S_OK);
  EXPECT_FALSE(children) << "no rows, no list";
  for (const char16_t* id : {u"C", u"A", u"B"}) {
    status.Update(STATDBUPDATE_ADD, {id, u"/", At(u"2024-05-06 07:08:09"), id[0] == u'B', u"m"});
  }
  db->Run(u"UPDATE Contact_BackupStatusDB SET modified='' WHERE contact_id='C'");
  session.targetKey = u"P2";
  status.Update(STATDBUPDATE_ADD, {u"Z", u"/", 0.0, false, u""});
  session.targetKey = u"P1";
  Ran();
  ASSERT_EQ(status.ReadTree(true, root), S_OK);
  EXPECT_EQ(Ran(), Statements{u"SELECT contact_id,contact_parentid,modified,isfolder,md5 FROM "
                              u"Contact_BackupStatusDB WHERE profile_id='P1' ORDER BY contact_id"});
  ASSERT_EQ(root->get_SubItemTree(children.Out()), S_OK);
  std::vector<std::u16string> ids;
  for (const auto& node : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
    ComPtr<IStatusDBItem> item;
    ASSERT_EQ(node->get_Item(item.Out()), S_OK);
    const StatusRow row = ReadStatusItem(*item);
    ids.push_back(row.sourceUid);
    EXPECT_EQ(row.parentUid, u"/");
  }
  EXPECT_EQ(ids, (std::vector<std::u16string>{u"A", u"C"}));
  db->FailMoveAt(1);
  EXPECT_EQ(status.ReadTree(true, root), S_OK) << "a failing walk ends it with what was read";
  db->FailAt(0, -5);
  EXPECT_EQ(status.ReadTree(true, root), -5);
}

TEST_F(SyncStatements, AChainOfFoldersIsReadAndLetGoWhateverItsDepth) {
  constexpr int kDepth = 100'000;
  const auto list = MakeObject<UnkList>();
  std::u16string parent = u"/";
  const std::u16string_view columns = u"(contact_id,contact_parentid,isfolder,profile_id)";
  for (int i = 0; i < kDepth; ++i) {
    std::u16string id = Decimal(i);
    const auto row = MakeObject<VarList>();
    for (const std::u16string& value : {id, parent, std::u16string(u"1"), session.targetKey}) {
      row->Add(Variant::Text(value).get());
    }
    list->Add(row.get());
    parent = std::move(id);
  }
  Check(db->ExecuteBatch(
      Bstr(Concat({u"INSERT INTO Contact_BackupStatusDB ", columns, u" VALUES(?,?,?,?)"})),
      list.get()));
  const int32_t before = ComRoot::LiveObjects();
  ComPtr<IStatusDBItemTree> root;
  ASSERT_EQ(status.ReadTree(false, root), S_OK);
  EXPECT_GT(ComRoot::LiveObjects(), before + 3 * kDepth);
  root.Reset();
  EXPECT_EQ(ComRoot::LiveObjects(), before);
}

TEST(StatusItem, AFreshItemHasNoTimeAndAnyWriteGivesOne) {
  const auto item = MakeObject<CStatusDBItem>();
  DATE modified = 7.0;
  EXPECT_EQ(item->get_modified(&modified), DS_S_NO_MODIFIED);
  EXPECT_EQ(modified, 0.0);
  item->put_modified(0.0);
  EXPECT_EQ(item->get_modified(&modified), S_OK);
  const auto tree = MakeObject<CStatusDBItemTree>();
  EXPECT_EQ(tree->put_SubItemTree(item.get()), E_INVALIDARG);
  EXPECT_EQ(tree->put_SubItemTree(nullptr), S_OK);
}

TEST(SqlText, QuotesAndJoinsInRunsOfFiveHundred) {
  EXPECT_EQ(QuoteSqlText(u"'it''s'"), u"''it''''s''");
  EXPECT_EQ(QuoteSqlText(u""), u"");
  const std::vector<std::u16string> two = {u"a", u"b'"};
  EXPECT_EQ(BuildOrConditions(two, u"id"), (Statements{u" id='a' OR  id='b''"}));
  EXPECT_EQ(BuildQuotedOrCondition(two, u"id"), u" id='a' OR  id='b'''");
  for (const auto& [count, texts] :
       std::initializer_list<std::pair<size_t, size_t>>{{0, 0}, {500, 1}, {1000, 2}, {1001, 3}}) {
    EXPECT_EQ(BuildOrConditions(std::vector<std::u16string>(count, u"x"), u"id").size(), texts);
  }
}

}  // namespace
}  // namespace qv
