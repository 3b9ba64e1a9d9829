// Cells as other programs write them, turned into what the fields take.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/spreadsheet/mapping.h"

namespace qv {

// What was done to the cells of a column.
struct Conversion {
  std::u16string heading;
  std::string what;
  int64_t cells = 0;
};

// Changes cells in place: times of columns of their own join their days, dates of any usual order
// become "YYYY-MM-DD hh:mm", words become the numbers that stand for them. What is not understood
// stays. In a column of dates one with a part above 12 tells the order; else the month stands first
// before "/", and the day before "." and "-".
std::vector<Conversion> ConvertCells(Sheet& sheet, SheetMapping& mapping);

}  // namespace qv
