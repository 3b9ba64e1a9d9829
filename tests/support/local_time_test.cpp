#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

using test::FixedZone;

constexpr std::string_view kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr std::string_view kSydney = "AEST-10AEDT,M10.1.0,M4.1.0/3";

std::string Dump(const DateTimeValue& date) {
  return ToUtf8(FormatDateTime(date));
}

TEST(LocalTime, ConvertsByTheRule) {
  const struct {
    std::string_view zone;
    std::u16string_view utc;
    std::string_view local;
    std::string_view back;  // from the local time
  } cases[] = {
      {"UTC0", u"2011-03-04 05:06:07", "2011-03-04 05:06:07", "2011-03-04 05:06:07"},
      {"<+0545>-5:45", u"2011-07-04 20:06:07", "2011-07-05 01:51:07", "2011-07-04 20:06:07"},
      {kBerlin, u"2011-03-04 23:06:07", "2011-03-05 00:06:07", "2011-03-04 23:06:07"},
      {kBerlin, u"2011-07-04 05:06:07", "2011-07-04 07:06:07", "2011-07-04 05:06:07"},
      // Round the last Sunday of March; the way back is tested on what would be UTC in winter.
      {kBerlin, u"2011-03-27 00:59:59", "2011-03-27 01:59:59", "2011-03-27 00:59:59"},
      {kBerlin, u"2011-03-27 01:00:00", "2011-03-27 03:00:00", "2011-03-27 01:00:00"},
      {kBerlin, u"2011-03-27 01:00:01", "2011-03-27 03:00:01", "2011-03-27 01:00:01"},
      // And of October.
      {kBerlin, u"2011-10-30 02:00:00", "2011-10-30 04:00:00", "2011-10-30 02:00:00"},
      {kBerlin, u"2011-10-30 02:00:01", "2011-10-30 03:00:01", "2011-10-30 01:00:01"},
      {kBerlin, u"2011-10-30 03:00:01", "2011-10-30 04:00:01", "2011-10-30 03:00:01"},
      {kSydney, u"2011-01-04 05:06:07", "2011-01-04 16:06:07", "2011-01-04 05:06:07"},
      {kSydney, u"2011-07-04 05:06:07", "2011-07-04 15:06:07", "2011-07-04 05:06:07"},
      {"IST-1GMT0,M10.5.0,M3.5.0/1", u"2011-07-04 05:06:07", "2011-07-04 06:06:07",
       "2011-07-04 05:06:07"},
      {"IST-1GMT0,M10.5.0,M3.5.0/1", u"2011-01-04 05:06:07", "2011-01-04 05:06:07",
       "2011-01-04 05:06:07"},
  };
  for (const auto& [rule, utc, local, back] : cases) {
    FixedZone zone(rule);
    const ScopedService<TimeZone> use(zone);
    const DateTimeValue converted = UtcToLocal(ParseDateTime(utc), true);
    EXPECT_EQ(Dump(converted), local) << rule << ' ' << ToUtf8(utc);
    EXPECT_EQ(Dump(LocalToUtc(converted, true)), back) << rule << ' ' << local;
  }
  FixedZone zone(kBerlin);
  const ScopedService<TimeZone> use(zone);
  EXPECT_EQ(Dump(UtcToLocal(ParseDateTime(u"2011-07-04 05:06:07"), false)), "2011-07-04 06:06:07");
}

TEST(LocalTime, NoDateIsLeftAlone) {
  FixedZone zone(kBerlin);
  const ScopedService<TimeZone> use(zone);
  for (const DateTimeValue& none :
       {DateTimeValue(), DateTimeValue::Null(), DateTimeValue(40606.5, DateStatus::Invalid)}) {
    for (const auto convert : {&UtcToLocal, &LocalToUtc}) {
      const DateTimeValue same = convert(none, true);
      EXPECT_EQ(same.value, none.value);
      EXPECT_EQ(same.status, none.status);
    }
  }
  DateTimeValue last;
  last.SetDateTime(9999, 12, 31, 23, 30, 0);
  EXPECT_EQ(UtcToLocal(last, true).status, DateStatus::Invalid);
  EXPECT_EQ(UtcToLocal(DateTimeValue(1e9), true).status, DateStatus::Invalid);
}

TEST(LocalTime, WholeSecondsBecomeTheVeryValueThatIsSet) {
  for (const int32_t bias : {60, -60, 300, -330, 1}) {
    FixedZone zone(TimeZoneRecord{bias, 0, {}, {}});
    const ScopedService<TimeZone> use(zone);
    // From 1800 to the last centuries, through every time of day.
    for (int64_t seconds = -5'400'000'000; seconds < 250'000'000'000; seconds += 70'000'999) {
      const DATE date = DateFromUnixSeconds(seconds);
      ASSERT_EQ(UtcToLocal(date, true).value, DateFromUnixSeconds(seconds - bias * 60)) << seconds;
      ASSERT_EQ(LocalToUtc(date, true).value, DateFromUnixSeconds(seconds + bias * 60)) << seconds;
    }
  }
}

TEST(LocalTime, FractionsStay) {
  FixedZone zone(kBerlin);
  const ScopedService<TimeZone> use(zone);
  const double microsecond = 1e-6 / 86400;
  const DATE noon = 40606.5;
  const DATE local = UtcToLocal(noon, true).value;
  EXPECT_NEAR(UtcToLocal(noon + 20 * microsecond, true).value - local, 20 * microsecond,
              2 * microsecond);
  EXPECT_EQ(UtcToLocal(noon + 8 * microsecond, true).value, local);
  EXPECT_EQ(UtcToLocal(noon - 8 * microsecond, true).value, local);
}

TEST(IsDaylightTime, TellsTheBiasWhateverTheAnswer) {
  const SystemTime start{2011, 3, 0, 1, 0, 0, 0, 0};
  const SystemTime end{2011, 10, 0, 1, 0, 0, 0, 0};
  const struct {
    TimeZoneRecord zone;
    std::u16string_view date;
    bool isDaylight;
  } cases[] = {
      {{-60, 0, end, start}, u"2011-07-01", false},
      {{-60, -60, end, start}, u"2011-07-01", true},  // fixed dates: of their own year only
      {{-60, -60, end, start}, u"2012-07-01", false},
      {{-60, -60, end, start}, u"2011-02-28", false},
      {ParsePosixZone(kBerlin), u"2011-07-01", true},
      {ParsePosixZone(kBerlin), u"2011-01-01", false},
      {ParsePosixZone(kSydney), u"2011-01-15", true},
      {ParsePosixZone(kSydney), u"2011-07-01", false},
      {{-60, -60, {}, {}}, u"2011-07-01", false},  // a rule without dates
      {ParsePosixZone(kSydney), u"rubbish", false},
  };
  for (const auto& [record, date, isDaylight] : cases) {
    FixedZone zone(record);
    const ScopedService<TimeZone> use(zone);
    int32_t bias = 12345;
    EXPECT_EQ(IsDaylightTime(ParseDateTime(date), bias), isDaylight) << ToUtf8(date);
    EXPECT_EQ(bias, record.daylightBias);
  }
}

// The walk that the rule describes, day by day.
int DayByWalking(int year, int month, int week, int dayOfWeek) {
  const auto weekdayOf = [&](int day) {
    DateTimeValue date;
    date.SetDate(year, month, day);
    return date.GetDayOfWeek();
  };
  if (week == 5) {
    for (int day = 31; day > 0; --day) {
      if (weekdayOf(day) == dayOfWeek + 1) return day;
    }
  }
  int sundays = 0;
  for (int day = 1; day <= 31; ++day) {
    if (weekdayOf(day) == 1 && ++sundays == week) {
      const int before = day - (7 - dayOfWeek);
      return before < 1 ? day + dayOfWeek : before;
    }
  }
  return -1;
}

TEST(NthWeekdayOfMonth, FollowsTheWalk) {
  for (int year = 2004; year < 2016; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int week = 0; week <= 6; ++week) {
        for (int dayOfWeek = 0; dayOfWeek < 7; ++dayOfWeek) {
          const DateTimeValue day = NthWeekdayOfMonth(year, month, week, dayOfWeek, 2, 0, 0);
          ASSERT_EQ(day.GetDay(), DayByWalking(year, month, week, dayOfWeek))
              << year << '-' << month << " week " << week << " day " << dayOfWeek;
        }
      }
    }
  }
  EXPECT_EQ(Dump(NthWeekdayOfMonth(2011, 3, 2, 0, 2, 0, 0)), "2011-03-06 02:00:00");
  EXPECT_EQ(Dump(NthWeekdayOfMonth(2011, 10, 5, 0, 3, 4, 5)), "2011-10-30 03:04:05");
  for (const int badMonth : {0, 13, -1}) {
    EXPECT_EQ(NthWeekdayOfMonth(2011, badMonth, 5, 0, 2, 0, 0).status, DateStatus::Null);
  }
  EXPECT_EQ(NthWeekdayOfMonth(-1, 3, 5, 0, 2, 0, 0).status, DateStatus::Null);
  EXPECT_EQ(NthWeekdayOfMonth(2011, 3, 5, 7, 2, 0, 0).status, DateStatus::Null);
  EXPECT_EQ(NthWeekdayOfMonth(2011, 3, 5, 0, 24, 0, 0).status, DateStatus::Invalid);
}

}  // namespace
}  // namespace qv
