// What is wrong with a profile's configuration, said by file, line and key.
#pragma once

#include <string>
#include <vector>

#include "host/conf_text.h"

namespace qv {

// One line each, "FILE:LINE: ..." or "FILE: ..." for a key that is missing.
struct ConfFindings {
  std::vector<std::string> errors;    // nothing may run
  std::vector<std::string> warnings;  // it runs, but perhaps not as meant
};

// The module's classes must be registered: a class that cannot be created is an error. Stores that
// are switched off are not looked into.
ConfFindings CheckConfiguration(const std::string& file, const ConfText& text);

}  // namespace qv
