// Where the computer's own zone is told.
#pragma once

#include <string>

namespace qv {

// Where the zone lies that a value of TZ names (null for none, then the computer's own); empty for
// what can only be a rule.
std::string LocalZonePath(const char* tz);

}  // namespace qv
