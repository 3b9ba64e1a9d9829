// Reminders in every form: the lead time is taken, every other line comes back, and what rings at a
// moment of its own moves with the item. Texts are compared line by line.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "items/vcalendar.h"
#include "kit/platform_fakes.h"

namespace qv {
namespace {

// The lines of the component, with "\n" between them.
std::vector<std::string> Lines(const Calendar& item) {
  std::vector<std::string> lines;
  std::istringstream text(WriteVCalendar(item));
  for (std::string line; std::getline(text, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return {lines.begin() + 3, lines.end() - 2};
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Calendar Read(const std::string& lines, const char* version) {
  std::string text = std::string("BEGIN:VCALENDAR\nVERSION:") + version +
                     "\nBEGIN:VEVENT\nSUMMARY:s\nDTSTART:20240102T100000Z\n"
                     "DTEND:20240102T110000Z\n" +
                     lines + "\nEND:VEVENT\nEND:VCALENDAR\n";
  return *ParseVCalendar(text);
}

class Alarms : public testing::Test {
 protected:
  test::FixedZone zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  ScopedService<TimeZone> useZone{zone};
};

TEST_F(Alarms, GiveTheirLeadTimeAndKeepEveryOtherLine) {
  struct Form {
    const char* lines;
    int minutes;
    const char* written;  // at twenty minutes
    const char* others = "";
  };
  const char* plain = "AALARM:20240102T094000Z";
  const Form kForms[] = {
      {"AALARM:20240102T094500Z", 15, plain},
      {"AALARM:20240102T104500;;;", 15, plain},
      {"AALARM;CHARSET=UTF-8:20240102T094500Z", 15, plain},
      {"AALARM:20240102T094500Z;PT5M;3;sound", 15, "AALARM:20240102T094000Z;PT5M;3;sound"},
      {"AALARM;TYPE=WAVE;VALUE=URL:20240102T094500Z;;;file:///a.wav", 15,
       "AALARM;TYPE=WAVE;VALUE=URL:20240102T094000Z;;;file:///a.wav"},
      {"AALARM;TYPE=X-EPOCSOUND:20240102T094500Z", 15, "AALARM;TYPE=X-EPOCSOUND:20240102T094000Z"},
      {"AALARM;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:20240102T094500Z;;;=C3=A4", 15,
       "AALARM;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:20240102T094000Z;;;=C3=A4"},
      {"DALARM:20240102T094500Z;PT5M;3;Wake up", 15, "DALARM:20240102T094000Z;PT5M;3;Wake up"},
      {"DALARM:20240102T101500Z", -15, "DALARM:20240102T094000Z"},
      {"BEGIN:VALARM\nTRIGGER:-PT15M\nEND:VALARM", 15, plain},
      {"BEGIN:VALARM\nACTION:AUDIO\nTRIGGER;VALUE=DURATION:-P1D\nDESCRIPTION:s\nEND:VALARM", 1440,
       plain},
      {"BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER;RELATED=END:-PT15M\nEND:VALARM", -45, plain},
      {"BEGIN:VALARM\nUID:u\nX-WR-ALARMUID:u\nACTION:AUDIO\nTRIGGER:-PT15M\nATTACH:"
       "Basso\n"
       "REPEAT:2\nDURATION:PT5M\nEND:VALARM",
       15,
       "AALARM:20240102T094000Z\nBEGIN:VALARM\nUID:u\nX-WR-ALARMUID:u\nACTION:AUDIO\nATTACH:"
       "Basso\nREPEAT:2\nDURATION:PT5M\nEND:VALARM"},
      {"BEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:Bring cake\n"
       "TRIGGER;VALUE=DATE-TIME:20240102T094500Z\nACKNOWLEDGED:20240101T000000Z\nEND:VALARM",
       15,
       "AALARM:20240102T094000Z\nBEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:Bring cake\n"
       "ACKNOWLEDGED:20240101T000000Z\nEND:VALARM"},
      // Alarms of one time are one reminder.
      {"AALARM:20240102T094500Z\nDALARM:20240102T104500;;;x", 15,
       "AALARM:20240102T094000Z\nDALARM:20240102T094000Z;;;x"},
      {"BEGIN:VALARM\nUID:u\nTRIGGER:-PT15M\nEND:VALARM\nBEGIN:VALARM\nACTION:AUDIO\nTRIGGER:-"
       "PT15M\n"
       "ATTACH:x\nEND:VALARM",
       15,
       "AALARM:20240102T094000Z\nBEGIN:VALARM\nUID:u\nEND:VALARM\nBEGIN:VALARM\nACTION:AUDIO\n"
       "ATTACH:x\nEND:VALARM"},
      // The nearest minute.
      {"DALARM:20240102T094430Z;;;x", 16, "DALARM:20240102T094000Z;;;x"},
      {"DALARM:20240102T094431Z;;;x", 15, "DALARM:20240102T094000Z;;;x"},
      {"BEGIN:VALARM\nTRIGGER:PT1M29S\nEND:VALARM", -1, plain},
      {"BEGIN:VALARM\nTRIGGER:PT1M31S\nEND:VALARM", -2, plain},
      // The first counts, also behind one that is sent.
      {"BEGIN:VALARM\nACTION:EMAIL\nTRIGGER:-PT1H\nEND:VALARM\nDALARM:20240102T094500Z", 15,
       "BEGIN:VALARM\nACTION:EMAIL\nTRIGGER:-PT1H\nEND:VALARM\nDALARM:20240102T094000Z",
       "BEGIN:VALARM\nACTION:EMAIL\nTRIGGER:-PT1H\nEND:VALARM"},
      {"AALARM:20240102T094500Z;;;a\nBEGIN:VALARM\nUID:u\nTRIGGER:-PT1H\nEND:VALARM", 15,
       "AALARM:20240102T094000Z;;;a\nBEGIN:VALARM\nUID:u\nTRIGGER:-PT1H\nEND:VALARM",
       "BEGIN:VALARM\nUID:u\nTRIGGER:-PT1H\nEND:VALARM"},
  };
  for (const Form& form : kForms) {
    SCOPED_TRACE(form.lines);
    for (const char* version : {"1.0", "2.0"}) {
      Calendar item = Read(form.lines, version);
      EXPECT_EQ(item.reminderMinutes, form.minutes);
      // What is written reads the same.
      const Calendar again = *ParseVCalendar(WriteVCalendar(item));
      EXPECT_EQ(again.reminderMinutes, form.minutes);
      EXPECT_EQ(Lines(again), Lines(item));
      item.reminderMinutes = 20;
      std::vector<std::string> expected =
          Split("SUMMARY:s\nDTSTART:20240102T100000Z\nDTEND:20240102T110000Z");
      for (std::string& line : Split(form.written)) expected.push_back(std::move(line));
      EXPECT_EQ(Lines(item), expected);
      item.reminderMinutes.reset();
      // Without a reminder nothing is left of the alarm that it was.
      const std::vector<std::string> none = Lines(item);
      EXPECT_EQ(none.size(), 3 + Split(form.others).size());
    }
  }
  for (const char* none :
       {"AALARM;VALUE=URL:file:///a.wav", "AALARM:20240102", "MALARM:20240102T094500Z;;;a@b",
        "BEGIN:VALARM\nACTION:PROCEDURE\nTRIGGER:-PT5M\nEND:VALARM",
        "BEGIN:VALARM\nACTION:NONE\nTRIGGER;VALUE=DATE-TIME:19760401T005545Z\nEND:VALARM",
        "BEGIN:VALARM\nTRIGGER:soon\nEND:VALARM"}) {
    const Calendar item = Read(none, "1.0");
    EXPECT_EQ(item.reminderMinutes, std::nullopt) << none;
    EXPECT_EQ(Lines(item).size(), 3 + Split(none).size()) << none;
  }
}

TEST_F(Alarms, MoveWithTheirItemByAsMuch) {
  const std::string lines =
      "AALARM:20240102T094447Z;;;one\nDALARM:20240102T093000Z;PT5M;3;two\nPALARM:20240102T103000;;;"
      "three\n"
      "BEGIN:VALARM\nTRIGGER;VALUE=DATE-TIME:20240102T080000Z\nX-MOZ-SNOOZE-TIME:20240102T100500Z\n"
      "ACKNOWLEDGED:20240101T000000Z\nEND:VALARM\nBEGIN:VALARM\nTRIGGER:-PT5M\nEND:VALARM\n"
      "BEGIN:VALARM\nTRIGGER;VALUE=DATE-TIME:19760401T005545Z\nACTION:NONE\nEND:VALARM\n"
      "RRULE:FREQ=HOURLY\nRDATE:20240105T100000Z,20240106T100000Z\n"
      "X-MOZ-SNOOZE-TIME:20240102T095000Z\nX-MOZ-LASTACK:20240102T094600Z\nCREATED:"
      "20240101T000000Z";
  struct Move {
    const char* name;
    DATE days;
    std::vector<std::pair<std::string, std::string>> changes;
  };
  // Over the change of the clocks: an hour of UTC stays one, the wall's hour stays on the wall.
  const Move kMoves[] = {
      {"not at all", 0, {}},
      {"half a year and two hours on",
       182 + 2.0 / 24,
       {{"DTSTART:20240102T100000Z", "DTSTART:20240702T120000Z"},
        {"DTEND:20240102T110000Z", "DTEND:20240702T130000Z"},
        {"AALARM:20240102T094447Z;;;one", "AALARM:20240702T114447Z;;;one"},
        {"DALARM:20240102T093000Z;PT5M;3;two", "DALARM:20240702T113000Z;PT5M;3;two"},
        {"PALARM:20240102T103000;;;three", "PALARM:20240702T133000;;;three"},
        {"TRIGGER;VALUE=DATE-TIME:20240102T080000Z", "TRIGGER;VALUE=DATE-TIME:20240702T100000Z"},
        {"X-MOZ-SNOOZE-TIME:20240102T100500Z", "X-MOZ-SNOOZE-TIME:20240702T120500Z"},
        {"RDATE:20240105T100000Z,20240106T100000Z", "RDATE:20240705T120000Z,20240706T120000Z"},
        {"X-MOZ-SNOOZE-TIME:20240102T095000Z", "X-MOZ-SNOOZE-TIME:20240702T115000Z"}}},
  };
  for (const Move& move : kMoves) {
    SCOPED_TRACE(move.name);
    Calendar item = Read(lines, "1.0");
    std::vector<std::string> expected = Lines(item);
    item.start += move.days;
    item.end += move.days;
    for (const auto& [from, to] : move.changes) {
      EXPECT_EQ(std::ranges::count(expected, from), 1) << from;
      std::ranges::replace(expected, from, to);
    }
    EXPECT_EQ(Lines(item), expected);
    // Where it was when it was read is nobody's business outside.
    EXPECT_EQ(WriteVCalendar(item).find("X-QV"), std::string::npos);
    // Moved once more from what was written, and back.
    Calendar back = *ParseVCalendar(WriteVCalendar(item));
    back.start -= move.days;
    back.end -= move.days;
    EXPECT_EQ(Lines(back), Lines(Read(lines, "1.0")));
  }
}

}  // namespace
}  // namespace qv
