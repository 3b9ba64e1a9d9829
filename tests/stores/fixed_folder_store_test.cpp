// What the fixed-folder store does otherwise than the family's model.
#include <gtest/gtest.h>

#include <filesystem>

#include "framework/class_table.h"
#include "kit/bookmark_stack.h"
#include "kit/tree_questions.h"
#include "platform/com/class_factory.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using namespace test;  // NOLINT: the kit is what this file is about

class FixedFolder : public testing::Test {
 protected:
  BookmarkStack s{u"DataStoreFireFox"};
};

TEST_F(FixedFolder, AlwaysLiesBelowFavoritesAndLogsNoStart) {
  EXPECT_TRUE(s.root.ends_with(u"\\Favorites\\Quovia Mobile Bookmarks"));
  EXPECT_TRUE(s.log.lines().empty());
  fs::remove_all(s.folder.File("Favorites"));
  EXPECT_EQ(s.status->Initialize(), E_FAIL) << "a missing root";
  EXPECT_THROW(s.Another(), StatusError) << "the folder above is not made";
}

TEST_F(FixedFolder, NamesThatTheFileSystemRefusesFail) {
  EXPECT_EQ(s.TryAdd(BookmarkText(u"a\"b")), E_FAIL) << "the quote is not replaced";
  const auto uid = s.Add(FolderText(u"Taken"));
  const auto before = s.folder.Names();
  for (const char16_t* name : {u"Taken", u"a\\b", u"..\\b", u"a/b", u"..", u".", u"a:b", u"a?"}) {
    EXPECT_EQ(s.TryAdd(FolderText(name)), E_FAIL) << ToUtf8(name);
    if (name != std::u16string_view(u"Taken")) {
      EXPECT_EQ(s.Replace(uid, FolderText(name)), E_FAIL) << ToUtf8(name);
    }
  }
  EXPECT_EQ(s.folder.Names(), before);
  EXPECT_EQ(s.PathOf(uid), u"/Taken");
  EXPECT_TRUE(s.log.lines().empty());
}

TEST_F(FixedFolder, TheFileKeepsThePhonesTime) {
  s.zone = FixedZone("AEST-10AEDT,M10.1.0,M4.1.0/3");
  const auto time = [&](const char16_t* text) { return ParseDateTime(text).value; };
  const auto modified = [&] {
    EntryInfo entry;
    EXPECT_EQ(FindEntry(RelativeToAbsolute(s.root, u"/A.url"), entry), kNoError);
    return entry.modified;
  };
  const auto uid = s.Add(BookmarkText(u"A", u"u", u"u1", time(u"2001-01-01 11:00:00")));
  EXPECT_EQ(modified(), 978'307'200);
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"A", u"v", u"u1", time(u"2002-01-01 11:00:00"))), S_OK);
  EXPECT_EQ(modified(), 1'009'843'200);
  EXPECT_EQ(s.db->Rows(u"Bookmark_BackupStatusDB", {u"modified"}),
            (Table{{u"2002-01-01 11:00:00"}}));
  ComPtr<IUnknown> item;
  EXPECT_EQ(s.TryGet(uid, &item), S_OK);
  EXPECT_EQ(BookmarkOf(item.get())->fields.objModified, time(u"2002-01-01 11:00:00"));
  EXPECT_EQ(s.db->Rows(u"Bookmark_FFPathUidMap", {u"obj_uid", u"obj_modified"}),
            (Table{{u"u1", u"<null>"}}));
  s.files.Watch([](const auto& call) { return call.verb == FailingFiles::Verb::SetModified; });
  s.files.FailAt(0, EPERM);
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"A", u"w", u"u1", time(u"2003-01-01 11:00:00"))), S_OK)
      << "a time that cannot be set is no failure";
  EXPECT_TRUE(s.files.hasFailed());
}

TEST_F(FixedFolder, AFolderIsRenamedInPlaceAndItsChildrensRowsStayBehind) {
  const auto a = s.Add(FolderText(u"A"));
  const auto other = s.Add(FolderText(u"Other"));
  const auto child = s.Add(BookmarkText(u"x"), a);
  s.db->Run(u"UPDATE Bookmark_BackupStatusDB SET modified=''");
  EXPECT_EQ(s.Replace(a, FolderText(u"B"), other.c_str()), S_OK);
  EXPECT_EQ(s.PathOf(a), u"/B");
  EXPECT_EQ(s.PathOf(child), u"/A\\x.url");
  EXPECT_EQ(s.TryGet(child), E_FAIL);
  EXPECT_EQ(s.db->Rows(u"Bookmark_BackupStatusDB", {u"bookmark_id", u"bookmark_parentid"},
                       u"WHERE modified<>''"),
            (Table{{a, u"/"}}))
      << "nothing is noted on folders";
  EXPECT_EQ(s.Replace(a, FolderText(u"C"), u"999"), S_OK) << "the phone's parent places nothing";
  EXPECT_EQ(s.Replace(a, FolderText(u"B"), u""), S_OK);
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.PathOf(child), u"/A\\x.url");
  s.NextSession();
  EXPECT_NE(s.UidOf(u"/B\\x.url"), u"");
}

TEST_F(FixedFolder, EveryDeleteIsASoftOneAndIdsAreThoseOfTheFavoritesStore) {
  const auto a = s.Add(FolderText(u"A"));
  const auto child = s.Add(BookmarkText(u"x"), a);
  auto flat = CreateInstance<IDataStore>(ClassId(u"DataStoreBookmark"));
  s.bag->values[u"Transport.Obex.DeviceID"] = u"none";
  ASSERT_EQ(flat->SetDBAccessor(Query<IUnknown>(s.db).get()), S_OK);
  ASSERT_EQ(flat->Initialize(s.bag.get()), S_OK);
  std::swap(s.store, flat);
  EXPECT_EQ(AllUids(s), (std::vector<std::u16string>{a, child}));
  std::swap(s.store, flat);
  EXPECT_EQ(s.Delete(a, false), S_OK);
  EXPECT_TRUE(s.Disk().empty() && s.Paths().empty() && s.Backup().empty());
}

}  // namespace
}  // namespace qv
