#include "platform/system/local_zone.h"

#include <cstdlib>

namespace qv {
namespace {

constexpr char kLocalTime[] = "/etc/localtime";
constexpr char kZoneFolder[] = "/usr/share/zoneinfo";

}  // namespace

std::string LocalZonePath(const char* tz) {
  if (tz == nullptr) return kLocalTime;
  const std::string name = *tz == ':' ? tz + 1 : tz;
  if (name.find(',') != name.npos) return {};  // no zone has a comma in its name
  if (name.empty() || name.front() == '/') return name;
  const char* folder = std::getenv("TZDIR");
  return std::string(folder != nullptr && *folder != '\0' ? folder : kZoneFolder) + "/" + name;
}

}  // namespace qv
