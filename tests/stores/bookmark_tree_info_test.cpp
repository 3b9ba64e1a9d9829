// What the stores over a tree of shortcuts tell beyond the contract, and what that protects.
#include "stores/bookmark/bookmark_tree_info.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "kit/bookmark_stack.h"
#include "kit/tree_questions.h"
#include "support/text.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using namespace test;  // NOLINT: the kit is what this file is about
using Texts8 = std::vector<std::string>;
using Verb = FailingFiles::Verb;

class TreeInfoTest : public testing::TestWithParam<const char16_t*> {
 protected:
  IBookmarkTreeInfo& Info() {
    info_ = Query<IBookmarkTreeInfo>(s.store);
    return *info_;
  }
  // "kind folder path" of each.
  Texts8 BlindSpots() {
    Texts8 spots;
    int32_t count = -1;
    Check(Info().CountBlindSpots(&count));
    for (int32_t i = 0; i < count; ++i) {
      TREE_BLINDSPOT kind{};
      Bstr folder(u"poison");
      Bstr path(u"poison");
      Check(Info().GetBlindSpot(i, &kind, folder.Out(), path.Out()));
      spots.push_back(std::to_string(kind) + " " + ToUtf8(s.PathOf(folder.str())) + " " +
                      ToUtf8(path.str()));
    }
    TREE_BLINDSPOT kind{};
    Bstr text;
    EXPECT_EQ(Info().GetBlindSpot(count, &kind, text.Out(), text.Out()), E_INVALIDARG);
    return spots;
  }
  std::string Obstacle(const std::u16string& uid) {
    auto kind = TREE_OBSTACLE_UNREADABLE;
    Bstr path(u"poison");
    Check(Info().FindObstacle(Bstr(uid), &kind, path.Out()));
    return std::to_string(kind) + " " + ToUtf8(path.str());
  }
  // By hand, under any name.
  void PutOdd(const std::string& name) {
    const fs::path path = s.Native(u"/") + "/" + name;
    fs::create_directories(path.parent_path());
    if (name.ends_with('/')) return;
    s.folder.Put(fs::relative(path, s.folder.path()).string(), "[InternetShortcut]\r\nURL=u\r\n");
  }

  BookmarkStack s{GetParam()};
  ComPtr<IBookmarkTreeInfo> info_;
};

TEST_P(TreeInfoTest, WhatHasAnUnusableNameIsToldWithItsFolder) {
  const auto work = s.Add(FolderText(u"Work"));
  for (const char* name : {"Work: 2026/a.url", "Work/What is C++?.url", "Work/b\xFF\n.url",
                           "Work/notes 10:30.txt", "Work/sub/x*y/"}) {
    PutOdd(name);
  }
  fs::create_directory_symlink(s.folder.path(), s.Native(u"/") + "/a link?.url");
  s.NextSession();
  EXPECT_EQ(s.Current().size(), 2u);
  EXPECT_EQ(BlindSpots(), (Texts8{"0  Work: 2026/", "0 /Work Work/What is C++?.url",
                                  "0 /Work Work/b\\xFF\\x0A.url", "0 /Work\\sub Work/sub/x*y/"}));
  EXPECT_EQ(Obstacle(work), "1 Work/What is C++?.url");
  const auto before = s.folder.Names();
  EXPECT_EQ(s.Delete(work, true), E_FAIL);
  EXPECT_EQ(s.Delete(s.UidOf(u"/Work\\sub"), true), E_FAIL);
  EXPECT_EQ(s.store->DeleteAll(), E_FAIL);
  EXPECT_EQ(s.folder.Names(), before);
  EXPECT_EQ(s.log.Count(u"[C" + std::u16string(GetParam()) +
                        u"] Nothing deleted, a name cannot be used: Work/What is C++?.url"),
            2u);
  s.bag->values[u"DataStore.Bookmark.SyncType"] = u"1";
  fs::rename(s.Native(u"/Work"), s.Native(u"/") + "/Work?");
  s.NextSession();
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.PathOf(work), u"/Work") << "it may be what is called otherwise now";
}

TEST_P(TreeInfoTest, WhatCannotBeReadIsToldAndLosesNoRow) {
  for (const char16_t* path : {u"/A\\B\\x.url", u"/C\\z.url"}) s.Put(path);
  s.bag->values[u"DataStore.Bookmark.SyncType"] = u"1";
  s.NextSession();
  const auto whole = s.Current();
  const auto a = s.UidOf(u"/A");
  s.files.Watch([](const auto& call) { return call.verb == Verb::ListEntries; });
  s.files.FailAt(0, EACCES);
  ComPtr<IStatusDBItemTree> tree;
  EXPECT_EQ(s.status->GetCurrentStatusDB(tree.Out()), E_FAIL);
  EXPECT_FALSE(tree) << "an empty tree would delete everything";
  // The folders in the order of the two walks.
  const char* const kToldByWalk[] = {"", "1 /C C/", "1 /A A/", "1 /A\\B A/B/"};
  for (size_t n = 1; n < 4; ++n) {
    s.files.FailAt(n, EACCES);
    EXPECT_LT(s.Current().size(), whole.size());
    EXPECT_EQ(BlindSpots(), Texts8{kToldByWalk[n]});
    s.files.FailAt(n, EACCES);
    EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
    EXPECT_EQ(s.Paths().size(), whole.size());
  }
  s.files.FailAt(0, EACCES);
  EXPECT_EQ(Obstacle(a), "3 A/");
  int32_t error = -1;
  s.files.FailAt(0, EACCES);
  EXPECT_EQ(Info().GetFolderError(Bstr(a), &error), S_OK);
  EXPECT_EQ(error, static_cast<int32_t>(kAccessDenied));
  EXPECT_EQ(Info().GetFolderError(Bstr(u"/"), &error), S_OK);
  EXPECT_EQ(error, 0);
  s.files.Reset();
  EXPECT_EQ(s.Current(), whole);
  fs::remove_all(s.Native(u"/"));
  EXPECT_EQ(s.status->GetCurrentStatusDB(tree.Out()), E_FAIL) << "no root is no empty tree";
  EXPECT_EQ(s.status->DeleteAllStatusBackupDB(), S_OK);
  EXPECT_EQ(s.Paths().size(), whole.size()) << "a root that is gone may come back";
}

TEST_P(TreeInfoTest, ALeftoverOfOurOwnIsNoObstacle) {
  const auto work = s.Add(FolderText(u"Work"));
  s.Put(u"/Work\\.News.url.tmp");
  s.Put(u"/Work\\." + std::u16string(250, u'x') + u".tmp");
  EXPECT_EQ(Obstacle(work), "0 ");
  for (const char16_t* name : {u".News.tmp", u"News.url.tmp", u".tmp"}) {
    s.Put(u"/Work\\" + std::u16string(name));
    EXPECT_EQ(Obstacle(work), "2 Work/" + ToUtf8(name));
    EXPECT_EQ(s.Delete(work, true), E_FAIL);
    fs::remove(s.Native(u"/Work\\" + std::u16string(name)));
  }
  EXPECT_EQ(s.Delete(work, true), S_OK);
  EXPECT_TRUE(s.Disk().empty());
}

TEST_P(TreeInfoTest, PathsAndStampsAreThoseOfTheFiles) {
  Bstr path(u"poison");
  ASSERT_EQ(Info().GetRootFolder(path.Out()), S_OK);
  EXPECT_EQ(path.view(), s.root);
  const auto uid = s.Add(BookmarkText(u"A"));
  ASSERT_EQ(Info().GetEntryPath(Bstr(uid), path.Out()), S_OK);
  EXPECT_EQ(path.view(), s.root + u"\\A.url");
  ASSERT_EQ(Info().GetEntryPath(Bstr(u"/"), path.Out()), S_OK);
  EXPECT_EQ(path.view(), s.root);
  EXPECT_EQ(Info().GetEntryPath(Bstr(u"999"), path.Out()), E_FAIL);
  s.Current();
  struct stat data {};
  ASSERT_EQ(stat(s.Native(u"/A.url").c_str(), &data), 0);
  s.Put(u"/A.url", "");
  TREE_ENTRYSTAMP stamp{};
  for (const BOOL anew : {kFalse, kTrue}) {
    ASSERT_EQ(Info().GetEntryStamp(Bstr(uid), anew, &stamp), S_OK);
    EXPECT_EQ(stamp.size, anew == kFalse ? static_cast<uint64_t>(data.st_size) : 0u);
    EXPECT_EQ(stamp.inode, data.st_ino);
    EXPECT_EQ(stamp.modifiedNs % 1'000'000'000 == data.st_mtim.tv_nsec, anew == kFalse);
  }
  EXPECT_EQ(Info().GetEntryStamp(Bstr(u"999"), kFalse, &stamp), E_FAIL);
}

TEST_P(TreeInfoTest, AnEmptiedFileIsBrokenAndBecomesABookmarkAgain) {
  const auto uid = s.Add(BookmarkText(u"A"));
  const std::pair<std::string, BOOL> kRows[] = {
      {"", kTrue}, {std::string(70, '\0'), kTrue}, {"[InternetShortcut]\nURL=\n", kFalse}};
  for (const auto& [bytes, expected] : kRows) {
    s.Put(u"/A.url", bytes);
    BOOL broken = 7;
    ASSERT_EQ(Info().IsBroken(Bstr(uid), &broken), S_OK);
    EXPECT_EQ(broken, expected) << bytes;
    EXPECT_EQ(s.Replace(uid, BookmarkText(u"A", u"http://b/")), S_OK);
    ComPtr<IUnknown> item;
    ASSERT_EQ(s.TryGet(uid, &item), S_OK);
    EXPECT_EQ(BookmarkOf(item.get())->url, u"http://b/");
  }
  EXPECT_EQ(Bytes(s, u"/A.url"), "[InternetShortcut]\nURL=http://b/\n");
}

TEST_P(TreeInfoTest, WhatIsDoneIsSettledWithOneCallForAllOfIt) {
  s.files.Watch([](const auto& call) { return call.verb == Verb::Settle; });
  s.files.Reset();
  const auto work = s.Add(FolderText(u"Work"));
  std::u16string uid;
  for (int i = 0; i < 20; ++i) uid = s.Add(BookmarkText(u"A"), work);
  EXPECT_EQ(s.files.operations(), 0u);
  s.files.FailAt(0, EIO);
  EXPECT_EQ(Info().Settle(), E_FAIL);
  for (const auto& change : std::initializer_list<std::function<HRESULT()>>{
           [] { return S_OK; },  // what failed still waits
           [&] { return s.Replace(uid, BookmarkText(u"B")); },
           [&] { return s.Delete(uid); },
           [&] { return s.Replace(work, FolderText(u"Home")); },
           [&] { return s.Delete(work, true); },
       }) {
    s.files.Reset();
    EXPECT_EQ(change(), S_OK);
    EXPECT_EQ(s.files.operations(), 0u);
    EXPECT_EQ(Info().Settle(), S_OK);
    EXPECT_EQ(Info().Settle(), S_OK);
    EXPECT_EQ(s.files.operations(), 1u);
  }
  s.files.Reset();
  s.Add(BookmarkText(u"Last"));
  info_.Reset();
  s.NextSession();
  EXPECT_EQ(s.files.operations(), 1u) << "by the end of the store that made it";
}

INSTANTIATE_TEST_SUITE_P(Stores, TreeInfoTest,
                         testing::Values(u"DataStoreBookmark", u"DataStoreFireFox"),
                         [](const auto& info) { return ToUtf8(info.param); });

}  // namespace
}  // namespace qv
