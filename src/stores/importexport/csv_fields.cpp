#include "stores/importexport/csv_fields.h"

#include <algorithm>

#include "support/text.h"

namespace qv {

int32_t FieldNumber(const CsvFieldSet& set, std::u16string_view name) {
  const auto found = std::ranges::find(set.names, name);
  return found == set.names.end() ? -1 : static_cast<int32_t>(found - set.names.begin());
}

std::u16string ColumnName(const CsvFieldSet& set, const FieldCell& cell) {
  std::u16string name(set.names[static_cast<size_t>(cell.field)]);
  if (cell.number > 0) name.append(u"_").append(Decimal(cell.number));
  return name;
}

}  // namespace qv
