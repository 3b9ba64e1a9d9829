// Which column of a sheet becomes which field: guessed from the headings, given by a person, or
// kept in a file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/spreadsheet/headings.h"
#include "host/spreadsheet/sheet.h"

namespace qv {

struct ColumnChoice {
  std::u16string field;  // empty for none
  std::string reason;    // why there is none; empty where a person wanted it so
  bool isUsed = false;   // its cells serve another column
};

struct SheetMapping {
  const SheetKind* kind = nullptr;
  std::vector<ColumnChoice> columns;  // one for each heading
};

// "COLUMN=FIELD" as a person gives it: a heading or "#3", and a field's name, in whatever letter
// case; an empty field unmaps the column.
using MapArguments = std::vector<std::string>;

// Columns with text are served before those without, and each with the best field for its heading
// before any with another one; of a sheet without rows all count as having text.
//
// Without a store's name the kind is the one whose fields most headings name. Throws UsageError,
// with what there is and how to tell, when that is none or more than one, when no column is mapped,
// and for arguments that name no column or no field.
SheetMapping MapColumns(const Sheet& sheet, const std::string& store, const MapArguments& given);

// The mapping of a file that SaveMapping wrote, with the arguments on top. Throws UsageError for a
// file that is none, or that is for another number of columns.
SheetMapping LoadMapping(const Sheet& sheet, const std::string& store, const MapArguments& given,
                         const std::string& file);
// Whole or not at all. Throws UsageError, also where something stands there that is not to be
// replaced.
void SaveMapping(const SheetMapping& mapping, const std::string& file, bool replaces);

// As the store takes it; `path` (in the module's form) is the file to read.
std::u16string MappingXml(const SheetMapping& mapping, std::u16string_view path);

}  // namespace qv
