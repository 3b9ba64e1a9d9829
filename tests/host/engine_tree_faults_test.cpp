// What a sync of bookmarks does beside names, files and records that are not as they should be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/tree_oracle.h"
#include "host/tree_rig.h"
#include "platform/database/sqlite.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using test::FailingFiles;
using test::Look;
using test::SeenTree;
using test::Shape;
using testing::HasSubstr;

class EngineTreeFaults : public testing::Test {
 protected:
  void SetUp() override {
    rig.PcPut("Work/News.url", "http://news/");
    rig.PcPut("Work/Deep/Note.url", "http://note/");
    rig.PcPut("Top.url", "http://top/");
    ExpectSync("first");
  }
  StoreReport Run(DS_SYNCTYPE mode = DS_SYNCTYPE_NONE, const std::string& phone = "phone") {
    rig.clock.Advance(10);
    files.NextSecond();
    SyncOptions options;
    options.mode = mode;
    options.allowMassDelete = true;
    Profile profile(rig.profileFolder());
    const SyncReport report = RunSync(profile, rig.folder.File(phone), {"bookmarks"}, options, {});
    files.NextSecond();
    return report.stores.at(0);
  }
  SeenTree Pc() const { return Look(rig.profileFolder() + "/favorites", false); }
  SeenTree Phone(const std::string& phone = "phone") const {
    return Look(rig.folder.File(phone + "/bookmarks"), true);
  }
  static int64_t Writes(const StoreReport& report) {
    int64_t writes = 0;
    for (const SideCounts& counts : {report.pc, report.phone}) {
      writes += counts.added + counts.replaced + counts.deleted;
    }
    return writes;
  }
  static std::string Failures(const StoreReport& report) {
    std::string text = report.message;
    for (const ItemFailure& failure : report.failed) {
      text += failure.side + " " + failure.item + ": " + failure.reason + "\n";
    }
    return text;
  }
  // Without a failure; then both sides are the same, and nothing is left to do.
  void ExpectSync(const std::string& what) {
    EXPECT_EQ(Failures(Run()), "") << what;
    EXPECT_EQ(Shape(Pc()), Shape(Phone())) << what;
    EXPECT_EQ(Writes(Run()), 0) << what;
  }

  test::AgedFiles files{true, true};
  ScopedService<Files> useFiles{files};
  test::TreeRig rig;
};

TEST_F(EngineTreeFaults, WhatAnUnusableNameHidesIsNotGone) {
  struct {
    const char* from;
    const char* to;
    const char* shown;
    const char* back;
  } const cases[] = {
      {"Work", "Work: 2026", "Work: 2026/", "Job"},
      {"Job", "W\xE9rk", "W\\xE9rk/", "Work"},
      {"Work/News.url", "Work/What is C++?.url", "Work/What is C++?.url", "Work/C++.url"},
      {"Work/C++.url", "Work/N\xE9ws.url", "Work/N\\xE9ws.url", "Top/News.url"},
      {"Work/Deep", "Work/a|b", "Work/a|b/", "Work/Deep"},
  };
  rig.MakeFolder(rig.PcPath("Top"));
  ExpectSync("folder");
  const size_t marks = Pc().marks.size();
  for (const auto& each : cases) {
    rig.Move(rig.PcPath(each.from), rig.PcPath(each.to));
    const SeenTree pc = Pc();
    const SeenTree phone = Phone();
    for (const DS_SYNCTYPE mode :
         {DS_SYNCTYPE_NONE, DS_SYNCTYPE_SLOW, DS_SYNCTYPE_ONEFROM_SERVER,
          DS_SYNCTYPE_ONEFROM_CLIENT, DS_SYNCTYPE_REFRESH_SERVER, DS_SYNCTYPE_REFRESH_CLIENT}) {
      const std::string failures = Failures(Run(mode));
      EXPECT_THAT(failures, HasSubstr(std::string("pc ") + each.shown + ": ")) << mode;
      EXPECT_THAT(failures, HasSubstr("rename it")) << mode;
      EXPECT_EQ(Phone().bytes, phone.bytes) << each.to << mode;
      EXPECT_EQ(Pc().bytes, pc.bytes) << each.to << mode;
    }
    rig.Move(rig.PcPath(each.to), rig.PcPath(each.back));
    ExpectSync(each.back);
    EXPECT_EQ(Pc().marks.size(), marks) << each.back;
  }
}

TEST_F(EngineTreeFaults, WhatThePhoneNamesAsThePcCannotKeepsItsName) {
  for (const auto& [from, to] : {std::pair("Work", "Work: 2026"),
                                 {"Work: 2026", "W\xE9rk"},
                                 {"Top.vbm", "T\xE9.vbm"},
                                 {"W\xE9rk/News.vbm", "W\xE9rk/What is C++?.vbm"}}) {
    rig.Move(rig.PhonePath(from), rig.PhonePath(to));
    const SeenTree phone = Phone();
    EXPECT_EQ(Failures(Run()), "") << to;
    EXPECT_EQ(Phone().bytes, phone.bytes) << to;
    std::multiset<std::string> urls;
    for (const test::SeenMark& mark : Pc().marks) urls.insert(mark.url);
    EXPECT_EQ(urls, (std::multiset<std::string>{"http://news/", "http://note/", "http://top/"}));
    EXPECT_EQ(Writes(Run()), 0) << to;
  }
}

TEST_F(EngineTreeFaults, AFolderThatThePhoneDeletesStaysWithWhatIsNoBookmark) {
  rig.folder.Put("profile/favorites/Work/Deep/notes 10:30.txt", "mine");
  const SeenTree pc = Pc();
  rig.Remove(rig.PhonePath("Work"));
  EXPECT_THAT(Failures(Run()), HasSubstr("notes 10:30.txt"));
  EXPECT_EQ(Pc().bytes["Work/Deep/notes 10:30.txt"], "mine");
  EXPECT_EQ(Pc().bytes, pc.bytes);
  rig.Move(rig.PcPath("Work/Deep/notes 10:30.txt"), rig.folder.File("notes.txt"));
  ExpectSync("moved away");
  EXPECT_EQ(Pc().marks.size(), 1u);
}

TEST_F(EngineTreeFaults, FavoritesThatCannotBeReadAreNotEmpty) {
  const SeenTree phone = Phone();
  const std::string root = rig.profileFolder() + "/favorites";
  for (const DS_SYNCTYPE mode : {DS_SYNCTYPE_NONE, DS_SYNCTYPE_SLOW, DS_SYNCTYPE_REFRESH_SERVER}) {
    files.Watch([&](const FailingFiles::Call& call) {
      return call.path == root && (call.verb == FailingFiles::Verb::List ||
                                   call.verb == FailingFiles::Verb::ListEntries);
    });
    bool reached = true;
    for (size_t n = 0; reached; ++n) {
      files.FailAt(n, EACCES, true);
      const StoreReport report = Run(mode);
      reached = files.hasFailed();
      files.Reset();
      EXPECT_EQ(Phone().bytes, phone.bytes) << mode << " from listing " << n;
      if (n > 0) continue;
      EXPECT_EQ(report.result, SyncResult::Failed) << mode;
      EXPECT_THAT(report.message, HasSubstr("/favorites cannot be read (")) << mode;
      EXPECT_THAT(report.message, HasSubstr("Make it readable")) << mode;
    }
  }
  ExpectSync("readable again");
}

TEST_F(EngineTreeFaults, AnEmptiedShortcutIsHealedAndOneWithoutAddressLeftAlone) {
  for (const DS_SYNCTYPE mode : {DS_SYNCTYPE_NONE, DS_SYNCTYPE_SLOW}) {
    for (const std::string& bytes : {std::string(), std::string(40, '\0')}) {
      rig.folder.Put("profile/favorites/Top.url", bytes);
      const SeenTree phone = Phone();
      EXPECT_EQ(Failures(Run(mode)), "") << mode << bytes.size();
      EXPECT_EQ(test::LineValue(Pc().bytes["Top.url"], "URL"), "http://top/")
          << mode << bytes.size();
      EXPECT_EQ(Phone().bytes, phone.bytes) << mode << bytes.size();
    }
    rig.folder.Put("profile/favorites/Work/News.url", "[InternetShortcut]\r\nIconIndex=0\r\n");
    const SeenTree pc = Pc();
    const SeenTree phone = Phone();
    const std::string failures = Failures(Run(mode));
    EXPECT_THAT(failures, HasSubstr("pc Work/News")) << mode;
    EXPECT_THAT(failures, HasSubstr("address")) << mode;
    EXPECT_EQ(Pc().bytes, pc.bytes) << mode;
    EXPECT_EQ(Phone().bytes, phone.bytes) << mode;
    rig.PcPut("Work/News.url", "http://news/" + std::to_string(mode));
    ExpectSync("given an address");
  }
}

TEST_F(EngineTreeFaults, AnIdleSyncOpensNoShortcut) {
  files.Watch([](const FailingFiles::Call& call) {
    const bool reads =
        call.verb == FailingFiles::Verb::Read || call.verb == FailingFiles::Verb::ReadPieces;
    return reads && (call.path.ends_with(".url") || call.path.ends_with(".vbm"));
  });
  files.Reset();
  Run();
  EXPECT_EQ(files.operations(), 0u);
  rig.PcPut("Top.url", "http://top/2");
  Run();
  EXPECT_GT(files.operations(), 0u) << "the count counts";
}

// The items as the version before kept them.
constexpr const char* kFormer =
    "ALTER TABLE items RENAME TO later;"
    "CREATE TABLE items(store_id INTEGER NOT NULL, name TEXT NOT NULL, size INTEGER NOT NULL,"
    " mtime_ns INTEGER NOT NULL, hash BLOB NOT NULL, uid TEXT NOT NULL, source_uid TEXT NOT NULL,"
    " PRIMARY KEY(store_id, name)) WITHOUT ROWID;"
    "INSERT INTO items SELECT store_id,name,size,mtime_ns,hash,uid,source_uid FROM later;"
    "DROP TABLE later;"
    "CREATE INDEX items_by_source ON items(store_id, source_uid);";

TEST_F(EngineTreeFaults, ARecordOfTheVersionBeforeIsTakenOverWholeOrNotAtAll) {
  const auto columns = [&] {
    SqliteDatabase db(rig.profileFolder() + "/engine.db", SqliteDatabase::Durability::Normal);
    SqliteStatement count = db.Prepare("SELECT count(*) FROM pragma_table_info('items')");
    return count.Step() ? count.Int(0) : 0;
  };
  const auto change = [&](const char* script) {
    SqliteDatabase(rig.profileFolder() + "/engine.db", SqliteDatabase::Durability::Normal)
        .Execute(script);
  };
  const int64_t current = columns();
  change(kFormer);
  // Its last step fails.
  change("ALTER TABLE stores RENAME TO away");
  const SeenTree phone = Phone();
  const SeenTree pc = Pc();
  std::string refusal;
  try {
    refusal = rig.Sync().message;
  } catch (const std::exception& error) {
    refusal = error.what();
  }
  EXPECT_THAT(refusal, HasSubstr("stores"));
  EXPECT_EQ(columns(), 7) << "the steps before went back";
  change("ALTER TABLE away RENAME TO stores");
  change("ALTER TABLE stores DROP COLUMN source");
  const StoreReport report = Run();
  EXPECT_EQ(Failures(report), "");
  EXPECT_EQ(Writes(report), 0);
  EXPECT_EQ(columns(), current);
  EXPECT_EQ(Phone().bytes, phone.bytes);
  EXPECT_EQ(Pc().bytes, pc.bytes);
  rig.Move(rig.PcPath("Work/News.url"), rig.PcPath("News.url"));
  ExpectSync("followed after it");
}

TEST_F(EngineTreeFaults, ASecondPhoneSeesTheSmallestRename) {
  fs::create_directories(rig.folder.File("second/bookmarks"));
  Run(DS_SYNCTYPE_NONE, "second");
  for (const auto& [from, to] : {std::pair("Top.url", "TOP.url"),
                                 {"TOP.url", "TOP(2).url"},
                                 {"Work", "WORK"},
                                 {"WORK", "WORK(3)"}}) {
    rig.Move(rig.PcPath(from), rig.PcPath(to));
    for (const char* phone : {"phone", "second"}) {
      const StoreReport report = Run(DS_SYNCTYPE_NONE, phone);
      EXPECT_EQ(Failures(report), "") << to << phone;
      EXPECT_EQ(report.phone.added + report.phone.deleted, 0) << to << phone;
      EXPECT_EQ(Phone(phone).marks, Pc().marks) << to << phone;
      EXPECT_EQ(Phone(phone).folders, Pc().folders) << to << phone;
    }
  }
}

TEST_F(EngineTreeFaults, PartsThatOneSideChangedAreNoConflict) {
  rig.PhonePut("ab.vbm", "a:b", "http://ab/");
  ExpectSync("a title that no file can have");
  SeenTree phone = Phone();
  const StoreReport slow = Run(DS_SYNCTYPE_SLOW);
  EXPECT_EQ(Writes(slow), 0);
  EXPECT_EQ(Phone().bytes, phone.bytes);
  // A title here, a place there.
  rig.PhonePut("ab.vbm", "a:c", "http://ab/");
  rig.Move(rig.PcPath("a+b.url"), rig.PcPath("Work/a+b.url"));
  rig.Move(rig.PcPath("Top.url"), rig.PcPath("Peak.url"));
  rig.Move(rig.PhonePath("Top.vbm"), rig.PhonePath("Work/Top.vbm"));
  const StoreReport report = Run();
  EXPECT_EQ(Failures(report), "");
  EXPECT_TRUE(report.conflicts.empty());
  EXPECT_TRUE(rig.ConflictTexts().empty());
  EXPECT_TRUE(Phone().marks.contains({"Work/", "a:c", "http://ab/"}));
  EXPECT_TRUE(Pc().marks.contains({"Work/", "a+c", "http://ab/"}));
  EXPECT_TRUE(Phone().marks.contains({"Work/", "Peak", "http://top/"}));
  ExpectSync("all is done");
}

TEST_F(EngineTreeFaults, ASecondSyncOfOneWayHasNothingToDo) {
  const auto expectIdle = [&](DS_SYNCTYPE mode) {
    EXPECT_EQ(Failures(Run(mode)), "") << mode;
    const SeenTree pc = Pc();
    const SeenTree phone = Phone();
    EXPECT_EQ(Writes(Run(mode)), 0) << mode;
    EXPECT_EQ(Pc().bytes, pc.bytes) << mode;
    EXPECT_EQ(Phone().bytes, phone.bytes) << mode;
  };
  rig.MakeFolder(rig.PhonePath("Home"));
  ExpectSync("another folder");
  // What only one side has deleted, and the other moved.
  rig.Remove(rig.PcPath("Top.url"));
  rig.Move(rig.PhonePath("Top.vbm"), rig.PhonePath("Home/Top.vbm"));
  expectIdle(DS_SYNCTYPE_ONEFROM_SERVER);
  EXPECT_TRUE(Phone().marks.contains({"Home/", "Top", "http://top/"}));
  // What the PC moved out of a folder, and the phone with its folder.
  rig.Move(rig.PcPath("Work/News.url"), rig.PcPath("News.url"));
  rig.Move(rig.PhonePath("Work"), rig.PhonePath("Home/Work"));
  expectIdle(DS_SYNCTYPE_ONEFROM_CLIENT);
  EXPECT_TRUE(Pc().marks.contains({"", "News", "http://news/"}));
  ExpectSync("both ways");
}

TEST_F(EngineTreeFaults, ARowThatACutLeftAsideShowsNowhere) {
  const auto setAside = [&] {
    SqliteDatabase db(rig.profileFolder() + "/engine.db", SqliteDatabase::Durability::Normal);
    SqliteStatement left = db.Prepare("SELECT count(*) FROM items WHERE name LIKE '%//%'");
    EXPECT_TRUE(left.Step());
    EXPECT_EQ(left.Int(0), 0) << "it takes its own name again";
    left.Reset();
    db.Execute("UPDATE items SET name=name||'//'||source_uid WHERE name='Top.vbm'");
  };
  setAside();
  ExpectSync("the file has its name again");
  setAside();
  rig.Remove(rig.PhonePath("Top.vbm"));
  SyncOptions look;
  look.dryRun = true;
  EXPECT_THAT(rig.Sync(DS_SYNCTYPE_NONE, look).steps,
              testing::ElementsAre(testing::StartsWith("pc delete Top.vbm")));
  ExpectSync("deleted");
  EXPECT_EQ(Pc().marks.size(), 2u);
}

// The folder is made anew for it; no bookmark is lost or doubled when the name is put right.
TEST_F(EngineTreeFaults, ANewBookmarkInAHiddenFolderComesInOneOfItsOwn) {
  rig.Move(rig.PcPath("Work"), rig.PcPath("Work: 2026"));
  rig.PhonePut("Work/fresh.vbm", "Fresh", "http://fresh/");
  EXPECT_THAT(Failures(Run()), HasSubstr("pc Work: 2026/: "));
  EXPECT_TRUE(Pc().marks.contains({"Work/", "Fresh", "http://fresh/"}));
  EXPECT_EQ(Phone().marks.size(), 4u);
  EXPECT_EQ(Writes(Run()), 0);
  rig.Move(rig.PcPath("Work: 2026"), rig.PcPath("Work 2026"));
  ExpectSync("renamed");
  EXPECT_THAT(Pc().marks, testing::UnorderedElementsAre(
                              test::SeenMark{"", "Top", "http://top/"},
                              test::SeenMark{"Work/", "Fresh", "http://fresh/"},
                              test::SeenMark{"Work 2026/", "News", "http://news/"},
                              test::SeenMark{"Work 2026/Deep/", "Note", "http://note/"}));
}

}  // namespace
}  // namespace qv
