// Records of different fields as one table: the file that an export writes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "stores/importexport/csv_fields.h"

namespace qv {

// Columns stand in the order in which the records brought them up.
class CsvTable {
 public:
  void Clear();
  bool empty() const { return records_.empty(); }
  // An item without cells adds nothing.
  void Append(const CsvFieldSet& set, std::vector<FieldCell> cells);
  // The whole file: the headings, then a row for each record, with an empty cell for each column
  // that it has nothing for.
  std::string Bytes() const;

 private:
  using Record = std::vector<std::pair<size_t, std::u16string>>;  // column and text

  size_t ColumnOf(std::u16string name);

  std::vector<std::u16string> columns_;
  std::unordered_map<std::u16string, size_t> places_;
  std::vector<Record> records_;
};

}  // namespace qv
