// The fields of CSV files: one set for each kind of item.
//
// A field has a number, which is its place in the set, and a name: the heading of its column in a
// file written here, and what a mapping calls it. Both are persisted.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "items/item_interfaces.h"
#include "platform/com/com_ptr.h"

namespace qv {

class GroupTable;

// What a row says of each field of a set, by number; empty for nothing.
using FieldTexts = std::vector<std::u16string>;

// One cell of an item on its way out. Fields that a contact may have several of are numbered from 1
// within the item; others have the number 0.
struct FieldCell {
  int32_t field = 0;
  int32_t number = 0;
  std::u16string text;

  friend bool operator==(const FieldCell&, const FieldCell&) = default;
};

struct CsvFieldSet {
  std::span<const std::u16string_view> names;
  // A new item of what a row says. Group names that the table does not know are dropped. Texts that
  // a field cannot hold change nothing.
  ComPtr<IItemCommon> (*read)(const FieldTexts& texts, const GroupTable& groups);
  // The cells of an item, in the order in which its columns appear in a file. Throws StatusError
  // for an item of another kind.
  std::vector<FieldCell> (*write)(IUnknown* item, const GroupTable& groups);
};

extern const CsvFieldSet kContactFields;
extern const CsvFieldSet kCalendarFields;
extern const CsvFieldSet kMemoFields;

// -1 for a name that is not in the set; exactly as spelled.
int32_t FieldNumber(const CsvFieldSet& set, std::u16string_view name);
// The heading of a cell's column: the name, and "_" and the number where it has one.
std::u16string ColumnName(const CsvFieldSet& set, const FieldCell& cell);

}  // namespace qv
