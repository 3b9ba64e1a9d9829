#include <gmock/gmock.h>

#include "host/run_program.h"

namespace qv {
namespace {

using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;
namespace fs = std::filesystem;

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(CliProfileTest, InitMakesAProfileThatWorksAtOnceAndIsItsOwnersAlone) {
  ProgramFolder box;
  const Outcome made = box.Run({"init", "--json"});
  EXPECT_EQ(made.code, 0) << made.err;
  EXPECT_EQ(made.out, R"({"result":"ok","profile":")" + box.profile + "\"}\n");
  for (const char* name : {"qvsync.conf", "sync.db", "registry.ini", "conflicts", "pc"}) {
    EXPECT_TRUE(fs::exists(box.profile + "/" + name)) << name;
  }
  EXPECT_EQ(fs::status(box.profile).permissions(), fs::perms::owner_all);
  const Outcome listed = box.Run({"list", "contacts", "--json"});
  EXPECT_EQ(listed.code, 0) << listed.err;
  EXPECT_EQ(listed.out, "[]\n");
  EXPECT_EQ(listed.err, "");
}

TEST(CliProfileTest, InitLeavesAProfileAndOtherPeoplesFoldersAlone) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const auto before = box.files().Get("profile/qvsync.conf");
  const Outcome again = box.Run({"init"});
  EXPECT_EQ(again.code, 2);
  EXPECT_THAT(again.err, HasSubstr("already"));
  EXPECT_EQ(box.files().Get("profile/qvsync.conf"), before);

  box.files().Put("other/letter.txt", "dear");
  const Outcome foreign = box.RunBare({"-p", box.files().File("other"), "init", "--json"});
  EXPECT_EQ(foreign.code, 2);
  EXPECT_EQ(foreign.Json()["result"], "failed");
  EXPECT_THAT(foreign.Json()["message"], HasSubstr("letter.txt"));
  EXPECT_EQ(box.files().Get("other/letter.txt"), "dear");
  EXPECT_FALSE(fs::exists(box.files().File("other/pc")));
}

TEST(CliProfileTest, InitCompletesWhatAnInterruptedOneLeft) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  ASSERT_EQ(box.Run({"add", "contacts", "-"}, test::Card("Bauer;Anna")).code, 0);
  const auto conf = box.files().Get("profile/qvsync.conf");
  fs::remove(box.profile + "/qvsync.conf");
  box.files().Put("profile/.qvsync.conf.tmp", "half");

  const Outcome without = box.Run({"list", "contacts"});
  EXPECT_EQ(without.code, 2);
  EXPECT_THAT(without.err, HasSubstr("run `qvsync init`"));
  EXPECT_EQ(box.Run({"init"}).code, 0);
  EXPECT_EQ(box.files().Get("profile/qvsync.conf"), conf);
  EXPECT_EQ(box.Run({"list", "contacts", "--json"}).Json().size(), 1u);
}

TEST(CliProfileTest, DefaultProfileLiesBelowTheUsersDataFolder) {
  ProgramFolder box;
  EXPECT_EQ(box.RunBare({"init"}).code, 0);
  EXPECT_TRUE(box.files().Get("data/qvsync/qvsync.conf").has_value());
}

TEST(CliProfileTest, StatusWorksBeforeAnyPhone) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  ASSERT_EQ(box.Run({"add", "contacts", "-"}, test::Card("Bauer;Anna")).code, 0);
  EXPECT_EQ(box.Run({"--json", "status"}).out,
            R"({"result":"ok","profile":")" + box.profile +
                R"(","stores":[{"store":"contacts","pc_items":1,"phones":[]},)" +
                R"({"store":"calendar","pc_items":0,"phones":[]},)" +
                R"({"store":"tasks","pc_items":0,"phones":[]},)" +
                R"({"store":"notes","pc_items":0,"phones":[]},)" +
                R"({"store":"bookmarks","pc_items":0,"phones":[]}]})" + "\n");
  EXPECT_THAT(box.Run({"status"}).out, HasSubstr("contacts: 1 on the PC\n  no phone yet\n"));
}

struct BadConfiguration {
  const char* from;
  const char* to;
  const char* message;  // what the message must hold
};

TEST(CliProfileTest, ConfigurationFaultsAreToldByFileLineAndKey) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::string good = box.files().Get("profile/qvsync.conf").value();
  const BadConfiguration kBad[] = {
      {"DataStore.Contact = true\n", "", "the key DataStore.Contact is missing"},
      {"DataStore.Contact.Sync = true\n", "", "the key DataStore.Contact.Sync is missing"},
      {"DataStore.Contact.CLSID = {", "#{", "the key DataStore.Contact.CLSID is missing"},
      {"DataStore.Contact.CLSID = {", "DataStore.Contact.CLSID = ", "no class identifier"},
      {"DataStore.Contact = true",
       "DataStore.IEVCard = true\nDataStore.IEVCard.Sync = true\nDataStore.IEVCard.CLSID = "
       "{D1F9F29A-943A-4F2E-9A8E-B425AA403A63}\nDataStore.IEVCard.SourceURI = v\n"
       "DataStore.Contact = true",
       "import and export open it by themselves"},
      {"{E5621430", "{E5621431", "DataStore.Contact.CLSID holds \"{E5621431"},
      {"DataStore.Contact.EntryId =", "#", "the key DataStore.Contact.EntryId is missing"},
      {"DataStore.Contact.EntryId = ", "DataStore.Contact.EntryId = F",
       "which is no folder of the PC side"},
      {"DataStore.Contact.SourceURI = contacts",
       "DataStore.Contact.SourceURI =", "the key DataStore.Contact.SourceURI is empty"},
      {"MimeType = text/x-vCard", "MimeType = text/vcard", "it must be text/x-vCard"},
      {"DataStore.Contact = true", "DataStore.Contacts = true",
       "the key DataStore.Contacts names no store"},
      {"DataStore.Contact = true", "Datastore.contact = true", "is spelled DataStore.Contact"},
      {"DataStore.Contact = true", "DataStore.Contact true", "qvsync.conf:13: the line has no"},
      {"DataStore.Contact.Sync = true", "DataStore.Contact = true", "stands in line 13 already"},
      {"windows-1252", "windows-nonsense", "the key Platform.AnsiCodePage"},
  };
  for (const BadConfiguration& bad : kBad) {
    box.files().Put("profile/qvsync.conf", Replaced(good, bad.from, bad.to));
    const Outcome outcome = box.Run({"list", "contacts", "--json"});
    EXPECT_EQ(outcome.code, 2) << bad.message;
    EXPECT_THAT(outcome.err, HasSubstr("qvsync.conf")) << bad.message;
    EXPECT_THAT(outcome.err, HasSubstr(bad.message));
    EXPECT_THAT(outcome.Json().value("message", ""), HasSubstr(bad.message));
  }
}

TEST(CliProfileTest, WarningsDoNotStopACommandAndStayOffStandardOutput) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  const std::string good = box.files().Get("profile/qvsync.conf").value();
  std::string text = good;
  for (const char* store : {"Contact", "Schedule", "Task", "Note", "Bookmark"}) {
    const std::string key = std::string("DataStore.") + store + ".Sync = ";
    text = Replaced(text, key + "true", key + "True");
  }
  box.files().Put("profile/qvsync.conf",
                  text + "My.Key = 1\nDataStore.Contact.SyncType = two\n" +
                      "DataStore.Task.FilterRecordData = STATUS&NE;COMPLETED\n" +
                      "DataStore.Schedule.FilterRecordData = SINCE&EQ;20260101T000000Z\n");
  const Outcome outcome = box.Run({"list", "contacts", "--json"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "[]\n");
  for (const char* key : {"Contact.Sync holds \"True\"", "My.Key", "SyncType holds \"two\"",
                          "only DataStore.Schedule has a filter", "is no window of two moments"}) {
    EXPECT_THAT(outcome.err, HasSubstr(key));
  }
  const Outcome sync = box.Run({"sync", "-d", box.files().File("phone")});
  EXPECT_EQ(sync.code, 2);
  EXPECT_THAT(sync.err, HasSubstr("no store is switched on"));
}

TEST(CliProfileTest, FilesThatAreNoConfigurationAreToldWithTheirReason) {
  ProgramFolder box;
  EXPECT_THAT(box.Run({"list", "contacts"}).err, HasSubstr("run `qvsync init`"));
  ASSERT_EQ(box.Run({"init"}).code, 0);
  box.files().Put("profile/qvsync.conf", std::string(2 << 20, 'x'));
  EXPECT_THAT(box.Run({"list", "contacts"}).err, HasSubstr("too large"));
  fs::remove(box.profile + "/qvsync.conf");
  fs::create_directory(box.profile + "/qvsync.conf");
  const Outcome folder = box.Run({"list", "contacts"});
  EXPECT_EQ(folder.code, 2);
  EXPECT_THAT(folder.err, HasSubstr("is no file"));
}

TEST(CliProfileTest, ADamagedPcSideFailsWithItsFileNamed) {
  ProgramFolder box;
  ASSERT_EQ(box.Run({"init"}).code, 0);
  for (const auto& entry : fs::directory_iterator(box.profile + "/pc")) {
    box.files().Put("profile/pc/" + entry.path().filename().string(), std::string(5000, 'x'));
  }
  const Outcome outcome = box.Run({"list", "contacts", "--json"});
  EXPECT_EQ(outcome.code, 5) << outcome.err;
  EXPECT_EQ(outcome.Json()["result"], "failed");
  EXPECT_THAT(outcome.err, HasSubstr(box.profile + "/pc"));
}

}  // namespace
}  // namespace qv
