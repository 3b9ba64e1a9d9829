#include "platform/system/time_zone.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "kit/platform_fakes.h"
#include "platform/system/zone_file.h"

namespace qv {

std::ostream& operator<<(std::ostream& out, const TimeZoneRecord& zone) {
  const auto put = [&](const SystemTime& date) {
    out << " M" << date.month << '.' << date.day << '.' << date.dayOfWeek << '/' << date.hour << ':'
        << date.minute << ':' << date.second;
  };
  out << zone.bias << ' ' << zone.daylightBias;
  put(zone.daylightDate);
  put(zone.standardDate);
  return out;
}

namespace {

using test::ScopedEnvironment;
using test::TempFolder;

SystemTime Rule(int month, int week, int dayOfWeek, int hour, int minute = 0, int second = 0) {
  const auto narrow = [](int number) { return static_cast<uint16_t>(number); };
  return {0,
          narrow(month),
          narrow(dayOfWeek),
          narrow(week),
          narrow(hour),
          narrow(minute),
          narrow(second),
          0};
}

const TimeZoneRecord kBerlin{-60, -60, Rule(10, 5, 0, 3), Rule(3, 5, 0, 2)};
const TimeZoneRecord kDublin{0, -60, Rule(10, 5, 0, 2), Rule(3, 5, 0, 1)};

TEST(PosixZone, Rules) {
  const struct {
    std::string_view rule;
    TimeZoneRecord record;
  } cases[] = {
      {"UTC0", {}},
      {"CET-1CEST,M3.5.0,M10.5.0/3", kBerlin},
      {"GMT0BST,M3.5.0/1,M10.5.0", kDublin},
      {"IST-1GMT0,M10.5.0,M3.5.0/1", kDublin},  // winter time as the exception
      {"EST5EDT", {300, -60, Rule(11, 1, 0, 2), Rule(3, 2, 0, 2)}},
      {"AEST-10AEDT,M10.1.0,M4.1.0/3", {-600, -60, Rule(4, 1, 0, 3), Rule(10, 1, 0, 2)}},
      {"<+0545>-5:45", {-345, 0, {}, {}}},
      {"NST3:30NDT,M3.2.0,M11.1.0", {210, -60, Rule(11, 1, 0, 2), Rule(3, 2, 0, 2)}},
      {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", {-630, -30, Rule(4, 1, 0, 2), Rule(10, 1, 0, 2)}},
      {"XXX+4:00:29YYY,M1.1.1/12:34:56,M2.2.2/+1",
       {240, -60, Rule(2, 2, 2, 1), Rule(1, 1, 1, 12, 34, 56)}},
      // A time on another day stays on its own.
      {"<-02>2<-01>,M3.5.0/-1,M10.5.0/24",
       {120, -60, Rule(10, 5, 0, 23, 59, 59), Rule(3, 5, 0, 0)}},
  };
  for (const auto& [rule, record] : cases) EXPECT_EQ(ParsePosixZone(rule), record) << rule;
}

TEST(PosixZone, NoDaylightTimeWhereTheDatesCannotBeSaid) {
  for (const std::string_view rule :
       {"CET-1CEST,J60,J300", "CET-1CEST,59,299", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0",
        "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.0.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0",
        "CET-1CEST,M3.5.0/168,M10.5.0", "CET-1CEST,M3.5.0,M10.5.0/", "CET-1CEST,M3.5.0,M10.5.0x",
        "CET-1<CEST,M3.5.0,M10.5.0", "CET-1CEST-1,M3.5.0,M10.5.0", "CET-1XX,M3.5.0,M10.5.0"}) {
    EXPECT_EQ(ParsePosixZone(rule), (TimeZoneRecord{-60, 0, {}, {}})) << rule;
  }
  for (const std::string_view rule : {"", "CET", "-1", "CE-1", "CET25", "CET-99999999999", "<A>1",
                                      "<+01", "Europe/Nowhere", "CET-1:60"}) {
    EXPECT_EQ(ParsePosixZone(rule), TimeZoneRecord()) << rule;
  }
}

std::string Number(uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(value >> shift));
  return bytes;
}

// A header and its data: `transitions` to type 1, types at `offsets` seconds east.
std::string ZoneBlock(char version, size_t timeSize, uint32_t transitions,
                      const std::vector<int32_t>& offsets) {
  std::string bytes = "TZif" + std::string(1, version) + std::string(15, '\0');
  for (const uint32_t count :
       {0u, 0u, 0u, transitions, static_cast<uint32_t>(offsets.size()), 4u}) {
    bytes += Number(count);
  }
  bytes += std::string(transitions * timeSize, '\x01') + std::string(transitions, '\x01');
  for (const int32_t offset : offsets) {
    bytes += Number(static_cast<uint32_t>(offset)) + std::string(2, '\0');
  }
  return bytes + std::string("XXX\0", 4);
}

std::string ZoneFile(std::string_view rule) {
  return ZoneBlock('2', 4, 0, {0}) + ZoneBlock('2', 8, 3, {0, -7200}) + "\n" + std::string(rule) +
         "\n";
}

TEST(ZoneFile, TheRecordIsThatBehindTheLastTransition) {
  EXPECT_EQ(ReadZoneFile(ZoneFile("CET-1CEST,M3.5.0,M10.5.0/3")), kBerlin);
  const TimeZoneRecord twoWest{120, 0, {}, {}};
  EXPECT_EQ(ReadZoneFile(ZoneFile("")), twoWest);
  EXPECT_EQ(ReadZoneFile(ZoneBlock('\0', 4, 3, {0, -7200})), twoWest);
}

TEST(ZoneFile, NothingForWhatIsNone) {
  const std::string good = ZoneFile("CET-1CEST,M3.5.0,M10.5.0/3");
  for (size_t length = 0; length < good.size(); ++length) {
    EXPECT_FALSE(ReadZoneFile(std::string_view(good).substr(0, length))) << length;
  }
  std::string huge = good;
  huge.replace(32, 4, "\xFF\xFF\xFF\xFF");  // the count of transitions
  EXPECT_FALSE(ReadZoneFile(huge));
  EXPECT_FALSE(ReadZoneFile(ZoneBlock('\0', 4, 3, {0})));  // a type that is not there
}

TEST(LinuxTimeZone, FollowsTheEnvironment) {
  TempFolder zones;
  zones.Put("Made/Up", ZoneFile("CET-1CEST,M3.5.0,M10.5.0/3"));
  const std::string path = zones.Put("absolute", ZoneFile("GMT0BST,M3.5.0/1,M10.5.0"));
  zones.Put("damaged", "no zone file");
  const ScopedEnvironment folder("TZDIR", zones.path().c_str());
  const struct {
    std::string value;
    TimeZoneRecord record;
  } cases[] = {
      {"Made/Up", kBerlin},
      {":Made/Up", kBerlin},
      {path, kDublin},
      {":" + path, kDublin},
      {"CET-1CEST,M3.5.0,M10.5.0/3", kBerlin},
      {":<-02>2", {120, 0, {}, {}}},
      {"", {}},
      {":", {}},
      {"Made/Missing", {}},
      {"damaged", {}},
      {"/", {}},
      {"/dev/zero", {}},
  };
  for (const auto& [value, record] : cases) {
    const ScopedEnvironment zone("TZ", value.c_str());
    EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(), record) << value;
    EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(), record) << value << " again";
  }
}

TEST(LinuxTimeZone, WithoutTheVariableItIsTheMachinesZone) {
  std::string bytes;
  const bool isThere = !Files::Default().Read("/etc/localtime", bytes);
  const ScopedEnvironment zone("TZ", nullptr);
  EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(),
            (isThere ? ReadZoneFile(bytes) : std::nullopt).value_or(TimeZoneRecord()));
}

TEST(LinuxTimeZone, SeesAReplacedZoneFile) {
  TempFolder zones;
  const std::string path = zones.Put("zone", ZoneFile("UTC0"));
  const ScopedEnvironment zone("TZ", path.c_str());
  EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(), TimeZoneRecord());
  zones.Put("other", ZoneFile("CET-1CEST,M3.5.0,M10.5.0/3"));
  std::filesystem::rename(zones.File("other"), path);
  EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(), kBerlin);
  std::filesystem::remove(path);
  EXPECT_EQ(TimeZone::Default().GetTimeZoneInformation(), TimeZoneRecord());
}

}  // namespace
}  // namespace qv
