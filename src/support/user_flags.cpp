#include "support/user_flags.h"

#include <string>

#include "platform/system/debug_log.h"
#include "platform/system/registry.h"
#include "platform/system/service.h"

namespace qv {
namespace {

// Persisted contract.
constexpr std::string_view kStopValue = "SyncStop";
constexpr std::string_view kExportEmptyValue = "ExportEmpty";

bool IsOn(std::string_view key, std::string_view value) {
  return Service<Registry>::Get().ReadNumber(key, value) == 1u;
}

}  // namespace

bool IsSyncStopped() {
  if (!IsOn(kSyncKey, kStopValue)) return false;
  OutputDebugStringW(u"Checked StopByUser in DataStore");
  return true;
}

int SetExportEmpty(uint32_t value) {
  return Service<Registry>::Get().WriteNumber(kSyncKey, kExportEmptyValue, value) ? 1 : 0;
}

std::string DeviceKey(uint32_t deviceNumber) {
  return std::string(kDeviceKey).append("\\").append(std::to_string(deviceNumber));
}

bool IsBookmarkHierSupported(uint32_t deviceNumber) {
  return IsOn(DeviceKey(deviceNumber), kHierarchyValue);
}

}  // namespace qv
