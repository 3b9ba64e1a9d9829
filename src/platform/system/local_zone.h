// The clocks of the computer's own zone, with their history.
#pragma once

#include <string>

#include "platform/system/named_zones.h"

namespace qv {

// Where the zone lies that a value of TZ names (null for none, then the computer's own); empty for
// what can only be a rule.
std::string LocalZonePath(const char* tz);

// What the clocks here show at any time. The record of the zone tells what holds behind the last
// change that is known; where the zone has a file that ends in this very record, the file tells all
// that came before. Else the record counts for all times.
ZoneRules LocalZone();

}  // namespace qv
