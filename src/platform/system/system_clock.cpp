#include <algorithm>
#include <ctime>

#include "platform/system/clock.h"

namespace qv {
namespace {

class SystemClock final : public Clock {
 public:
  int64_t UtcSeconds() override { return std::time(nullptr); }

  SystemTime LocalTime() override {
    const std::time_t now = std::time(nullptr);
    tzset();  // localtime_r alone need not see a changed TZ
    std::tm parts{};
    if (localtime_r(&now, &parts) == nullptr) return {};
    SystemTime time;
    time.year = static_cast<uint16_t>(parts.tm_year + 1900);
    time.month = static_cast<uint16_t>(parts.tm_mon + 1);
    time.dayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time.day = static_cast<uint16_t>(parts.tm_mday);
    time.hour = static_cast<uint16_t>(parts.tm_hour);
    time.minute = static_cast<uint16_t>(parts.tm_min);
    time.second = static_cast<uint16_t>(std::min(parts.tm_sec, 59));  // a leap second
    return time;
  }
};

}  // namespace

Clock& Clock::Default() {
  static SystemClock clock;
  return clock;
}

}  // namespace qv
