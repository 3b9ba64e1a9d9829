#include "support/wall_clock.h"

#include "platform/system/service.h"
#include "platform/system/system_time.h"
#include "support/date_time.h"

namespace qv {

WallClock::WallClock() : rules_(Service<TimeZone>::Get().History()) {}

DATE WallClock::FromUtc(DATE utc) const {
  if (utc == 0.0 || !VariantTimeToSeconds(utc)) return 0.0;
  return DateFromUnixSeconds(rules_->UtcToLocal(UnixSecondsFromDate(utc)));
}

DATE WallClock::ToUtc(DATE local) const {
  if (local == 0.0 || !VariantTimeToSeconds(local)) return 0.0;
  return DateFromUnixSeconds(rules_->LocalToUtc(UnixSecondsFromDate(local)));
}

}  // namespace qv
