// Files to a phone and back: what a failing disk leaves, and that the next run heals it.
#include <gmock/gmock.h>

#include "host/cli/import_files.h"
#include "host/engine/sync_database.h"
#include "host/engine/transfer.h"
#include "host/engine_rig.h"
#include "support/vobject/item_files.h"

namespace qv {
namespace {

using test::Content;
using test::FailingFiles;
using test::Rig;
using testing::HasSubstr;

constexpr int kCards = 5;

class TransferTest : public testing::Test {
 protected:
  TransferTest() {
    std::string cards;
    for (int i = 0; i < kCards; ++i) {
      // The last two are one contact.
      cards += test::CardText({.name = "N" + std::to_string(std::min(i, kCards - 2)), .uid = "u"});
    }
    rig.folder.Put("in/cards.vcf", cards);
    std::filesystem::create_directory(rig.folder.File("out"));
    rig.Keep();
  }

  FileJob Job(bool isImport, FileFormat format) const {
    FileJob job;
    job.row = FindFileStore(format, "contacts");
    job.isImport = isImport;
    job.folder = rig.folder.ModulePath(isImport ? u"in" : u"out");
    job.fileNames = u"cards.vcf";
    job.places.resize(isImport ? kCards : 0, "card");
    return job;
  }
  TransferRun Import(
      const std::function<void()>& prepare = [] {}, bool dryRun = false) {
    Profile profile(rig.profileFolder());
    prepare();
    return RunImport(profile, rig.phoneFolder(), {Job(true, FileFormat::VCard)},
                     {.dryRun = dryRun, .newPhone = false});
  }
  TransferRun Export(
      FileFormat format, const std::function<void()>& prepare = [] {}) {
    Profile profile(rig.profileFolder());
    prepare();
    return RunExport(profile, rig.phoneFolder(), {Job(false, format)}, {});
  }
  std::vector<std::string> Exported() const {
    std::vector<std::string> names = rig.folder.Names();
    std::erase_if(names, [](const std::string& name) { return !name.starts_with("out/"); });
    return names;
  }

  Rig rig;
};

TEST_F(TransferTest, AnImportBringsEachContactOnceHoweverOftenItRuns) {
  EXPECT_EQ(Import([] {}, true).jobs.at(0).done, kCards - 1);
  EXPECT_TRUE(rig.PhoneFiles().empty());
  const TransferReport first = Import().jobs.at(0);
  EXPECT_EQ(first.done, kCards - 1);
  EXPECT_EQ(first.alreadyThere, 0);
  EXPECT_EQ(first.repeated, 1);
  const auto files = rig.PhoneFiles();
  EXPECT_EQ(files.size(), kCards - 1u);
  EXPECT_EQ(Import().jobs.at(0).alreadyThere, kCards);
  EXPECT_EQ(rig.PhoneFiles(), files);
  EXPECT_EQ(rig.Sync().pc.added, kCards - 1);
  EXPECT_EQ(Import().jobs.at(0).alreadyThere, kCards);
  rig.PhonePut("broken.vcf", "no card");
  EXPECT_EQ(Import().jobs.at(0).alreadyThere, kCards) << "what holds nothing stops nothing";
  rig.folder.Put("in/cards.vcf", test::CardText({.name = "Other"}));
  const TransferReport shrunk = Import().jobs.at(0);
  EXPECT_EQ(shrunk.result, SyncResult::Failed);
  EXPECT_THAT(shrunk.message, HasSubstr("the file changed"));
  EXPECT_EQ(rig.PhoneFiles().size(), files.size() + 1);
}

TEST_F(TransferTest, AFailedFileOperationAnywhereIsHealedByTheNextImport) {
  FailingFiles files;
  const ScopedService<Files> useFiles(files);
  files.Watch([&](const FailingFiles::Call& call) {
    return call.path.starts_with(rig.phoneFolder()) || call.path.starts_with(rig.folder.File("in"));
  });
  size_t failures = 0;
  for (size_t n = 0;; ++n) {
    rig.Restore();
    TransferRun run;
    try {
      run = Import([&] { files.FailAt(n, n % 2 == 0 ? ENOSPC : EIO, n % 3 == 0); });
    } catch (const std::exception& error) {
      run.result = SyncResult::Failed;
      run.message = error.what();
    }
    const bool failed = files.hasFailed();
    files.Reset();
    if (!failed) break;
    ++failures;
    const TransferRun healed = Import();
    EXPECT_EQ(healed.result, SyncResult::Ok) << n;
    EXPECT_EQ(rig.PhoneContents().size(), kCards - 1u) << n;
    for (const std::string& name : rig.folder.Names()) {
      EXPECT_FALSE(name.starts_with("phone/contacts/.") && name.ends_with(".tmp")) << n << name;
    }
  }
  EXPECT_GT(failures, 10u);
}

TEST_F(TransferTest, AFullDiskIsNamedAndLeavesWholeFilesAlone) {
  Import();
  FailingFiles files;
  const ScopedService<Files> useFiles(files);
  files.Watch(
      [](const FailingFiles::Call& call) { return call.verb == FailingFiles::Verb::CreateNew; });
  const TransferRun cards = Export(FileFormat::VCard, [&] { files.FailAt(2, ENOSPC, true); });
  EXPECT_EQ(cards.result, SyncResult::Failed);
  EXPECT_EQ(cards.jobs.at(0).done, 2);
  EXPECT_THAT(cards.jobs.at(0).message, HasSubstr("No space left"));
  EXPECT_EQ(Exported().size(), 2u);
  EXPECT_EQ(cards.jobs.at(0).files.size(), 2u);
  const TransferRun sheet = Export(FileFormat::Csv, [&] { files.FailAt(0, ENOSPC, true); });
  EXPECT_EQ(sheet.result, SyncResult::Failed);
  EXPECT_THAT(sheet.jobs.at(0).message, HasSubstr("No space left"));
  EXPECT_EQ(Exported().size(), 2u);
  files.Reset();
  const TransferRun whole = Export(FileFormat::VCard);
  EXPECT_EQ(whole.result, SyncResult::Ok);
  EXPECT_EQ(Exported().size(), 2u + kCards - 1u) << "nothing is replaced";
}

TEST_F(TransferTest, AFileOfThePhoneThatCannotBeReadHoldsAnImportBack) {
  Import();
  FailingFiles files;
  const ScopedService<Files> useFiles(files);
  files.Watch([&](const FailingFiles::Call& call) {
    return call.verb == FailingFiles::Verb::Read && call.path.starts_with(rig.collection());
  });
  const TransferRun run = Import([&] { files.FailAt(1, EACCES); });
  EXPECT_EQ(run.result, SyncResult::Failed);
  EXPECT_THAT(run.jobs.at(0).message, HasSubstr("Permission denied"));
  EXPECT_EQ(rig.PhoneFiles().size(), kCards - 1u) << "it may be one of those to come";
}

TEST_F(TransferTest, AStopLeavesNoFileOfHalf) {
  Import();
  for (const FileFormat format : {FileFormat::Csv, FileFormat::VCard}) {
    FailingFiles files;
    const ScopedService<Files> useFiles(files);
    Profile profile(rig.profileFolder());
    int reads = 0;
    files.Watch([&](const FailingFiles::Call& call) {
      const bool isCard =
          call.verb == FailingFiles::Verb::Read && call.path.starts_with(rig.collection());
      if (isCard && ++reads == 2) profile.SetStop(true);
      return false;
    });
    const TransferRun run = RunExport(profile, rig.phoneFolder(), {Job(false, format)}, {});
    EXPECT_EQ(run.result, SyncResult::Stopped);
    const size_t made = format == FileFormat::Csv ? 0 : 2;
    EXPECT_EQ(run.jobs.at(0).files.size(), made);
    EXPECT_EQ(Exported().size(), made);
  }
}

TEST_F(TransferTest, AStopEndsAnImportAndTheNextGoesOn) {
  FailingFiles files;
  const ScopedService<Files> useFiles(files);
  {
    Profile profile(rig.profileFolder());
    int writes = 0;
    files.Watch([&](const FailingFiles::Call& call) {
      const bool isCard =
          call.verb == FailingFiles::Verb::Stage && call.path.starts_with(rig.collection());
      if (isCard && ++writes == 2) profile.SetStop(true);
      return false;
    });
    const TransferRun run =
        RunImport(profile, rig.phoneFolder(), {Job(true, FileFormat::VCard)}, {});
    EXPECT_EQ(run.result, SyncResult::Stopped);
    EXPECT_EQ(rig.PhoneFiles().size(), 2u);
    files.Watch([](const FailingFiles::Call&) { return false; });
  }
  EXPECT_EQ(Import().result, SyncResult::Ok) << "the next run does not stop";
  EXPECT_EQ(rig.PhoneFiles().size(), kCards - 1u);
}

// The told rule makes no cell the hour before it ends daylight time, and the clocks have ended it.
TEST(TransferMomentsTest, AnHourThatNoCellCanSayGoesToThePhoneAndBack) {
  const test::ScopedEnvironment zone("TZ", "Europe/Berlin");
  Rig rig("calendar");
  const ScopedService<TimeZone> berlin(TimeZone::Default());
  const std::string in = rig.folder.Put("in.csv",
                                        "Subject,Start Date,End Date,Alarm Date\n"
                                        "x,2026-10-25 03:30,2026-10-25 04:00,2026-10-25 03:15\n");
  Profile profile(rig.profileFolder());
  const SyncDatabase database;
  const GroupTable groups(database.session(), QuoteRule::AsTheyStand);
  ScratchFolder scratch;
  const ImportFile file = PrepareImport(in, ImportArguments(), scratch, groups, 1);
  EXPECT_EQ(file.job.moments.size(), 1u);
  for (const FieldAccount& field : file.sheet->account.fields) EXPECT_EQ(field.kept, 1);
  EXPECT_EQ(RunImport(profile, rig.phoneFolder(), {file.job}, {}).jobs.at(0).done, 1);
  const auto files = rig.PhoneFiles();
  ASSERT_EQ(files.size(), 1u);
  for (const char* line :
       {"DTSTART:20261025T023000Z", "DTEND:20261025T030000Z", "AALARM:20261025T021500Z"}) {
    EXPECT_THAT(files.begin()->second, HasSubstr(line));
  }
  std::filesystem::create_directory(rig.folder.File("out"));
  FileJob job;
  job.row = FindFileStore(FileFormat::Csv, "calendar");
  job.isImport = false;
  job.folder = rig.folder.ModulePath(u"out");
  const CellClock clock;
  const auto mend = [&](size_t, IItemCommon& item) {
    return MendForCells(clock, *CalendarOf(&item));
  };
  const TransferReport out =
      RunExport(profile, rig.phoneFolder(), {job}, {.nothing = {}, .mend = mend, .look = {}})
          .jobs.at(0);
  EXPECT_EQ(out.done, 1);
  EXPECT_TRUE(out.altered.empty());
  const std::string cells = *rig.folder.Get("out/" + out.files.at(0));
  for (const char* cell : {"2026-10-25 03:30", "2026-10-25 04:00", "2026-10-25 03:15"}) {
    EXPECT_THAT(cells, HasSubstr(cell));
  }
}

}  // namespace
}  // namespace qv
