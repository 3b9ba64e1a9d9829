// Zone files in the form TZif (RFC 8536).
#pragma once

#include <optional>
#include <string_view>

#include "platform/system/named_zones.h"
#include "platform/system/time_zone.h"

namespace qv {

// The record that holds after the file's last transition: its footer, or in a file without one the
// offset that the last transition begins. Nothing for bytes that are no zone file.
std::optional<TimeZoneRecord> ReadZoneFile(std::string_view bytes);

// All that the file tells. Nothing for bytes that are no zone file, or one that is damaged.
std::optional<ZoneRules> ReadZoneHistory(std::string_view bytes);

}  // namespace qv
