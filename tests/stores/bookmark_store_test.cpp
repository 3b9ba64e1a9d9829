// The stores over a tree of shortcuts: what both keep. Their own rules stand in
// favorites_store_test.cpp and other_bookmark_stores_test.cpp.
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
using Paths = std::vector<std::u16string>;
using Verb = FailingFiles::Verb;

class TreeStore : public testing::TestWithParam<const char16_t*> {
 protected:
  BookmarkStack s{GetParam()};
};

TEST_P(TreeStore, AddWritesFileMapAndStatusAndTheSnapshotsAgree) {
  const auto work = s.Add(FolderText(u"Work"));
  const auto uid = s.Add(BookmarkText(u"It's", u"http://a/?x=1", u"u1"), work);
  EXPECT_EQ(Bytes(s, u"/Work\\It's.url"), "[InternetShortcut]\r\nURL=http://a/?x=1\r\n");
  EXPECT_EQ(s.Paths(), (std::map<std::u16string, std::u16string>{{work, u"/Work"},
                                                                 {uid, u"/Work\\It's.url"}}));
  const Snapshot expected = {{work, {u"/", true}}, {uid, {work, false}}};
  EXPECT_EQ(s.Current(), expected);
  EXPECT_EQ(s.Backup(), expected);
  EXPECT_EQ(ParentOf(s, uid), work);
  EXPECT_EQ(ParentOf(s, work), u"/");
  EXPECT_TRUE(IsFolder(s, work));
  EXPECT_FALSE(IsFolder(s, uid));
  EXPECT_FALSE(IsFolder(s, u"999"));
  EXPECT_EQ(SubUids(s, u"/"), (Paths{work, uid})) << "grandchildren too";
  EXPECT_EQ(SubUids(s, work), Paths{uid});
  EXPECT_TRUE(SubUids(s, uid).empty());
  EXPECT_EQ(AllUids(s), (Paths{work, uid}));
  ComPtr<IUnknown> item;
  ASSERT_EQ(s.TryGet(uid, &item), S_OK);
  EXPECT_EQ(BookmarkOf(item.get())->title, u"It's");
  EXPECT_EQ(BookmarkOf(item.get())->url, u"http://a/?x=1");
  EXPECT_EQ(BookmarkOf(item.get())->fields.objUid, u"u1");
  EXPECT_EQ(BookmarkOf(item.get())->fields.parentUid, work);
  ASSERT_EQ(s.TryGet(work, &item), S_OK);
  EXPECT_EQ(FolderOf(item.get())->name, u"Work");
  EXPECT_NE(FolderOf(item.get())->modified, 0.0);
}

TEST_P(TreeStore, TitlesBecomeNamesThatNothingHas) {
  const std::pair<const char16_t*, const char16_t*> kRows[] = {
      {u"a/b:c?", u"/a+b+c+.url"}, {u"News", u"/News.url"},    {u"News", u"/News(2).url"},
      {u"News", u"/News(3).url"},  {u"1.2", u"/1.2.url"},      {u"1.2", u"/1.2(2).url"},
      {u"..", u"/...url"},         {u"\\..\\x", u"/+..+x.url"}};
  for (const auto& [title, path] : kRows) EXPECT_EQ(s.PathOf(s.Add(BookmarkText(title))), path);
  EXPECT_EQ(s.Current().size(), std::size(kRows));
  const auto before = s.Disk();
  s.Add(BookmarkText(u"my.url"));
  EXPECT_EQ(s.Current().size(), std::size(kRows)) << "\"my.url.url\" takes no part";
  fs::remove(s.Native(u"/my.url.url"));
  EXPECT_EQ(s.TryAdd(BookmarkText(u"")), E_FAIL);
  EXPECT_EQ(s.TryAdd(BookmarkText(u"a\u0001b")), E_FAIL);
  EXPECT_EQ(s.store->CachParseData(nullptr, Bstr(u"text/x-vBookmark"),
                                   s.Content(BookmarkText(u"x").bytes).get()),
            S_OK);
  ComPtr<IUnknown> cached;
  EXPECT_EQ(s.store->GetCachedParseData(cached.Out()), S_OK);
  BookmarkOf(cached.get())->title = {u'a', u'\0', u'b'};
  EXPECT_EQ(s.TryAdd(BookmarkText(u"not looked at")), E_FAIL);
  EXPECT_EQ(s.TryAdd(FolderText(u"not looked at")), E_FAIL) << "the cached item is no folder";
  EXPECT_EQ(s.store->UnCachParseData(), S_OK);
  EXPECT_EQ(s.Disk(), before);
  EXPECT_EQ(s.TryAdd(BookmarkText(u"No URL", u"")), E_FAIL);
  EXPECT_EQ(Bytes(s, u"/No URL.url"), "") << "stays, and has no number yet";
  EXPECT_EQ(s.UidOf(u"/No URL.url"), u"");
  EXPECT_EQ(s.TryAdd({"rubbish", u"text/x-vBookmark"}), E_FAIL);
  EXPECT_EQ(s.TryAdd({BookmarkText(u"x").bytes, u"TEXT/X-VBOOKMARK"}), S_OK);
  EXPECT_EQ(s.TryAdd({FolderText(u"x").bytes, u"Application/vnd.omads-folder+xml"}), E_FAIL)
      << "the bookmarks' way with a folder";
}

TEST_P(TreeStore, LongTitlesAreCutToWhatPathAndNameHold) {
  const size_t cut = 250 - s.root.size();
  const auto times = [](size_t n, const char16_t* piece) {
    std::u16string text;
    while (n-- > 0) text.append(piece);
    return text;
  };
  const std::pair<std::u16string, std::u16string> kRows[] = {
      {times(300, u"x"), times(cut, u"x")},
      {times(300, u"x"), times(cut, u"x") + u"(2)"},
      {times(cut - 1, u"y") + times(20, u"\U0001F600"), times(cut - 1, u"y")},
      {times(300, u"ä"), times(std::min<size_t>(cut, 122), u"ä")},
      {times(300, u"漢"), times(std::min<size_t>(cut, 81), u"漢")},
      {times(150, u"\U0001F600"), times(std::min<size_t>(cut / 2, 61), u"\U0001F600")}};
  for (const auto& [title, stem] : kRows) {
    EXPECT_EQ(s.PathOf(s.Add(BookmarkText(title))), u"/" + stem + u".url");
  }
  s.NextSession();
  EXPECT_EQ(s.Current(), s.Backup());

  // Whole where it fits: 255 bytes, unless a number is to come behind it.
  if (s.root.size() < 120) {
    const std::u16string fits = times(125, u"ä") + u"x";
    for (const std::u16string& stem : {fits, times(122, u"ä") + u"(2)"}) {
      EXPECT_EQ(s.PathOf(s.Add(BookmarkText(fits))), u"/" + stem + u".url");
    }
  }
  const std::u16string deep(252 - s.root.size() - 1, u'd');
  s.Put(u"/" + deep + u"\\seed.url");
  s.NextSession();
  const auto parent = s.UidOf(u"/" + deep);
  const auto uid = s.Add(BookmarkText(u"ab"), parent);
  EXPECT_EQ(s.TryAdd(BookmarkText(u"abc"), parent.c_str()), E_FAIL) << "260 units";
  const std::u16string tooLong =
      u"[C" + std::u16string(GetParam()) + u"] Save the file name or folder path is too long";
  EXPECT_EQ(s.log.Count(tooLong), 1u);
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"abcdefgh"), parent.c_str()), S_OK) << "no limit here";
}

// Calls to the file system, in all that such adds take.
TEST_P(TreeStore, EqualTitlesCostNoMoreThanDifferentOnes) {
  size_t calls[2] = {};
  constexpr size_t kCount = 150;
  const auto folder = s.Add(FolderText(u"F"));
  for (const bool areEqual : {false, true}) {
    s.files.Reset();
    for (size_t i = 0; i < kCount; ++i) {
      s.Add(BookmarkText(areEqual ? u"T" : Decimal(i)), folder);
    }
    calls[areEqual ? 1 : 0] = s.files.operations();
  }
  EXPECT_LE(calls[1], calls[0] + 4 * kCount) << calls[0];
  EXPECT_NE(s.UidOf(u"/F\\T(" + Decimal(kCount) + u").url"), u"");
  // Numbers that become free are given again, whoever freed them.
  fs::remove(s.Native(u"/F\\T(7).url"));
  EXPECT_EQ(s.PathOf(s.Add(BookmarkText(u"T"), folder)), u"/F\\T(7).url");
  EXPECT_EQ(s.Delete(s.UidOf(u"/F\\T(9).url")), S_OK);
  EXPECT_EQ(s.Replace(s.UidOf(u"/F\\T(5).url"), BookmarkText(u"U"), folder.c_str()), S_OK);
  for (const char16_t* path : {u"/F\\T(5).url", u"/F\\T(9).url"}) {
    EXPECT_EQ(s.PathOf(s.Add(BookmarkText(u"T"), folder)), path);
  }
}

TEST_P(TreeStore, WithoutAParentOrAnOldPathNothingIsTouched) {
  const auto file = s.Add(BookmarkText(u"File"));
  const auto gone = s.Add(FolderText(u"Gone"));
  fs::remove(s.Native(u"/Gone"));
  const auto before = s.folder.Names();
  s.db->Forget();
  for (const std::u16string parent : {u"", u"999", u"..", file.c_str(), gone.c_str()}) {
    EXPECT_EQ(s.TryAdd(BookmarkText(u"New"), parent.c_str()), E_FAIL) << ToUtf8(parent);
    EXPECT_EQ(s.TryAdd(FolderText(u"New"), parent.c_str()), E_FAIL) << ToUtf8(parent);
    EXPECT_EQ(s.Replace(file, BookmarkText(u"New"), parent.c_str()), E_FAIL) << ToUtf8(parent);
    EXPECT_EQ(s.Replace(gone, FolderText(u"New"), parent.c_str()), E_FAIL) << ToUtf8(parent);
  }
  EXPECT_EQ(s.TryAdd(BookmarkText(u"New"), nullptr), E_FAIL);
  EXPECT_EQ(s.log.Count(u"[QVSyncEngine] Bookmark sourceParentUid is NULL!!"), 3u);
  for (const std::u16string uid : {u"", u"999", u"/"}) {
    EXPECT_EQ(s.Replace(uid, BookmarkText(u"New")), E_FAIL) << ToUtf8(uid);
    EXPECT_EQ(s.Replace(uid, FolderText(u"New")), E_FAIL) << ToUtf8(uid);
    EXPECT_EQ(s.Delete(uid, true), E_FAIL) << ToUtf8(uid);
    EXPECT_EQ(ParentOf(s, uid), u"") << ToUtf8(uid);
  }
  EXPECT_EQ(s.Replace(file, FolderText(u"New")), E_FAIL) << "a file must not become a folder";
  EXPECT_EQ(s.folder.Names(), before);
  EXPECT_TRUE(s.db->Changes().empty());
  EXPECT_TRUE(IsFolder(s, u"/"));
}

TEST_P(TreeStore, NoLinkLeadsOutOfTheTree) {
  const auto away = s.Add(FolderText(u"Away"));
  const auto inside = s.Add(BookmarkText(u"Kept"), away);
  const auto mover = s.Add(BookmarkText(u"Mover"));
  s.folder.Put("outside/Kept.url", "theirs");
  fs::remove_all(s.Native(u"/Away"));
  fs::create_directory_symlink(s.folder.File("outside"), s.Native(u"/Away"));
  fs::create_directory_symlink("..", s.Native(u"/Loop"));
  fs::create_symlink(s.folder.File("outside/Kept.url"), s.Native(u"/Link.url"));
  const auto before = s.folder.Names();
  EXPECT_EQ(s.TryAdd(BookmarkText(u"New"), away.c_str()), E_FAIL);
  EXPECT_EQ(s.TryAdd(FolderText(u"New"), away.c_str()), E_FAIL);
  EXPECT_EQ(s.Replace(mover, BookmarkText(u"New"), away.c_str()), E_FAIL);
  EXPECT_EQ(s.Replace(inside, BookmarkText(u"New")), E_FAIL);
  EXPECT_EQ(s.Replace(away, FolderText(u"New")), E_FAIL);
  EXPECT_EQ(s.TryGet(inside), E_FAIL);
  EXPECT_EQ(s.Delete(inside), E_FAIL);
  EXPECT_TRUE(SubUids(s, away).empty());
  s.NextSession();
  EXPECT_EQ(s.Current(), (Snapshot{{mover, {u"/", false}}}));
  EXPECT_EQ(s.folder.Names(), before);
  EXPECT_EQ(s.Delete(away, true), S_OK);
  EXPECT_EQ(s.store->DeleteAll(), S_OK);
  EXPECT_EQ(s.folder.Get("outside/Kept.url"), "theirs");
}

TEST_P(TreeStore, ReplaceRenamesMovesAndKeepsEveryOtherLine) {
  s.Put(u"/Old.url", "BASEURL=b\n[InternetShortcut]\nIconIndex=0\nURL=http://old/\n[X]\nURL=x");
  s.NextSession();
  const auto uid = s.UidOf(u"/Old.url");
  const auto work = s.Add(FolderText(u"Work"));
  const auto taken = s.Add(BookmarkText(u"Taken"));
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"OLD", u"http://new/", u"u2")), S_OK);
  EXPECT_EQ(Bytes(s, u"/OLD.url"),
            "BASEURL=b\n[InternetShortcut]\nIconIndex=0\nURL=http://new/\n[X]\nURL=x");
  EXPECT_EQ(s.db->Rows(u"Bookmark_FFPathUidMap", {u"obj_uid"}, u"WHERE bookmark_id=" + uid),
            (Table{{u"u2"}}));
  s.files.Reset();
  s.files.Watch([](const auto& call) { return call.verb == Verb::RenameNew; });
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"OLD")), S_OK);
  EXPECT_EQ(s.files.operations(), 0u) << "its own name is no rename";
  const std::string own = "[InternetShortcut]\nURL = http://\xC3\xBC/ \nIconFile=x\n";
  s.Put(u"/OLD.url", own);
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"Moved", u"http://ü/"), work.c_str()), S_OK);
  EXPECT_EQ(Bytes(s, u"/Work\\Moved.url"), own) << "the address is the same";
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"Taken")), S_OK);
  EXPECT_EQ(s.PathOf(uid), u"/Taken(2).url");
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"Taken"), work.c_str()), S_OK);
  EXPECT_EQ(s.PathOf(uid), u"/Work\\Taken.url");
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"Taken")), E_FAIL) << "an equal name is not made unique";
  EXPECT_EQ(s.Disk(), (Paths{u"/Taken.url", u"/Work", u"/Work\\Taken.url"}));
  EXPECT_EQ(s.Current(), s.Backup());
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"New", u""), work.c_str()), E_FAIL);
  EXPECT_EQ(s.PathOf(uid), u"/Work\\Taken.url") << "the file has its new name, the row does not";
  s.NextSession();
  EXPECT_NE(s.UidOf(u"/Work\\New.url"), u"");
  EXPECT_EQ(s.PathOf(taken), u"/Taken.url");
}

TEST_P(TreeStore, DeleteRemovesFilesAndWholeFoldersWhateverTheBinSays) {
  const auto work = s.Add(FolderText(u"Work"));
  const auto sub = s.Add(FolderText(u"Sub"), work);
  s.Add(BookmarkText(u"A"), sub);
  const auto uid = s.Add(BookmarkText(u"B"), work);
  EXPECT_EQ(s.Delete(uid), S_OK);
  EXPECT_EQ(s.Delete(uid), E_FAIL) << "without a row it has no path";
  const auto gone = s.Add(BookmarkText(u"Gone"));
  fs::remove(s.Native(u"/Gone.url"));
  EXPECT_EQ(s.Delete(gone), DS_S_ALREADY_GONE);
  EXPECT_EQ(s.Paths().size(), 3u);

  s.Put(u"/Work\\desktop.ini", "theirs");
  EXPECT_EQ(s.Delete(work, true), E_FAIL) << "what takes no part stays, and so does its folder";
  EXPECT_EQ(s.Paths().size(), 3u);
  EXPECT_EQ(Bytes(s, u"/Work\\desktop.ini"), "theirs");
  EXPECT_EQ(s.folder.Get("bin/Sub/A.url"), "[InternetShortcut]\r\nURL=http://a/\r\n");
  fs::remove(s.Native(u"/Work\\desktop.ini"));
  s.Put(u"/Work\\Sub\\A.url");
  s.bin.Refuse(EACCES);
  EXPECT_EQ(s.Delete(work, true), S_OK);
  EXPECT_TRUE(s.Disk().empty() && s.Paths().empty() && s.Backup().empty());

  s.Add(BookmarkText(u"C"), s.Add(FolderText(u"Work")));
  s.bin.Refuse(0);
  EXPECT_EQ(s.store->DeleteAll(), S_OK);
  EXPECT_TRUE(s.Disk().empty() && s.Paths().empty());
  EXPECT_EQ(s.Backup().size(), 2u) << "the status rows have their own call";
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_TRUE(s.Backup().empty());
}

TEST_P(TreeStore, ASlowSyncMatchesInOneFolderOnceAndSaysWhoIsNewer) {
  const DATE time = ParseDateTime(u"2020-01-02 03:04:05").value;
  const auto work = s.Add(FolderText(u"Work"));
  const auto a = s.Add(BookmarkText(u"A", u"http://a/", u"u1", time));
  const auto inner = s.Add(BookmarkText(u"A"), work);
  s.Put(u"/No.url", "no shortcut");
  s.NextSession();
  std::u16string match;
  RESV_CONFLTLASTMODIFIED winner{};
  EXPECT_EQ(Duplicate(s, BookmarkText(u"A"), u"", match, winner), S_OK);
  EXPECT_EQ(match, u"") << "before PrepareSlowSync";
  const auto prepare = [&] { ASSERT_EQ(s.store->PrepareSlowSync(), S_OK); };
  prepare();
  EXPECT_EQ(s.log.Count(u"[QVSyncEngine] GetAllBookmarkKeyFields bookmark (" + s.UidOf(u"/No.url") +
                        u") url is empty."),
            1u);
  const struct {
    TreeText text;
    std::u16string parent;
    std::u16string match;
    RESV_CONFLTLASTMODIFIED winner;
  } kRows[] = {
      {BookmarkText(u"A"), u"", a, RESV_CONFLTLASTMODIFIED_NONE},
      {BookmarkText(u"A"), u"/", u"", RESV_CONFLTLASTMODIFIED_NONE},
      {BookmarkText(u"A"), work, inner, RESV_CONFLTLASTMODIFIED_NONE},
      {FolderText(u"work"), u"/", u"", RESV_CONFLTLASTMODIFIED_NONE},
      {FolderText(u"Work"), work, u"", RESV_CONFLTLASTMODIFIED_NONE},
      {FolderText(u"Work"), u"/", work, RESV_CONFLTLASTMODIFIED_IGNORE},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Duplicate(s, row.text, row.parent, match, winner), S_OK);
    EXPECT_EQ(match, row.match) << row.text.bytes;
    EXPECT_EQ(winner, row.winner) << row.text.bytes;
  }
  for (const auto& [seconds, expected] : {std::pair{-1, RESV_CONFLTLASTMODIFIED_SERVERWIN},
                                          {1, RESV_CONFLTLASTMODIFIED_CLIENTWIN},
                                          {0, RESV_CONFLTLASTMODIFIED_IGNORE}}) {
    prepare();
    const auto text = BookmarkText(u"B", u"http://b/", u"u1", time + seconds / 86400.0);
    s.db->FailAt(0, -5);
    EXPECT_EQ(Duplicate(s, text, u"/", match, winner), -5);
    EXPECT_EQ(winner, RESV_CONFLTLASTMODIFIED_NONE) << "the row failed; the entry still waits";
    EXPECT_EQ(Duplicate(s, text, u"/", match, winner), S_OK);
    EXPECT_EQ(match, a) << "by its uid";
    EXPECT_EQ(winner, expected) << seconds;
  }
  s.Stop(true);
  EXPECT_EQ(Duplicate(s, BookmarkText(u"A"), work, match, winner), E_FAIL);
  prepare();
  EXPECT_EQ(Duplicate(s, BookmarkText(u"A"), work, match, winner), S_OK) << "an empty list";
}

TEST_P(TreeStore, ConflictsCompareTheFilesLocalTimeWithThePhones) {
  s.zone = FixedZone("CET-1CEST,M3.5.0,M10.5.0/3");
  const auto file = s.Add(BookmarkText(u"A"));
  const auto folder = s.Add(FolderText(u"F"));
  for (const char16_t* path : {u"/A.url", u"/F"}) {
    ASSERT_EQ(SetFileModified(RelativeToAbsolute(s.root, path), 1'720'000'000), kNoError);
  }
  const DATE local = ParseDateTime(u"2024-07-03 11:46:40").value;
  for (const auto& [phone, expected] : {std::pair{local - 1, RESV_CONFLTLASTMODIFIED_SERVERWIN},
                                        {local, RESV_CONFLTLASTMODIFIED_IGNORE},
                                        {local + 1, RESV_CONFLTLASTMODIFIED_CLIENTWIN},
                                        {0.0, RESV_CONFLTLASTMODIFIED_NONE}}) {
    EXPECT_EQ(Conflict(s, file, BookmarkText(u"A", u"x", u"", phone)), expected);
    EXPECT_EQ(Conflict(s, folder, FolderText(u"F", phone)), expected);
  }
  EXPECT_EQ(Conflict(s, file, FolderText(u"F", local)), E_FAIL);
  EXPECT_EQ(Conflict(s, u"999", BookmarkText(u"A")), E_FAIL);
}

TEST_P(TreeStore, AConfirmedCommandBringsTheStatusRowUpToDate) {
  const auto uid = s.Add(BookmarkText(u"A"));
  const auto confirm = [&](SENTCMD_TYPE command) {
    return s.store->OnProcesseSentCmdSuccess(command, Bstr(uid), nullptr, kFalse);
  };
  for (const auto command : {SENTCMD_ADD, SENTCMD_REPL, SENTCMD_MOVE}) {
    s.db->Run(u"DELETE FROM Bookmark_BackupStatusDB");
    EXPECT_EQ(confirm(command), S_OK);
    EXPECT_EQ(s.Backup(), s.Current());
  }
  EXPECT_EQ(confirm(SENTCMD_EXEC), E_FAIL);
  EXPECT_EQ(confirm(SENTCMD_DEL), S_OK);
  EXPECT_TRUE(s.Backup().empty() && s.Paths().empty());
  EXPECT_EQ(s.Disk(), Paths{u"/A.url"}) << "the file is not the phone's to confirm away";
}

TEST_P(TreeStore, WhatUsersAndBrowsersPutThereTakesPartByItsName) {
  for (const char16_t* path : {u"/A.URL", u"/F\\.url", u"/F\\e.url\\x.url", u"/a.url.txt",
                               u"/a.url.url", u"/desktop.ini", u"/bad.url"}) {
    s.Put(path, path == std::u16string_view(u"/bad.url") ? "URL=x" : "[InternetShortcut]\nURL=u");
  }
  const std::u16string longUrl = u"http://" + std::u16string(100'000, u'x');
  ComPtr<IUnknown> item;
  EXPECT_EQ(s.TryGet(s.Add(BookmarkText(u"Long", longUrl)), &item), S_OK);
  EXPECT_EQ(BookmarkOf(item.get())->url, longUrl);
  EXPECT_EQ(s.Current().size(), 7u) << "numbers are given on the way";
  s.NextSession();
  EXPECT_EQ(s.Current().size(), 7u);
  EXPECT_EQ(s.UidOf(u"/a.url.txt") + s.UidOf(u"/a.url.url") + s.UidOf(u"/desktop.ini"), u"");
  ASSERT_EQ(s.TryGet(s.UidOf(u"/A.URL"), &item), S_OK);
  EXPECT_EQ(BookmarkOf(item.get())->title, u"A");
  EXPECT_EQ(s.TryGet(s.UidOf(u"/bad.url"), &item), E_FAIL);
  s.bag->values[u"DataStore.Bookmark.MimeType"] = u"text/x-other";
  s.NextSession();
  EXPECT_EQ(s.TryGet(s.UidOf(u"/A.URL"), &item), S_OK);
  EXPECT_FALSE(item) << "another configured type hands out nothing";
}

TEST_P(TreeStore, AFullDiskLeavesNeitherFileNorRow) {
  for (const Verb verb : {Verb::CreateNew, Verb::MakeNewFolder}) {
    s.files.Watch([verb](const auto& call) { return call.verb == verb; });
    s.files.FailAt(0, ENOSPC);
    EXPECT_EQ(s.TryAdd(verb == Verb::CreateNew ? BookmarkText(u"A") : FolderText(u"A")), E_FAIL);
    EXPECT_TRUE(s.files.hasFailed());
  }
  EXPECT_TRUE(s.Disk().empty());
  EXPECT_TRUE(s.db->Changes().empty());
}

TEST_P(TreeStore, TheRootComesFromTheUsersShellFolders) {
  const std::string key =
      R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
  ScopedEnvironment home("QV_HOME", s.folder.path().c_str());
  const auto rooted = [&](const std::u16string& value) {
    s.registry.WriteText(key, "Favorites", value);
    try {
      s.Another();
    } catch (const StatusError& error) {
      return error.status();
    }
    return S_OK;
  };
  EXPECT_EQ(rooted(u"%QV_HOME%\\Favorites\\"), S_OK);
  EXPECT_EQ(rooted(u"%QV_NONE%\\Favorites"), E_FAIL);
  EXPECT_EQ(rooted(u"\\"), E_FAIL);
  EXPECT_EQ(rooted(s.folder.ModulePath(u"none/Favorites")), E_FAIL);
  EXPECT_EQ(rooted(u"%QV_HOME%" + std::u16string(1024 - 9, u'\\')), E_FAIL) << "2,048 bytes";
  EXPECT_EQ(rooted(u"%QV_HOME%\\Favorites" + std::u16string(1023 - 19, u'\\')), S_OK);
  EXPECT_EQ(s.store->Initialize(s.bag.get()), DS_S_ALREADY_INITIALIZED);
}

INSTANTIATE_TEST_SUITE_P(Stores, TreeStore,
                         testing::Values(u"DataStoreBookmark", u"DataStoreFireFox"),
                         [](const auto& info) { return ToUtf8(info.param); });

}  // namespace
}  // namespace qv
