#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

#include "host/cli/sync_report.h"
#include "host/run_program.h"

namespace qv {
namespace {

using test::Card;
using test::Lines;
using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;
namespace fs = std::filesystem;

TEST(SyncReportTest, JsonHasThePinnedFormAndSaysMoreOnlyWhenThereIsMore) {
  SyncReport report;
  report.stores.emplace_back();
  StoreReport& store = report.stores.front();
  store.store = "contacts";
  store.mode = DS_SYNCTYPE_SLOW;
  EXPECT_EQ(SyncReportJson(report, false).dump(),
            R"({"result":"ok","stores":[{"store":"contacts","mode":"slow",)"
            R"("pc":{"added":0,"replaced":0,"deleted":0},)"
            R"("phone":{"added":0,"replaced":0,"deleted":0},"matched":0,)"
            R"("conflicts":{"pc_won":0,"phone_won":0,"same":0},"failed":[]}]})");

  store.pc = {1, 2, 3};
  store.phone = {4, 5, 6};
  store.matched = 7;
  store.pcWon = 8;
  store.phoneWon = 9;
  store.same = 10;
  store.failed.push_back({"phone", "x.vcf", "unreadable"});
  store.conflicts.push_back({"y.vcf", "pc", "conflicts/y", "Yves"});
  store.parts.push_back({"pc", "p.vcf", "no field", "Pia"});
  store.left.push_back({"old/", LeftKind::Folder});
  store.steps.push_back("phone delete z.vcf (Zoe)");
  store.actions.push_back({"phone", "delete", "z.vcf", "Zoe"});
  store.actions.push_back({"", "pair", "q.vcf"});
  store.result = report.result = SyncResult::Partial;
  EXPECT_EQ(SyncReportJson(report, true).dump(),
            R"({"result":"partial","stores":[{"store":"contacts","mode":"slow",)"
            R"("pc":{"added":1,"replaced":2,"deleted":3},)"
            R"("phone":{"added":4,"replaced":5,"deleted":6},"matched":7,)"
            R"("conflicts":{"pc_won":8,"phone_won":9,"same":10},)"
            R"("failed":[{"side":"phone","item":"x.vcf","reason":"unreadable"}],)"
            R"("kept":[{"item":"y.vcf","winner":"pc","file":"conflicts/y","name":"Yves"}],)"
            R"("in_part":[{"side":"pc","item":"p.vcf","reason":"no field","name":"Pia"}],)"
            R"("left_alone":[{"item":"old/","what":"folder"}],)"
            R"-("steps":["phone delete z.vcf (Zoe)"],)-"
            R"("actions":[{"side":"phone","action":"delete","item":"z.vcf","name":"Zoe"},)"
            R"({"action":"pair","item":"q.vcf"}]}],"dry_run":true})");
  for (int i = 1; i < 12; ++i) store.left.push_back({"f" + std::to_string(i), LeftKind::File});
  const std::string text = SyncReportText(report, true);
  EXPECT_THAT(text, HasSubstr("    y.vcf (Yves): the PC won; the other text lies in conflicts/y\n"
                              "  failed        1\n    phone x.vcf: unreadable\n"
                              "  in part       1\n    pc p.vcf (Pia): no field\n"
                              "  left alone    12\n    old/ (a folder)\n"
                              "    f1 (another kind of file)\n"));
  EXPECT_THAT(text, HasSubstr("\n    ... and 2 more (--json names all)\n"
                              "  phone delete z.vcf (Zoe)\n"));
}

TEST(SyncReportTest, ResultsHaveTheirExitCodesAndWords) {
  const std::tuple<SyncResult, int, const char*> kResults[] = {
      {SyncResult::Ok, 0, "ok"},           {SyncResult::Partial, 1, "partial"},
      {SyncResult::Refused, 3, "refused"}, {SyncResult::Stopped, 4, "stopped"},
      {SyncResult::Failed, 5, "failed"},
  };
  for (const auto& [result, code, word] : kResults) {
    EXPECT_EQ(static_cast<int>(ExitOf(result)), code) << word;
    EXPECT_STREQ(ExitWord(ExitOf(result)), word);
  }
}

class CliSyncTest : public testing::Test {
 protected:
  CliSyncTest() {
    EXPECT_EQ(box.Run({"init"}).code, 0);
    fs::create_directories(box.files().File("phone/contacts"));
  }
  Outcome Sync(std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"sync", "-d", box.files().File("phone"), "--json"});
    return box.Run(more);
  }
  size_t PhoneCount() {
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator(box.files().File("phone/contacts"))) {
      count += entry.path().extension() == ".vcf" ? 1 : 0;
    }
    return count;
  }
  size_t PcCount() { return box.Run({"list", "contacts", "--json"}).Json().size(); }

  ProgramFolder box;
};

TEST_F(CliSyncTest, BringsBothSidesTogetherAndTellsIt) {
  box.files().Put("phone/contacts/eva.vcf", Card("Meier;Eva", "UID:eva\r\n"));
  const std::string anna = Lines(box.Run({"add", "contacts", "-"}, Card("Bauer;Anna")).out).front();

  const Outcome dry = Sync({"--dry-run"});
  EXPECT_EQ(dry.code, 0) << dry.err;
  EXPECT_EQ(dry.Json()["stores"][0]["steps"].size(), 2u);
  EXPECT_EQ(PhoneCount() + PcCount(), 2u);

  const Outcome first = Sync();
  EXPECT_EQ(first.code, 0) << first.err;
  EXPECT_EQ(first.err, "");
  const auto store = first.Json()["stores"][0];
  EXPECT_EQ(store["mode"], "slow");
  EXPECT_EQ(store["pc"]["added"], 1);
  EXPECT_EQ(store["phone"]["added"], 1);
  EXPECT_EQ(PhoneCount() + PcCount(), 4u);

  // A change made with this program is one that the next sync finds.
  ASSERT_EQ(box.Run({"replace", "contacts", anna, "-"}, Card("Bauer;Anne")).code, 0);
  const auto pending = box.Run({"status", "--json"}).Json()["stores"][0];
  ASSERT_EQ(pending["phones"].size(), 1u);
  EXPECT_EQ(pending["phones"][0]["pc"]["replaced"], 1);
  EXPECT_EQ(pending["phones"][0]["folder"], box.files().File("phone"));
  EXPECT_EQ(pending["phones"][0]["reachable"], true);
  const auto second = Sync().Json()["stores"][0];
  EXPECT_EQ(second["mode"], "two-way");
  EXPECT_EQ(second["phone"]["replaced"], 1);
  // Once more in the form for people: nothing left to do.
  const Outcome third = box.Run({"sync", "-d", box.files().File("phone")});
  EXPECT_EQ(third.code, 0);
  EXPECT_THAT(third.out, HasSubstr("contacts: two-way, ok\n  on the PC     added 0, replaced 0"));
}

TEST_F(CliSyncTest, NamesWhatFailedAndGoesOn) {
  box.files().Put("phone/contacts/good.vcf", Card("Meier;Eva"));
  box.files().Put("phone/contacts/bad\x1B[2J\xFF.vcf", "rubbish");
  const Outcome json = Sync();
  EXPECT_EQ(json.code, 1) << json.err;
  EXPECT_EQ(json.Json()["result"], "partial");
  EXPECT_EQ(json.Json()["stores"][0]["failed"][0]["side"], "phone");
  EXPECT_EQ(PcCount(), 1u);
  const Outcome text = box.Run({"sync", "-d", box.files().File("phone")});
  EXPECT_THAT(text.out, HasSubstr("bad?[2J?.vcf"));
  // What turns the writing direction, or feigns another line, is harmless in a name too.
  box.files().Put("phone/contacts/evil.vcf", Card("Evil;Bob",
                                                  "FN;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:"
                                                  "Bob=0A=E2=80=AE=D8=9Cfdp\r\n"));
  const Outcome dry = box.Run({"sync", "-d", box.files().File("phone"), "--dry-run"});
  EXPECT_THAT(dry.out, HasSubstr("  pc add evil.vcf (Bob ??fdp)\n"));
  EXPECT_EQ(Sync({"--dry-run"}).Json()["stores"][0]["actions"][0]["name"], "Bob \u202E\u061Cfdp");
}

TEST_F(CliSyncTest, MassAdditionsAndOtherFormsEndWithThree) {
  box.files().Put("phone/contacts/eva.vcf", Card("Meier;Eva"));
  ASSERT_EQ(Sync().code, 0);
  for (int i = 0; i < 101; ++i) {
    const std::string name = "N" + std::to_string(1000 + i);
    box.files().Put("phone/contacts/" + name + ".vcf", Card(name));
  }
  const Outcome mass = Sync();
  EXPECT_EQ(mass.code, 3);
  EXPECT_THAT(mass.err, HasSubstr("would add 101 contacts to the 1 on the PC (N1000, N1001, N1002 "
                                  "and 98 more)"));
  EXPECT_EQ(PcCount(), 1u);
  EXPECT_EQ(Sync({"--allow-mass-add"}).code, 0);
  EXPECT_EQ(PcCount(), 102u);
  const std::string event =
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\n"
      "DTSTART:20260101T100000Z\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  box.files().Put("phone/calendar/trip.ics", event);
  const Outcome form = Sync();
  EXPECT_EQ(form.code, 3);
  EXPECT_THAT(form.err, HasSubstr("(trip.ics); appointments would be written beside it as .vcs"));
  // Nor does an import put its own beside them.
  const Outcome import =
      box.Run({"import", "-d", box.files().File("phone"), box.files().Put("day.vcs", event)});
  EXPECT_EQ(import.code, 3) << import.err;
  const Outcome exported = box.Run(
      {"export", "-d", box.files().File("phone"), "--to", box.files().File("out"), "calendar"});
  EXPECT_THAT(exported.out, HasSubstr("left alone: trip.ics\n"));
  // One of the phone's folders is not the phone.
  const Outcome below = box.Run({"sync", "-d", box.files().File("phone/contacts")});
  EXPECT_EQ(below.code, 3);
  EXPECT_THAT(below.err, HasSubstr("it looks like one of a phone's folders. Nothing was changed."));
  EXPECT_FALSE(fs::exists(box.files().File("phone/contacts/contacts")));
}

TEST_F(CliSyncTest, ASecondSyncOfTheProfileIsRefused) {
  const int fd = open((box.profile + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  ASSERT_EQ(box.Run({"stop"}).code, 0);
  const Outcome outcome = Sync();
  EXPECT_EQ(outcome.code, 2);
  EXPECT_THAT(outcome.err, HasSubstr("another sync"));
  // It did not take back the stop that was meant for the running one.
  EXPECT_THAT(box.files().Get("profile/registry.ini").value(), HasSubstr("SyncStop=1"));
  close(fd);
  EXPECT_EQ(Sync().code, 0);
  EXPECT_THAT(box.files().Get("profile/registry.ini").value(), HasSubstr("SyncStop=0"));
}

// True once the program holds the profile's lock file open, false when it ended before.
bool WaitUntilRunning(pid_t child, const std::string& lock) {
  siginfo_t ended{};
  while (waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         ended.si_pid == 0) {
    std::error_code error;
    const fs::path files = "/proc/" + std::to_string(child) + "/fd";
    for (const auto& entry : fs::directory_iterator(files, error)) {
      if (fs::read_symlink(entry, error) == lock) return true;
    }
    usleep(500);
  }
  return false;
}

TEST_F(CliSyncTest, StopAndSignalsEndARunningSyncWhichCanBeTakenUpAgain) {
  constexpr int kAttempts = 5;  // the machine may be faster than the stop, but not always
  size_t cards = 0;
  const auto isStoppedBy = [&](auto stop) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      for (int i = 0; i < 300; ++i) {
        const std::string name = "Name" + std::to_string(cards++);
        box.files().Put("phone/contacts/" + name + ".vcf", Card(name));
      }
      const pid_t child =
          box.Start({"-p", box.profile, "sync", "-d", box.files().File("phone"), "--json"},
                    box.files().Put("stdin", ""), box.files().File("stdout"));
      if (WaitUntilRunning(child, box.profile + "/lock")) stop(child);
      const Outcome outcome = box.Finish(child);
      if (outcome.code == 4) return outcome.Json()["result"] == "stopped";
      EXPECT_EQ(outcome.code, 0) << outcome.err;
    }
    return false;
  };
  for (const int signal : {SIGTERM, SIGINT}) {
    EXPECT_TRUE(isStoppedBy([signal](pid_t child) { kill(child, signal); })) << signal;
  }
  EXPECT_TRUE(isStoppedBy([&](pid_t) {
    ProgramFolder other;
    EXPECT_EQ(other.RunBare({"-p", box.profile, "stop"}).code, 0);
  }));
  EXPECT_EQ(Sync().code, 0);
  EXPECT_EQ(PcCount(), cards);
  EXPECT_EQ(PhoneCount(), cards);
}

}  // namespace
}  // namespace qv
