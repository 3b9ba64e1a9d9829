// Series of other zones against the C library's zones: a rule is held where its days are the same
// days here, and nowhere else.
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <random>

#include "items/recurrence.h"
#include "items/vcalendar.h"
#include "kit/platform_fakes.h"
#include "pim/calendar_content.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

using namespace std::chrono;

constexpr int kYears = 5;

std::string Digits(const tm& time, const char* form) {
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, form, &time));
}

// The days of a rule in its zone, by walking over all of them, as moments.
struct OwnRule {
  const char* text;
  bool (*fits)(const year_month_day& start, const year_month_day& date);
};
int Nth(const year_month_day& date) {
  return static_cast<int>(unsigned{date.day()} - 1) / 7;
}
bool SameWeekday(const year_month_day& a, const year_month_day& b) {
  return weekday(sys_days(a)) == weekday(sys_days(b));
}
const OwnRule kRules[] = {
    {"FREQ=DAILY", [](auto&, auto&) { return true; }},
    {"FREQ=WEEKLY", [](auto& a, auto& b) { return SameWeekday(a, b); }},
    {"FREQ=WEEKLY;INTERVAL=2",
     [](auto& a, auto& b) {
       return SameWeekday(a, b) && (sys_days(b) - sys_days(a)).count() % 14 == 0;
     }},
    {"FREQ=MONTHLY", [](auto& a, auto& b) { return a.day() == b.day(); }},
    {"FREQ=MONTHLY;BYDAY=%nth",
     [](auto& a, auto& b) { return SameWeekday(a, b) && Nth(a) == Nth(b); }},
    {"FREQ=MONTHLY;BYMONTHDAY=-1",
     [](auto&, auto& b) { return year_month_day(sys_days(b) + days(1)).day() == day(1); }},
    {"FREQ=YEARLY", [](auto& a, auto& b) { return a.day() == b.day() && a.month() == b.month(); }},
};

TEST(ZoneRules, AreHeldWhereTheirDaysAreTheDaysHereAndNowhereElse) {
  struct Here {
    const char* rule;
    const char* name;
  };
  const Here kHere[] = {{"CET-1CEST,M3.5.0,M10.5.0/3", "Europe/Berlin"},
                        {"EST5EDT,M3.2.0,M11.1.0", "America/New_York"},
                        {"IST-5:30", "Asia/Kolkata"}};
  const char* kOwn[] = {"America/New_York", "Asia/Tokyo", "Australia/Sydney", "Europe/London",
                        "America/St_Johns"};
  constexpr const char* kWeekdays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
  std::mt19937 random(20240713);
  int held = 0;
  int kept = 0;
  for (int round = 0; round < 1200; ++round) {
    const Here& here = kHere[random() % std::size(kHere)];
    const char* own = kOwn[random() % std::size(kOwn)];
    const OwnRule& rule = kRules[random() % std::size(kRules)];
    year_month_day start(sys_days(year(2024) / 1 / 1) + days(random() % 731));
    if (std::string_view(rule.text).ends_with("-1")) {
      start = year_month_day(start.year() / start.month() / last);
    }
    const int minute = static_cast<int>(random() % 48) * 30;
    // The moments in the zone of the text, and their days there.
    std::vector<time_t> moments;
    std::vector<sys_days> ownDays;
    {
      test::ScopedEnvironment tz("TZ", own);
      tzset();
      for (sys_days date(start); date < sys_days(start) + days(kYears * 365); date += days(1)) {
        const year_month_day ymd(date);
        if (!rule.fits(start, ymd)) continue;
        tm time{};
        time.tm_year = int{ymd.year()} - 1900;
        time.tm_mon = static_cast<int>(unsigned{ymd.month()}) - 1;
        time.tm_mday = static_cast<int>(unsigned{ymd.day()});
        time.tm_min = minute;
        time.tm_isdst = -1;
        moments.push_back(mktime(&time));
        ownDays.push_back(date);
      }
    }
    // Their days here, and whether all lie equally far from the days there.
    std::vector<std::string> expected;
    int64_t shift = 0;
    bool same = true;
    {
      test::ScopedEnvironment tz("TZ", here.name);
      tzset();
      for (size_t i = 0; i < moments.size(); ++i) {
        tm time{};
        localtime_r(&moments[i], &time);
        expected.push_back(Digits(time, "%Y-%m-%d"));
        const sys_days day(year(time.tm_year + 1900) / (time.tm_mon + 1) / time.tm_mday);
        if (i == 0) shift = (day - ownDays[i]).count();
        same = same && (day - ownDays[i]).count() == shift;
      }
    }
    tzset();
    std::string text = rule.text;
    if (const size_t at = text.find("%nth"); at != text.npos) {
      if (Nth(start) == 4) continue;
      text.replace(
          at, 4, std::to_string(Nth(start) + 1) + kWeekdays[weekday(sys_days(start)).c_encoding()]);
    }
    test::FixedZone zone(here.rule);
    ScopedService<TimeZone> useZone(zone);
    char begin[32];
    std::snprintf(begin, sizeof begin, "%04d%02u%02uT%02d%02d00", int{start.year()},
                  unsigned{start.month()}, unsigned{start.day()}, minute / 60, minute % 60);
    const std::string lines =
        std::string("DTSTART;TZID=") + own + ":" + begin + "\nRRULE:" + text + "\n";
    SCOPED_TRACE(lines + here.name);
    const auto item = ParseVCalendar("BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VEVENT\n" + lines +
                                     "END:VEVENT\nEND:VCALENDAR\n");
    ASSERT_TRUE(item && item->isRecurring);
    if (item->recurrence.type == RecurrenceType::None) {
      ++kept;
      EXPECT_TRUE(item->fields.extras.front().property.starts_with(u"RRULE"));
      // Days that are the same by number or by name are held.
      EXPECT_FALSE(same && shift == 0);
      const bool byWeek = text.starts_with("FREQ=DAILY") || text == "FREQ=WEEKLY";
      EXPECT_FALSE(same && byWeek);
      continue;
    }
    ++held;
    EXPECT_TRUE(same);
    std::vector<std::string> days;
    ForEachOccurrence(*item, item->start - 2, item->start + (kYears - 1) * 365,
                      [&](const Occurrence& o) {
                        days.push_back(ToUtf8(FormatDateTime(o.local)).substr(0, 10));
                        return true;
                      });
    ASSERT_LE(days.size(), expected.size());
    expected.resize(days.size());
    EXPECT_EQ(days, expected);
  }
  EXPECT_GT(held, 300);
  EXPECT_GT(kept, 100);
}

// The moments of a series in its first year.
std::vector<DATE> Moments(const CalendarContent& series) {
  std::vector<DATE> moments;
  ForEachOccurrence(series, series.start - 3, series.start + 369, [&](const Occurrence& one) {
    if (one.utc < series.start + 366) moments.push_back(one.utc);
    return true;
  });
  return moments;
}

// Between zones without daylight time, across the date line too: what is stored in one and looked
// at in another falls on the same moments, is written as that, and comes home as it went.
TEST(ZoneRules, StayOnTheirMomentsWhereverTheComputerGoes) {
  constexpr const char* kZones[] = {"UTC0", "HST10", "<-11>11", "<+14>-14", "JST-9", "EST5"};
  std::mt19937 random(20260301);
  const auto draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  test::FixedZone zone;
  ScopedService<TimeZone> useZone(zone);
  int apart = 0;
  for (int round = 0; round < 1000; ++round) {
    Calendar item;
    item.isTask = draw(4) == 0;
    item.start = 46'000 + draw(800) + draw(96) / 96.0;
    item.isRecurring = true;
    const OwnRule& rule = kRules[static_cast<size_t>(draw(std::size(kRules)))];
    const std::string from = kZones[draw(std::size(kZones))];
    const std::string to = kZones[draw(std::size(kZones))];
    zone.Set(ParsePosixZone(from));
    std::string text = WriteVCalendar(item);
    std::string words = rule.text;
    if (const size_t at = words.find("%nth"); at != words.npos) {
      words.replace(at, 4, std::to_string(1 + draw(4)) + "WE");
    }
    text.insert(text.find("END:V"), "RRULE:" + words + "\r\n");
    const Calendar read = *ParseVCalendar(text);
    SCOPED_TRACE(from + " to " + to + "\n" + text);
    const std::vector<DATE> moments = Moments(read);
    const std::string stored = PackCalendar(read);
    zone.Set(ParsePosixZone(to));
    std::string why;
    const Calendar seen{*UnpackCalendar(stored, why), {}, {}};
    ASSERT_EQ(Moments(seen), moments);
    apart += seen.recurrence.daysBehind != 0;
    const std::string again = PackCalendar(seen);
    if (seen.recurrence.daysBehind == 0) {
      ASSERT_EQ(Moments(*ParseVCalendar(WriteVCalendar(seen))), moments) << WriteVCalendar(seen);
    }
    zone.Set(ParsePosixZone(from));
    ASSERT_EQ(Moments(*UnpackCalendar(again, why)), moments);
    if (seen.recurrence.daysBehind == 0) continue;
    ASSERT_EQ(*UnpackCalendar(again, why), *UnpackCalendar(stored, why));
  }
  EXPECT_GT(apart, 20);
  EXPECT_LT(apart, 400);
}

}  // namespace
}  // namespace qv
