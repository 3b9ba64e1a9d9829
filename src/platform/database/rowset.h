// The whole result of one query, held in one buffer: rows are read from the copy, so that other
// statements may run meanwhile.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

// Without regard to ASCII case.
bool SameColumnName(std::u16string_view a, std::u16string_view b);

class Rowset {
 public:
  explicit Rowset(std::vector<std::u16string> columns) : columns_(std::move(columns)) {}

  // Cells of a row from the first column on; UTF-8.
  void AddText(std::string_view text);
  void AddNull();

  // True when the walk stands on a row. `Next` before `First` goes to the first row.
  bool First();
  bool Next();
  bool OnRow() const { return row_ >= 1 && row_ <= Rows(); }

  // By name without regard to ASCII case; npos when there is none.
  size_t FindColumn(std::u16string_view name);
  const std::u16string& ColumnName(size_t column) const { return columns_[column]; }
  // Of the row the walk stands on; nothing for NULL.
  std::optional<std::string_view> Cell(size_t column) const;

  static constexpr size_t npos = static_cast<size_t>(-1);

 private:
  size_t Rows() const { return ends_.size() / columns_.size(); }

  std::vector<std::u16string> columns_;  // at least one
  std::string text_;                     // of all cells, one behind the other
  std::vector<size_t> ends_;             // where each cell ends in `text_`; top bit: it is NULL
  size_t row_ = 0;                       // from 1; 0 before the first
  size_t expected_ = 0;                  // the column a reader will most likely ask for next
};

}  // namespace qv
