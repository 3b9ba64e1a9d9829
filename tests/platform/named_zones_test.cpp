#include "platform/system/named_zones.h"

#include <gtest/gtest.h>

#include <chrono>

#include "kit/platform_fakes.h"
#include "platform/system/zone_file.h"

namespace qv {
namespace {

using namespace std::chrono;

int64_t At(int y, unsigned m, unsigned d, int hour, int minute = 0) {
  return sys_seconds(sys_days(year(y) / month(m) / day(d)) + hours(hour) + minutes(minute))
      .time_since_epoch()
      .count();
}

TEST(NamedZones, KnowTheOffsetsOfPastAndFuture) {
  struct Case {
    const char* zone;
    int64_t local;
    int64_t utc;
  };
  for (const Case& c : {
           Case{"Europe/Berlin", At(2024, 1, 15, 12), At(2024, 1, 15, 11)},
           Case{"Europe/Berlin", At(2024, 7, 15, 12), At(2024, 7, 15, 10)},
           Case{"Europe/Berlin", At(1945, 7, 1, 12), At(1945, 7, 1, 9)},
           Case{"Europe/Berlin", At(2500, 7, 15, 12), At(2500, 7, 15, 10)},
           Case{"America/New_York", At(2006, 3, 20, 12), At(2006, 3, 20, 17)},
           Case{"America/New_York", At(2007, 3, 20, 12), At(2007, 3, 20, 16)},
           Case{"Australia/Sydney", At(2024, 1, 15, 12), At(2024, 1, 15, 1)},
           Case{"Australia/Sydney", At(2060, 7, 15, 12), At(2060, 7, 15, 2)},
           Case{"Australia/Lord_Howe", At(2024, 1, 15, 12), At(2024, 1, 15, 1)},
           Case{"Australia/Lord_Howe", At(2024, 7, 15, 12), At(2024, 7, 15, 1, 30)},
           Case{"Asia/Kolkata", At(2024, 7, 15, 12), At(2024, 7, 15, 6, 30)},
           Case{"Etc/UTC", At(2024, 7, 15, 12), At(2024, 7, 15, 12)},
           Case{"/mozilla.org/20050126_1/Europe/Berlin", At(2024, 7, 15, 12), At(2024, 7, 15, 10)},
           Case{"/x.org/America/Argentina/Ushuaia", At(2024, 7, 15, 12), At(2024, 7, 15, 15)},
       }) {
    const ZoneRules* zone = NamedZones::Default().Find(c.zone);
    ASSERT_NE(zone, nullptr) << c.zone;
    EXPECT_EQ(zone->LocalToUtc(c.local), c.utc) << c.zone << " " << c.local;
    EXPECT_EQ(zone->UtcToLocal(c.utc), c.local) << c.zone << " " << c.local;
  }
}

TEST(NamedZones, TakeTheFirstOfTwoAndMoveOnWhatDoesNotOccur) {
  const ZoneRules& berlin = *NamedZones::Default().Find("Europe/Berlin");
  EXPECT_EQ(berlin.LocalToUtc(At(2024, 3, 31, 2, 30)), At(2024, 3, 31, 1, 30));
  EXPECT_EQ(berlin.LocalToUtc(At(2024, 10, 27, 2, 30)), At(2024, 10, 27, 0, 30));
  EXPECT_EQ(berlin.LocalToUtc(At(2024, 10, 27, 3, 0)), At(2024, 10, 27, 2));
  // By the rule behind the last entry of the file.
  EXPECT_EQ(berlin.LocalToUtc(At(2441, 3, 31, 2, 30)), At(2441, 3, 31, 1, 30));
}

TEST(NamedZones, RefuseWhatIsNoName) {
  NamedZones& zones = NamedZones::Default();
  for (const char* name : {"", "/", "Europe", "Europe/", "No/Such", "../zoneinfo/Europe/Berlin",
                           "/etc/passwd", "europe/berlin", "Europe/Berlin\n", "zone.tab"}) {
    EXPECT_EQ(zones.Find(name), nullptr) << name;
  }
  EXPECT_EQ(zones.Find(std::string(5000, 'x')), nullptr);
  for (int i = 0; i < 3000; ++i) zones.Find("Unknown/Zone" + std::to_string(i));
  EXPECT_NE(zones.Find("Asia/Tokyo"), nullptr) << "what is asked for in vain fills nothing up";
}

TEST(NamedZones, ADamagedFileIsNoZone) {
  std::string bytes;
  ASSERT_FALSE(Files::Default().Read("/usr/share/zoneinfo/Europe/Berlin", bytes));
  ASSERT_TRUE(ReadZoneHistory(bytes));
  for (size_t size = 0; size < bytes.size(); size += 7) {
    EXPECT_FALSE(ReadZoneHistory(bytes.substr(0, size))) << size;
  }
  for (size_t at = 0; at < bytes.size(); ++at) {
    std::string damaged = bytes;
    damaged[at] = static_cast<char>(0xFF);
    const auto zone = ReadZoneHistory(damaged);  // whatever it says
    if (zone) zone->LocalToUtc(At(2024, 7, 15, 12));
  }
}

}  // namespace
}  // namespace qv
