#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>

#include "host/engine/left_alone.h"
#include "host/engine_rig.h"

namespace qv {
namespace {

using test::CardText;
using test::Content;
using test::Rig;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

std::string Counts(const StoreReport& report) {
  const auto side = [](const SideCounts& counts) {
    return "+" + std::to_string(counts.added) + "~" + std::to_string(counts.replaced) + "-" +
           std::to_string(counts.deleted);
  };
  return "pc " + side(report.pc) + " phone " + side(report.phone) + " =" +
         std::to_string(report.matched);
}
constexpr const char* kNothing = "pc +0~0-0 phone +0~0-0 =0";

void ExpectQuiet(Rig& rig) {
  const StoreReport report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
  EXPECT_EQ(Counts(report), kNothing);
}

// "item: reason" of each failure.
std::vector<std::string> Failures(const StoreReport& report) {
  std::vector<std::string> lines;
  for (const ItemFailure& failure : report.failed) {
    lines.push_back(failure.side + " " + failure.item + ": " + failure.reason);
  }
  return lines;
}

// Every byte of the profile and the phone, journals of open databases aside.
std::map<std::string, std::string> AllBytes(const Rig& rig) {
  std::map<std::string, std::string> all;
  for (const std::string& name : rig.folder.Names()) {
    if (!name.ends_with("-shm") && !name.ends_with("-wal")) all[name] = *rig.folder.Get(name);
  }
  return all;
}

TEST(EngineSyncTest, FirstSyncFillsBothSidesAndTheNextDoesNothing) {
  Rig rig;
  rig.PcAdd(CardText({.name = "Ann"}));
  rig.PcAdd(CardText({.name = "Both", .note = "same"}));
  rig.PhonePut("cleo.vcf", CardText({.name = "Cleo", .uid = "cleo", .extra = "X-PET:cat"}));
  rig.PhonePut("both.vcf", CardText({.name = "Both", .uid = "b", .note = "same"}));
  rig.PhonePut("readme.txt", "no card");
  rig.PhonePut(".hidden.vcf", "no card");
  const StoreReport report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
  EXPECT_EQ(report.mode, DS_SYNCTYPE_SLOW);
  EXPECT_EQ(Counts(report), "pc +1~0-0 phone +1~0-0 =1");
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  EXPECT_EQ(rig.PcContents().size(), 3u);
  ExpectQuiet(rig);
  EXPECT_EQ(Counts(rig.Sync(DS_SYNCTYPE_SLOW)), "pc +0~0-0 phone +0~0-0 =3");
}

TEST(EngineSyncTest, TheLaterChangeWinsAndTheOtherTextIsKept) {
  struct Row {
    const char* rev;  // the phone's; the PC's edit is of November 2023
    const char* winner;
    const char* lost;
  };
  const Row kRows[] = {{"20200101T000000Z", "pc", "NOTE:phone"},
                       {"20300101T000000Z", "phone", "NOTE:pc"},
                       {"", "phone", "NOTE:pc"}};  // the file is younger than the test's clock
  for (const Row& row : kRows) {
    Rig rig;
    rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "a"}));
    rig.Sync();
    rig.PcEdit(rig.PcItems().begin()->first, CardText({.name = "Ann", .note = "pc"}));
    rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "a", .rev = row.rev, .note = "phone"}));
    const StoreReport report = rig.Sync();
    const bool pcWins = std::string(row.winner) == "pc";
    EXPECT_EQ(report.pcWon, pcWins ? 1 : 0) << row.rev;
    EXPECT_EQ(report.phoneWon, pcWins ? 0 : 1) << row.rev;
    ASSERT_EQ(report.conflicts.size(), 1u);
    EXPECT_EQ(report.conflicts[0].item, "a.vcf");
    EXPECT_EQ(report.conflicts[0].winner, row.winner);
    EXPECT_THAT(rig.folder.Get("profile/" + report.conflicts[0].kept).value_or(""),
                HasSubstr(row.lost));
    EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
    ExpectQuiet(rig);
  }
}

TEST(EngineSyncTest, WhatIsBackOnThePcAsThePhoneHasItIsNotDoubled) {
  Rig rig;
  const std::u16string id = rig.PcAdd(CardText({.name = "Ann"}));
  rig.Sync();
  rig.PcDelete(id);
  const auto [file, text] = *rig.PhoneFiles().begin();
  Contact contact = *ParseVCard(text);
  contact.note = u"later";
  rig.PhonePut(file, WriteVCard(contact));
  // As another phone, or a run that was killed, has left it.
  rig.PcAdd(CardText({.name = "Ann", .note = "later"}));
  rig.Sync();
  EXPECT_EQ(rig.PcItems().size(), 1u);
  EXPECT_EQ(rig.PhoneContents(), rig.PcContents());
}

TEST(EngineSyncTest, RenamedTouchedAndTwiceMadeItemsMoveNothing) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "A", .uid = "a"}));
  rig.PhonePut("b.vcf", CardText({.name = "B"}));
  rig.Sync();
  rig.PhoneRename("a.vcf", "z.vcf");
  rig.PhonePut("b.vcf", CardText({.name = "B"}));
  rig.PcAdd(CardText({.name = "C"}));
  rig.PhonePut("c.vcf", CardText({.name = "C", .uid = "c"}));
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~0-0 phone +0~0-0 =1");
  ExpectQuiet(rig);
  // Under another name and rewritten, the uid still tells.
  rig.PhoneRename("z.vcf", "y.vcf");
  rig.PhonePut("y.vcf", CardText({.name = "A", .uid = "a", .note = "new"}));
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~1-0 phone +0~0-0 =0");
  // It tells also of the item that came in the place of a deleted one.
  rig.PcDelete(rig.PcIdOf(CardText({.name = "A", .note = "new"})));
  rig.PhoneRename("y.vcf", "x.vcf");
  rig.PhonePut("x.vcf", CardText({.name = "A", .uid = "a", .note = "newer"}));
  EXPECT_EQ(Counts(rig.Sync()), "pc +1~0-0 phone +0~0-0 =0");
  rig.PhoneRename("x.vcf", "w.vcf");
  rig.PhonePut("w.vcf", CardText({.name = "A", .uid = "a", .note = "newest"}));
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~1-0 phone +0~0-0 =0");
}

TEST(EngineSyncTest, AnEditOfTheSameSizeRightAfterASyncIsSeen) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "A", .note = "1"}));
  const fs::path file = rig.phoneFolder() + "/contacts/a.vcf";
  // However slow the machine is, the stamp must lie near the end of the sync.
  const auto time = fs::last_write_time(file) + std::chrono::seconds(1);
  fs::last_write_time(file, time);
  rig.Sync();
  rig.PhonePut("a.vcf", CardText({.name = "A", .note = "2"}));
  fs::last_write_time(file, time);
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~1-0 phone +0~0-0 =0");
}

TEST(EngineSyncTest, ASlowSyncKeepsPairsOfEqualKeyTextsApart) {
  Rig rig;
  rig.PcAdd(CardText({.name = "Twin", .note = "one"}));
  rig.PcAdd(CardText({.name = "Twin", .note = "two"}));
  rig.Sync();
  // Whatever the order of names: each file meets its own contact.
  int n = 9;
  for (const auto& [name, text] : rig.PhoneFiles()) {
    rig.PhoneRename(name, std::to_string(n--) + ".vcf");
  }
  const StoreReport report = rig.Sync(DS_SYNCTYPE_SLOW);
  EXPECT_EQ(Counts(report), "pc +0~0-0 phone +0~0-0 =2");
  EXPECT_THAT(rig.ConflictTexts(), IsEmpty());
}

TEST(EngineSyncTest, ADryRunChangesNothingAndTellsWhatTheRunDoes) {
  Rig rig;
  const auto first = [&] {
    const auto before = AllBytes(rig);
    const StoreReport dry = rig.Sync(DS_SYNCTYPE_NONE, {.dryRun = true});
    EXPECT_EQ(AllBytes(rig), before);
    const StoreReport real = rig.Sync();
    EXPECT_EQ(Counts(dry), Counts(real));
    EXPECT_EQ(dry.phoneWon, real.phoneWon);
    EXPECT_EQ(dry.mode, real.mode);
    return dry.steps;
  };
  const auto ann = rig.PcAdd(CardText({.name = "Ann"}));
  rig.PhonePut("b.vcf", CardText({.name = "Bob", .uid = "b"}));
  EXPECT_THAT(first(), ElementsAre("pc add b.vcf (Bob)", "phone add " + ToUtf8(ann) + " (Ann)"));
  rig.PcEdit(rig.PcIdOf(CardText({.name = "Bob"})), CardText({.name = "Bob", .note = "pc"}));
  rig.PhonePut("b.vcf", CardText({.name = "Bob", .uid = "b", .rev = "20300101T000000Z"}));
  rig.PcDelete(ann);
  const std::vector<std::string> steps = first();
  ASSERT_EQ(steps.size(), 2u);
  EXPECT_EQ(steps[0], "pc replace b.vcf (Bob) (conflict: the phone wins)");
  EXPECT_THAT(steps[1], testing::MatchesRegex("phone delete .+ \\(Ann\\)"));
  rig.PcAdd(CardText({.name = "Cleo"}));
  rig.Sync();
  rig.PhoneDelete("b.vcf");
  EXPECT_THAT(first(), ElementsAre("pc delete b.vcf (Bob)"));
}

TEST(EngineSyncTest, ASideThatIsLostOrEmptyStopsTheSync) {
  const auto empty = [](const std::string& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
  };
  struct Row {
    const char* what;
    std::function<void(Rig&)> harm;
    bool liftable;
  };
  const Row kRows[] = {
      {"the phone is empty", [&](Rig& rig) { empty(rig.phoneFolder() + "/contacts"); }, true},
      {"the collection is gone", [](Rig& rig) { fs::remove_all(rig.phoneFolder() + "/contacts"); },
       false},
      {"the phone is not mounted", [&](Rig& rig) { empty(rig.phoneFolder()); }, false},
      {"the phone's folder is gone", [](Rig& rig) { fs::remove_all(rig.phoneFolder()); }, false},
      {"another card",
       [](Rig& rig) {
         rig.folder.Put("phone/.qvsync-phone", "11111111-2222-4333-8444-555555555555\n");
       },
       false},
      {"a damaged identifier", [](Rig& rig) { rig.folder.Put("phone/.qvsync-phone", "\xFF?"); },
       false},
      {"the PC is empty",
       [](Rig& rig) {
         for (const auto& [id, content] : rig.PcItems()) rig.PcDelete(id);
       },
       true},
      {"most of the PC is gone",
       [](Rig& rig) {
         for (const auto& [id, content] : rig.PcItems()) {
           if (rig.PcItems().size() > 1) rig.PcDelete(id);
         }
       },
       true},
  };
  for (const Row& row : kRows) {
    Rig rig;
    for (int i = 0; i < 12; ++i) rig.PcAdd(CardText({.name = "N" + std::to_string(i)}));
    rig.Sync();
    row.harm(rig);
    const auto before = AllBytes(rig);
    const StoreReport report = rig.Sync();
    EXPECT_EQ(report.result, SyncResult::Refused) << row.what;
    EXPECT_THAT(report.message, Not(IsEmpty())) << row.what;
    EXPECT_EQ(AllBytes(rig), before) << row.what;
    const StoreReport forced = rig.Sync(DS_SYNCTYPE_NONE, {.allowMassDelete = true});
    EXPECT_EQ(forced.result, row.liftable ? SyncResult::Ok : SyncResult::Refused) << row.what;
    if (!row.liftable) continue;
    EXPECT_EQ(rig.PcContents(), rig.PhoneContents()) << row.what;
  }
}

TEST(EngineSyncTest, PhonesAreToldApartByTheirIdentifier) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "A", .uid = "a"}));
  rig.Sync();
  const auto syncAt = [&](const std::string& name, bool newPhone) {
    Profile profile(rig.profileFolder());
    return RunSync(profile, rig.folder.File(name), {}, {.newPhone = newPhone});
  };
  // A copy is refused, a move is not.
  fs::copy(rig.phoneFolder(), rig.folder.File("copy"), fs::copy_options::recursive);
  const SyncReport copied = syncAt("copy", false);
  EXPECT_EQ(copied.result, SyncResult::Refused);
  EXPECT_THAT(copied.message, HasSubstr("/phone"));
  EXPECT_THAT(copied.message, HasSubstr("/copy"));
  fs::rename(rig.phoneFolder(), rig.folder.File("moved"));
  const SyncReport moved = syncAt("moved", false);
  ASSERT_EQ(moved.result, SyncResult::Ok) << moved.message;
  EXPECT_EQ(moved.stores[0].mode, DS_SYNCTYPE_TWO_NORMAL);
  // The copy as a phone of its own: the same contacts, found and not doubled.
  const SyncReport second = syncAt("copy", true);
  ASSERT_EQ(second.result, SyncResult::Ok) << second.message;
  EXPECT_EQ(Counts(second.stores[0]), "pc +0~0-0 phone +0~0-0 =1");
  // What one phone brings, the other gets.
  rig.folder.Put("copy/contacts/b.vcf", CardText({.name = "B", .uid = "b"}));
  EXPECT_EQ(Counts(syncAt("copy", false).stores.at(0)), "pc +1~0-0 phone +0~0-0 =0");
  EXPECT_EQ(Counts(syncAt("moved", false).stores.at(0)), "pc +0~0-0 phone +1~0-0 =0");
}

TEST(EngineSyncTest, ItemsThatCannotBeReadAreNamedAndLeftAlone) {
  Rig rig;
  rig.PhonePut("good.vcf", CardText({.name = "Good", .uid = "g"}));
  rig.PhonePut("paired.vcf", CardText({.name = "Paired", .uid = "p"}));
  rig.Sync();
  const std::map<std::string, std::string> bad = {
      {"cut.vcf", CardText({.name = "Cut"}).substr(0, 30)},
      {"empty.vcf", ""},
      {"noise.vcf", std::string("\0\xFF\x01junk\n", 8)},
      {"paired.vcf", "rubbish"},
      {"two.vcf", CardText({.name = "One"}) + CardText({.name = "Two"})},
  };
  for (const auto& [name, text] : bad) rig.PhonePut(name, text);
  rig.PcEdit(rig.PcIdOf(CardText({.name = "Paired"})), CardText({.name = "Paired", .note = "pc"}));
  rig.PhonePut("late.vcf", CardText({.name = "Late"}));
  for (int run = 0; run < 2; ++run) {
    const StoreReport report = rig.Sync();
    EXPECT_EQ(report.result, SyncResult::Partial);
    EXPECT_THAT(Failures(report),
                ElementsAre("phone cut.vcf: it holds no readable item",
                            "phone empty.vcf: it holds no readable item",
                            "phone noise.vcf: it holds no readable item",
                            "phone paired.vcf: it holds no readable item",
                            HasSubstr("phone two.vcf: it holds more than one item")));
    EXPECT_EQ(Counts(report), run == 0 ? "pc +1~0-0 phone +0~0-0 =0" : kNothing);
    for (const auto& [name, text] : bad) EXPECT_EQ(rig.PhoneFiles().at(name), text);
  }
  // Mended, all goes on as if nothing had been.
  for (const auto& [name, text] : bad) {
    rig.PhonePut(name, CardText({.name = name,
                                 .uid = name == "paired.vcf" ? "p" : "",
                                 .rev = "20300101T000000Z"}));
  }
  EXPECT_EQ(rig.Sync().result, SyncResult::Ok);
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  EXPECT_EQ(rig.PcContents().size(), 7u);
}

TEST(EngineSyncTest, UidsOfAnyKindMakeSafeNamesAndTouchNoOtherRow) {
  Rig rig;
  const std::string uids[] = {"same",
                              "same",
                              "x');DELETE FROM DataStoreMap;--",
                              "../../up",
                              ".dot",
                              "100%27",
                              std::string(400, 'u'),
                              "a b/c"};
  int n = 0;
  for (const std::string& uid : uids) {
    const std::string name = "N" + std::to_string(n++);
    rig.PhonePut(name + ".vcf", CardText({.name = name, .uid = uid}));
  }
  EXPECT_EQ(rig.Sync().result, SyncResult::Ok);
  EXPECT_EQ(rig.PcContents().size(), std::size(uids));
  ExpectQuiet(rig);
  // Sent back under names made of these uids.
  for (const auto& [name, text] : rig.PhoneFiles()) rig.PhoneDelete(name);
  rig.PhonePut("keep.vcf", CardText({.name = "Keep"}));
  EXPECT_EQ(Counts(rig.Sync(DS_SYNCTYPE_REFRESH_SERVER)), "pc +0~0-0 phone +8~0-1 =0");
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  EXPECT_EQ(rig.PhoneFiles().count("same.vcf") + rig.PhoneFiles().count("same(2).vcf"), 2u);
  EXPECT_FALSE(fs::exists(rig.folder.File("up.vcf")));
}

TEST(EngineSyncTest, StopEndsTheRunAtTheNextItemAndTheNextRunGoesOn) {
  Rig rig;
  for (int i = 0; i < 100; ++i) {
    rig.PhonePut("p" + std::to_string(i) + ".vcf", CardText({.name = "P" + std::to_string(i)}));
  }
  Profile profile(rig.profileFolder());
  const SyncReport stopped =
      RunSync(profile, rig.phoneFolder(), {}, {}, [&](std::string_view, int64_t done, int64_t) {
        if (done >= 10) profile.SetStop(true);
      });
  EXPECT_EQ(stopped.result, SyncResult::Stopped);
  const int64_t added = stopped.stores.at(0).pc.added;
  EXPECT_GE(added, 10);
  EXPECT_LT(added, 100);
  const StoreReport rest = rig.Sync();
  EXPECT_EQ(rest.mode, DS_SYNCTYPE_SLOW);
  EXPECT_EQ(rest.pc.added, 100 - added);
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
  ExpectQuiet(rig);
}

TEST(EngineSyncTest, WhatChangesDuringTheRunIsTakenUpByTheNext) {
  Rig rig;
  const auto x = rig.PcAdd(CardText({.name = "X"}));
  rig.PhonePut("y.vcf", CardText({.name = "Y", .uid = "y"}));
  rig.Sync();
  const auto y = rig.PcIdOf(CardText({.name = "Y"}));
  std::string fileX;
  for (const auto& [name, text] : rig.PhoneFiles()) fileX = name == "y.vcf" ? fileX : name;
  rig.PcEdit(y, CardText({.name = "Y", .note = "pc"}));
  rig.PhonePut(fileX, CardText({.name = "X", .note = "phone"}));
  bool once = true;
  const StoreReport report =
      rig.Sync(DS_SYNCTYPE_NONE, {}, [&](std::string_view, int64_t, int64_t) {
        if (!std::exchange(once, false)) return;
        rig.PhonePut("y.vcf", CardText({.name = "Y", .uid = "y", .note = "meanwhile"}));
        rig.PcEdit(x, CardText({.name = "X", .note = "meanwhile"}));
      });
  EXPECT_THAT(Failures(report), ElementsAre(HasSubstr("it changed on the PC during the sync"),
                                            HasSubstr("it changed on the phone during the sync")));
  const StoreReport next = rig.Sync();
  EXPECT_EQ(next.pcWon + next.phoneWon, 2);
  EXPECT_EQ(rig.ConflictTexts().size(), 2u);
  EXPECT_EQ(rig.PcContents(), rig.PhoneContents());
}

TEST(EngineSyncTest, ADamagedDatabaseIsNamed) {
  for (const char* name : {"engine.db", "sync.db"}) {
    Rig rig;
    rig.PcAdd(CardText({.name = "A"}));
    rig.Sync();
    rig.folder.Put(std::string("profile/") + name, std::string(8192, 'x'));
    const SyncReport report = rig.Run({});
    EXPECT_EQ(report.result, SyncResult::Failed);
    EXPECT_THAT(report.message, HasSubstr(name));
  }
  // Lost altogether, either is made anew from what both sides hold.
  for (const char* name : {"engine.db", "sync.db"}) {
    Rig rig;
    rig.PcAdd(CardText({.name = "A"}));
    rig.PhonePut("b.vcf", CardText({.name = "B", .uid = "b", .extra = "X-PET:cat"}));
    rig.Sync();
    fs::remove(rig.folder.File(std::string("profile/") + name));
    EXPECT_EQ(rig.Sync().result, SyncResult::Ok) << name;
    EXPECT_EQ(rig.PhoneContents().size(), 2u) << name;
    EXPECT_EQ(rig.PcContents(), rig.PhoneContents()) << name;
    EXPECT_THAT(rig.PhoneFiles().at("b.vcf"), HasSubstr("X-PET:cat")) << name;
    ExpectQuiet(rig);
  }
}

TEST(EngineSyncTest, AFullPhoneFailsTheStoreAndAFreedOneGoesOn) {
  Rig rig;
  for (int i = 0; i < 3; ++i) rig.PcAdd(CardText({.name = "N" + std::to_string(i)}));
  rig.PhonePut("p.vcf", CardText({.name = "P"}));
  Profile profile(rig.profileFolder());
  test::FailingFiles files;
  files.Watch([](const test::FailingFiles::Call& call) {
    return call.verb == test::FailingFiles::Verb::Stage && call.path.ends_with(".vcf");
  });
  files.FailAt(0, ENOSPC, true);
  SyncReport report;
  {
    ScopedService<Files> use(files);
    report = RunSync(profile, rig.phoneFolder(), {}, {});
  }
  EXPECT_EQ(report.result, SyncResult::Failed);
  EXPECT_THAT(report.stores.at(0).message, HasSubstr("/phone/contacts: No space left"));
  EXPECT_EQ(report.stores[0].failed.size(), 3u);
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~0-0 phone +3~0-0 =1");
}

// What was written so far takes its places first: that may make room.
TEST(EngineSyncTest, ADiskThatIsFullInTheMiddleOfAGroupIsTriedOnceMore) {
  Rig rig;
  for (int i = 0; i < 3; ++i) rig.PcAdd(CardText({.name = "N" + std::to_string(i)}));
  // What a run that was cut off has left goes, and nobody else's file does.
  rig.PhonePut(".gone.vcf.tmp", "half");
  rig.PhonePut(".kept.tmp", "whole");
  test::FailingFiles files;
  files.Watch([](const test::FailingFiles::Call& call) {
    return call.verb == test::FailingFiles::Verb::Stage && call.path.ends_with(".vcf");
  });
  const ScopedService<Files> use(files);
  files.FailAt(1, ENOSPC);
  EXPECT_EQ(Counts(rig.Sync()), "pc +0~0-0 phone +3~0-0 =0");
  EXPECT_TRUE(files.hasFailed());
  EXPECT_FALSE(fs::exists(rig.collection() + "/.gone.vcf.tmp"));
  EXPECT_TRUE(fs::exists(rig.collection() + "/.kept.tmp"));
}

TEST(EngineSyncTest, StatusTellsWhatIsPendingAndChangesNothing) {
  Rig rig;
  ASSERT_EQ(rig.Status().size(), 1u);
  EXPECT_EQ(rig.Status()[0].phoneFolder, "");
  const auto ann = rig.PcAdd(CardText({.name = "Ann"}));
  rig.PhonePut("b.vcf", CardText({.name = "Bob", .uid = "b"}));
  rig.Sync();
  rig.PcEdit(ann, CardText({.name = "Ann", .note = "new"}));
  rig.PcAdd(CardText({.name = "New"}));
  rig.PhoneDelete("b.vcf");
  rig.PhonePut("c.vcf", CardText({.name = "C"}));
  const auto before = AllBytes(rig);
  const PendingChanges pending = rig.Status().at(0);
  EXPECT_EQ(AllBytes(rig), before);
  EXPECT_EQ(pending.lastSync.size(), 20u);
  EXPECT_TRUE(pending.phoneReachable);
  EXPECT_EQ(std::tuple(pending.pcItems, pending.pairedItems), std::tuple(3, 2));
  EXPECT_EQ(std::tuple(pending.pc.added, pending.pc.replaced, pending.pc.deleted),
            std::tuple(1, 1, 0));
  EXPECT_EQ(std::tuple(pending.phone.added, pending.phone.replaced, pending.phone.deleted),
            std::tuple(1, 0, 1));
  fs::rename(rig.phoneFolder(), rig.folder.File("away"));
  const PendingChanges away = rig.Status().at(0);
  EXPECT_FALSE(away.phoneReachable);
  EXPECT_EQ(away.phone.deleted, 0);
  EXPECT_EQ(away.pc.replaced, 1);
}

TEST(EngineSyncTest, AnotherPhonesExtrasAreNoChangeOfThePc) {
  Rig rig;
  const std::string other = rig.folder.File("other");
  const auto syncOther = [&] {
    rig.clock.Advance(10);
    Profile profile(rig.profileFolder());
    return RunSync(profile, other, {}, {}).stores.front();
  };
  rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "u1", .extra = "X-PET:cat"}));
  rig.folder.Put("other/contacts/a.vcf",
                 CardText({.name = "Ann", .uid = "u1", .extra = "X-PET:dog"}));
  ASSERT_EQ(rig.Sync().result, SyncResult::Ok);
  const std::string edited =
      CardText({.name = "Ann", .uid = "u1", .note = "new", .extra = "X-PET:cat"});
  rig.PhonePut("a.vcf", edited);
  ASSERT_EQ(syncOther().result, SyncResult::Ok);
  const StoreReport report = rig.Sync();
  EXPECT_EQ(report.pcWon + report.phoneWon, 0);
  EXPECT_EQ(report.pc.replaced, 1);
  EXPECT_EQ(rig.PhoneFiles()["a.vcf"], edited);
}

TEST(EngineSyncTest, AnUnreadableStrangerHoldsBackWhatItMayBe) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "u1"}));
  rig.PhonePut("b.vcf", CardText({.name = "Bob", .uid = "u2"}));
  ASSERT_EQ(rig.Sync().result, SyncResult::Ok);
  rig.PhoneDelete("a.vcf");
  rig.PhonePut("a-new.vcf", "BEGIN:VCARD\r\nN:An");
  StoreReport report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Partial);
  EXPECT_EQ(report.pc.deleted, 0);
  EXPECT_EQ(report.failed.size(), 2u);
  EXPECT_EQ(rig.PcItems().size(), 2u);
  rig.PhonePut("a-new.vcf", CardText({.name = "Ann", .uid = "u1"}));
  report = rig.Sync();
  EXPECT_EQ(report.result, SyncResult::Ok);
  EXPECT_EQ(rig.PcItems().size(), 2u);
}

// None of it may be opened (a pipe would wait for ever), deleted or taken for a deletion.
TEST(EngineSyncTest, WhatIsNoFileIsAnItemThatCannotBeRead) {
  Rig rig;
  const std::string kNames[] = {"Ann", "Bob", "Cleo", "Dora"};
  for (const std::string& name : kNames) {
    rig.PhonePut(name + ".vcf", CardText({.name = name, .uid = name}));
  }
  ASSERT_EQ(rig.Sync().result, SyncResult::Ok);
  for (const std::string& name : kNames) rig.PhoneRename(name + ".vcf", name + ".kept");
  const std::string folder = rig.collection() + "/";
  ASSERT_EQ(mkfifo((folder + "Ann.vcf").c_str(), 0600), 0);
  fs::create_symlink("/nowhere/at/all", folder + "Bob.vcf");
  fs::create_symlink("Cleo.vcf", folder + "Cleo.vcf");
  fs::create_directory(folder + "Dora.vcf");
  for (const auto mode : {DS_SYNCTYPE_TWO_NORMAL, DS_SYNCTYPE_SLOW, DS_SYNCTYPE_REFRESH_CLIENT}) {
    const StoreReport report = rig.Sync(mode);
    EXPECT_EQ(report.result, SyncResult::Partial) << report.message;
    EXPECT_EQ(Counts(report), kNothing);
    ASSERT_EQ(report.failed.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(report.failed[i].item, kNames[i] + ".vcf");
      EXPECT_EQ(report.failed[i].name, kNames[i]) << "the PC has it";
    }
    EXPECT_EQ(rig.PcItems().size(), 4u);
  }
  PhoneFolder phone(rig.collection(), ".vcf");
  for (const std::string& name : kNames) {
    EXPECT_EQ(phone.FreeName(FromUtf8(name)), name + "(2).vcf");
    fs::remove_all(folder + name + ".vcf");
    rig.PhoneRename(name + ".kept", name + ".vcf");
  }
  ExpectQuiet(rig);
}

TEST(EngineSyncTest, WhatIsLeftAloneIsToldAndAnotherFormRefuses) {
  struct Row {
    const char* store;
    const char* name;
    const char* left;  // by which key it is told; null where the sync is refused
  };
  const Row kRows[] = {
      {"contacts", "README.txt", "file"},      {"contacts", "old/ann.vcf", "folder"},
      {"contacts", ".ann.vcf", "hidden"},      {"contacts", "cards.vcard", nullptr},
      {"calendar", "trip.ics", nullptr},       {"calendar", "ann.vcf", "file"},
      {"tasks", "todo.ICS", nullptr},          {"notes", "list.txt", "file"},
      {"notes", "list.vnote", nullptr},        {"bookmarks", "Work/readme.html", "file"},
      {"bookmarks", "Work/News.url", nullptr},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.store) + " " + row.name);
    Rig rig(row.store);
    rig.PhonePut(row.name, "text of another program");
    // A temporary file of our own, and what every desktop leaves behind.
    rig.PhonePut(".ann.vcf.tmp", "half");
    rig.PhonePut(".directory", "[Desktop Entry]");
    const auto onPhone = [&] {
      std::map<std::string, std::string> all = AllBytes(rig);
      std::erase_if(all, [](const auto& file) { return !file.first.starts_with("phone/"); });
      return all;
    };
    const auto before = onPhone();
    const StoreReport report = rig.Sync();
    ASSERT_EQ(report.left.size(), 1u);
    EXPECT_TRUE(std::string(row.name).starts_with(report.left[0].name)) << report.left[0].name;
    if (row.left != nullptr) {
      EXPECT_EQ(report.result, SyncResult::Ok) << report.message;
      EXPECT_STREQ(LeftKey(report.left[0].kind), row.left);
      continue;
    }
    EXPECT_EQ(report.result, SyncResult::Refused);
    EXPECT_THAT(report.message, HasSubstr(row.name));
    EXPECT_THAT(report.message, HasSubstr("Nothing was changed. "));
    EXPECT_EQ(onPhone(), before);
  }
}

// "side name: reason" of what stays on one side.
std::vector<std::string> PartsOf(const StoreReport& report) {
  std::vector<std::string> lines;
  for (const PartNote& part : report.parts) {
    lines.push_back(part.side + " " + part.name + ": " + part.reason);
  }
  return lines;
}

TEST(EngineSyncTest, WhatStaysOnOneSideIsToldWhenTheItemComesAndNotAgain) {
  Rig rig;
  SyncOptions dry;
  dry.dryRun = true;
  const auto card = [](const char* note, const char* extra) {
    return CardText({.name = "Ann", .uid = "u1", .note = note, .extra = extra});
  };
  const auto isOfBirthday = ElementsAre(testing::StartsWith("pc Ann: its birthday is no whole"));
  rig.PhonePut("a.vcf", card("", "BDAY:--0412"));
  rig.PhonePut("b.vcf", CardText({.name = "Bob", .uid = "u2"}));
  EXPECT_THAT(PartsOf(rig.Sync(DS_SYNCTYPE_NONE, dry)), isOfBirthday);
  EXPECT_THAT(PartsOf(rig.Sync()), isOfBirthday);
  rig.PhonePut("a.vcf", card("new", "BDAY:--0412"));
  EXPECT_THAT(PartsOf(rig.Sync()), IsEmpty());
  rig.PhonePut("a.vcf", card("newer", "X-PET:cat"));
  EXPECT_THAT(PartsOf(rig.Sync()), IsEmpty()) << "few programs show that";
  rig.PhonePut("a.vcf", card("newest", "item1.bday;VALUE=text:--0413"));
  EXPECT_THAT(PartsOf(rig.Sync()), isOfBirthday);

  const auto syncOther = [&] {
    rig.clock.Advance(10);
    Profile profile(rig.profileFolder());
    return RunSync(profile, rig.folder.File("other"), {"contacts"}, {}).stores.front();
  };
  fs::create_directory(rig.folder.File("other"));
  const StoreReport first = syncOther();
  EXPECT_EQ(first.phone.added, 2);
  EXPECT_THAT(PartsOf(first), ElementsAre(HasSubstr("phone Ann: what it has beyond the PC's own")));
  EXPECT_THAT(first.parts.at(0).reason, HasSubstr(rig.phoneFolder()));
  EXPECT_TRUE(fs::exists(rig.folder.File("other/contacts/") + first.parts.at(0).item));
  rig.PcEdit(rig.PcIdOf(card("newest", "")), card("of the PC", ""));
  const StoreReport second = syncOther();
  EXPECT_EQ(second.phone.replaced, 1);
  EXPECT_THAT(PartsOf(second), IsEmpty());
}

TEST(EngineSyncTest, JunkDoesNotMakeAnEmptyPhoneLookFull) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "u1"}));
  ASSERT_EQ(rig.Sync().result, SyncResult::Ok);
  rig.PhoneDelete("a.vcf");
  rig.PhonePut("junk.vcf", "junk");
  EXPECT_EQ(rig.Sync().result, SyncResult::Refused);
}

TEST(EngineSyncTest, ARefreshFromAnEmptySideIsRefused) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "u1"}));
  EXPECT_EQ(rig.Sync(DS_SYNCTYPE_REFRESH_SERVER).result, SyncResult::Refused);
  EXPECT_EQ(rig.PhoneFiles().size(), 1u);
}

TEST(EngineSyncTest, AKnownPhoneAtAnothersPlaceKeepsItsRecord) {
  Rig rig;
  rig.PhonePut("a.vcf", CardText({.name = "Ann", .uid = "u1"}));
  ASSERT_EQ(rig.Sync().result, SyncResult::Ok);
  const auto swap = [&](const char* out, const char* in) {
    std::filesystem::rename(rig.phoneFolder(), rig.folder.File(out));
    std::filesystem::rename(rig.folder.File(in), rig.phoneFolder());
  };
  rig.folder.Put("second/contacts/b.vcf", CardText({.name = "Bob", .uid = "u2"}));
  swap("first", "second");
  ASSERT_EQ(rig.Sync().result, SyncResult::Refused);
  ASSERT_EQ(rig.Sync(DS_SYNCTYPE_NONE, {.newPhone = true}).result, SyncResult::Ok);
  rig.PcDelete(rig.PcIdOf(CardText({.name = "Ann"})));
  swap("second", "first");
  const StoreReport report = rig.Sync(DS_SYNCTYPE_NONE, {
                                                            .newPhone = true,
                                                        });
  EXPECT_EQ(report.mode, DS_SYNCTYPE_TWO_NORMAL);
  EXPECT_EQ(report.pc.added, 0) << "what was deleted on the PC does not come back";
}

}  // namespace
}  // namespace qv
