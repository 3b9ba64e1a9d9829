// What becomes of the cells of a sheet, and what a sheet cannot say of an item.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/spreadsheet/moments.h"
#include "syncdb/group_table.h"

namespace qv {

// Of one field: how many cells came in as they are, otherwise, or not at all.
struct FieldAccount {
  std::u16string field;
  std::u16string heading;
  int64_t kept = 0;
  int64_t changed = 0;
  int64_t dropped = 0;
  std::vector<std::string> examples;  // of what was changed or dropped: "line 7: ..."
};

struct LostColumn {
  std::u16string heading;
  std::string reason;  // empty where a person wanted it so
  int64_t cells = 0;   // that hold something; columns without one are not lost
};

struct SheetAccount {
  std::vector<FieldAccount> fields;  // in the order of the columns
  std::vector<LostColumn> lost;      // none whose cells serve another column
};

// `groups` knows which names of groups a store will know.
SheetAccount AccountFor(const Sheet& sheet, const SheetMapping& mapping, const GroupTable& groups);

// After ConvertCells: takes out of the sheet the rows without a cell that counts, and appointments
// without a start, and tells of each.
std::vector<SheetProblem> DropUselessRows(Sheet& sheet, const SheetMapping& mapping);

// Cells that a spreadsheet takes for formulas: they begin with = + - or @.
int64_t CountFormulas(const std::vector<FieldCell>& cells);

// Whether a file of cells loses something of the item: what comes back of it is not the same.
bool LosesInCells(const SheetKind& kind, IItemCommon& item, const GroupTable& groups,
                  const CellClock& clock);

}  // namespace qv
