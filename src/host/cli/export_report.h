// How an export is told: which files hold how much, and what their format cannot say.
#pragma once

#include <cstdint>
#include <string>

#include "host/cli/output.h"
#include "host/engine/transfer.h"
#include "host/spreadsheet/account.h"

namespace qv {

// What a file of cells cannot say of the items that went into it.
struct ContentAccount {
  int64_t formulas = 0;    // cells
  int64_t foreign = 0;     // cells with characters that the code page lacks
  int64_t incomplete = 0;  // items

  void Add(const SheetKind& kind, IItemCommon& item, const GroupTable& groups,
           const CellClock& clock);
};

// Why a file of cells would hold nothing of an item; empty for one of which it holds something.
std::string NothingInCells(const SheetKind& kind, IItemCommon& item, const GroupTable& groups);

struct ExportOutcome {
  const FileStoreRow* row = nullptr;
  TransferReport report;
  ContentAccount account;
};

std::string ExportText(const ExportOutcome& outcome, const std::string& folder);
nlohmann::ordered_json ExportJson(const ExportOutcome& outcome);

}  // namespace qv
