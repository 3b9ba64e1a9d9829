// What the Favorites store does beyond the family.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "kit/bookmark_stack.h"
#include "kit/tree_questions.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using namespace test;  // NOLINT: the kit is what this file is about
using Paths = std::vector<std::u16string>;

class Favorites : public testing::Test {
 protected:
  // Folders "/A\\B" with one bookmark in each.
  void Fill() {
    a = s.Add(FolderText(u"A"));
    b = s.Add(FolderText(u"B"), a);
    inA = s.Add(BookmarkText(u"x"), a);
    inB = s.Add(BookmarkText(u"y"), b);
  }
  // Which of the rows were written since the last call.
  std::set<std::u16string> Touched() {
    std::set<std::u16string> uids;
    for (const auto& row :
         s.db->Rows(u"Bookmark_BackupStatusDB", {u"bookmark_id"}, u"WHERE modified<>''")) {
      uids.insert(row[0]);
    }
    s.db->Run(u"UPDATE Bookmark_BackupStatusDB SET modified=''");
    return uids;
  }

  BookmarkStack s{u"DataStoreBookmark"};
  std::u16string a, b, inA, inB;
};

TEST_F(Favorites, LogsItsStartAndKeepsUidAndTimeBesideThePath) {
  EXPECT_EQ(s.log.Count(u"[QVSyncEngine] CDataStoreBookmark::Initialize() Start"), 1u);
  EXPECT_EQ(s.log.Count(u"[QVSyncEngine] CDataStoreBookmark::Initialize() End"), 1u);
  const auto uid =
      s.Add(BookmarkText(u"A", u"u", u"it's", ParseDateTime(u"2001-02-03 04:05:06").value));
  const auto row = [&] {
    return s.db->Rows(u"Bookmark_FFPathUidMap", {u"obj_uid", u"obj_modified"});
  };
  EXPECT_EQ(row(), (Table{{u"it%27s", u"2001-02-03 04:05:06"}}));
  ASSERT_EQ(SetFileModified(RelativeToAbsolute(s.root, u"/A.url"), 1'720'000'000), kNoError);
  EXPECT_EQ(s.TryGet(uid), S_OK);
  EXPECT_EQ(row()[0][1], u"2001-02-03 04:05:06");
  EXPECT_EQ(s.TryGet(uid, nullptr, true), S_OK);
  EXPECT_EQ(row(), (Table{{u"it%27s", u"2024-07-03 09:46:40"}}));
  EXPECT_EQ(s.Replace(uid, BookmarkText(u"B")), S_OK);
  EXPECT_EQ(row(), (Table{{u"", u""}}));
  EXPECT_EQ(s.TryGet(uid), S_OK);
  EXPECT_EQ(row()[0][0].size(), 36u) << "repaired and written back";
  EXPECT_EQ(row()[0][1], u"2024-03-05 06:07:08");
}

TEST_F(Favorites, FolderNamesAreMadeLegalAndUniqueAndMoveWithTheirContent) {
  Fill();
  for (const auto& [name, path] : {std::pair{u"a/b\\..\"", u"/a+b+..+"},
                                   {u"A", u"/A(2)"},
                                   {u"A.b", u"/A.b"},
                                   {u"A.b", u"/A.b(2)"}}) {
    EXPECT_EQ(s.PathOf(s.Add(FolderText(name))), path);
  }
  EXPECT_EQ(s.TryAdd(FolderText(u"..")), E_FAIL);
  EXPECT_EQ(s.Replace(b, FolderText(u"..")), E_FAIL);
  const std::u16string failed =
      u"[CDataStoreBookmark] _wrename Failed in Replace(folder), window error-code: ";
  EXPECT_EQ(s.log.Count(failed + u"123"), 1u);
  EXPECT_EQ(s.Replace(a, FolderText(u"A"), b.c_str()), E_FAIL) << "not into itself";
  EXPECT_EQ(s.log.Count(failed + u"87"), 1u);
  const auto before = s.Current();
  EXPECT_EQ(s.Replace(a, FolderText(u"a")), S_OK) << "a change of case needs no other name";
  EXPECT_EQ(s.Replace(b, FolderText(u"A(2)")), S_OK);
  EXPECT_EQ(s.PathOf(b), u"/A(2)(2)");
  EXPECT_EQ(s.Replace(b, FolderText(u"C"), a.c_str()), S_OK);
  EXPECT_EQ(s.PathOf(inB), u"/a\\C\\y.url");
  s.NextSession();
  EXPECT_EQ(s.Current(), before);
  EXPECT_EQ(s.Backup(), before);
  EXPECT_EQ(s.Replace(inB, BookmarkText(u"?", u"u"), b.c_str()), S_OK);
  EXPECT_EQ(s.Replace(inB, BookmarkText(std::u16string(300, u'x')), b.c_str()), E_FAIL);
  EXPECT_EQ(s.log.Count(u"[CDataStoreBookmark] _wrename Failed in Replace(file), window "
                        u"error-code: 206"),
            1u);
}

TEST_F(Favorites, EveryChangeIsNotedOnTheFoldersAbove) {
  Fill();
  const auto c = s.Add(FolderText(u"C"));
  using Uids = std::set<std::u16string>;
  Touched();
  const auto fresh = s.Add(BookmarkText(u"new"), b);
  EXPECT_EQ(Touched(), (Uids{fresh, b, a}));
  const auto sub = s.Add(FolderText(u"sub"), b);
  EXPECT_EQ(Touched(), (Uids{sub, b, a}));
  EXPECT_EQ(s.Replace(fresh, BookmarkText(u"new"), c.c_str()), S_OK);
  EXPECT_EQ(Touched(), (Uids{fresh, c, b, a}));
  EXPECT_EQ(s.Replace(b, FolderText(u"B"), c.c_str()), S_OK);
  EXPECT_EQ(Touched(), (Uids{b, c, a})) << "not those of the descendants";
  EXPECT_EQ(s.Delete(inB), S_OK);
  EXPECT_EQ(Touched(), (Uids{b, c}));
  EXPECT_EQ(s.Delete(sub), S_OK);
  EXPECT_EQ(Touched(), (Uids{b, c}));
  EXPECT_EQ(s.Delete(b, true), S_OK);
  EXPECT_EQ(Touched(), Uids{c});
  s.db->Run(u"DELETE FROM Bookmark_FFPathUidMap WHERE bookmark_id=" + a);
  EXPECT_EQ(s.Delete(inA), S_OK) << "a folder without a row ends the walk";
}

TEST_F(Favorites, AHardDeleteTakesNoFullFolder) {
  Fill();
  s.db->Forget();
  EXPECT_EQ(s.Delete(a), DS_E_BOOKMARK);
  EXPECT_TRUE(s.db->Changes().empty());
  EXPECT_EQ(s.Disk().size(), 4u);
  EXPECT_EQ(s.Delete(inB), S_OK);
  s.Put(u"/A\\B\\desktop.ini");
  EXPECT_EQ(s.Delete(b), E_FAIL) << "only the entries that take part count";
  EXPECT_EQ(s.Delete(b, true), E_FAIL);
  EXPECT_EQ(s.log.Count(u"[CDataStoreBookmark] RemoveDirectory Failed in Delete(folder), window "
                        u"error-code: 145"),
            1u);
  fs::remove(s.Native(u"/A\\B\\desktop.ini"));
  EXPECT_EQ(s.Delete(b), S_OK);
  EXPECT_EQ(s.Current(), (Snapshot{{a, {u"/", true}}, {inA, {a, false}}}));
  EXPECT_EQ(s.Backup(), s.Current());
}

TEST_F(Favorites, AFlatTreeHasNoFolders) {
  BookmarkStack flat(u"DataStoreBookmark", false);
  EXPECT_TRUE(flat.root.ends_with(u"\\Favorites\\Quovia Mobile Bookmarks"));
  flat.Put(u"/F\\x.url");
  const auto y = flat.Add(BookmarkText(u"y"));
  const auto g = flat.Add(FolderText(u"G"));
  flat.NextSession();
  const Snapshot expected = {{y, {u"/", false}}};
  EXPECT_EQ(flat.Current(), expected);
  EXPECT_EQ(flat.Backup(), expected);
  EXPECT_EQ(flat.Paths().size(), 2u);
  EXPECT_EQ(flat.store->PrepareSlowSync(), S_OK);
  std::u16string match;
  RESV_CONFLTLASTMODIFIED winner{};
  EXPECT_EQ(Duplicate(flat, FolderText(u"G"), u"/", match, winner), S_OK);
  EXPECT_EQ(match, u"");
  EXPECT_EQ(flat.store->DeleteAll(), S_OK);
  EXPECT_EQ(flat.Disk(), (Paths{u"/F", u"/F\\x.url", u"/G"}));
}

TEST_F(Favorites, WithoutADeviceThatTakesFoldersTheTreeIsFlat) {
  for (const char16_t* device : {u"8", u"none", u""}) {
    fs::remove_all(s.folder.File("Favorites"));
    s.bag->values[u"Transport.Obex.DeviceID"] = device;
    s.NextSession();
    s.Add(BookmarkText(u"t"));
    EXPECT_TRUE(s.folder.Get("Favorites/Quovia Mobile Bookmarks/t.url")) << ToUtf8(device);
  }
  s.bag->failingKey = u"Transport.Obex.DeviceID";
  EXPECT_NO_THROW(s.Another());
}

TEST_F(Favorites, ATwoWaySessionsCleaningKeepsWhatIsThereUnderANewName) {
  Fill();
  EXPECT_EQ(s.Replace(a, FolderText(u"renamed")), S_OK);
  EXPECT_EQ(s.Replace(inA, BookmarkText(u"z"), a.c_str()), S_OK);
  fs::remove(s.Native(u"/renamed\\B\\y.url"));
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.Paths().size(), 4u) << "not in this type of session";
  s.bag->values[u"DataStore.Bookmark.SyncType"] = u"1";
  s.NextSession();
  EXPECT_EQ(s.Replace(a, FolderText(u"again")), S_OK);
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.Paths(), (std::map<std::u16string, std::u16string>{
                           {a, u"/again"}, {b, u"/again\\B"}, {inA, u"/again\\z.url"}}));
  EXPECT_TRUE(s.Backup().empty());
}

TEST_F(Favorites, AFolderRenameReadsInChunksAndWritesOnce) {
  for (int i = 0; i < 1200; ++i) s.Put(u"/Big\\" + Decimal(i) + u".url");
  s.NextSession();
  const auto before = s.Current();
  s.db->Forget();
  ASSERT_EQ(s.Replace(s.UidOf(u"/Big"), FolderText(u"It's")), S_OK);
  size_t reads = 0;
  size_t writes = 0;
  for (const std::u16string& statement : s.db->statements()) {
    reads += statement.starts_with(u"SELECT bookmark_id,filefolderpath") ? 1 : 0;
    writes += statement.starts_with(u"UPDATE Bookmark_FFPathUidMap") ? 1 : 0;
  }
  EXPECT_EQ(reads, 3u);
  EXPECT_EQ(writes, 1u);
  s.NextSession();
  EXPECT_EQ(s.Current(), before);
  EXPECT_EQ(s.Paths().size(), before.size()) << "no path got a second number";
}

// Whatever step of a rename fails: all files are there, nothing else was touched, and the next
// session numbers everything.
TEST(FavoritesFailures, ARenameOfAFilledFolderLosesNothing) {
  for (const bool failsFiles : {false, true}) {
    bool hasFailed = true;
    for (size_t n = 0; hasFailed; ++n) {
      BookmarkStack s(u"DataStoreBookmark");
      const auto a = s.Add(FolderText(u"A"));
      s.Add(BookmarkText(u"y", u"u"), s.Add(FolderText(u"B"), a));
      s.Put(u"/A\\x.url", "[InternetShortcut]\nURL=u");
      s.Put(u"/A\\desktop.ini", "theirs");
      const auto to = s.Add(FolderText(u"To"));
      s.NextSession();
      if (failsFiles) {
        s.files.FailAt(n, EIO);
      } else {
        s.db->FailAt(n, -5);
      }
      const HRESULT result = s.Replace(a, FolderText(u"New"), to.c_str());
      hasFailed = failsFiles ? s.files.hasFailed() : s.db->hasFailed();
      s.files.Reset();
      s.db->FailNothing();
      if (!failsFiles) {
        EXPECT_EQ(result, hasFailed ? -5 : S_OK) << n;
      }
      const std::string top = fs::exists(s.Native(u"/A")) ? "Favorites/A/" : "Favorites/To/New/";
      EXPECT_EQ(s.folder.Names(), (std::vector<std::string>{top + "B/y.url", top + "desktop.ini",
                                                            top + "x.url", "registry.ini"}))
          << n;
      EXPECT_EQ(s.db->openRowsets(), 0);
      s.NextSession();
      Paths numbered;
      for (const auto& [uid, place] : s.Current()) numbered.push_back(s.PathOf(uid));
      std::ranges::sort(numbered);
      EXPECT_EQ(numbered, s.Disk()) << n;
      ASSERT_LT(n, 60u);
    }
  }
}

}  // namespace
}  // namespace qv
