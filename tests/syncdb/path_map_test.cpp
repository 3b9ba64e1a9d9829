// The statements of the bookmarks' map and status tables, pinned as in statements_test.cpp.
#include "syncdb/path_map.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/date_time.h"
#include "support/text.h"
#include "syncdb/status_table.h"
#include "syncdb/sync_fixture.h"

namespace qv {
namespace {

using test::Statements;
using test::Table;

class PathMapStatements : public test::SyncFixture {
 protected:
  std::u16string Assign(std::u16string_view path) {
    std::u16string uid;
    EXPECT_EQ(map.Assign(path, uid), S_OK);
    return uid;
  }

  PathMap map{session};
};

constexpr char16_t kLoad[] = u"SELECT bookmark_id,filefolderpath FROM Bookmark_FFPathUidMap";

TEST_F(PathMapStatements, APathGetsOneNumberAndTheRootNone) {
  EXPECT_EQ(Assign(u"/It's\\a.url"), u"1");
  EXPECT_EQ(Assign(u"/It's\\a.url"), u"1");
  const std::u16string find =
      u"SELECT  bookmark_id FROM Bookmark_FFPathUidMap WHERE filefolderpath='/It''s\\a.url'";
  EXPECT_EQ(Ran(), (Statements{find,
                               u"INSERT INTO Bookmark_FFPathUidMap(filefolderpath)  "
                               u"VALUES('/It''s\\a.url')",
                               find}));
  std::u16string path = u"poison";
  EXPECT_EQ(map.PathOf(u"/", path), S_OK);
  EXPECT_EQ(path, u"/");
  EXPECT_TRUE(Ran().empty());
  EXPECT_EQ(map.PathOf(u"1", path), S_OK);
  EXPECT_EQ(path, u"/It's\\a.url");
  EXPECT_EQ(Ran(), Statements{u"SELECT filefolderpath FROM Bookmark_FFPathUidMap WHERE "
                              u"bookmark_id='1'"});
  EXPECT_EQ(map.PathOf(u"2", path), S_OK);
  EXPECT_EQ(path, u"");
  std::u16string uid = u"poison";
  EXPECT_EQ(map.UidOf(u"/none", uid), DB_S_ENDOFROWSET);
  EXPECT_EQ(uid, u"");
}

TEST_F(PathMapStatements, TheCacheKnowsInsertsAndDeletesButNoRename) {
  Assign(u"/a");
  EXPECT_EQ(map.SetPath(u"1", u"/it's"), S_OK);
  Ran();
  std::u16string uid;
  EXPECT_EQ(map.AssignCached(u"/a", uid), S_OK);
  EXPECT_EQ(uid, u"1") << "the old path, until the next load";
  EXPECT_TRUE(Ran().empty());
  EXPECT_EQ(map.AssignCached(u"/it's", uid), S_OK);
  EXPECT_EQ(uid, u"1") << "the new one from the table";
  EXPECT_EQ(map.Load(), S_OK);
  EXPECT_EQ(map.cache(), (PathMap::Cache{{u"/it's", u"1"}}));
  Assign(u"/b");
  Ran();
  EXPECT_EQ(map.Delete(u"1"), S_OK);
  EXPECT_EQ(map.cache(), (PathMap::Cache{{u"/b", u"2"}}));
  const Statements both = {u"1", u"2"};
  EXPECT_EQ(map.Delete(both), S_OK);
  EXPECT_EQ(map.DeleteAll(), S_OK);
  EXPECT_EQ(Ran(), (Statements{u"DELETE FROM Bookmark_FFPathUidMap WHERE bookmark_id='1'",
                               u"DELETE FROM Bookmark_FFPathUidMap WHERE  bookmark_id='1' OR  "
                               u"bookmark_id='2'",
                               kLoad, u"DELETE FROM Bookmark_FFPathUidMap"}));
  EXPECT_TRUE(map.cache().empty());
  map.SetPath(Assign(u"/c"), u"/d");
  EXPECT_EQ(Ran().back(),
            u"UPDATE Bookmark_FFPathUidMap SET  filefolderpath='/d' WHERE bookmark_id='3'")
      << "and a number is never given twice";
}

TEST_F(PathMapStatements, WhatIsMissingOfAnIdentityIsMadeAndWrittenBack) {
  Assign(u"/a");
  Ran();
  TreeIdentity identity;
  EXPECT_EQ(map.ReadIdentity(u"1", identity), S_OK);
  EXPECT_EQ(identity.objUid, u"00000001-0000-4000-8000-000000000000");
  const std::u16string read =
      u"SELECT obj_uid,obj_modified FROM Bookmark_FFPathUidMap WHERE bookmark_id='1'";
  EXPECT_EQ(Ran(), (Statements{read,
                               u"UPDATE Bookmark_FFPathUidMap SET  obj_uid='00000001-0000-4000-"
                               u"8000-000000000000',obj_modified='2023-11-14 22:13:20' WHERE "
                               u"bookmark_id='1'"}));
  EXPECT_EQ(map.ReadIdentity(u"1", identity), S_OK);
  EXPECT_EQ(Ran(), Statements{read});
  EXPECT_EQ(map.WriteIdentity(u"1", {u"u", 0.0}), S_OK);
  std::u16string uid;
  EXPECT_EQ(map.ReadObjUid(u"1", uid), S_OK);
  EXPECT_EQ(uid, u"u");
  EXPECT_EQ(map.WriteObjUid(u"1", u""), S_OK);
  EXPECT_EQ(map.ReadObjUid(u"1", uid), S_OK);
  EXPECT_EQ(uid, u"00000002-0000-4000-8000-000000000000");
  const std::u16string readUid =
      u"SELECT  obj_uid FROM Bookmark_FFPathUidMap WHERE bookmark_id='1'";
  const std::u16string writeUid = u"UPDATE Bookmark_FFPathUidMap SET  obj_uid='";
  EXPECT_EQ(Ran(), (Statements{writeUid + u"u',obj_modified='' WHERE bookmark_id='1'", readUid,
                               writeUid + u"' WHERE bookmark_id='1'", readUid,
                               writeUid + uid + u"' WHERE bookmark_id='1'"}));
  EXPECT_EQ(map.WriteIdentity(u"", {u"u", 1.0}), S_OK);
  EXPECT_EQ(map.WriteObjUid(u"", u"u"), S_OK);
  EXPECT_TRUE(Ran().empty());
}

TEST_F(PathMapStatements, ARewriteIsOneStatementOverTheRowsThatAreThere) {
  for (const char16_t* path : {u"/A", u"/A\\x", u"/AB", u"/A\\it's"}) Assign(path);
  Ran();
  const Statements uids = {u"2", u"", u"4", u"99", u"1"};
  EXPECT_EQ(map.Rewrite(uids, u"/A", u"/C'"), S_OK);
  EXPECT_EQ(Ran(), (Statements{std::u16string(kLoad) +
                                   u" WHERE  bookmark_id='2' OR  bookmark_id='' OR  "
                                   u"bookmark_id='4' OR  bookmark_id='99' OR  bookmark_id='1'",
                               u"DELETE FROM Bookmark_FFPathUidMap WHERE filefolderpath='/C''' OR "
                               u"(filefolderpath>='/C''\\' AND filefolderpath<'/C'']')",
                               u"UPDATE Bookmark_FFPathUidMap SET filefolderpath = CASE "
                               u"bookmark_id WHEN '1' THEN '/C''' WHEN '2' THEN '/C''\\x' WHEN "
                               u"'4' THEN '/C''\\it''s' END WHERE bookmark_id IN ('1','2','4')"}));
  EXPECT_EQ(db->Rows(u"Bookmark_FFPathUidMap", {u"filefolderpath"}),
            (Table{{u"/C'"}, {u"/C'\\x"}, {u"/AB"}, {u"/C'\\it's"}}));
  EXPECT_EQ(map.Rewrite(Statements{u"99"}, u"/A", u"/B"), S_OK);
  EXPECT_TRUE(db->Changes().empty());
}

TEST_F(PathMapStatements, RowsThatStandAtANewPathGoBeforeIt) {
  for (const char16_t* path : {u"/old", u"/a", u"/New", u"/New\\a", u"/New(2)", u"/F", u"/F\\a"}) {
    Assign(path);
  }
  ASSERT_EQ(map.Load(), S_OK);
  EXPECT_EQ(map.SetPath(u"2", u"/old"), S_OK);
  EXPECT_EQ(map.SetPath(u"2", u"/old"), S_OK) << "its own row is none of them";
  EXPECT_EQ(map.Rewrite(Statements{u"6", u"7"}, u"/F", u"/New"), S_OK);
  EXPECT_EQ(map.Rewrite(Statements{u"6", u"7"}, u"/New", u"/New"), S_OK);
  EXPECT_EQ(map.Rewrite(Statements{u"6", u"7"}, u"/New", u"/F"), S_OK);
  EXPECT_EQ(map.Rewrite(Statements{u"6", u"7"}, u"/F", u"/New"), S_OK);
  // Before the next load too nobody finds the old numbers.
  const std::pair<const char16_t*, const char16_t*> kRows[] = {
      {u"/old", u"2"}, {u"/New", u"6"}, {u"/New\\a", u"7"}, {u"/New(2)", u"5"}};
  for (const auto& [path, expected] : kRows) {
    std::u16string uid;
    EXPECT_EQ(map.AssignCached(path, uid), S_OK);
    EXPECT_EQ(uid, expected) << ToUtf8(path);
  }
  EXPECT_EQ(db->Rows(u"Bookmark_FFPathUidMap", {u"bookmark_id"}),
            (Table{{u"2"}, {u"5"}, {u"6"}, {u"7"}}));
}

TEST(TreePaths, GoBothWays) {
  EXPECT_EQ(RelativeToAbsolute(u"C:\\F", u""), u"");
  EXPECT_EQ(AbsoluteToRelative(u"C:\\F", u"C:\\Fx\\a"), u"");
  EXPECT_EQ(AbsoluteToRelative(u"C:\\F", u"D:\\a"), u"");
  const struct {
    const char16_t *path, *full, *parent, *name;
  } kRows[] = {{u"/", u"C:\\F", u"", u""},
               {u"/a", u"C:\\F\\a", u"/", u"a"},
               {u"/a\\b.url", u"C:\\F\\a\\b.url", u"/a", u"b.url"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(RelativeToAbsolute(u"C:\\F", row.path), row.full);
    EXPECT_EQ(AbsoluteToRelative(u"C:\\F", row.full), row.path);
    EXPECT_EQ(ParentPath(row.path), row.parent);
    EXPECT_EQ(NameInPath(row.path), row.name);
    if (*row.name != 0) {
      EXPECT_EQ(ChildPath(row.parent, row.name), row.path);
    }
  }
}

TEST_F(PathMapStatements, TheStatusTablesHaveNoChecksumAndNoOrder) {
  const std::pair<const StatusTableInfo*, std::u16string> kTables[] = {
      {&kBookmarkStatus, u"Bookmark_BackupStatusDB"},
      {&kChromeStatus, u"\"Bookmark(Chrome)_BackupStatusDB\""}};
  for (const auto& [info, table] : kTables) {
    StatusTable status(session, *info);
    StatusRow row{u"7", u"/", ParseDateTime(u"2024-05-06 07:08:09").value, true, u"no column"};
    for (const auto command : {STATDBUPDATE_MOVE, STATDBUPDATE_ADD, STATDBUPDATE_DEL}) {
      EXPECT_EQ(status.Update(command, row), S_OK);
    }
    ComPtr<IStatusDBItemTree> tree;
    EXPECT_EQ(status.ReadTree(false, tree), S_OK);
    EXPECT_EQ(status.Delete(Statements{u"7", u"8"}), S_OK);
    EXPECT_EQ(status.DeleteAll(), S_OK);
    const std::u16string key = u" WHERE bookmark_id='7' AND profile_id='P1'";
    const std::u16string exists = u"SELECT bookmark_id FROM " + table + key;
    EXPECT_EQ(Ran(),
              (Statements{
                  exists,
                  u"INSERT INTO " + table +
                      u" (bookmark_id,bookmark_parentid,modified,isfolder,profile_id) "
                      u"VALUES('7','/','2024-05-06 07:08:09',1,'P1')",
                  exists,
                  u"UPDATE " + table +
                      u" SET bookmark_parentid='/',modified='2024-05-06 07:08:09',isFolder=1" + key,
                  exists, u"DELETE FROM " + table + key,
                  u"SELECT bookmark_id,bookmark_parentid,modified,isfolder FROM " + table +
                      u" WHERE profile_id='P1'",
                  u"DELETE FROM " + table +
                      u" WHERE  profile_id='P1' AND ( bookmark_id='7' OR  bookmark_id='8')",
                  u"DELETE FROM " + table + u" WHERE profile_id='P1'"}));
  }
}

TEST_F(PathMapStatements, ATreeOfRowsHangsTogetherByParentsAndARingEnds) {
  StatusTable status(session, kBookmarkStatus);
  for (const auto& [id, parent, isFolder] : {std::tuple{u"3", u"1", false},
                                             {u"1", u"/", true},
                                             {u"2", u"1", true},
                                             {u"4", u"/", false},
                                             {u"5", u"6", true},
                                             {u"6", u"5", true},
                                             {u"/", u"4", true}}) {
    status.Update(STATDBUPDATE_ADD, {id, parent, 0.0, isFolder, {}});
  }
  const std::function<std::u16string(IStatusDBItemTree&)> dump = [&](IStatusDBItemTree& node) {
    ComPtr<IStatusDBItem> item;
    ComPtr<IUnknown> children;
    Check(node.get_Item(item.Out()));
    Check(node.get_SubItemTree(children.Out()));
    std::u16string text = ReadStatusItem(*item).sourceUid;
    if (!children) return text;
    text += u"(";
    for (const auto& child : Members<IStatusDBItemTree>(*Query<IUnkList>(children))) {
      text += dump(*child);
    }
    return text += u")";
  };
  ComPtr<IStatusDBItemTree> tree;
  ASSERT_EQ(status.ReadTree(false, tree), S_OK);
  EXPECT_EQ(dump(*tree), u"/(1(32)4)") << "in the order of the rows";
  ASSERT_EQ(status.ReadTree(true, tree), S_OK);
  EXPECT_EQ(dump(*tree), u"/(4)");
}

}  // namespace
}  // namespace qv
