// Texts in, texts out: what is read of each dialect shows in the one dialect that is written.
#include "items/vcalendar.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "items/moment_text.h"
#include "kit/platform_fakes.h"
#include "platform/system/named_zones.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {
namespace {

std::string Replaced(std::string text, char from, std::string_view to) {
  std::string out;
  for (const char c : text) c == from ? out.append(to) : out.append(1, c);
  return out;
}

std::string Component(const char* name, const std::string& lines, const char* version,
                      const std::string& before = {}) {
  return std::string("BEGIN:VCALENDAR\nVERSION:") + version + "\n" + before + "BEGIN:" + name +
         "\n" + lines + "\nEND:" + name + "\nEND:VCALENDAR\n";
}

// The lines between the envelopes, "\n" between them.
std::string Written(const Calendar& item) {
  const std::string text = WriteVCalendar(item);
  const std::string begin = item.isTask ? "BEGIN:VTODO\r\n" : "BEGIN:VEVENT\r\n";
  const size_t from = text.find(begin) + begin.size();
  const size_t to = text.find(item.isTask ? "END:VTODO" : "END:VEVENT");
  std::string lines = Replaced(text.substr(from, to - from), '\r', "");
  if (lines.ends_with('\n')) lines.pop_back();
  return lines;
}

std::string Through(const std::string& text) {
  const std::optional<Calendar> item = ParseVCalendar(text);
  if (!item) return "unreadable";
  const std::string lines = Written(*item);
  const std::optional<Calendar> again = ParseVCalendar(WriteVCalendar(*item));
  if (!again) return "unreadable when written: " + lines;
  EXPECT_EQ(Written(*again), lines) << "written, read and written";
  EXPECT_EQ(static_cast<const CalendarContent&>(*again), static_cast<const CalendarContent&>(*item))
      << lines;
  return lines;
}

struct Row {
  const char* in;
  const char* out;
};

class VCalendar : public testing::Test {
 protected:
  template <size_t n>
  void Expect(const Row (&rows)[n], const char* component, const char* version) {
    for (const Row& row : rows) {
      const std::string in = Component(component, row.in, version);
      EXPECT_EQ(Through(in), row.out) << row.in;
      EXPECT_EQ(Through(Replaced(in, '\n', "\r\n")), row.out) << row.in;
    }
  }
  test::FixedZone zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  ScopedService<TimeZone> useZone{zone};
};

TEST_F(VCalendar, ReadsTheOldDialect) {
  const Row kRows[] = {
      {"SUMMARY:a\nDESCRIPTION;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:=C3=A4=0D=0Ab=\n c",
       "SUMMARY:a\nDESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A4=0D=0Ab c"},
      {"SUMMARY:x\\;y\\,z\\n", "SUMMARY:x;y\\\\,z\\\\n"},
      {"X-UID:5\nDTSTART:20240701T090000\nDTEND:20240701T100000Z",
       "UID:5\nDTSTART:20240701T070000Z\nDTEND:20240701T100000Z"},
      {"UID:a\nX-UID:b", "UID:a\nX-UID:b"},
      {"LAST-MODIFIED:20240102T030405Z\nLAST-MODIFIED:20250102T030405Z",
       "LAST-MODIFIED:20240102T030405Z\nLAST-MODIFIED:20250102T030405Z"},
      {"CLASS:private\nPRIORITY:3", "PRIORITY:3\nCLASS:PRIVATE"},
      {"CLASS:PUBLIC\nPRIORITY:0", ""},
      {"PRIORITY:0\nCLASS:PUBLIC\nPRIORITY:2\nCLASS:PRIVATE\nPRIORITY:4",
       "PRIORITY:2\nCLASS:PRIVATE\nPRIORITY:4"},
      {"CLASS:SECRET\nPRIORITY:high\nSTATUS:TENTATIVE",
       "CLASS:SECRET\nPRIORITY:high\nSTATUS:TENTATIVE"},
      {"DTSTART:20240102T100000Z\nAALARM:20240102T094500Z",
       "DTSTART:20240102T100000Z\nAALARM:20240102T094500Z"},
      {"DTSTART:20240102T100000Z\nAALARM;TYPE=X-EPOCSOUND:20240102T094500Z;;3;sound",
       "DTSTART:20240102T100000Z\nAALARM;TYPE=X-EPOCSOUND:20240102T094500Z;;3;sound"},
      {"AALARM:20240102T094500Z", "AALARM:20240102T094500Z"},
      {"DTSTART:00000101T000000Z\nDTEND:99991231T235959Z\nDUE:20240101T000000Z",
       "DTSTART:00000101T000000Z\nDTEND:99991231T235959Z\nDUE:20240101T000000Z"},
      {"DTSTART:20240102T100000Z\nDTEND:20240102T090000Z",
       "DTSTART:20240102T100000Z\nDTEND:20240102T090000Z"},
      {"X-EPOCAGENDAENTRYTYPE:APPOINTMENT\nCATEGORIES;X-A=b:MEETING",
       "X-EPOCAGENDAENTRYTYPE:APPOINTMENT\nCATEGORIES;X-A=b:MEETING"},
  };
  Expect(kRows, "VEVENT", "1.0");
}

TEST_F(VCalendar, KnowsAllDayInEveryForm) {
  const char* day = "DTSTART:20240331T000000\nDTEND:20240401T000000\nX-ALLDAY:1";
  const Row kOld[] = {
      {"X-ALLDAY:1\nDTSTART:20240331T000000\nDTEND:20240331T235959", day},
      {"X-EVENTTYPE:ALLDAY\nDTSTART:20240331T000000\nDTEND:20240401T000000", day},
      {"DTSTART:20240331\nDTEND:20240401", day},
      {"DTSTART:20240331", day},
      {"X-ALLDAY:0\nDTSTART:20240331T000000\nDTEND:20240331T235959",
       "DTSTART:20240330T230000Z\nDTEND:20240331T215959Z"},
      // The last second is one of the local day.
      {"X-ALLDAY:1\nDTSTART:20240330T230000Z\nDTEND:20240331T215959Z", day},
      {"X-ALLDAY:1\nDTSTART:20240331T000000", day},
      {"X-EVENTTYPE:REMINDER\nDTSTART:20240331T000000Z",
       "DTSTART:20240331T000000Z\nX-EVENTTYPE:REMINDER"},
  };
  Expect(kOld, "VEVENT", "1.0");
  // Kinds of events that lie on days; the phone's word for it stays while they do.
  for (const char* type : {"ANNIVERSARY", "EVENT", "APPOINTMENT", "REMINDER"}) {
    const std::string line = std::string("X-EPOCAGENDAENTRYTYPE:") + type;
    for (const std::string& lines : {"DTSTART:20240331T000000\nDTEND:20240331T000000\n" + line,
                                     line + "\nDTSTART:20240330T230000Z"}) {
      Calendar item = *ParseVCalendar(Component("VEVENT", lines, "1.0"));
      EXPECT_EQ(item.allDay, line.ends_with(":ANNIVERSARY") || line.ends_with(":EVENT")) << lines;
      if (item.allDay) {
        EXPECT_EQ(Written(item), std::string(day) + "\n" + line);
        EXPECT_EQ(Written(*ParseVCalendar(WriteVCalendar(item))), Written(item));
      }
      const bool stays = !item.allDay;
      item.allDay = false;
      EXPECT_EQ(Written(item).find(line) != std::string::npos, stays);
    }
  }
  const Row kModern[] = {
      {"DTSTART;VALUE=DATE:20240331\nDTEND;VALUE=DATE:20240401", day},
      {"DTSTART;VALUE=DATE:20240331\nDURATION:P1D", day},
      {"DTSTART;VALUE=DATE:20240331\nDTEND;VALUE=DATE:20240402",
       "DTSTART:20240331T000000\nDTEND:20240402T000000\nX-ALLDAY:1"},
  };
  Expect(kModern, "VEVENT", "2.0");
}

TEST_F(VCalendar, ReadsTheModernDialect) {
  const Row kRows[] = {
      {"SUMMARY:a\\, b\\; c\\\\\\nd",
       "SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a, b; "
       "c\\\\=0D=0Ad"},
      {"SUMMARY:fol\n ded", "SUMMARY:folded"},
      {"DTSTART:20240102T100000Z\nDURATION:PT1H30M",
       "DTSTART:20240102T100000Z\nDTEND:20240102T113000Z"},
      {"DTSTART:20240102T100000Z\nDURATION:P1W",
       "DTSTART:20240102T100000Z\nDTEND:20240109T100000Z"},
      {"DTSTART:20240102T100000Z\nDURATION:soon", "DTSTART:20240102T100000Z\nDURATION:soon"},
      {"DTSTART;TZID=America/New_York:20240701T090000", "DTSTART:20240701T130000Z"},
      {"DTSTART;TZID=/mozilla.org/20050126_1/Australia/Sydney:20240101T090000",
       "DTSTART:20231231T220000Z"},
      {"DTSTART;TZID=Nowhere:20240701T090000", "DTSTART:20240701T070000Z"},
      {"DTSTART:20240102T100000Z\nBEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:-PT10M\nEND:VALARM",
       "DTSTART:20240102T100000Z\nAALARM:20240102T095000Z"},
      {"DTSTART:20240102T100000Z\nBEGIN:VALARM\nTRIGGER;VALUE=DATE-TIME:20240101T100000Z\nEND:"
       "VALARM",
       "DTSTART:20240102T100000Z\nAALARM:20240101T100000Z"},
      {"DTSTART:20240102T100000Z\nBEGIN:VALARM\nACTION:EMAIL\nATTENDEE:mailto:a@b\nTRIGGER:-PT10M\n"
       "END:VALARM",
       "DTSTART:20240102T100000Z\nBEGIN:VALARM\nACTION:EMAIL\nATTENDEE:mailto:a@b\nTRIGGER:-PT10M\n"
       "END:VALARM"},
      {"DTSTART:20240102T100000Z\nBEGIN:VALARM\nACTION:EMAIL\nTRIGGER:-PT10M\nEND:VALARM",
       "DTSTART:20240102T100000Z\nBEGIN:VALARM\nACTION:EMAIL\nTRIGGER:-PT10M\nEND:VALARM"},
      {"DTSTART:20240102T100000Z\nRRULE:\nEXDATE:", "DTSTART:20240102T100000Z"},
      {"ORGANIZER;CN=\"a;b:c\":mailto:x@y\nATTENDEE;PARTSTAT=ACCEPTED:mailto:z@y",
       "ORGANIZER;CN=\"a;b:c\":mailto:x@y\nATTENDEE;PARTSTAT=ACCEPTED:mailto:z@y"},
  };
  Expect(kRows, "VEVENT", "2.0");
}

TEST_F(VCalendar, ReadsTasks) {
  const Row kRows[] = {
      {"SUMMARY:t\nDUE:20240102T100000Z\nSTATUS:COMPLETED\nCOMPLETED:20240101T100000Z",
       "SUMMARY:t\nDUE:20240102T100000Z\nCOMPLETED:20240101T100000Z\nSTATUS:COMPLETED"},
      {"DTEND:20240102T100000Z", "DUE:20240102T100000Z"},
      {"DTEND:20240102T100000Z\nDUE:20240103T100000Z",
       "DUE:20240103T100000Z\nDTEND:20240102T100000Z"},
      {"DTEND:20240102T100000Z\nDTEND:", "DUE:20240102T100000Z"},
      {"STATUS:in process", "STATUS:IN-PROCESS"},
      {"STATUS:NEEDS-ACTION", "STATUS:NEEDS-ACTION"},
      {"STATUS:7\nPRIORITY:1000000000000", "STATUS:7\nPRIORITY:1000000000000"},
      {"DUE:20240102T100000Z\nAALARM:20240102T094500Z",
       "DUE:20240102T100000Z\nAALARM:20240102T094500Z"},
      // A day on which it is due, in every form.
      {"DUE;VALUE=DATE:20240102", "DUE:20240102T000000\nX-ALLDAY:1"},
      {"X-ALLDAY:1\nDUE:20240102T000000", "DUE:20240102T000000\nX-ALLDAY:1"},
      {"X-ALLDAY:1\nDUE:20240102T235959", "DUE:20240102T000000\nX-ALLDAY:1"},
      {"X-ALLDAY:1\nDUE:20240101T230000Z", "DUE:20240102T000000\nX-ALLDAY:1"},
      {"X-ALLDAY:1\nDUE:20240102T225959Z", "DUE:20240102T000000\nX-ALLDAY:1"},
  };
  Expect(kRows, "VTODO", "1.0");
}

TEST_F(VCalendar, ReadsBothGrammarsOfRules) {
  struct Rule {
    const char* old;  // as it is written
    const char* modern;
  };
  const Rule kRules[] = {
      {"D1 #10", "FREQ=DAILY;COUNT=10"},
      {"D3 #0", "FREQ=DAILY;INTERVAL=3"},
      {"W1 MO TU 20251231T000000Z", "FREQ=WEEKLY;BYDAY=TU,MO;UNTIL=20251231T000000Z"},
      {"W2 WE #0", "FREQ=WEEKLY;INTERVAL=2"},
      {"W1 SU SA #0", "BYDAY=SA,SU;FREQ=WEEKLY;WKST=MO"},
      {"MP1 2+ MO #0", "FREQ=MONTHLY;BYDAY=2MO"},
      {"MP2 1- FR #0", "FREQ=MONTHLY;INTERVAL=2;BYDAY=-1FR"},
      {"MP1 3+ TH #0", "FREQ=MONTHLY;BYDAY=TH;BYSETPOS=3"},
      {"MD1 31 #5", "FREQ=MONTHLY;BYMONTHDAY=31;COUNT=5"},
      {"MD1 LD #0", "FREQ=MONTHLY;BYMONTHDAY=-1"},
      {"YM1 2 #0 MD1 LD #1", "FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1"},
      {"YM1 5 #0", "FREQ=YEARLY"},
      {"YM1 6 #0 MD1 15 #1", "FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=15"},
      {"YM1 11 #0 MP1 4+ TH #1", "FREQ=YEARLY;BYMONTH=11;BYDAY=4TH"},
      {"W1 WE 20240530T215959Z", "FREQ=WEEKLY;UNTIL=20240530"},
  };
  for (const Rule& rule : kRules) {
    const std::string out = std::string("DTSTART:20240501T080000Z\nRRULE:") + rule.old;
    EXPECT_EQ(Through(Component("VEVENT", out, "1.0")), out);
    EXPECT_EQ(Through(Component(
                  "VEVENT", std::string("DTSTART:20240501T080000Z\nRRULE:") + rule.modern, "2.0")),
              out)
        << rule.modern;
  }
  // No count is twice.
  EXPECT_EQ(Through(Component("VEVENT", "DTSTART:20240501T080000Z\nRRULE:D1", "1.0")),
            "DTSTART:20240501T080000Z\nRRULE:D1 #2");
}

TEST_F(VCalendar, TellsTheDaysOfAnotherZoneByThoseHere) {
  struct Rule {
    const char* start;
    const char* rule;
    const char* written;
  };
  // 20 May 2026 is a Wednesday. Late in New York it is Thursday here, early in Tokyo Tuesday.
  const Rule kRules[] = {
      {";TZID=America/New_York:20260520T200000", "FREQ=WEEKLY;BYDAY=WE", "W1 TH #0"},
      {";TZID=America/New_York:20260520T200000", "FREQ=WEEKLY", "W1 TH #0"},
      {";TZID=America/New_York:20260520T200000", "FREQ=WEEKLY;BYDAY=WE,SA", "W1 SU TH #0"},
      {";TZID=America/New_York:20260520T150000", "FREQ=WEEKLY;BYDAY=WE", "W1 WE #0"},
      {";TZID=Asia/Tokyo:20260520T050000", "FREQ=WEEKLY;INTERVAL=2;BYDAY=WE,TH", "W2 TU WE #0"},
      {";TZID=Asia/Tokyo:20260520T050000", "FREQ=MONTHLY;BYMONTHDAY=20", "MD1 19 #0"},
      {";TZID=Asia/Tokyo:20260520T050000", "FREQ=DAILY;COUNT=3", "D1 #3"},
      {";TZID=Asia/Tokyo:20260601T050000", "FREQ=YEARLY", "YM1 5 #0"},
      // By UTC, where the beginning fits in no other way.
      {":20260520T230000Z", "FREQ=WEEKLY;BYDAY=WE", "W1 TH #0"},
      {":20260520T230000Z", "FREQ=WEEKLY;BYDAY=TH", "W1 TH #0"},
      // Likewise by the clock of a zone where the text was written, before the computer moved.
      {":20260520T230000Z", "W1 WE #0", "W1 TH #0"},
      {":20260520T200000Z", "W1 TH #0", "W1 WE #0"},
      {":20260520T040000Z", "W1 TU #0", "W1 WE #0"},
      {":20260520T080000Z", "W1 TH #0", "W1 TH #0"},  // there is no such zone
      {":20260520T230000Z", "W1 WE FR #0", "W1 WE FR #0"},
      {":20260520T230000Z", "MD1 20 #0", "MD1 20 #0"},
      {":20260520T100000Z", "FREQ=WEEKLY;BYDAY=MO", "W1 MO #0"},
  };
  for (const Rule& rule : kRules) {
    const std::string out = Through(
        Component("VEVENT", std::string("DTSTART") + rule.start + "\nRRULE:" + rule.rule, "2.0"));
    EXPECT_EQ(out.substr(out.find("RRULE:") + 6), rule.written) << rule.start << " " << rule.rule;
  }
}

TEST_F(VCalendar, SaysOfASeriesThatLostItsRuleThatItIsOne) {
  Calendar item =
      *ParseVCalendar(Component("VEVENT", "DTSTART:20240501T080000Z\nRRULE:FREQ=HOURLY", "2.0"));
  item.fields.extras.clear();
  EXPECT_EQ(Written(item), "DTSTART:20240501T080000Z\nX-RECURRING:1");
  EXPECT_TRUE(ParseVCalendar(WriteVCalendar(item))->isRecurring);
  const Row kRows[] = {
      {"DTSTART:20240501T080000Z\nX-RECURRING:1\nRRULE:D1 #3",
       "DTSTART:20240501T080000Z\nRRULE:D1 #3"},
      {"DTSTART:20240501T080000Z\nX-RECURRING:1\nRRULE:FREQ=HOURLY",
       "DTSTART:20240501T080000Z\nRRULE:FREQ=HOURLY"},
      {"UID:e\nX-PARENT-UID:s\nX-RECURRING:1", "UID:e\nX-PARENT-UID:s"},
      {"SUMMARY:x\nRRULE:\nRRULE", "SUMMARY:x\n\nRRULE"},  // no rule without a value
      {"X-RECURRING:yes", "X-RECURRING:yes"},
  };
  Expect(kRows, "VEVENT", "1.0");
}

TEST_F(VCalendar, LeavesRulesAloneThatTheDaysHereCannotTell) {
  struct Rule {
    const char* start;
    const char* rule;
  };
  for (const Rule& rule :
       {Rule{"America/New_York:20260511T200000", "America/New_York:FREQ=MONTHLY;BYDAY=2MO"},
        Rule{"America/New_York:20260531T200000", "America/New_York:FREQ=MONTHLY;BYMONTHDAY=31"},
        Rule{"Asia/Tokyo:20260520T050000", "Asia/Tokyo:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE"},
        Rule{"Asia/Tokyo:20260525T050000", "Asia/Tokyo:FREQ=MONTHLY;BYDAY=-1MO"}}) {
    const std::string text = std::string(rule.rule).substr(std::string(rule.rule).find(':') + 1);
    const std::string in = std::string("DTSTART;TZID=") + rule.start + "\nRRULE:" + text;
    const std::string out = Through(Component("VEVENT", in, "2.0"));
    EXPECT_EQ(out.substr(out.find("RRULE")), std::string("RRULE;TZID=") + rule.rule);
    EXPECT_TRUE(ParseVCalendar(Component("VEVENT", in, "2.0"))->isRecurring);
  }
}

TEST_F(VCalendar, TellsTimesWithoutAZoneByTheChangeOfTheClocksItself) {
  zone.Set(ParsePosixZone("EST5EDT,M3.2.0,M11.1.0"));
  const Row kRows[] = {
      {"DTSTART:20240305T090000", "DTSTART:20240305T140000Z"},
      {"DTSTART:20240310T013000\nDTEND:20240310T033000",
       "DTSTART:20240310T063000Z\nDTEND:20240310T073000Z"},
      {"DTSTART:20241103T000000\nDTEND:20241104T000000",
       "DTSTART:20241103T040000Z\nDTEND:20241104T050000Z"},
  };
  Expect(kRows, "VEVENT", "1.0");
}

TEST_F(VCalendar, KeepsRulesThatTheItemCannotHold) {
  for (const char* rule : {"FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=-1",
                           "FREQ=HOURLY",
                           "FREQ=DAILY;COUNT=0",
                           "FREQ=DAILY;INTERVAL=0",
                           "FREQ=DAILY;FREQ=WEEKLY",
                           "FREQ=DAILY;COUNT=99999999999",
                           "FREQ=YEARLY;BYYEARDAY=100",
                           "FREQ=WEEKLY;BYDAY=1MO",
                           "FREQ=MONTHLY;BYMONTHDAY=-2",
                           "FREQ=MONTHLY;BYMONTHDAY=32",
                           "FREQ=DAILY;UNTIL=never",
                           "nonsense",
                           "D0",
                           "MP1 6+ MO #0",
                           "MP1 1+ MO TU #0",
                           "MD1 1 15 #0",
                           "D99999999999 #0",
                           "W1 XX #0",
                           "M5 #0",
                           "D1 #x"}) {
    const std::string lines = std::string("DTSTART:20240501T080000Z\nRRULE:") + rule;
    const std::string text = Component("VEVENT", lines, "2.0");
    EXPECT_EQ(Through(text), lines);
    EXPECT_TRUE(ParseVCalendar(text)->isRecurring) << rule;
  }
  // What adds to a rule makes it more than the numbers say.
  for (const char* more : {"EXRULE:W1 MO #0", "RRULE:W1 MO #0"}) {
    const std::string lines = std::string("DTSTART:20240501T080000Z\nRRULE:D1 #0\n") + more;
    EXPECT_EQ(Through(Component("VEVENT", lines, "1.0")), lines);
    EXPECT_EQ(ParseVCalendar(Component("VEVENT", lines, "1.0"))->recurrence.type,
              RecurrenceType::None);
  }
}

TEST_F(VCalendar, ReadsExceptionsInBothForms) {
  const Row kOld[] = {
      {"UID:e\nDTSTART:20240501T090000Z\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20240501T080000Z",
       "UID:e\nDTSTART:20240501T090000Z\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20240501T080000Z"},
      // Its own parent, and entries that say nothing.
      {"UID:s\nX-PARENT-UID:s", "UID:s\nX-PARENT-UID:s"},
      {"UID:e\nX-RECUR-ENTRY:2;20240501\nX-RECUR-ENTRY:x;20240501T080000Z\nX-RECUR-ENTRY:2",
       "UID:e\nX-RECUR-ENTRY:2;20240501\nX-RECUR-ENTRY:x;20240501T080000Z\nX-RECUR-ENTRY:2"},
      {"DTSTART:20240501T080000Z\nRRULE:D1 #9\nEXDATE:20240502T080000Z;20240503T080000Z",
       "DTSTART:20240501T080000Z\nRRULE:D1 #9\nX-RECUR-ENTRY:1;20240502T080000Z\n"
       "X-RECUR-ENTRY:1;20240503T080000Z"},
  };
  Expect(kOld, "VEVENT", "1.0");
  const Row kModern[] = {
      {"UID:s\nRECURRENCE-ID:20240501T080000Z\nDTSTART:20240501T090000Z\nSUMMARY:moved",
       "UID:s/20240501T080000Z\nSUMMARY:moved\nDTSTART:20240501T090000Z\nX-PARENT-UID:s\n"
       "X-RECUR-ENTRY:2;20240501T080000Z"},
      {"UID:s\nRECURRENCE-ID;TZID=Asia/Tokyo:20240501T080000\nDTSTART:20240501T090000Z",
       "UID:s/20240430T230000Z\nDTSTART:20240501T090000Z\nX-PARENT-UID:s\n"
       "X-RECUR-ENTRY:2;20240430T230000Z"},
      {"UID:s\nRECURRENCE-ID;VALUE=DATE:20240501\nDTSTART;VALUE=DATE:20240502",
       "UID:s/20240501T000000Z\nDTSTART:20240502T000000\nDTEND:20240503T000000\nX-ALLDAY:1\n"
       "X-PARENT-UID:s\nX-RECUR-ENTRY:2;20240501T000000Z"},
      {"RECURRENCE-ID:20240501T080000Z", "RECURRENCE-ID:20240501T080000Z"},
      {"UID:s\nRECURRENCE-ID;RANGE=THISANDFUTURE:20240501T080000Z",
       "UID:s/20240501T080000Z\nX-PARENT-UID:s\nX-RECUR-ENTRY:2;20240501T080000Z\n"
       "RECURRENCE-ID;RANGE=THISANDFUTURE:20240501T080000Z"},
      {"UID:s\nDTSTART:20240330T080000Z\nRRULE:FREQ=DAILY\nEXDATE;VALUE=DATE:20240401\n"
       "EXDATE;TZID=Europe/Berlin:20240402T100000,20240403T100000\nEXDATE:20240401T070000Z",
       "UID:s\nDTSTART:20240330T080000Z\nRRULE:D1 #0\nX-RECUR-ENTRY:1;20240401T070000Z\n"
       "X-RECUR-ENTRY:1;20240402T080000Z\nX-RECUR-ENTRY:1;20240403T080000Z"},
      {"DTSTART:20240330T080000Z\nRRULE:FREQ=DAILY\nEXDATE:20240401T070000Z,rubbish",
       "DTSTART:20240330T080000Z\nRRULE:D1 #0\nEXDATE:20240401T070000Z,rubbish"},
  };
  Expect(kModern, "VEVENT", "2.0");
}

TEST_F(VCalendar, ReadsZonesThatTheTextBringsAlong) {
  const std::string zones =
      "BEGIN:VTIMEZONE\nTZID:Office\n"
      "BEGIN:STANDARD\nDTSTART:16010101T020000\nTZOFFSETFROM:-0400\nTZOFFSETTO:-0500\n"
      "RRULE:FREQ=YEARLY;BYMONTH=11;BYDAY=1SU\nEND:STANDARD\n"
      "BEGIN:DAYLIGHT\nDTSTART:16010101T020000\nTZOFFSETFROM:-0500\nTZOFFSETTO:-0400\n"
      "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=2SU\nEND:DAYLIGHT\nEND:VTIMEZONE\n";
  struct Moment {
    const char* local;
    const char* utc;
  };
  for (const Moment& moment : {Moment{"20240110T090000", "20240110T140000Z"},
                               Moment{"20240710T090000", "20240710T130000Z"},
                               Moment{"20240310T013000", "20240310T063000Z"},
                               Moment{"20240310T023000", "20240310T073000Z"},
                               Moment{"20240310T033000", "20240310T073000Z"},
                               Moment{"20241103T030000", "20241103T080000Z"}}) {
    const std::string lines = std::string("DTSTART;TZID=\"Office\":") + moment.local;
    const std::string out = std::string("DTSTART:") + moment.utc;
    EXPECT_EQ(Through(Component("VEVENT", lines, "2.0", zones)), out) << moment.local;
    // A zone may stand behind the component that names it.
    EXPECT_EQ(Through("BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VEVENT\n" + lines + "\nEND:VEVENT\n" +
                      zones + "END:VCALENDAR\n"),
              out);
  }
}

// Real invitations say in the rule at what time the clocks change, and begin their zones in year 1.
TEST_F(VCalendar, ReadsZonesWhoseRulesNameTheTimeOfDay) {
  const std::string zones =
      "BEGIN:VTIMEZONE\nTZID:Office\n"
      "BEGIN:STANDARD\nDTSTART:00010101T000000\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\n"
      "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10;BYHOUR=3;BYMINUTE=0\nEND:STANDARD\n"
      "BEGIN:DAYLIGHT\nDTSTART:00010101T000000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\n"
      "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3;BYMINUTE=0;BYHOUR=2\nEND:DAYLIGHT\nEND:VTIMEZONE\n";
  const ZoneRules* berlin = NamedZones::Default().Find("Europe/Berlin");
  ASSERT_NE(berlin, nullptr);
  zone.Set({});
  for (int64_t hour = 0; hour < 8766; ++hour) {
    const DATE local = DateFromUnixSeconds(1'704'067'200 + hour * 3600);
    const auto item =
        ParseVCalendar(Component("VEVENT", "DTSTART;TZID=Office:" + WallText(local), "2.0", zones));
    ASSERT_EQ(UnixSecondsFromDate(item->start), berlin->LocalToUtc(UnixSecondsFromDate(local)))
        << WallText(local);
  }
}

TEST_F(VCalendar, TellsDaysAndEndsByTheClockOfTheStart) {
  zone.Set(ParsePosixZone("PST8PDT,M3.2.0,M11.1.0"));
  const Row kRows[] = {
      // A day over the change of the clocks is a day, an hour is an hour.
      {"DTSTART;TZID=Europe/Berlin:20240330T120000\nDURATION:P1D",
       "DTSTART:20240330T110000Z\nDTEND:20240331T100000Z"},
      {"DTSTART;TZID=Europe/Berlin:20240330T120000\nDURATION:P1DT1H",
       "DTSTART:20240330T110000Z\nDTEND:20240331T110000Z"},
      {"DTSTART;TZID=Europe/Berlin:20240330T120000\nDURATION:PT24H",
       "DTSTART:20240330T110000Z\nDTEND:20240331T110000Z"},
      {"DTSTART;TZID=Europe/Berlin:20240501T200000\nRRULE:FREQ=DAILY;UNTIL=20240503\n"
       "EXDATE;VALUE=DATE:20240502",
       "DTSTART:20240501T180000Z\nRRULE:D1 20240503T215959Z\nX-RECUR-ENTRY:1;20240502T180000Z"},
      {"DTSTART;TZID=Europe/Berlin:20240501T200000\nRRULE:FREQ=DAILY;UNTIL=20240503T200000\n"
       "EXDATE:20240502T200000",
       "DTSTART:20240501T180000Z\nRRULE:D1 20240503T180000Z\nX-RECUR-ENTRY:1;20240502T180000Z"},
      // The clocks here have changed already, those there have not: the last one stays.
      {"DTSTART;TZID=Europe/Berlin:20240304T200000\nRRULE:FREQ=WEEKLY;UNTIL=20240318T190000Z",
       "DTSTART:20240304T190000Z\nRRULE:W1 MO 20240318T190000Z"},
      {"DTSTART;TZID=Europe/Berlin:20240226T200000\nRRULE:FREQ=WEEKLY;UNTIL=20241028T190000Z",
       "DTSTART:20240226T190000Z\nRRULE:W1 MO 20241028T190000Z"},
  };
  Expect(kRows, "VEVENT", "2.0");
}

TEST_F(VCalendar, HoldsWhatTheNumbersCan) {
  const Row kRows[] = {
      {"DTSTART:20240506T070000Z\nRRULE:W1 MO 0900 #5", "DTSTART:20240506T070000Z\nRRULE:W1 MO #5"},
      {"DTSTART:20240506T070000Z\nRRULE:W1 MO 20240506T070000Z #5",
       "DTSTART:20240506T070000Z\nRRULE:W1 MO #5"},
      {"DTSTART:20240506T070000Z\nRRULE:W1 MO 20240606T070000Z #5",
       "DTSTART:20240506T070000Z\nRRULE:W1 MO #5 20240606T070000Z"},
      {"DTSTART:20240506T070000Z\nRRULE:W1 MO 1000 #5",
       "DTSTART:20240506T070000Z\nRRULE:W1 MO 1000 #5"},
      {"DTSTART:20240531T070000Z\nRRULE:MD1 1- #0", "DTSTART:20240531T070000Z\nRRULE:MD1 LD #0"},
      {"DTSTART:20240501T080000Z\nRRULE:D1 #0\nRDATE:20240601T080000Z",
       "DTSTART:20240501T080000Z\nRRULE:D1 #0\nRDATE:20240601T080000Z"},
  };
  Expect(kRows, "VEVENT", "1.0");
  EXPECT_EQ(ParseVCalendar(Component("VEVENT", kRows[5].in, "1.0"))->recurrence.type,
            RecurrenceType::Daily);
}

// Each value is held once: a list of 6,000 dates once took 600 MB.
TEST_F(VCalendar, HoldsALongListOfDatesInLittleMemory) {
  std::string dates = "DTSTART:20000101T080000Z\nRRULE:D1 #0\nEXDATE:20000102T080000Z";
  for (int i = 0; i < 6'000; ++i) dates += "," + MomentText(36'530 + i + 1.0 / 3);
  const auto peak = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;  // kilobytes
  };
  const long before = peak();
  const auto item = ParseVCalendar(Component("VEVENT", dates, "1.0"));
  EXPECT_LT(peak() - before, 50'000);
  EXPECT_EQ(item->entries.size(), 6'001u);
}

TEST_F(VCalendar, TellsTheComponentsOfAFileApart) {
  const std::string text =
      "BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VEVENT\nSUMMARY:a\\, b\nBEGIN:VALARM\nTRIGGER:x\n"
      "END:VALARM\nEND:VEVENT\nBEGIN:VJOURNAL\nSUMMARY:no\nEND:VJOURNAL\nbegin:vtodo\nSUMMARY:c\n"
      "end:vtodo\nEND:VCALENDAR\nBEGIN:VCALENDAR\nVERSION:1.0\nBEGIN:VEVENT\nSUMMARY:a\\, b\n"
      "END:VEVENT\nBEGIN:VEVENT\nSUMMARY:cut off\nEND:VCALENDAR\n";
  const CalendarText items(text);
  ASSERT_EQ(items.Count(), 3u);
  EXPECT_EQ(items.Read(0)->subject, u"a, b");
  EXPECT_EQ(items.Read(1)->subject, u"c");
  EXPECT_TRUE(items.Read(1)->isTask);
  EXPECT_EQ(items.Read(2)->subject, u"a\\, b");
  EXPECT_TRUE(items.At(0).starts_with("BEGIN:VEVENT") && items.At(0).ends_with("END:VEVENT\n"));
}

TEST_F(VCalendar, RefusesWhatHoldsNoItem) {
  for (const char* text : {"", "BEGIN:VCALENDAR\nEND:VCALENDAR\n", "BEGIN:VEVENT\nSUMMARY:x\n",
                           "END:VEVENT\n", "SUMMARY:x\n", "BEGIN:VJOURNAL\nEND:VJOURNAL\n"}) {
    EXPECT_EQ(Through(text), "unreadable") << text;
  }
  std::string many = "BEGIN:VEVENT\n";
  for (int i = 0; i < 100'001; ++i) many += "X-A:1\n";
  EXPECT_FALSE(ParseVCalendar(many + "END:VEVENT\n"));
  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += "BEGIN:VALARM\n";
  EXPECT_FALSE(ParseVCalendar("BEGIN:VEVENT\n" + deep));
}

TEST_F(VCalendar, WritesWhatTheItemCameToSayInPlaceOfWhatItCouldNotHold) {
  Calendar item = *ParseVCalendar(Component(
      "VTODO", "DTSTART:20240501T080000Z\nSTATUS:NEEDS-ACTION\nRRULE:FREQ=HOURLY", "2.0"));
  item.status = kTaskCompleted;
  item.recurrence = {RecurrenceType::Daily, 1, 0, 0, 0, 0, 3, 0.0};
  EXPECT_EQ(Written(item), "DTSTART:20240501T080000Z\nSTATUS:COMPLETED\nRRULE:D1 #3");
  item.isRecurring = false;
  EXPECT_EQ(Written(item), "DTSTART:20240501T080000Z\nSTATUS:COMPLETED");
  // An extra is one property: it cannot end the component or begin another.
  item.fields.extras = {{u"X-A", u"1\r\nEND:VTODO"}, {u"END", u"VTODO"}, {u"X-B\r\nUID", u"2"}};
  EXPECT_EQ(Written(item), "DTSTART:20240501T080000Z\nSTATUS:COMPLETED");
}

}  // namespace
}  // namespace qv
