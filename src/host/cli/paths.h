// Paths as people give them.
#pragma once

#include <string>

namespace qv {

// From whatever folder the program was called, without "." and "..". Throws UsageError, also for
// an empty path.
std::string AbsolutePath(const std::string& path);

}  // namespace qv
