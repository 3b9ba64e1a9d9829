// The yardstick for reading CSV: libcsv, storing the cells in the plain way. Where it is not
// installed there is none.
#pragma once

#include <string>
#include <vector>

namespace qv {

using PlainRows = std::vector<std::vector<std::string>>;

bool HasLibcsv();
// Throws std::runtime_error for a file that cannot be read.
PlainRows ReadWithLibcsv(const std::string& path);

}  // namespace qv
