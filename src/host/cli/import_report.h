// How an import is told: what each file holds before it is used, and what became of it.
#pragma once

#include <vector>

#include "host/cli/import_files.h"
#include "host/cli/output.h"

namespace qv {

// For people: what is about to be done with a file.
std::string ImportPlanText(const ImportFile& file);
// And what was; `report` null for a file that was not reached.
std::string ImportResultText(const ImportFile& file, const TransferReport* report, bool dryRun);
nlohmann::ordered_json ImportJson(const ImportFile& file, const TransferReport* report);

}  // namespace qv
