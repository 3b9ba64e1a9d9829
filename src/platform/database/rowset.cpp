#include "platform/database/rowset.h"

#include <algorithm>
#include <limits>

namespace qv {
namespace {

constexpr size_t kNullBit = ~(std::numeric_limits<size_t>::max() >> 1);

char16_t Lower(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

}  // namespace

bool SameColumnName(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char16_t x, char16_t y) { return Lower(x) == Lower(y); });
}

void Rowset::AddText(std::string_view text) {
  text_.append(text);
  ends_.push_back(text_.size());
}

void Rowset::AddNull() {
  ends_.push_back(text_.size() | kNullBit);
}

bool Rowset::First() {
  row_ = 1;
  return OnRow();
}

bool Rowset::Next() {
  if (row_ <= Rows()) ++row_;
  return OnRow();
}

size_t Rowset::FindColumn(std::u16string_view name) {
  // Readers ask for the columns in the order of their SELECT.
  for (size_t i = 0; i < columns_.size(); ++i) {
    const size_t column = (expected_ + i) % columns_.size();
    if (SameColumnName(columns_[column], name)) {
      expected_ = column + 1;
      return column;
    }
  }
  return npos;
}

std::optional<std::string_view> Rowset::Cell(size_t column) const {
  const size_t cell = (row_ - 1) * columns_.size() + column;
  if ((ends_[cell] & kNullBit) != 0) return std::nullopt;
  const size_t start = cell == 0 ? 0 : ends_[cell - 1] & ~kNullBit;
  return std::string_view(text_).substr(start, ends_[cell] - start);
}

}  // namespace qv
