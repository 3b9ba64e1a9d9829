// Files on their way to the phone: what each holds, and the job that hands it to a store.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/cli/scratch_folder.h"
#include "host/engine/transfer.h"
#include "host/spreadsheet/account.h"
#include "host/spreadsheet/conversions.h"
#include "host/spreadsheet/mapping.h"

namespace qv {

struct ImportArguments {
  std::string store;
  MapArguments map;
  std::string mapFile;
  std::string saveMap;
  bool replaceMap = false;
  SheetForm form;
  DateOrder dates = DateOrder::Guess;
};

// What a file of separated values says of itself.
struct SheetImport {
  Sheet sheet;  // the rows that are handed over, their cells gone by then
  SheetMapping mapping;
  SheetMapping asMapped;  // of the columns that the file has: what can be kept for the next one
  std::vector<Conversion> conversions;
  SheetAccount account;
  std::vector<SheetProblem> leftOut;  // rows
};

struct ImportFile {
  std::string path;
  std::string problem;  // why it cannot be used at all; the rest is then void
  FileJob job;
  std::optional<SheetImport> sheet;
  std::vector<ItemFailure> unread;  // what cannot be handed over, and why
  std::vector<std::string> notes;
};

// By the extension: .csv, .vcf, .vcs or .ics in any letter case. A file of cards that a store takes
// as it stands is handed over where it lies, any other as a copy in `scratch`. What is wrong with
// the file, or with the arguments for it, is its problem. Throws CommandError.
ImportFile PrepareImport(const std::string& path, const ImportArguments& given,
                         ScratchFolder& scratch, const GroupTable& groups, size_t number);

}  // namespace qv
