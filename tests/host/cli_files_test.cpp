// Files to a phone and back on the command line.
#include <gmock/gmock.h>

#include "host/run_program.h"

namespace qv {
namespace {

using test::Card;
using test::Outcome;
using test::ProgramFolder;
using testing::HasSubstr;
using testing::Not;

class CliFilesTest : public testing::Test {
 protected:
  CliFilesTest() {
    EXPECT_EQ(box.Run({"init"}).code, 0);
    std::filesystem::create_directory(Path("phone"));
  }
  std::string Path(const std::string& name) const { return box.files().File(name); }
  std::string Put(const std::string& name, const std::string& bytes) const {
    return box.files().Put(name, bytes);
  }
  Outcome Import(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"import", "-d", Path("phone")});
    return box.Run(arguments);
  }
  Outcome Export(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"export", "-d", Path("phone"), "--to", Path("out")});
    return box.Run(arguments);
  }
  // The names of the files in a folder of the phone or of an export.
  std::vector<std::string> In(const std::string& folder) const {
    std::vector<std::string> names;
    for (const std::string& name : box.files().Names()) {
      if (name.starts_with(folder + "/")) names.push_back(name.substr(folder.size() + 1));
    }
    return names;
  }
  // All that lies in it, one text behind the other.
  std::string TextsIn(const std::string& folder) const {
    std::string all;
    for (const std::string& name : In(folder)) all += *box.files().Get(folder + "/" + name);
    return all;
  }

  ProgramFolder box;
};

TEST_F(CliFilesTest, ASpreadsheetGoesToThePhoneAndComesBack) {
  const std::string people =
      Put("people.CSV",
          "Nachname;Vorname;Geburtstag;Mobiltelefon;E-Mail-Adresse;Notizen;Lieblingsfarbe\r\n"
          "M\xFCller;Anna;24.12.1980;+49 170 1;anna@example.org;=1+1;rot\r\n"
          "Baker;Ben;;+44 20 2;;\"two\r\nlines\";\r\n");
  const Outcome dry = Import({people, "--dry-run"});
  EXPECT_EQ(dry.code, 0);
  EXPECT_THAT(dry.out, HasSubstr("contacts in windows-1252, separated by semicolon, rows: 2"));
  EXPECT_THAT(dry.out, HasSubstr("not taken: \"Lieblingsfarbe\" (no field is known"));
  EXPECT_THAT(dry.out, HasSubstr("2 would go to the phone"));
  EXPECT_TRUE(In("phone").empty()) << "not even its identifier";

  const Outcome done = Import({people, "--json"});
  EXPECT_EQ(done.code, 0);
  const auto file = done.Json()["files"][0];
  EXPECT_EQ(file["added"], 2);
  EXPECT_EQ(file["sheet"]["fields"][2]["field"], "BirthDay");
  EXPECT_EQ(file["sheet"]["fields"][2]["kept"], 1);
  EXPECT_EQ(
      Import({people}).out.find("0 went to the phone, 2 were there already") == std::string::npos,
      false);
  EXPECT_THAT(TextsIn("phone/contacts"), HasSubstr("BDAY:19801224"));
  EXPECT_EQ(box.Run({"sync", "-d", Path("phone"), "contacts"}).code, 0);
  EXPECT_THAT(box.Run({"list", "contacts"}).out, HasSubstr("Baker"));

  const Outcome out = Export({});
  EXPECT_EQ(out.code, 0);
  EXPECT_THAT(out.out, HasSubstr("contacts: 2 in 1 file in " + Path("out")));
  EXPECT_THAT(out.out, HasSubstr("takes for formulas: 1"));
  ASSERT_EQ(In("out").size(), 1u);
  EXPECT_THAT(TextsIn("out"), HasSubstr("\"M\xFCller\""));
  const Outcome again = Import({Path("out/" + In("out")[0])});
  EXPECT_THAT(again.out, HasSubstr("0 went to the phone, 2 were there already"));
}

TEST_F(CliFilesTest, AMappingIsKeptForTheNextFile) {
  const std::string people = Put("a.csv", "wer,was\nAnna,1\n");
  EXPECT_EQ(Import({people}).code, 2);
  EXPECT_EQ(Import({people, "--store", "contacts", "--map", "wer=GivenName", "--map", "was=Pager",
                    "--save-map", Path("map.xml")})
                .code,
            0);
  const std::string next = Put("b.csv", "who\twhat\nBen\t2\n");
  EXPECT_EQ(Import({next, "--map-file", Path("map.xml")}).code, 0);
  EXPECT_THAT(TextsIn("phone/contacts"), HasSubstr("TEL;PAGER:2"));
  EXPECT_EQ(Import({people, next, "--map-file", Path("map.xml"), "--save-map", Path("x")}).code, 2);
  EXPECT_EQ(Import({next, "--map-file", Path("map.xml"), "--save-map", next}).code, 2);
  EXPECT_EQ(*box.files().Get("b.csv"), "who\twhat\nBen\t2\n");
  const std::string kept = *box.files().Get("map.xml");
  const std::vector<std::string> third = {Put("c.csv", "who,what\nCid,3\n"),
                                          "--map-file",
                                          Path("map.xml"),
                                          "--map",
                                          "what=",
                                          "--save-map",
                                          Path("map.xml")};
  const Outcome refused = Import(third);
  EXPECT_EQ(refused.code, 2);
  EXPECT_THAT(refused.err, HasSubstr("--replace-map"));
  EXPECT_THAT(TextsIn("phone/contacts"), Not(HasSubstr("Cid")))
      << "refused before anything is done";
  EXPECT_EQ(*box.files().Get("map.xml"), kept);
  std::vector<std::string> replacing = third;
  replacing.push_back("--replace-map");
  EXPECT_EQ(Import(replacing).code, 0);
  EXPECT_NE(*box.files().Get("map.xml"), kept);
  EXPECT_EQ(Import({next, "--replace-map"}).code, 2);
  EXPECT_EQ(Import({Put("a.vcf", Card("A")), "--map", "bogus"}).code, 2);
  EXPECT_EQ(Import({next, "--map-file", Path("map.xml"), "--save-map", Path("none/x")}).code, 5);
  box.Run({"import", "-d", Path("gone"), next, "--map-file", Path("map.xml"), "--save-map",
           Path("kept.xml")});
  EXPECT_FALSE(std::filesystem::exists(Path("kept.xml"))) << "the phone was refused";
}

TEST_F(CliFilesTest, CardsOfOtherProgramsComeWhole) {
  const std::string cards =
      Put("a;b.vcf", Card("A;Anna", "item1.TEL:1\r\nitem1.X-ABLabel:Boat\r\n") +
                         "begin:vcard\nVERSION:3.0\nN:B;Ben;;;\nNOTE:one\\, two\nend:vcard\n" +
                         Card("C", "AGENT:\r\nBEGIN:VCARD\r\nN:D\r\nEND:VCARD\r\n") +
                         "BEGIN:VCARD\r\nN:cut");
  const Outcome outcome = Import({cards});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_THAT(outcome.out, HasSubstr("3 went to the phone"));
  EXPECT_THAT(outcome.out, HasSubstr("the text that begins here has no end"));
  const std::string texts = TextsIn("phone/contacts");
  EXPECT_THAT(texts, HasSubstr("item1.X-ABLabel:Boat"));
  EXPECT_THAT(texts, HasSubstr("NOTE:one, two"));

  EXPECT_EQ(Export({"contacts", "--format", "vcf"}).code, 0);
  EXPECT_THAT(In("out"), testing::ElementsAre("AnnaA.vcf", "BenB.vcf", "C.vcf"));
  EXPECT_THAT(TextsIn("out"), HasSubstr("BEGIN:VCARD\r\nX-QVVERSION:2.0\r\n"));
  EXPECT_THAT(Import({Path("out/AnnaA.vcf"), Path("out/BenB.vcf")}).out,
              HasSubstr("0 went to the phone, 1 were there already"));
}

// A card within a card, and texts that look like begin, end or mark of one: what is exported is the
// phone's card again, and so is a file with it among others.
TEST_F(CliFilesTest, WhatLooksLikeAnEnvelopeLastsThroughFiles) {
  const std::string agent = "BEGIN:VCARD\\nVERSION:3.0\\nN:Deputy\\, the\\nEND:VCARD\\n";
  const std::pair<const char*, std::string> cards[] = {
      {"2.1", "AGENT:\r\n" + Card("Agent", "NOTE:x\r\n") + "TEL:1\r\n"},
      {"2.1", "AGENT:\r\n" + Card("Agent", "AGENT:\r\n" + Card("His")) + "TEL:1\r\n"},
      {"3.0", "AGENT:" + agent + "\r\nTEL:1\r\n"},
      {"2.1", "NOTE:a card ends with END:VCARD you know\r\n"},
      {"2.1", "X-A;HOME:begins with BEGIN:VCARD\r\nX-B:CHARSET=utf-8\r\n"},
      {"4.0", "NOTE:X-QVVERSION:2.0\r\nX-A:X-QVVERSION:2.0\r\nTEL:1\r\n"},
      {"3.0", "NOTE:BEGIN:VCARD\\nEND:VCARD\r\n"},
  };
  for (const auto& [version, lines] : cards) {
    SCOPED_TRACE(lines);
    std::string card = Card("Boss", lines);
    card.replace(card.find("2.1"), 3, version);
    for (const char* folder : {"phone/contacts", "out"}) std::filesystem::remove_all(Path(folder));
    Put("phone/contacts/a.vcf", card);
    EXPECT_EQ(Export({"contacts", "--format", "vcf"}).code, 0);
    const Outcome same = Import({Path("out/Boss.vcf")});
    EXPECT_EQ(same.code, 0) << same.out << same.err;
    EXPECT_THAT(same.out, HasSubstr("0 went to the phone, 1 were there already"));
    std::filesystem::remove_all(Path("phone/contacts"));
    const Outcome among = Import({Put("more.vcf", Card("First") + card + Card("Last"))});
    EXPECT_EQ(among.code, 0) << among.out << among.err;
    EXPECT_EQ(In("phone/contacts").size(), 3u);
    const std::string first = TextsIn("phone/contacts");
    EXPECT_THAT(Import({Path("out/Boss.vcf")}).out, HasSubstr("1 were there already")) << first;
  }
}

TEST_F(CliFilesTest, ManyFilesAreHeldAgainstOneLookAtThePhone) {
  Put("phone/contacts/two.vcf", Card("A") + Card("B"));
  std::vector<std::string> files;
  for (const char* name : {"A", "B", "C", "C"}) {
    files.push_back(Put("in" + std::to_string(files.size()) + ".vcf", Card(name)));
  }
  const Outcome outcome = Import(files);
  EXPECT_THAT(outcome.out, HasSubstr("in1.vcf: 0 went to the phone, 1 were there already\n"));
  EXPECT_THAT(outcome.out, HasSubstr("in2.vcf: 1 went to the phone"));
  EXPECT_THAT(outcome.out, HasSubstr("0 were there already, 1 stand in the files twice"));
  const Outcome out = Export({"contacts", "--format", "vcf"});
  EXPECT_EQ(out.code, 1);
  EXPECT_THAT(out.out, HasSubstr("two.vcf: it holds more than one item"));
}

TEST_F(CliFilesTest, SeriesThatSayTheSameStayApart) {
  std::string calendar = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
  for (const std::string uid : {"s", "t"}) {
    calendar += "BEGIN:VEVENT\r\nUID:" + uid + "\r\nDTSTART:20260601T090000Z\r\nSUMMARY:" + uid +
                "\r\nRRULE:FREQ=WEEKLY;COUNT=5\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nUID:" + uid +
                "\r\nRECURRENCE-ID:20260608T090000Z\r\nDTSTART:20260608T100000Z\r\n"
                "SUMMARY:off\r\nEND:VEVENT\r\n";
  }
  const std::string file = Put("two.ics", calendar + "END:VCALENDAR\r\n");
  EXPECT_THAT(Import({file}).out, HasSubstr("4 went to the phone, 0 were there already\n"));
  EXPECT_THAT(Import({file}).out, HasSubstr("0 went to the phone, 4 were there already\n"));
}

TEST_F(CliFilesTest, ACalendarComesWithItsZonesAndSeries) {
  const std::string calendar =
      Put("team.ics",
          "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n"
          "BEGIN:VEVENT\r\nUID:s\r\nRECURRENCE-ID;TZID=Europe/Berlin:20260608T090000\r\n"
          "DTSTART;TZID=Europe/Berlin:20260609T140000\r\nSUMMARY:moved\r\nEND:VEVENT\r\n"
          "BEGIN:VEVENT\r\nUID:s\r\nDTSTART;TZID=Europe/Berlin:20260601T090000\r\n"
          "RRULE:FREQ=WEEKLY;COUNT=5\r\nSUMMARY:standup\r\nEND:VEVENT\r\n"
          "BEGIN:VTODO\r\nUID:t\r\nSUMMARY:tax\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
  const Outcome outcome = Import({calendar});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_THAT(outcome.out, HasSubstr("left out 1 tasks"));
  EXPECT_THAT(outcome.out, HasSubstr("2 went to the phone"));
  EXPECT_EQ(box.Run({"sync", "-d", Path("phone")}).code, 0);
  EXPECT_THAT(
      box.Run({"occurrences", "calendar", "--from", "2026-06-07", "--to", "2026-06-16"}).out,
      testing::AllOf(HasSubstr("2026-06-09 12:00"), Not(HasSubstr("2026-06-08")),
                     HasSubstr("2026-06-15 07:00")));
  EXPECT_THAT(Import({calendar}).out, HasSubstr("0 went to the phone, 2 were there already"));

  EXPECT_EQ(Export({"--format", "vcs"}).code, 0);
  EXPECT_THAT(TextsIn("out"), HasSubstr("SUMMARY:standup"));
  EXPECT_THAT(Import({Path("out/calendar.vcs")}).out,
              HasSubstr("0 went to the phone, 2 were there already"));
  const std::string sheet = Put("cal.csv",
                                "Subject,Start Date,Start Time,End Date,End Time,Class\n"
                                "Fair,1/2/2026,9:00 AM,1/2/2026,10:30 AM,Private\n");
  EXPECT_EQ(Import({sheet}).code, 0);
  EXPECT_THAT(TextsIn("phone/calendar"), HasSubstr("DTSTART:20260102T090000Z"));
}

TEST_F(CliFilesTest, MemosComeAndGo) {
  EXPECT_EQ(Import({Put("memo.csv", "Memo\r\n\"Milk,\r\nbread\"\r\nTea\r\n")}).code, 0);
  EXPECT_EQ(In("phone/notes").size(), 2u);
  EXPECT_EQ(Export({"notes"}).code, 0);
  EXPECT_THAT(TextsIn("out"), HasSubstr("\"Milk,\r\nbread\"\r\n"));
}

TEST_F(CliFilesTest, AnExportCountsWhatIsInItsFiles) {
  const auto note = [](const std::string& body) {
    return "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:" + body + "\r\nEND:VNOTE\r\n";
  };
  Put("phone/contacts/title.vcf", Card("", "TITLE:Boss\r\n"));
  Put("phone/notes/empty.vnt", note(""));
  const Outcome none = Export({"contacts", "notes"});
  EXPECT_EQ(none.code, 1);
  EXPECT_THAT(none.out, HasSubstr("contacts: nothing to write\n  title.vcf: it has nothing that a "
                                  "CSV file holds"));
  EXPECT_THAT(none.out, HasSubstr("notes: nothing to write\n  empty.vnt: it has no text"));
  EXPECT_TRUE(In("out").empty());
  Put("phone/contacts/a.vcf", Card("A", "TITLE:Boss\r\n"));
  Put("phone/contacts/quotes.vcf", Card("B", "NOTE:\"\"\"\r\n"));
  Put("phone/notes/full.vnt", note("x"));
  const auto stores = Export({"contacts", "notes", "--json"}).Json()["stores"];
  const int64_t items[] = {2, 1};
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(stores[i]["items"], items[i]);
    EXPECT_EQ(stores[i]["failed"].size(), 1u);
    const std::string file = *box.files().Get("out/" + std::string(stores[i]["files"][0]));
    EXPECT_EQ(std::ranges::count(file, '\n'), items[i] + 1) << "a row each below the headings";
  }
  const std::string deep = Path("out") + "/" + std::string(200, 'd') + "/" + std::string(60, 'e');
  Put("phone/calendar/e.vcs",
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nDTSTART:20260101T090000Z\r\n"
      "END:VEVENT\r\nEND:VCALENDAR\r\n");
  for (const char* format : {"vcf", "vcs"}) {
    const Outcome far = box.Run({"export", "-d", Path("phone"), "--to", deep, "--format", format});
    EXPECT_EQ(far.code, 5) << far.out;
    EXPECT_THAT(far.out, HasSubstr("path is too long"));
  }
}

TEST_F(CliFilesTest, WhatCannotBeUsedIsNamedAndTheRestGoesOn) {
  const std::string good = Put("good.csv", "Name\nAnna\n");
  for (const std::string& bad : {Path("none.csv"), Path("phone"), Put("empty.vcf", ""),
                                 Put("a.txt", "x"), Put("none.vcs", "BEGIN:VCALENDAR\r\n")}) {
    const Outcome alone = Import({bad});
    EXPECT_EQ(alone.code, 2) << bad;
    EXPECT_THAT(alone.err, HasSubstr(bad));
    EXPECT_EQ(Import({bad, good}).code, 1) << bad;
  }
  EXPECT_EQ(In("phone/contacts").size(), 1u);
  Put("phone/contacts/evil.vcf", Card("..;/etc\\"));
  Put("phone/contacts/tab.vcf", Card("a\tb"));
  Put("phone/contacts/broken.vcf", "no card");
  const Outcome out = Export({"contacts", "--format", "vcf"});
  EXPECT_EQ(out.code, 1);
  EXPECT_THAT(out.out, HasSubstr("broken.vcf: it holds no item"));
  EXPECT_THAT(out.out, HasSubstr("tab.vcf (a b): no file could be written"));
  EXPECT_THAT(In("out"), testing::ElementsAre("+etc+...vcf", "noname.vcf"));
  EXPECT_EQ(Export({"tasks"}).code, 2);
  EXPECT_EQ(box.Run({"export", "-d", Path("phone"), "--to", Path("phone/x")}).code, 2);
  EXPECT_EQ(box.Run({"export", "-d", Path("none"), "--to", Path("out")}).code, 3);
  std::filesystem::create_directory_symlink(Path("phone"), Path("link"));
  EXPECT_EQ(box.Run({"export", "-d", Path("phone"), "--to", Path("link/new")}).code, 2);
  EXPECT_FALSE(std::filesystem::exists(Path("phone/new")));
  EXPECT_EQ(box.Run({"export", "-d", Path("phone"), "--to", good, "contacts"}).code, 2);
}

}  // namespace
}  // namespace qv
