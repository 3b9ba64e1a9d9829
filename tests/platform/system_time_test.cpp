#include "platform/system/system_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qv {
namespace {

TEST(SystemTime, KnownDates) {
  const struct {
    DATE date;
    SystemTime time;
  } cases[] = {
      {0.0, {1899, 12, 6, 30, 0, 0, 0, 0}},    {1.25, {1899, 12, 0, 31, 6, 0, 0, 0}},
      {-1.25, {1899, 12, 5, 29, 6, 0, 0, 0}},  {25569.0, {1970, 1, 4, 1, 0, 0, 0, 0}},
      {40606.5, {2011, 3, 5, 4, 12, 0, 0, 0}}, {36585.0, {2000, 2, 2, 29, 0, 0, 0, 0}},
      {-657434.0, {100, 1, 5, 1, 0, 0, 0, 0}}, {2958465.0, {9999, 12, 5, 31, 0, 0, 0, 0}},
  };
  for (const auto& [date, time] : cases) {
    EXPECT_EQ(VariantTimeToSystemTime(date), time) << date;
    EXPECT_EQ(SystemTimeToVariantTime(time), date) << date;
  }
}

TEST(SystemTime, RoundsToTheNearestSecondAndCarries) {
  const double second = 1.0 / 86400;
  const struct {
    DATE date;
    SystemTime time;
  } cases[] = {
      {40606.5 + 0.4 * second, {2011, 3, 5, 4, 12, 0, 0, 0}},
      {40606.5 + 0.6 * second, {2011, 3, 5, 4, 12, 0, 1, 0}},
      {40606.5 - 0.4 * second, {2011, 3, 5, 4, 12, 0, 0, 0}},
      {36526.0 - 0.4 * second, {2000, 1, 6, 1, 0, 0, 0, 0}},       // over the end of the year
      {-1.0 - (1 - 0.4 * second), {1899, 12, 6, 30, 0, 0, 0, 0}},  // and before 1900
  };
  for (const auto& [date, time] : cases) EXPECT_EQ(VariantTimeToSystemTime(date), time) << date;
}

TEST(SystemTime, NothingOutsideTheSpan) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const DATE date :
       {-657435.0, 2958466.0, 2958465.999999, 1e300, -1e300, infinity, -infinity, std::nan("")}) {
    EXPECT_FALSE(VariantTimeToSystemTime(date)) << date;
    EXPECT_FALSE(VariantTimeToSeconds(date)) << date;
  }
  const SystemTime bad[] = {
      {99, 12, 0, 31, 0, 0, 0, 0},   {10000, 1, 0, 1, 0, 0, 0, 0}, {2011, 0, 0, 1, 0, 0, 0, 0},
      {2011, 13, 0, 1, 0, 0, 0, 0},  {2011, 6, 0, 31, 0, 0, 0, 0}, {2011, 2, 0, 29, 0, 0, 0, 0},
      {1900, 2, 0, 29, 0, 0, 0, 0},  {2011, 6, 0, 0, 0, 0, 0, 0},  {2011, 6, 0, 1, 24, 0, 0, 0},
      {2011, 6, 0, 1, 0, 60, 0, 0},  {2011, 6, 0, 1, 0, 0, 60, 0}, {2011, 257, 0, 1, 0, 0, 0, 0},
      {2011, 1, 0, 257, 0, 0, 0, 0},
  };
  for (const SystemTime& time : bad) {
    EXPECT_FALSE(SystemTimeToVariantTime(time))
        << time.year << '-' << time.month << '-' << time.day;
  }
}

TEST(SystemTime, EveryWholeSecondComesBackExactly) {
  const int64_t first = VariantTimeToSeconds(-657434.0).value();
  const int64_t last = VariantTimeToSeconds(2958465.0).value() + 86399;
  EXPECT_FALSE(SecondsToVariantTime(first - 1));
  EXPECT_FALSE(SecondsToVariantTime(last + 1));
  const auto check = [](int64_t seconds) {
    const std::optional<DATE> date = SecondsToVariantTime(seconds);
    ASSERT_TRUE(date) << seconds;
    ASSERT_EQ(VariantTimeToSeconds(*date), seconds);
    const std::optional<SystemTime> time = VariantTimeToSystemTime(*date);
    ASSERT_TRUE(time) << seconds;
    ASSERT_EQ(SystemTimeToVariantTime(*time), date) << seconds;
  };
  // A stride without a common factor with a day meets every time of day.
  for (int64_t seconds = first; seconds <= last; seconds += 999'983) check(seconds);
  for (int64_t seconds = -86400; seconds <= 86400; ++seconds) check(seconds);
  check(last);
}

}  // namespace
}  // namespace qv
