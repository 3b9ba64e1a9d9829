// The times of files as the stores have them.
#pragma once

#include "support/date_time.h"

namespace qv {

// Seconds since 1970, UTC, as local wall-clock time, and back. 0.0 is no time.
inline DATE FileDate(int64_t utcSeconds) {
  return UtcToLocal(DateFromUnixSeconds(utcSeconds), true).value;
}
inline int64_t FileSeconds(DATE local) {
  return UnixSecondsFromDate(LocalToUtc(local, true).value);
}

}  // namespace qv
