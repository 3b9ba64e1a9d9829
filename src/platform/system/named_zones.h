// Time zones by name, with their whole history.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/system/time_zone.h"

namespace qv {

// Seconds since 1970 throughout; local ones count wall-clock time in the same manner.
class ZoneRules {
 public:
  struct Transition {
    int64_t utc;   // from here on
    int64_t east;  // seconds that local time is ahead of UTC
  };

  // `transitions` ascend. Before the first one `firstEast` holds, behind the last one the record.
  ZoneRules(int64_t firstEast, std::vector<Transition> transitions, const TimeZoneRecord& behind)
      : firstEast_(firstEast), transitions_(std::move(transitions)), behind_(behind) {}

  int64_t UtcToLocal(int64_t utc) const { return utc + EastAt(utc); }
  // A local time that occurs twice is the first one; one that does not occur lies as far behind the
  // change of the clocks as it would without it (RFC 5545, 3.3.5).
  int64_t LocalToUtc(int64_t local) const;

 private:
  int64_t EastAt(int64_t utc) const;

  int64_t firstEast_;
  std::vector<Transition> transitions_;
  TimeZoneRecord behind_;
};

class NamedZones {
 public:
  virtual ~NamedZones() = default;
  // Null for an unknown name. Names are those of the zone data ("Europe/Berlin"), with or without a
  // producer's prefix ("/mozilla.org/20050126_1/Europe/Berlin"); case counts. The result lives as
  // long as the program; a name is looked up once.
  virtual const ZoneRules* Find(std::string_view name) = 0;

  // The folder TZDIR names, else /usr/share/zoneinfo.
  static NamedZones& Default();
};

}  // namespace qv
