// How the result of a sync is told, to people and to programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/cli/output.h"
#include "host/engine/sync.h"

namespace qv {

Exit ExitOf(SyncResult result);

// The persisted form of `sync --json`; further keys stand behind those, and only when
// there is something to say.
nlohmann::ordered_json SyncReportJson(const SyncReport& report, bool dryRun);
std::string SyncReportText(const SyncReport& report, bool dryRun);

// One of the two on standard output; why it was refused or failed on standard error as well.
void PrintSyncReport(const SyncReport& report, bool dryRun, bool json);

// What other commands tell in the same words: what lies beside a store's items on the phone, and
// what of them cannot be used.
std::string LeftAloneText(std::string_view margin, const std::vector<LeftAlone>& left);
void PutLeftAlone(const std::vector<LeftAlone>& left, nlohmann::ordered_json& document);
std::string FailedText(std::string_view margin, const std::vector<ItemFailure>& failed);
nlohmann::ordered_json FailedJson(const std::vector<ItemFailure>& failed);

}  // namespace qv
