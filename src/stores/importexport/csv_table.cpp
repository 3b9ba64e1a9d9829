#include "stores/importexport/csv_table.h"

#include <algorithm>

#include "support/csv_document.h"

namespace qv {

void CsvTable::Clear() {
  columns_.clear();
  places_.clear();
  records_.clear();
}

size_t CsvTable::ColumnOf(std::u16string name) {
  const auto [found, added] = places_.try_emplace(std::move(name), columns_.size());
  if (added) columns_.push_back(found->first);
  return found->second;
}

void CsvTable::Append(const CsvFieldSet& set, std::vector<FieldCell> cells) {
  if (cells.empty()) return;
  Record record;
  record.reserve(cells.size());
  for (FieldCell& cell : cells) {
    record.emplace_back(ColumnOf(ColumnName(set, cell)), std::move(cell.text));
  }
  records_.push_back(std::move(record));
}

std::string CsvTable::Bytes() const {
  CsvRow row;
  for (const std::u16string& column : columns_) row.Append(column);
  std::string bytes = CsvLine(row);
  std::vector<std::u16string_view> cells(columns_.size());
  for (const Record& record : records_) {
    std::ranges::fill(cells, std::u16string_view());
    for (const auto& [column, text] : record) cells[column] = text;
    row.Clear();
    for (const std::u16string_view cell : cells) row.Append(cell);
    bytes += CsvLine(row);
  }
  return bytes;
}

}  // namespace qv
