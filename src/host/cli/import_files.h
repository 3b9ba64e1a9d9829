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
  SheetForm form;
};

// What a file of separated values says of itself.
struct SheetImport {
  Sheet sheet;  // the rows that are handed over
  SheetMapping mapping;
  SheetMapping asMapped;  // of the columns that the file has: what can be kept for the next one
  std::vector<Conversion> conversions;
  SheetAccount account;
  std::vector<size_t> emptyRows;  // by line; left out
};

struct ImportFile {
  std::string path;
  std::string problem;  // why it cannot be used at all; the rest is then void
  FileJob job;
  std::optional<SheetImport> sheet;
  std::vector<ItemFailure> unread;  // by place: what cannot be handed over, and why
  std::vector<std::string> notes;
};

// By the extension: .csv, .vcf, .vcs or .ics in any letter case. A file that a store takes as it
// stands is handed over where it lies, any other as a copy in `scratch`. Throws UsageError for what
// is wrong with the arguments, whatever the file holds.
ImportFile PrepareImport(const std::string& path, const ImportArguments& given,
                         const ScratchFolder& scratch, const GroupTable& groups, size_t number);

}  // namespace qv
