// Cells as other programs write them, turned into what the fields take.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/spreadsheet/date_cells.h"
#include "host/spreadsheet/mapping.h"

namespace qv {

// What was done to the cells of a column.
struct Conversion {
  std::u16string heading;
  std::string what;
  int64_t cells = 0;
};

// Changes cells in place: times and parts of dates in columns of their own join their days, dates
// of any usual order become plain cells (see date_cells.h), words become the numbers that stand for
// them. What is not understood stays, to be told as dropped: no store gets it. All dates of a file
// have one order, see DateReader. Birthdays and anniversaries with two digits of a year lie in no
// year to come. The end of an all-day row without a time of day is its last day, and becomes the
// midnight after.
std::vector<Conversion> ConvertCells(Sheet& sheet, SheetMapping& mapping,
                                     DateOrder order = DateOrder::Guess);

}  // namespace qv
