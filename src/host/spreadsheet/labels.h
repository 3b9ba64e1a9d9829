// Columns in pairs, as web services write them: "Phone 1 - Label" says what "Phone 1 - Value" is,
// and it may say something else in each row.
#pragma once

#include <string_view>

#include "host/spreadsheet/conversions.h"

namespace qv {

// Stands in a mapping, also in one that is kept, in the place of a field. No store knows such a
// field: the values are moved before a sheet is handed over.
inline constexpr std::u16string_view kByLabel = u"(by label)";

// For each column whether another one says what its values are.
std::vector<bool> LabelledColumns(const Sheet& sheet);

// Moves what stands in columns with that mark to new columns at the end, one for each field, and
// empties the labels that were followed. A value goes to the first field for its label that the row
// has free; several values in a cell, with ":::" between them, to several fields. What found no
// field stays where it is, unmapped.
std::vector<Conversion> SpreadByLabel(Sheet& sheet, SheetMapping& mapping);

}  // namespace qv
