// The registry flags through which the host program and the stores talk to each other.
//
// A flag is on only when its value is exactly 1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

// Persisted contract.
inline constexpr std::string_view kSyncKey = R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\Sync)";
inline constexpr std::string_view kDeviceKey = R"(SOFTWARE\Quovia\Quovia Deskhub\1.0\DeviceDB)";
inline constexpr std::string_view kHierarchyValue = "SupportBookmarkHier";
// The key of one device.
std::string DeviceKey(uint32_t deviceNumber);

// The user has pressed stop. Writes "Checked StopByUser in DataStore" to the debug log when so.
// Long loops ask once per item.
bool IsSyncStopped();
// 1 when written, else 0 (the key must exist already).
int SetExportEmpty(uint32_t value);
// The device takes bookmark folders.
bool IsBookmarkHierSupported(uint32_t deviceNumber);

}  // namespace qv
