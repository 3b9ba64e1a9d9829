#include "platform/system/named_zones.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/system/files.h"
#include "platform/system/zone_file.h"

namespace qv {
namespace {

constexpr int64_t kDaySeconds = 86400;
constexpr size_t kLongestName = 100;
// More than there are zones: what is beyond are names that are none.
constexpr size_t kMostKept = 1000;

// When a yearly rule's moment comes, by the clock that it names; `week` 5 is the last.
int64_t MomentOf(int year, const SystemTime& rule) {
  using namespace std::chrono;
  const auto inMonth = std::chrono::year(year) / month(rule.month);
  const weekday day(rule.dayOfWeek);
  const sys_days date =
      rule.day >= 5 ? sys_days(inMonth / day[last]) : sys_days(inMonth / day[rule.day]);
  return date.time_since_epoch().count() * kDaySeconds + rule.hour * 3600 + rule.minute * 60 +
         rule.second;
}

int64_t EastByRecord(const TimeZoneRecord& record, int64_t utc) {
  const int64_t standard = -int64_t{record.bias} * 60;
  if (record.daylightBias == 0 || record.daylightDate.month == 0) return standard;
  const int64_t daylight = standard - int64_t{record.daylightBias} * 60;
  const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(
      std::chrono::sys_seconds(std::chrono::seconds(utc + standard))));
  const int year = int{date.year()};
  const int64_t start = MomentOf(year, record.daylightDate) - standard;
  const int64_t end = MomentOf(year, record.standardDate) - daylight;
  const bool isDaylight = start < end ? utc >= start && utc < end : utc >= start || utc < end;
  return isDaylight ? daylight : standard;
}

bool IsSafe(std::string_view name) {
  if (name.empty() || name.size() > kLongestName || name.front() == '/' || name.back() == '/') {
    return false;
  }
  return name.find("..") == name.npos && std::ranges::all_of(name, [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  std::string_view("/_+-").find(c) != std::string_view::npos;
         });
}

// The last `parts` parts of a path; empty for one that has fewer.
std::string_view LastParts(std::string_view path, int parts) {
  size_t at = path.size();
  for (; parts > 0; --parts) {
    if (at == 0 || at == path.npos) return {};
    at = path.rfind('/', at - 1);
  }
  return at == path.npos ? path : path.substr(at + 1);
}

class FileZones final : public NamedZones {
 public:
  const ZoneRules* Find(std::string_view name) override {
    if (const auto known = zones_.find(std::string(name)); known != zones_.end()) {
      return known->second.get();
    }
    std::unique_ptr<ZoneRules> zone;
    if (!name.starts_with('/')) zone = Load(name);
    for (const int parts : {2, 3, 1}) {
      if (!zone && name.starts_with('/')) zone = Load(LastParts(name, parts));
    }
    if (!zone && zones_.size() >= kMostKept) return nullptr;
    return zones_.emplace(name, std::move(zone)).first->second.get();
  }

 private:
  static std::unique_ptr<ZoneRules> Load(std::string_view name) {
    if (!IsSafe(name)) return nullptr;
    const char* given = std::getenv("TZDIR");
    std::string path = given != nullptr && *given != '\0' ? given : "/usr/share/zoneinfo";
    path.append("/").append(name);
    FileInfo info;
    std::string bytes;
    constexpr uint64_t kLargest = 1 << 20;
    if (Files::Default().Stat(path, info) || info.isFolder || info.size > kLargest ||
        Files::Default().Read(path, bytes)) {
      return nullptr;
    }
    std::optional<ZoneRules> rules = ReadZoneHistory(bytes);
    return rules ? std::make_unique<ZoneRules>(std::move(*rules)) : nullptr;
  }

  std::unordered_map<std::string, std::unique_ptr<ZoneRules>> zones_;
};

}  // namespace

int64_t ZoneRules::EastAt(int64_t utc) const {
  const auto next = std::ranges::upper_bound(transitions_, utc, {}, &Transition::utc);
  if (next == transitions_.end()) return EastByRecord(behind_, utc);
  return next == transitions_.begin() ? firstEast_ : std::prev(next)->east;
}

int64_t ZoneRules::LocalToUtc(int64_t local) const {
  const int64_t before = EastAt(local - kDaySeconds);
  const int64_t after = EastAt(local + kDaySeconds);
  if (EastAt(local - before) == before || EastAt(local - after) != after) return local - before;
  return local - after;
}

NamedZones& NamedZones::Default() {
  static FileZones zones;
  return zones;
}

}  // namespace qv
