#include "support/wall_clock.h"

#include <gtest/gtest.h>

#include "kit/platform_fakes.h"
#include "support/date_time.h"

namespace qv {
namespace {

// The rule of a record against the history of the same zone, in a year and a half of half hours.
TEST(WallClock, TellsEveryHalfHourAsTheZonesHistoryDoes) {
  struct Zone {
    const char* rule;
    const char* name;
  };
  for (const Zone& zone : {Zone{"CET-1CEST,M3.5.0,M10.5.0/3", "Europe/Berlin"},
                           Zone{"EST5EDT,M3.2.0,M11.1.0", "America/New_York"},
                           Zone{"AEST-10AEDT,M10.1.0,M4.1.0/3", "Australia/Sydney"},
                           Zone{"IST-5:30", "Asia/Kolkata"}, Zone{"UTC0", "UTC"}}) {
    test::FixedZone fixed(zone.rule);
    ScopedService<TimeZone> use(fixed);
    const WallClock clock;
    const ZoneRules* history = NamedZones::Default().Find(zone.name);
    ASSERT_NE(history, nullptr) << zone.name;
    for (int64_t i = 0; i < 26'280; ++i) {
      const int64_t seconds = 1'704'067'200 + i * 1800;  // from 2024 on
      const DATE date = DateFromUnixSeconds(seconds);
      ASSERT_EQ(UnixSecondsFromDate(clock.FromUtc(date)), history->UtcToLocal(seconds))
          << zone.name << " " << seconds;
      ASSERT_EQ(UnixSecondsFromDate(clock.ToUtc(date)), history->LocalToUtc(seconds))
          << zone.name << " " << seconds;
    }
    EXPECT_EQ(clock.FromUtc(0.0), 0.0);
    EXPECT_EQ(clock.ToUtc(1e9), 0.0);
  }
}

}  // namespace
}  // namespace qv
