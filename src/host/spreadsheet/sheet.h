// A file of comma-, semicolon- or tab-separated values as people have it, in any encoding, read
// with forgiveness; and the one form of it that the stores take.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

struct SheetForm {
  std::optional<std::string> codePage;  // a name that iconv knows, or a number
  std::optional<char16_t> separator;
};

struct SheetRow {
  size_t line = 0;  // of the file, from 1
  std::vector<std::u16string> cells;
};

struct SheetProblem {
  size_t line = 0;
  std::string text;
};

struct Sheet {
  std::vector<std::u16string> header;
  std::vector<SheetRow> rows;  // without blank lines; a row may be shorter than the header
  std::vector<SheetProblem> problems;
  size_t moreProblems = 0;  // beyond those that are kept
  std::string encoding;     // as it was taken
  char16_t separator = u',';
};

// One more, where there are not too many yet.
void AddProblem(Sheet& sheet, size_t line, std::string text);

// Quotes as in RFC 4180. A quote that is never closed is a problem, and from there on quotes are
// ordinary characters, so that nothing is swallowed. Throws UsageError for a file without a header,
// an unknown code page, and more than can be held: 1 Gi characters, 16384 columns, 100 million
// cells, 16 Mi characters in a cell. Cells beyond the headings and NULs are left out and told.
Sheet ReadSheet(std::string_view bytes, const SheetForm& form);

// UTF-16 with its mark, commas, every cell in quotes: what the stores read back as these cells. A
// tab in a heading would make the file tab-separated and becomes a blank; NULs are left out.
std::string StoreForm(const Sheet& sheet);

std::u16string_view TrimBlanks(std::u16string_view text);

}  // namespace qv
