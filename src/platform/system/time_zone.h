// The time-zone record: offset from UTC and the yearly daylight rule.
#pragma once

#include <memory>
#include <string_view>

#include "platform/system/system_time.h"

namespace qv {

// UTC = local + bias minutes; in daylight time daylightBias minutes more (usually -60).
//
// A yearly rule has year 0 and holds, per date, month, week (in `day`, 5 for the last), day of week
// and time of day, each in the local time that ends with it. A zone without daylight time has
// month 0 in both and daylightBias 0.
struct TimeZoneRecord {
  int32_t bias = 0;
  int32_t daylightBias = 0;
  SystemTime standardDate;
  SystemTime daylightDate;

  friend bool operator==(const TimeZoneRecord&, const TimeZoneRecord&) = default;
};

class ZoneRules;  // named_zones.h

class TimeZone {
 public:
  virtual ~TimeZone() = default;
  // The record of the zone that holds now. Cheap enough to be asked once per date.
  virtual TimeZoneRecord GetTimeZoneInformation() = 0;
  // What the clocks of that zone show at any time: its history, and the record behind the last
  // change that is known. Of a zone of which no more is known the record counts for all times. As
  // cheap.
  virtual std::shared_ptr<const ZoneRules> History();

  // TZ as the C library reads it (a zone name, a path, or a rule), else /etc/localtime. The record
  // comes from the rule behind the last transition (RFC 8536, the footer of a TZif file).
  static TimeZone& Default();
};

// The zone that held when it was made: for a loop over many dates, which then all go by one look
// at the zone. Put it in place with ScopedService.
class HeldTimeZone final : public TimeZone {
 public:
  HeldTimeZone();
  TimeZoneRecord GetTimeZoneInformation() override { return record_; }
  std::shared_ptr<const ZoneRules> History() override { return history_; }

 private:
  TimeZoneRecord record_;
  std::shared_ptr<const ZoneRules> history_;
};

// The record of a POSIX TZ rule, "CET-1CEST,M3.5.0,M10.5.0/3". Daylight dates of the forms Jn and n
// cannot be said in a record: such a zone, and one whose dates cannot be read, has no daylight
// time; a rule that cannot be read from the start is UTC. A transition before or after its own day
// is moved to the first or last second of that day. Of two offsets the one nearer to the west is
// the standard, whatever the rule calls it, so that daylightBias is never above 0.
TimeZoneRecord ParsePosixZone(std::string_view rule);

}  // namespace qv
