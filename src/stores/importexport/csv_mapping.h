// Which column of a file is which field: the text that a job's bag holds.
//
//   <Msg><Hdr Path="C:\people.csv"/><Body><Put><Col Data="GivenName"/>...</Put></Body></Msg>
//
// Each child of `Put` stands for a column, whatever it is called; a name that is no field, or none
// at all, takes up its column. Names compare exactly.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "stores/importexport/csv_fields.h"

namespace qv {

struct CsvMapping {
  std::u16string path;          // of the file
  std::vector<int32_t> fields;  // by column; -1 for none
};

// Nothing for a text without these elements, or that is no XML. Of several columns for one field
// only the first keeps it.
std::optional<CsvMapping> ReadCsvMapping(std::u16string_view text, const CsvFieldSet& set);

}  // namespace qv
