// What is in the files of an export, looked at with other eyes than those of the stores that wrote
// them.
#pragma once

#include <cstdint>
#include <string>

#include "host/engine/file_store.h"

namespace qv {

// How many items a file holds that a store has written. Of a CSV file those are the rows below the
// first in which some cell says something. Throws StoreFailure for one that cannot be read.
int64_t CountExported(const FileStoreRow& row, const std::string& path);

}  // namespace qv
