// What the columns of other programs' files are called, and which of our fields they are.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "stores/importexport/csv_fields.h"

namespace qv {

// Fields that a column may be, the first that is still free.
inline constexpr size_t kMaxChoices = 5;
struct Heading {
  std::u16string_view name;  // in the form that PlainHeading gives
  std::u16string_view fields[kMaxChoices];
};

// One kind of items as a spreadsheet knows it.
struct SheetKind {
  std::string_view store;  // as in StoreKind
  const CsvFieldSet& fields;
  std::span<const Heading> headings;
};

std::span<const SheetKind> SheetKinds();
// Null for a store that has no CSV form.
const SheetKind* FindSheetKind(std::string_view store);

// What a column of other programs may be; all empty for an unknown heading.
Heading FindHeading(const SheetKind& kind, std::u16string_view plain);

// Small letters and digits alone.
std::u16string PlainHeading(std::u16string_view heading);

// Of a column with a day the plain heading of the one that holds the time of it; empty for any
// other.
std::u16string_view TimeHeadingFor(std::u16string_view plainDayHeading);

// The plain headings of a date in three columns.
struct DayHeadings {
  std::u16string_view day;
  std::u16string_view month;
  std::u16string_view year;
};
// By that of the day; null for none.
const DayHeadings* FindDayInThree(std::u16string_view plain);

}  // namespace qv
