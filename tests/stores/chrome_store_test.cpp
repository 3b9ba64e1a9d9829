// The place of a browser's store: what it answers without a browser.
#include <gtest/gtest.h>

#include "framework/class_table.h"
#include "items/converters.h"
#include "kit/bookmark_stack.h"
#include "kit/tree_questions.h"
#include "platform/com/class_factory.h"
#include "support/text.h"

namespace qv {
namespace {

using namespace test;  // NOLINT: the kit is what this file is about

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
