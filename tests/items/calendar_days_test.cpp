// A day is a day: all-day items in zones that are changed between one step and the next.
#include "items/calendar_days.h"

#include <gtest/gtest.h>

#include <set>

#include "items/key_text.h"
#include "items/recurrence.h"
#include "items/vcalendar.h"
#include "kit/platform_fakes.h"
#include "pim/calendar_content.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

// West and east of UTC, by halves and quarters of an hour, and with days that begin at one o'clock.
constexpr const char* kZones[] = {"UTC0",
                                  "CET-1CEST,M3.5.0,M10.5.0/3",
                                  "EST5EDT,M3.2.0,M11.1.0",
                                  "HST10",
                                  "NST3:30NDT,M3.2.0,M11.1.0",
                                  "IST-5:30",
                                  "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
                                  "<-03>3<-02>,M10.3.0/0,M2.3.0/0",
                                  "EET-2EEST,M3.5.0/0,M10.5.0/0"};

std::string Event(const std::string& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:s\r\n" + lines +
         "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

// What a person sees of an all-day series, by another way than the text.
std::string Days(const CalendarContent& item) {
  std::string days;
  ForEachOccurrence(item, item.start - 3, item.start + 40, [&](const Occurrence& occurrence) {
    for (const RecurrenceEntry& entry : item.entries) {
      if (std::abs(entry.moment - occurrence.utc) < 0.01) return true;
    }
    days += ToUtf8(FormatDateTime(occurrence.local)) + " ";
    return true;
  });
  return days;
}

TEST(CalendarDays, AreTheSameInWhateverZoneAStepIsDone) {
  struct Form {
    const char* name;
    const char* lines;
  };
  const Form kForms[] = {
      {"dates",
       "DTSTART;VALUE=DATE:20240310\r\nDTEND;VALUE=DATE:20240311\r\nRRULE:FREQ=WEEKLY;UNTIL="
       "20240331\r\nEXDATE;VALUE=DATE:20240317\r\n"},
      {"midnights",
       "X-ALLDAY:1\r\nDTSTART:20240310T000000\r\nDTEND:20240310T235959\r\nRRULE:W1 SU 20240331T"
       "235959\r\nEXDATE:20240317T000000\r\n"},
      {"of a zone",
       "X-ALLDAY:1\r\nDTSTART;TZID=Asia/Tokyo:20240310T000000\r\nDTEND;TZID=Asia/Tokyo:"
       "20240311T000000\r\nRRULE:FREQ=WEEKLY;UNTIL=20240331\r\nEXDATE;TZID=Asia/Tokyo:20240317T"
       "000000\r\n"},
      {"moments of Berlin, as earlier versions wrote",
       "X-ALLDAY:1\r\nDTSTART:20240309T230000Z\r\nDTEND:20240310T230000Z\r\nRRULE:W1 SU "
       "20240331T215959Z\r\nX-RECUR-ENTRY:1;20240316T230000Z\r\n"},
      {"moments of New York",
       "X-ALLDAY:1\r\nDTSTART:20240310T050000Z\r\nDTEND:20240311T040000Z\r\nRRULE:W1 SU "
       "20240401T035959Z\r\nX-RECUR-ENTRY:1;20240317T040000Z\r\n"},
  };
  const std::string text = Event(
      "DTSTART:20240310T000000\r\nDTEND:20240311T000000\r\nX-ALLDAY:1\r\nAALARM:20240309T180000\r\n"
      "RRULE:W1 SU 20240331T235959\r\nX-RECUR-ENTRY:1;20240317T000000Z\r\n");
  test::FixedZone zone;
  ScopedService<TimeZone> useZone(zone);
  for (const Form& form : kForms) {
    for (const char* from : kZones) {
      for (const char* to : kZones) {
        SCOPED_TRACE(std::string(form.name) + ", " + from + " to " + to);
        zone.Set(ParsePosixZone(from));
        Calendar read = *ParseVCalendar(Event(form.lines));
        read.reminderMinutes = 6 * 60;
        zone.Set(ParsePosixZone(to));
        const std::string stored = PackCalendar(read);
        zone.Set(ParsePosixZone(from));
        std::string why;
        Calendar again{*UnpackCalendar(stored, why), {}, {}};
        EXPECT_EQ(WriteVCalendar(again), text);
        const std::u16string key = MakeCalendarKey(again);
        zone.Set(ParsePosixZone(to));
        EXPECT_EQ(WriteVCalendar(again), text);
        EXPECT_EQ(MakeCalendarKey(again), key);
        EXPECT_EQ(PackCalendar(*ParseVCalendar(text)), stored);
        EXPECT_EQ(Days(again), "2024-03-10 00:00:00 2024-03-24 00:00:00 2024-03-31 00:00:00 ");
      }
    }
  }
}

TEST(CalendarDays, OfAnEarlierProfileAreFoundAgainInAnyZone) {
  test::FixedZone zone;
  ScopedService<TimeZone> useZone(zone);
  std::set<std::u16string> keys;
  for (const char* madeIn : kZones) {
    // What was stored: the moments at which the days began where the item was made.
    zone.Set(ParsePosixZone(madeIn));
    CalendarContent old;
    for (const int day : {45'361, 45'480}) {  // 10 March and 7 July 2024
      old.start = WallClock().ToUtc(day);
      old.end = WallClock().ToUtc(day + 1);
      CalendarContent marked = old;
      marked.allDay = true;
      for (const char* seenFrom : kZones) {
        zone.Set(ParsePosixZone(seenFrom));
        CalendarContent seen = marked;
        SettleDays(seen);
        EXPECT_EQ(seen.start, day) << madeIn << " seen from " << seenFrom;
        EXPECT_EQ(seen.end, day + 1) << madeIn << " seen from " << seenFrom;
        keys.insert(MakeCalendarKey(seen));
        // Who must have a moment gets the midnight here.
        EXPECT_EQ(MomentOf(seen, seen.start), WallClock().ToUtc(day));
      }
      zone.Set(ParsePosixZone(madeIn));
    }
  }
  EXPECT_EQ(keys.size(), 2u);
}

}  // namespace
}  // namespace qv
