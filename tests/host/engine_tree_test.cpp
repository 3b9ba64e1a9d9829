// Folders and bookmarks between the Favorites and a phone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/tree_rig.h"
#include "platform/system/registry.h"

namespace qv {
namespace {

using test::TreeRig;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using Lines = std::multiset<std::string>;

class EngineTree : public testing::Test {
 protected:
  // Both sides agreed: "Work/" with News and Deep/Note, and Top.
  void Start() {
    rig.PcPut("Work/News.url", "http://news/");
    rig.PcPut("Work/Deep/Note.url", "http://note/");
    rig.PcPut("Top.url", "http://top/");
    ExpectSync();
  }
  // Without a failure; then both sides are the same, and nothing is left to do.
  StoreReport ExpectSync() {
    StoreReport report = rig.TwoWay();
    EXPECT_EQ(report.message, "");
    for (const ItemFailure& failure : report.failed)
      ADD_FAILURE() << failure.item << failure.reason;
    EXPECT_EQ(rig.PcTree(), rig.PhoneTree());
    ExpectIdle();
    return report;
  }
  void ExpectIdle() {
    const StoreReport again = rig.TwoWay();
    for (const SideCounts& counts : {again.pc, again.phone}) {
      EXPECT_EQ(counts.added + counts.replaced + counts.deleted, 0);
    }
  }

  TreeRig rig;
};

TEST_F(EngineTree, AFirstSyncJoinsBothTrees) {
  rig.PcPut("Work/News.url", "http://news/");
  rig.PcPut("Work/Mine.url", "http://mine/");
  rig.PhonePut("Work/n.vbm", "News", "http://news/");
  rig.PhonePut("Play/p.vbm", "Fun", "http://fun/");
  rig.MakeFolder(rig.PhonePath("Empty"));
  EXPECT_EQ(ExpectSync().matched, 2) << "the folder and the bookmark in it";
  EXPECT_EQ(rig.PcTree(), (Lines{"Work/", "Work/News -> http://news/", "Work/Mine -> http://mine/",
                                 "Play/", "Play/Fun -> http://fun/", "Empty/"}));
}

TEST_F(EngineTree, FoldersAreRenamedAndMovedAndKeepWhatTheyAre) {
  Start();
  // On the phone: renamed, its content with it.
  rig.Move(rig.PhonePath("Work"), rig.PhonePath("Office"));
  EXPECT_EQ(ExpectSync().pc.replaced, 1) << "one folder, and nothing in it";
  EXPECT_EQ(rig.PcTree(), (Lines{"Office/", "Office/News -> http://news/", "Office/Deep/",
                                 "Office/Deep/Note -> http://note/", "Top -> http://top/"}));
  // Moved up, in letter case alone, and on the PC.
  rig.Move(rig.PhonePath("Office/Deep"), rig.PhonePath("deep"));
  EXPECT_EQ(ExpectSync().pc.replaced, 1);
  rig.Move(rig.PhonePath("deep"), rig.PhonePath("DEEP"));
  EXPECT_EQ(ExpectSync().pc.replaced, 1);
  rig.Move(rig.PcPath("Office"), rig.PcPath("DEEP/Bureau"));
  const StoreReport report = ExpectSync();
  EXPECT_EQ(report.phone.added + report.phone.deleted, 0);
  EXPECT_EQ(rig.PhoneTree(), (Lines{"DEEP/", "DEEP/Note -> http://note/", "DEEP/Bureau/",
                                    "DEEP/Bureau/News -> http://news/", "Top -> http://top/"}));
  // Turned inside out.
  rig.Move(rig.PhonePath("DEEP/Bureau"), rig.PhonePath("Bureau"));
  rig.Move(rig.PhonePath("DEEP"), rig.PhonePath("Bureau/DEEP"));
  EXPECT_EQ(ExpectSync().pc.replaced, 2);
}

TEST_F(EngineTree, BookmarksMoveAndAreRenamedOnEitherSide) {
  Start();
  rig.Move(rig.PhonePath("Top.vbm"), rig.PhonePath("Work/Top.vbm"));
  EXPECT_EQ(ExpectSync().pc.replaced, 1);
  rig.PhonePut("Work/Top.vbm", "Summit", "http://top/", "X-IRMC-LUID:t\r\nX-PET:cat\r\n");
  EXPECT_EQ(ExpectSync().pc.replaced, 1);
  rig.Move(rig.PcPath("Work/Summit.url"), rig.PcPath("Peak.url"));
  const StoreReport report = ExpectSync();
  EXPECT_EQ(report.phone.added + report.phone.deleted, 0) << "known by its address alone";
  const auto text = rig.folder.Get("phone/bookmarks/Peak.vbm");
  ASSERT_TRUE(text.has_value()) << "the file goes by the title";
  EXPECT_THAT(*text, HasSubstr("X-PET:cat")) << "what the PC cannot hold stays";
}

TEST_F(EngineTree, WhatBothSidesDidToOneItemComesTogether) {
  rig.MakeFolder(rig.PcPath("Empty"));
  Start();
  rig.PhonePut("Top.vbm", "Summit", "http://phone/");
  rig.PcPut("Top.url", "http://pc/");
  rig.Move(rig.PhonePath("Work/Deep"), rig.PhonePath("Deep"));
  rig.Move(rig.PcPath("Work/Deep"), rig.PcPath("Work/Low"));
  ExpectSync();
  EXPECT_EQ(rig.PhoneTree(), (Lines{"Work/", "Work/News -> http://news/", "Low/",
                                    "Low/Note -> http://note/", "Summit -> http://pc/", "Empty/"}));
  ASSERT_EQ(rig.ConflictTexts().size(), 1u);
  EXPECT_THAT(rig.ConflictTexts()[0], HasSubstr("URL:http://phone/"));
  // The name that the PC gave to a folder is taken on the phone, which has deleted it.
  rig.Remove(rig.PhonePath("Empty"));
  rig.MakeFolder(rig.PhonePath("Full"));
  rig.Move(rig.PcPath("Empty"), rig.PcPath("Full"));
  rig.TwoWay();
  ExpectIdle();
  // Both have given it the same title.
  rig.Move(rig.PcPath("Summit.url"), rig.PcPath("Peak.url"));
  rig.PhonePut("Top.vbm", "Peak", "http://peak/");
  rig.TwoWay();
  ExpectIdle();
}

TEST_F(EngineTree, TwoOfOneNameSwapTheirFolders) {
  rig.PhonePut("A/x.vbm", "Same", "http://1/", "X-IRMC-LUID:1\r\n");
  rig.PhonePut("B/x.vbm", "Same", "http://2/", "X-IRMC-LUID:2\r\n");
  ExpectSync();
  rig.Move(rig.PhonePath("A"), rig.PhonePath("C"));
  rig.Move(rig.PhonePath("B"), rig.PhonePath("A"));
  rig.Move(rig.PhonePath("C"), rig.PhonePath("B"));
  ExpectSync();
  EXPECT_EQ(rig.PcTree(), (Lines{"A/", "A/Same -> http://2/", "B/", "B/Same -> http://1/"}));
  rig.Move(rig.PcPath("A/Same.url"), rig.PcPath("keep"));
  rig.Move(rig.PcPath("B/Same.url"), rig.PcPath("A/Same.url"));
  rig.Move(rig.PcPath("keep"), rig.PcPath("B/Same.url"));
  rig.PcPut("B/Same.url", "http://2/");
  rig.PcPut("A/Same.url", "http://1/");
  ExpectSync();
  EXPECT_EQ(rig.PhoneTree(), (Lines{"A/", "A/Same -> http://1/", "B/", "B/Same -> http://2/"}));
}

// The store sees whole seconds, and a renamed file keeps its time.
TEST_F(EngineTree, AFileInThePlaceOfAnotherOfTheSameSecondIsNotTakenForIt) {
  rig.PhonePut("1.vbm", "News", "http://1/");
  rig.PhonePut("2.vbm", "News", "http://2/");
  rig.TwoWay();
  rig.Move(rig.PcPath("News.url"), rig.PcPath("Old.url"));
  rig.Move(rig.PcPath("News(2).url"), rig.PcPath("News.url"));
  ExpectSync();
  EXPECT_EQ(rig.PhoneTree(), (Lines{"News -> http://2/", "Old -> http://1/"}));
}

TEST_F(EngineTree, AFolderDeletedOnOneSideKeepsWhatChangedOnTheOther) {
  Start();
  rig.Remove(rig.PhonePath("Work"));
  rig.PcPut("Work/Deep/Note.url", "http://note/2");
  rig.PcPut("Work/Deep/Fresh.url", "http://fresh/");
  ExpectSync();
  EXPECT_EQ(rig.PcTree(), (Lines{"Work/", "Work/Deep/", "Work/Deep/Note -> http://note/2",
                                 "Work/Deep/Fresh -> http://fresh/", "Top -> http://top/"}));
  rig.Remove(rig.PcPath("Work"));
  rig.PhonePut("Work/new.vbm", "New", "http://new/");
  ExpectSync();
  EXPECT_EQ(rig.PcTree(), (Lines{"Work/", "Work/New -> http://new/", "Top -> http://top/"}));
  rig.Remove(rig.PhonePath("Work"));
  ExpectSync();
  EXPECT_EQ(rig.PcTree(), (Lines{"Top -> http://top/"}));
  EXPECT_EQ(rig.bin.asked().size(), 1u) << "the content of the folder went into the bin";
}

TEST_F(EngineTree, TitlesThatNoFileCanHaveAreTakenAndTheTextStays) {
  const std::string long300(300, 'x');
  rig.PhonePut("1.vbm", "my.url", "http://1/");
  rig.PhonePut("2.vbm", "a/b:c?", "http://2/");
  rig.PhonePut("3.vbm", "..", "http://3/");
  rig.PhonePut("4.vbm", "tab\there", "http://4/");
  rig.PhonePut("untitled 5.vbm", "", "http://5/");
  rig.PhonePut("6.vbm", long300, "http://6/");
  rig.PhonePut("7.vbm", "same", "http://7/");
  rig.PhonePut("8.vbm", "same", "http://8/");
  const StoreReport report = rig.TwoWay();
  EXPECT_EQ(report.pc.added, 8);
  EXPECT_TRUE(report.failed.empty());
  ExpectIdle();
  const Lines pc = rig.PcTree();
  for (const char* line :
       {"my+url -> http://1/", "a+b+c+ -> http://2/", "tab+here -> http://4/",
        "untitled 5 -> http://5/", "same -> http://7/", "same(2) -> http://8/"}) {
    EXPECT_TRUE(pc.contains(line)) << line;
  }
  // An edit of the address on the phone keeps file and item together.
  rig.PhonePut("1.vbm", "my.url", "http://1/2");
  rig.PhonePut("6.vbm", long300, "http://6/2");
  EXPECT_EQ(rig.TwoWay().pc.replaced, 2);
  EXPECT_TRUE(rig.PcTree().contains("my+url -> http://1/2"));
  ExpectIdle();
  rig.Sync(DS_SYNCTYPE_SLOW);
  ExpectIdle();
  EXPECT_EQ(rig.PcTree().size(), 8u);
}

TEST_F(EngineTree, WhatCannotBeReadIsNamedAndHoldsNothingUp) {
  Start();
  rig.PhonePut("Work/bad.vbm", "No address", "");
  rig.folder.Put("phone/bookmarks/Work/worse.vbm", "rubbish");
  rig.folder.Put("phone/bookmarks/Work/readme.txt", "no bookmark");
  rig.folder.Put("profile/favorites/desktop.ini", "[.ShellClassInfo]\r\n");
  rig.folder.Put("profile/favorites/Empty.url", "");
  const StoreReport report = rig.TwoWay();
  std::vector<std::string> failed;
  for (const ItemFailure& failure : report.failed) failed.push_back(failure.item);
  EXPECT_THAT(failed, UnorderedElementsAre("Work/bad.vbm", "Work/worse.vbm", "Empty.url"));
  // The folder that holds them stays, whatever the PC does.
  rig.Remove(rig.PcPath("Work"));
  rig.TwoWay();
  EXPECT_TRUE(std::filesystem::exists(rig.PhonePath("Work/bad.vbm")));
  EXPECT_TRUE(std::filesystem::exists(rig.PhonePath("Work/readme.txt")));
  EXPECT_FALSE(std::filesystem::exists(rig.PhonePath("Work/Deep")));
}

// A file system that shows one folder to nobody.
class HiddenFolder {
 public:
  explicit HiddenFolder(std::string path) {
    files_.Watch([path = std::move(path)](const test::FailingFiles::Call& call) {
      return call.path == path && (call.verb == test::FailingFiles::Verb::List ||
                                   call.verb == test::FailingFiles::Verb::ListEntries);
    });
    files_.FailAt(0, EACCES, true);
  }

 private:
  test::FailingFiles files_;
  ScopedService<Files> use_{files_};
};

TEST_F(EngineTree, AFolderThatCannotBeReadIsNoEmptyOne) {
  Start();
  const Lines before = rig.PcTree();
  for (const std::string& path : {rig.PcPath("Work/Deep"), rig.PhonePath("Work/Deep")}) {
    const HiddenFolder hidden(path);
    EXPECT_NE(rig.TwoWay().message, "") << path;
  }
  EXPECT_EQ(rig.PcTree(), before);
  ExpectSync();
}

TEST_F(EngineTree, LinksAreNeitherFollowedNorRemoved) {
  Start();
  namespace fs = std::filesystem;
  rig.folder.Put("outside/x.url", "[InternetShortcut]\r\nURL=http://outside/\r\n");
  fs::create_directory_symlink(rig.PcPath(""), rig.PcPath("Work/up"));
  fs::create_directory_symlink(rig.collection(), rig.PhonePath("Work/up"));
  fs::create_symlink(rig.folder.File("outside/x.url"), rig.PcPath("Work/x.url"));
  ExpectIdle();
  // A known folder that became a link behind our back: what lies there is none of ours.
  rig.Remove(rig.PcPath("Work/up"));
  rig.Remove(rig.PcPath("Work/Deep"));
  fs::create_directory_symlink(rig.folder.File("outside"), rig.PcPath("Work/Deep"));
  rig.TwoWay();
  EXPECT_TRUE(rig.folder.Get("outside/x.url").has_value());
  EXPECT_FALSE(fs::exists(rig.PhonePath("Work/Deep"))) << "the folder is gone";
}

TEST_F(EngineTree, ADeviceWithoutFoldersHasOneFolderOfTheFavorites) {
  FileRegistry registry(rig.folder.File("profile/registry.ini"));
  registry.WriteNumber(R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\DeviceDB\1)", "SupportBookmarkHier",
                       0);
  rig.PcPut("Top.url", "http://top/");
  rig.PcPut("Quovia Mobile Bookmarks/Mine.url", "http://mine/");
  rig.PcPut("Quovia Mobile Bookmarks/Folder/Deep.url", "http://deep/");
  rig.PhonePut("n.vbm", "News", "http://news/");
  rig.PhonePut("Folder/n.vbm", "Hidden", "http://hidden/");
  const StoreReport report = rig.TwoWay();
  EXPECT_EQ(report.pc.added + report.phone.added, 2);
  ExpectIdle();
  rig.Move(rig.PcPath("Quovia Mobile Bookmarks/News.url"),
           rig.PcPath("Quovia Mobile Bookmarks/Old.url"));
  EXPECT_EQ(rig.TwoWay().phone.deleted, 0);
  EXPECT_TRUE(rig.PhoneTree().contains("Old -> http://news/"));
}

TEST_F(EngineTree, OtherWaysOfSyncing) {
  Start();
  rig.Move(rig.PhonePath("Work"), rig.PhonePath("Office"));
  rig.PcPut("Top.url", "http://top/2");
  rig.Sync(DS_SYNCTYPE_ONEFROM_CLIENT);
  EXPECT_TRUE(rig.PcTree().contains("Office/News -> http://news/"));
  EXPECT_TRUE(rig.PhoneTree().contains("Top -> http://top/"));
  rig.Sync(DS_SYNCTYPE_ONEFROM_SERVER);
  EXPECT_EQ(rig.PcTree(), rig.PhoneTree());
  rig.Move(rig.PhonePath("Office"), rig.PhonePath("Elsewhere"));
  rig.PhonePut("Extra/e.vbm", "Extra", "http://extra/");
  const Lines pc = rig.PcTree();
  SyncOptions options;
  options.allowMassDelete = true;
  rig.Sync(DS_SYNCTYPE_REFRESH_SERVER, options);
  EXPECT_EQ(rig.PcTree(), pc);
  EXPECT_EQ(rig.PhoneTree(), pc);
  rig.Move(rig.PcPath("Office"), rig.PcPath("Moved"));
  rig.Sync(DS_SYNCTYPE_REFRESH_CLIENT, options);
  EXPECT_EQ(rig.PhoneTree(), pc);
  EXPECT_EQ(rig.PcTree(), pc);
  ExpectIdle();
}

TEST_F(EngineTree, ASlowSyncKnowsARenamedBookmarkAndBringsADeletedOneBack) {
  Start();
  // Another file: what a file system tells that numbers its files anew.
  rig.PcPut("Peak.url", "http://top/");
  rig.Remove(rig.PcPath("Top.url"));
  rig.Sync(DS_SYNCTYPE_SLOW);
  const Lines renamed = {"Work/", "Work/News -> http://news/", "Work/Deep/",
                         "Work/Deep/Note -> http://note/", "Peak -> http://top/"};
  EXPECT_EQ(rig.PcTree(), renamed);
  EXPECT_EQ(rig.PhoneTree(), renamed);
  rig.Remove(rig.PcPath("Peak.url"));
  rig.Sync(DS_SYNCTYPE_SLOW);
  EXPECT_EQ(rig.PcTree(), renamed);
  ExpectSync();
}

TEST_F(EngineTree, ADryRunTellsTheStepsAndChangesNothing) {
  Start();
  rig.Move(rig.PhonePath("Work"), rig.PhonePath("Office"));
  rig.PcPut("Fresh/f.url", "http://fresh/");
  const auto database = rig.folder.Get("profile/sync.db");
  SyncOptions options;
  options.dryRun = true;
  const StoreReport report = rig.Sync(DS_SYNCTYPE_NONE, options);
  EXPECT_THAT(report.steps, UnorderedElementsAre("pc replace Office/", HasSubstr("phone add Fresh"),
                                                 HasSubstr("phone add Fresh/f")));
  EXPECT_EQ(rig.folder.Get("profile/sync.db"), database);
  ExpectSync();
}

}  // namespace
}  // namespace qv
