// The present moment.
#pragma once

#include <cstdint>

#include "platform/system/system_time.h"

namespace qv {

class Clock {
 public:
  virtual ~Clock() = default;
  // Seconds since 1970-01-01 00:00:00 UTC.
  virtual int64_t UtcSeconds() = 0;
  // The same moment as local wall time, by the C library's rules; milliseconds are 0.
  virtual SystemTime LocalTime() = 0;

  static Clock& Default();
};

}  // namespace qv
