// Wall-clock time and UTC as people and other programs take them: where each change of the clocks
// lies is told by the time-zone record, to the hour. (UtcToLocal and LocalToUtc judge the days near
// a change by a rule of their own, which what is stored in tables depends on.)
#pragma once

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
  ZoneRules rules_;
};

}  // namespace qv
