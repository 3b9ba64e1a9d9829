#include "platform/system/local_zone.h"

#include <cstdlib>

#include "platform/system/files.h"
#include "platform/system/service.h"
#include "platform/system/zone_file.h"

namespace qv {
namespace {

constexpr char kLocalTime[] = "/etc/localtime";
constexpr char kZoneFolder[] = "/usr/share/zoneinfo";
constexpr uint64_t kMaxZoneFile = 1 << 20;

}  // namespace

std::string LocalZonePath(const char* tz) {
  if (tz == nullptr) return kLocalTime;
  const std::string name = *tz == ':' ? tz + 1 : tz;
  if (name.find(',') != name.npos) return {};  // no zone has a comma in its name
  if (name.empty() || name.front() == '/') return name;
  const char* folder = std::getenv("TZDIR");
  return std::string(folder != nullptr && *folder != '\0' ? folder : kZoneFolder) + "/" + name;
}

ZoneRules LocalZone() {
  const TimeZoneRecord record = Service<TimeZone>::Get().GetTimeZoneInformation();
  const std::string path = LocalZonePath(std::getenv("TZ"));
  Files& files = Files::Default();
  FileInfo info;
  std::string bytes;
  const bool isRead = !path.empty() && !files.Stat(path, info) && !info.isFolder &&
                      info.size <= kMaxZoneFile && !files.Read(path, bytes);
  if (isRead && ReadZoneFile(bytes) == record) {
    if (std::optional<ZoneRules> rules = ReadZoneHistory(bytes)) return *std::move(rules);
  }
  return ZoneRules(0, {}, record);
}

}  // namespace qv
