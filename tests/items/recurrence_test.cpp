// Occurrences against a walk over every day.
#include "items/recurrence.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "kit/platform_fakes.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

using namespace std::chrono;

DATE At(const std::u16string& text) {
  return ParseDateTime(text).value;
}

std::vector<std::string> Begins(const CalendarContent& series, DATE from, DATE to) {
  std::vector<std::string> all;
  ForEachOccurrence(series, from, to, [&](const Occurrence& occurrence) {
    all.push_back(ToUtf8(FormatDateTime(occurrence.local)));
    return all.size() < 10'000;
  });
  return all;
}

// Does the day fit the rule? By counting, not by computing.
bool Fits(const Recurrence& rule, sys_days start, sys_days date) {
  const year_month_day first(start);
  const year_month_day now(date);
  const int interval = std::max(1, rule.interval);
  const int months = (int{now.year()} - int{first.year()}) * 12 +
                     static_cast<int>(unsigned{now.month()}) -
                     static_cast<int>(unsigned{first.month()});
  const bool onDay = static_cast<int>(unsigned{now.day()}) == rule.dayOfMonth;
  const auto named = [&](sys_days d) {
    return (rule.daysOfWeek >> weekday(d).c_encoding() & 1) != 0;
  };
  const auto nth = [&] {
    if (!named(date)) return false;
    int before = 0;
    int after = 0;
    for (sys_days d = date - days(1); year_month_day(d).month() == now.month(); d -= days(1)) {
      before += named(d);
    }
    for (sys_days d = date + days(1); year_month_day(d).month() == now.month(); d += days(1)) {
      after += named(d);
    }
    return rule.instance == 5 ? after == 0 : before + 1 == rule.instance;
  };
  const bool inMonth = static_cast<int>(unsigned{now.month()}) == rule.monthOfYear;
  const bool inYear = (int{now.year()} - int{first.year()}) % interval == 0;
  const auto monday = [](sys_days d) { return d - (weekday(d) - Monday); };
  switch (rule.type) {
    case RecurrenceType::Daily:
      return (date - start).count() % interval == 0;
    case RecurrenceType::Weekly:
      return named(date) && (monday(date) - monday(start)).count() / 7 % interval == 0;
    case RecurrenceType::MonthlyByDay:
      return onDay && months % interval == 0;
    case RecurrenceType::MonthlyByWeekday:
      return nth() && months % interval == 0;
    case RecurrenceType::YearlyByDay:
      return onDay && inMonth && inYear;
    case RecurrenceType::YearlyByWeekday:
      return nth() && inMonth && inYear;
    case RecurrenceType::None:
      break;
  }
  return false;
}

std::string Describe(const Recurrence& r) {
  std::string text;
  for (const int number : {static_cast<int>(r.type), r.interval, r.daysOfWeek, r.instance,
                           r.dayOfMonth, r.monthOfYear, r.occurrences}) {
    text += std::to_string(number) + " ";
  }
  return text + ToUtf8(FormatDateTime(r.until));
}

TEST(Recurrence, AgreesWithAWalkOverEveryDay) {
  std::mt19937 random(20240331);
  const auto pick = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  for (const char* rule : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "AEST-10AEDT,M10.1.0,M4.1.0/3",
                           "EST5EDT,M3.2.0,M11.1.0"}) {
    test::FixedZone zone(rule);
    ScopedService<TimeZone> useZone(zone);
    for (int round = 0; round < 300; ++round) {
      CalendarContent series;
      series.isRecurring = true;
      Recurrence& r = series.recurrence;
      r.type = static_cast<RecurrenceType>(pick(1, 6));
      r.interval = pick(0, 4);
      r.daysOfWeek = pick(1, 127);
      r.instance = pick(1, 5);
      r.dayOfMonth = pick(1, 31);
      r.monthOfYear = pick(1, 12);
      if (pick(0, 3) == 0) r.occurrences = pick(1, 12);
      const sys_days start = sys_days(2023y / January / 1) + days(pick(0, 800));
      // Not within an hour that a change of the clocks takes away or gives twice.
      const int seconds = pick(5, 22) * 3600 + pick(0, 59) * 60;
      const auto local = [&](sys_days day) {
        return DateFromUnixSeconds(sys_seconds(day).time_since_epoch().count() + seconds);
      };
      series.start = WallClock().ToUtc(local(start));
      if (pick(0, 3) == 0) r.until = WallClock().ToUtc(local(start + days(pick(0, 900))));
      const sys_days from = start + days(pick(-50, 600));
      const sys_days to = from + days(pick(0, 700));
      std::vector<std::string> expected;
      int count = 0;
      for (sys_days day = start; day < to; day += days(1)) {
        if (day != start && !Fits(r, start, day)) continue;
        if (r.occurrences > 0 && ++count > r.occurrences) break;
        if (r.until != 0.0 && WallClock().ToUtc(local(day)) > r.until) break;
        if (day >= from) expected.push_back(ToUtf8(FormatDateTime(local(day))));
      }
      const auto midnight = [](sys_days day) {
        return DateFromUnixSeconds(sys_seconds(day).time_since_epoch().count());
      };
      ASSERT_EQ(Begins(series, midnight(from), midnight(to)), expected)
          << rule << ": " << Describe(r) << " from " << ToUtf8(FormatDateTime(local(start)));
    }
  }
}

TEST(Recurrence, StaysOnTheWallWhenTheClocksChange) {
  test::FixedZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  ScopedService<TimeZone> useZone(zone);
  CalendarContent series;
  series.start = At(u"2024-03-24 08:00:00");
  series.recurrence = {.type = RecurrenceType::Weekly, .interval = 1, .daysOfWeek = 1};
  std::vector<std::u16string> utc;
  ForEachOccurrence(series, At(u"2024-03-01 00:00:00"), At(u"2024-04-08 00:00:00"),
                    [&](const Occurrence& occurrence) {
                      utc.push_back(FormatDateTime(occurrence.utc));
                      return true;
                    });
  EXPECT_EQ(utc, (std::vector<std::u16string>{u"2024-03-24 08:00:00", u"2024-03-31 07:00:00",
                                              u"2024-04-07 07:00:00"}));
  const OccurrenceSet moved({At(u"2024-04-07 08:00:00"), At(u"2024-03-24 08:00:00")});
  EXPECT_TRUE(moved.Contains(At(u"2024-04-07 07:00:00"))) << "meant by the clock of another zone";
  EXPECT_FALSE(moved.Contains(At(u"2024-03-31 07:00:00")));
}

TEST(Recurrence, NothingIsExpandedWithoutABound) {
  test::FixedZone zone("UTC0");
  ScopedService<TimeZone> useZone(zone);
  struct Case {
    Recurrence rule;
    const char16_t* start;
    size_t count;
  };
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  for (const Case& c :
       {Case{{.type = RecurrenceType::Daily, .interval = kMost}, u"2024-01-01 00:00:00", 1},
        Case{{.type = RecurrenceType::YearlyByDay,
        .interval = kMost,
        .dayOfMonth = 1,
        .monthOfYear = 1},
             u"2024-01-01 00:00:00",
             1},
        Case{{.type = RecurrenceType::MonthlyByDay, .interval = -5, .dayOfMonth = 1},
             u"9999-11-01 00:00:00",
             2},
        Case{{.type = RecurrenceType::Weekly}, u"2024-01-01 00:00:00", 1},
        Case{{.type = RecurrenceType::YearlyByDay, .dayOfMonth = 31, .monthOfYear = 2},
             u"0100-01-05 00:00:00",
             1},
        Case{{.type = RecurrenceType::Daily, .occurrences = kMost}, u"9999-12-30 23:00:00", 2},
        Case{{.type = RecurrenceType::Daily}, u"", 0}}) {
    CalendarContent series;
    series.start = At(c.start);
    series.recurrence = c.rule;
    EXPECT_EQ(Begins(series, At(u"0100-01-01 00:00:00"), 1e9).size(), c.count) << Describe(c.rule);
  }
}

}  // namespace
}  // namespace qv
