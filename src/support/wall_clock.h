// Wall-clock time and UTC as people and other programs take them: where each change of the clocks
// lies is told by the history of the zone, to the hour, and ahead by its record. (UtcToLocal and
// LocalToUtc judge the days near a change by a rule of their own, which what is stored in tables
// depends on.)
#pragma once

#include <memory>

#include "platform/com/types.h"
#include "platform/system/named_zones.h"

namespace qv {

// The zone that held when it was made. Moments are automation dates of whole seconds; 0.0, and what
// lies outside the years 100 to 9999, comes back as 0.0.
class WallClock {
 public:
  WallClock();

  DATE FromUtc(DATE utc) const;
  // A time that occurs twice is the first one, one that does not occur lies behind the change.
  DATE ToUtc(DATE local) const;

 private:
  std::shared_ptr<const ZoneRules> rules_;
};

}  // namespace qv
