// Calendar and tasks on the command line: files of other programs, series, occurrences.
#include <gmock/gmock.h>

#include "host/agenda.h"
#include "host/run_program.h"
#include "items/vcalendar.h"
#include "kit/platform_fakes.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

using test::Lines;
using test::Outcome;
using test::ProgramFolder;
using testing::ElementsAre;
using testing::HasSubstr;

// As a groupware server exports it. The program runs in UTC.
constexpr char kExport[] =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Server//EN\r\n"
    "BEGIN:VTIMEZONE\r\nTZID:W. Europe\r\n"
    "BEGIN:STANDARD\r\nDTSTART:16010101T030000\r\nTZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\n"
    "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\r\nEND:STANDARD\r\n"
    "BEGIN:DAYLIGHT\r\nDTSTART:16010101T020000\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0200\r\n"
    "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n"
    // The exception stands before its series.
    "BEGIN:VEVENT\r\nUID:s\r\nRECURRENCE-ID;TZID=W. Europe:20260608T090000\r\n"
    "DTSTART;TZID=W. Europe:20260609T140000\r\nDTEND;TZID=W. Europe:20260609T143000\r\n"
    "SUMMARY:moved\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:s\r\nDTSTART;TZID=W. Europe:20260601T090000\r\n"
    "DTEND;TZID=W. Europe:20260601T093000\r\nRRULE:FREQ=WEEKLY;COUNT=5\r\n"
    "EXDATE;TZID=W. Europe:20260615T090000\r\nSUMMARY:standup\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:d\r\nDTSTART;VALUE=DATE:20260530\r\nDTEND;VALUE=DATE:20260602\r\n"
    "SUMMARY:fair\r\nEND:VEVENT\r\n"
    "BEGIN:VTODO\r\nUID:t\r\nDUE:20260610T120000Z\r\nSUMMARY:tax\r\nEND:VTODO\r\n"
    "BEGIN:VEVENT\r\nUID:h\r\nDTSTART:20260603T100000Z\r\nRRULE:FREQ=MONTHLY;BYDAY=MO,TU;"
    "BYSETPOS=-1\r\nSUMMARY:odd\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:x\r\nRECURRENCE-ID:20260601T000000Z\r\nSUMMARY:orphan\r\nEND:VEVENT\r\n"
    "END:VCALENDAR\r\n";

class CliCalendarTest : public testing::Test {
 protected:
  CliCalendarTest() {
    EXPECT_EQ(box.Run({"init"}).code, 0);
    added = box.Run({"add", "calendar", "-"}, kExport);
    ids = Lines(added.out);
  }
  // START|END|NAME
  std::vector<std::string> Occurrences(const std::string& from, const std::string& to,
                                       const char* store = "calendar") {
    const Outcome outcome = box.Run({"occurrences", store, "--from", from, "--to", to, "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::vector<std::string> all;
    const auto document = outcome.Json();
    for (const auto& entry : document["occurrences"]) {
      all.push_back(std::string(entry["start"]) + "|" + std::string(entry["end"]) + "|" +
                    std::string(entry["name"]));
    }
    return all;
  }

  ProgramFolder box;
  Outcome added;
  std::vector<std::string> ids;
};

TEST_F(CliCalendarTest, AddsWhatBelongsAndNamesTheRest) {
  EXPECT_EQ(added.code, 1);
  ASSERT_EQ(ids.size(), 4u);
  EXPECT_EQ(ids[3], ids[0] + "sub1");
  EXPECT_THAT(added.err, HasSubstr("standard input: left out 1 that belong in tasks"));
  EXPECT_THAT(added.err, HasSubstr("standard input:51: it is an exception of the series x"));
  EXPECT_THAT(added.err, HasSubstr("standard input:45: the PC side cannot hold its rule"));
  EXPECT_EQ(box.Run({"add", "tasks", "-"}, kExport).code, 1);
  EXPECT_THAT(Occurrences("2026-06-10", "2026-06-10", "tasks"),
              ElementsAre("2026-06-10T12:00|2026-06-10T12:00|tax"));
  const Outcome twice = box.Run(
      {"add", "calendar", "-"},
      "BEGIN:VEVENT\nUID:s\nDTSTART:20260601T090000Z\nRRULE:D1 #3\nEND:VEVENT\n"
      "BEGIN:VEVENT\nUID:a\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20260602T090000Z\nEND:VEVENT\n"
      "BEGIN:VEVENT\nUID:b\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20260602T090000Z\nEND:VEVENT\n");
  EXPECT_EQ(Lines(twice.out).size(), 2u);
  EXPECT_THAT(twice.err, HasSubstr("another exception of the same occurrence"));
}

TEST_F(CliCalendarTest, ShowsASpanAsACalendarDoes) {
  EXPECT_THAT(Occurrences("2026-06-01", "2026-06-30"),
              ElementsAre("2026-05-30|2026-06-01|fair", "2026-06-01T07:00|2026-06-01T07:30|standup",
                          "2026-06-03T10:00|2026-06-03T10:00|odd",
                          "2026-06-09T12:00|2026-06-09T12:30|moved",
                          "2026-06-22T07:00|2026-06-22T07:30|standup",
                          "2026-06-29T07:00|2026-06-29T07:30|standup"));
  EXPECT_THAT(Occurrences("2026-06-08", "2026-06-08"), ElementsAre());
  EXPECT_THAT(Occurrences("2026-06-02", "2026-06-02"), ElementsAre()) << "the fair has ended";
  const Outcome text = box.Run({"occurrences", "calendar", "--from", "20260603", "--to=20260603"});
  EXPECT_THAT(text.out, HasSubstr("2026-06-03 10:00  2026-06-03 10:00  odd   " + ids[2]));
  EXPECT_THAT(text.err, HasSubstr("the rule of " + ids[2] + " is none that is followed here"));
}

TEST_F(CliCalendarTest, EditsExceptionsLikeItems) {
  const std::string moved = ids[3];
  const Outcome shown = box.Run({"show", "calendar", moved});
  EXPECT_THAT(shown.out, HasSubstr("X-RECUR-ENTRY:2;20260608T070000Z"));
  const Outcome listed = box.Run({"list", "calendar", "--json"});
  EXPECT_EQ(listed.Json()[1]["id"], moved);
  EXPECT_THAT(box.Run({"status", "--json"}).out, HasSubstr(R"("calendar","pc_items":4)"));

  EXPECT_EQ(box.Run({"replace", "calendar", moved, "-"},
                    "BEGIN:VEVENT\nSUMMARY:again\nDTSTART:20260607T080000Z\nEND:VEVENT\n")
                .code,
            0);
  EXPECT_THAT(Occurrences("2026-06-07", "2026-06-09"),
              ElementsAre("2026-06-07T08:00|2026-06-07T08:00|again"));
  EXPECT_EQ(box.Run({"delete", "calendar", moved}).code, 0);
  EXPECT_THAT(Occurrences("2026-06-07", "2026-06-09"), ElementsAre()) << "an occurrence less";
  EXPECT_EQ(box.Run({"delete", "calendar", moved}).code, 1);
  EXPECT_EQ(box.Run({"show", "calendar", moved}).code, 1);

  const Outcome misfit = box.Run({"replace", "calendar", ids[0], "-"}, shown.out);
  EXPECT_EQ(misfit.code, 0) << "a text without the link to a series may stand for any item";
  const Outcome task =
      box.Run({"replace", "calendar", ids[0], "-"}, "BEGIN:VTODO\nSUMMARY:x\nEND:VTODO\n");
  EXPECT_EQ(task.code, 2);
  EXPECT_THAT(task.err, HasSubstr("it belongs in tasks"));
  const Outcome exception = box.Run({"replace", "calendar", ids[0], "-"},
                                    "BEGIN:VEVENT\nUID:e\nX-PARENT-UID:s\nSUMMARY:x\nEND:VEVENT\n");
  EXPECT_EQ(exception.code, 2);
}

TEST_F(CliCalendarTest, SaysWhatIsLostAndWhatIsTakenForSomethingElse) {
  const Outcome odd = box.Run({"add", "calendar", "-"},
                              "BEGIN:VEVENT\nSUMMARY:a\nDTSTART:20260230T100000Z\nEND:VEVENT\n"
                              "BEGIN:VEVENT\nDTSTART;TZID=Mars/Olympus:20260601T100000\n"
                              "END:VEVENT\n");
  EXPECT_EQ(odd.code, 0);
  EXPECT_THAT(odd.err, HasSubstr("input:1: DTSTART is no date (\"20260230T100000Z\")"));
  EXPECT_THAT(odd.err, HasSubstr("the time zone Mars/Olympus is not known here"));
  box.Run({"add", "calendar", "-"},
          "BEGIN:VEVENT\nUID:s\nDTSTART:20260601T090000Z\nRRULE:D1 #9\nEND:VEVENT\n"
          "BEGIN:VEVENT\nUID:a\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20260602T090000Z\nEND:VEVENT\n"
          "BEGIN:VEVENT\nUID:b\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20260603T090000Z\nEND:VEVENT\n");
  const auto list = box.Run({"list", "calendar", "--json"}).Json();
  const std::string last = list[list.size() - 1]["id"];
  const Outcome taken = box.Run({"replace", "calendar", last, "-"},
                                "BEGIN:VEVENT\nX-RECUR-ENTRY:2;20260602T090000Z\nEND:VEVENT\n");
  EXPECT_EQ(taken.code, 1);
  EXPECT_THAT(taken.err, HasSubstr("another exception of the same occurrence"));
}

TEST_F(CliCalendarTest, RefusesSpansThatAreNone) {
  struct Bad {
    std::vector<std::string> arguments;
    const char* message;
  };
  const Bad kBad[] = {
      {{"--from", "soon"}, "--from takes a date as 2026-05-31, not \"soon\""},
      {{"--to", "2026-02-30"}, "--to takes a date"},
      {{"--from", "2026-06-01T10:00"}, "--from takes a date"},
      {{"--from", "2026-06-02", "--to", "2026-06-01"}, "before it begins"},
  };
  for (const Bad& bad : kBad) {
    std::vector<std::string> arguments = {"occurrences", "calendar"};
    arguments.insert(arguments.end(), bad.arguments.begin(), bad.arguments.end());
    const Outcome outcome = box.Run(arguments);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr(bad.message));
  }
  EXPECT_THAT(box.Run({"occurrences", "notes"}).err, HasSubstr("have no dates"));
  box.Run({"add", "calendar", "-"},
          "BEGIN:VEVENT\nDTSTART:00990101T000000Z\nSUMMARY:none\n"
          "END:VEVENT\nBEGIN:VEVENT\nSUMMARY:daily\n"
          "DTSTART:19000101T000000Z\nRRULE:D1 #0\nEND:VEVENT\n");
  const Outcome endless =
      box.Run({"occurrences", "calendar", "--from", "1900-01-01", "--to", "9998-12-31"});
  EXPECT_EQ(endless.code, 2);
  EXPECT_THAT(endless.err, HasSubstr("more than 100000 occurrences"));
}

// A changed and a deleted day of an all-day series, and a task that is due on a day, in the text's
// own zone and far from it.
TEST(AgendaTest, ShowsDaysAsTheyAreInAnyZone) {
  const auto component = [](const std::string& name, const std::string& lines) {
    return *ParseVCalendar("BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:" + name + "\n" + lines +
                           "END:" + name + "\nEND:VCALENDAR\n");
  };
  for (const char* rule : {"CET-1CEST,M3.5.0,M10.5.0/3", "HST10", "NZST-12NZDT,M9.5.0,M4.1.0/3"}) {
    test::FixedZone zone(rule);
    ScopedService<TimeZone> useZone(zone);
    Agenda agenda(45'443, 45'450, 100);  // from 31 May 2024 on
    agenda.Add(u"A", component("VEVENT",
                               "UID:s\nSUMMARY:day\nDTSTART;VALUE=DATE:20240601\nRRULE:FREQ=DAILY;"
                               "COUNT=4\nEXDATE;VALUE=DATE:20240602\n"));
    agenda.AddException(u"Asub1", component("VEVENT",
                                            "UID:s\nSUMMARY:moved\nRECURRENCE-ID;VALUE=DATE:"
                                            "20240603\nDTSTART;VALUE=DATE:20240605\n"));
    agenda.Add(u"B", component("VTODO", "SUMMARY:due\nDUE;VALUE=DATE:20240601\n"));
    std::string shown;
    for (const AgendaEntry& entry : agenda.Finish()) {
      shown += ToUtf8(entry.name) + " " + std::to_string(std::lround(entry.start) - 45'443) + "-" +
               std::to_string(std::lround(entry.end) - 45'443) + "; ";
    }
    EXPECT_EQ(shown, "day 1-2; due 1-2; day 4-5; moved 5-6; ") << rule;
  }
}

}  // namespace
}  // namespace qv
