// What the fixed-folder store does otherwise than the family, and what the place of a browser's
// store answers without a browser.
#include <gtest/gtest.h>

#include <filesystem>

#include "framework/class_table.h"
#include "items/converters.h"
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

class Chrome : public testing::Test {
 protected:
  Table Rows() {
    return s.db->Rows(u"\"Bookmark(Chrome)_BackupStatusDB\"",
                      {u"bookmark_id", u"bookmark_parentid", u"modified", u"isfolder"});
  }
  BookmarkStack s{u"DataStoreChrome"};
};

TEST_F(Chrome, AnAddedBookmarkIsARowWithoutAnIdentifier) {
  std::u16string uid = u"poison";
  EXPECT_EQ(s.TryAdd(BookmarkText(u"A", u"u", u"uid"), u"P", &uid), S_OK);
  EXPECT_EQ(uid, u"");
  EXPECT_EQ(Rows(), (Table{{u"", u"P", u"", u"0"}}));
  EXPECT_EQ(s.TryAdd(BookmarkText(u"B")), S_OK);
  EXPECT_EQ(Rows(), (Table{{u"", u"/", u"", u"0"}})) << "the same row";
  EXPECT_EQ(s.Backup(), (Snapshot{{u"", {u"/", false}}}));
  s.db->Forget();
  EXPECT_EQ(s.TryAdd(BookmarkText(u"")), E_FAIL);
  EXPECT_EQ(s.TryAdd(FolderText(u"F")), E_FAIL);
  EXPECT_EQ(s.TryAdd(BookmarkText(u"A"), nullptr), E_FAIL);
  EXPECT_EQ(s.TryAdd(BookmarkText(u"A"), u""), E_FAIL);
  EXPECT_TRUE(s.db->statements().empty());
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_TRUE(Rows().empty());
  EXPECT_TRUE(s.log.lines().empty());
}

TEST_F(Chrome, WhateverWouldReachABrowserFails) {
  EXPECT_EQ(s.Replace(u"1", BookmarkText(u"A")), E_FAIL);
  EXPECT_EQ(s.Replace(u"1", FolderText(u"A")), E_FAIL);
  EXPECT_EQ(s.Delete(u"1", false), E_FAIL);
  EXPECT_EQ(s.Delete(u"1", true), E_FAIL);
  EXPECT_EQ(s.TryGet(u"1"), E_FAIL);
  EXPECT_EQ(s.store->DeleteAll(), E_FAIL);
  ComPtr<IUnknown> list;
  EXPECT_EQ(s.store->GetAllUid(list.Out()), E_FAIL);
  EXPECT_FALSE(list);
  ComPtr<IStatusDBItemTree> tree;
  EXPECT_EQ(s.status->GetCurrentStatusDB(tree.Out()), E_FAIL);
  EXPECT_FALSE(tree);
  EXPECT_EQ(Conflict(s, u"1", BookmarkText(u"A")), E_FAIL);
  EXPECT_EQ(Conflict(s, u"1", FolderText(u"A")), E_FAIL);
  EXPECT_EQ(s.store->PrepareSlowSync(), S_OK);
  std::u16string match;
  RESV_CONFLTLASTMODIFIED winner{};
  EXPECT_EQ(Duplicate(s, BookmarkText(u"A"), u"/", match, winner), S_OK);
  EXPECT_EQ(match, u"");
  EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_NONE);
  EXPECT_EQ(ParentOf(s, u"any"), u"/");
  EXPECT_FALSE(IsFolder(s, u"/"));
  EXPECT_TRUE(SubUids(s, u"/").empty());
}

TEST_F(Chrome, ConfirmedCommandsKeepTheStatusRowsWithoutATime) {
  const auto confirm = [&](SENTCMD_TYPE command) {
    return s.store->OnProcesseSentCmdSuccess(command, Bstr(u"7"), nullptr, kTrue);
  };
  for (const auto command : {SENTCMD_ADD, SENTCMD_REPL, SENTCMD_MOVE}) {
    EXPECT_EQ(confirm(command), S_OK);
    EXPECT_EQ(Rows(), (Table{{u"7", u"/", u"", u"1"}}));
  }
  EXPECT_EQ(confirm(SENTCMD_EXEC), E_FAIL);
  EXPECT_EQ(confirm(SENTCMD_DEL), E_FAIL) << "the browser's part";
  EXPECT_TRUE(Rows().empty());
}

// The Favorites store tells the status; the two simpler ones stay as they are, deliberately.
TEST(BookmarkStores, AFolderConverterThatCannotBeMadeLeavesThemUninitialized) {
  const std::pair<const char16_t*, HRESULT> kRows[] = {{u"DataStoreBookmark", REGDB_E_CLASSNOTREG},
                                                       {u"DataStoreFireFox", S_OK},
                                                       {u"DataStoreChrome", S_OK}};
  for (const auto& [name, expected] : kRows) {
    BookmarkStack s(name);
    const auto store = CreateInstance<IDataStore>(ClassId(name));
    ClassCreator before = RegisterClass(CLSID_FolderConverter, {});
    const HRESULT result = store->Initialize(s.bag.get());
    RegisterClass(CLSID_FolderConverter, std::move(before));
    EXPECT_EQ(result, expected) << ToUtf8(name);
    EXPECT_EQ(store->Initialize(nullptr), E_FAIL);
    EXPECT_EQ(store->Initialize(s.bag.get()), S_OK);
    EXPECT_EQ(store->Initialize(s.bag.get()), DS_S_ALREADY_INITIALIZED);
  }
}

}  // namespace
}  // namespace qv
