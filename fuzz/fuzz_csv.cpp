// Any bytes as a file of separated values: into the reader of the stores, which must do what a slow
// one does and read its own writing as the same cells, and into the forgiving one of the host, of
// which nothing may get lost on the way to the stores. The last byte also picks the forms.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/profile.h"
#include "host/spreadsheet/sheet.h"
#include "kit/csv_reference.h"
#include "platform/system/code_page.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/csv_document.h"
#include "support/csv_text.h"
#include "support/text.h"

namespace {

using qv::test::CsvCells;

void Require(bool holds) {
  if (!holds) std::abort();
}

// Whatever the path, these bytes: in pieces of one size, at least that of a mark.
class OneFile final : public qv::Files {
 public:
  OneFile(std::string_view bytes, size_t piece) : bytes_(bytes), piece_(piece) {}

  std::error_code Stat(const std::string&, qv::FileInfo& info) override {
    info = {};
    info.size = bytes_.size();
    return {};
  }
  std::error_code ReadPieces(const std::string&,
                             const std::function<bool(std::string_view)>& take) override {
    for (size_t at = 0; at < bytes_.size(); at += piece_) {
      if (!take(bytes_.substr(at, piece_))) break;
    }
    return {};
  }

  std::error_code List(const std::string&, std::vector<qv::FolderEntry>&) override { return No(); }
  std::error_code Read(const std::string&, std::string&) override { return No(); }
  std::error_code Write(const std::string&, std::string_view) override { return No(); }
  std::error_code Append(const std::string&, std::string_view) override { return No(); }
  std::error_code WriteAtomic(const std::string&, std::string_view) override { return No(); }
  std::error_code Stage(const std::string&, std::string_view, qv::StagedFile&) override {
    return No();
  }
  std::error_code SyncFolder(const std::string&) override { return No(); }
  std::error_code Settle(std::span<const std::string>, std::span<const std::string>) override {
    return No();
  }
  std::error_code Remove(const std::string&) override { return No(); }
  std::error_code Rename(const std::string&, const std::string&) override { return No(); }
  std::error_code MakeFolder(const std::string&) override { return No(); }
  std::error_code StatEntry(const std::string&, qv::EntryStat&) override { return No(); }
  std::error_code ListEntries(const std::string&, bool, std::vector<qv::PlainEntry>&) override {
    return No();
  }
  std::error_code CreateNew(const std::string&, std::string_view) override { return No(); }
  std::error_code RenameNew(const std::string&, const std::string&) override { return No(); }
  std::error_code MakeNewFolder(const std::string&) override { return No(); }
  std::error_code RemoveFolder(const std::string&) override { return No(); }
  std::error_code SetModified(const std::string&, int64_t) override { return No(); }

 private:
  static std::error_code No() { return std::make_error_code(std::errc::not_supported); }

  std::string_view bytes_;
  size_t piece_;
};

// The limit is the first length that is refused.
std::u16string TextOf(std::string_view bytes, size_t piece) {
  OneFile file(bytes, piece);
  const qv::ScopedService<qv::Files> files(file);
  std::optional<std::u16string> text = qv::ReadCsvText("a.csv", bytes.size() + 1);
  Require(text.has_value());
  Require(qv::ReadCsvText("a.csv", text->size() + 1) == text);
  Require(!qv::ReadCsvText("a.csv", text->size()));
  return *std::move(text);
}

std::u16string DecodeAnsi(std::string_view bytes) {
  return qv::Service<qv::CodePages>::Get().Decode(bytes, qv::kAnsiPage);
}

// The whole file at once, its end looked for before it is decoded.
std::u16string SlowTextOf(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) {
    const std::u16string text = qv::FromUtf16Le(bytes.substr(2));
    return text.substr(0, text.find(u'\0'));
  }
  const bool isUtf8 = bytes.starts_with("\xEF\xBB\xBF");
  bytes = bytes.substr(0, bytes.find_first_of(std::string_view("\x1A\0", 2)));
  return isUtf8 ? qv::FromUtf8(bytes.substr(3)) : DecodeAnsi(bytes);
}

CsvCells CellsOf(const qv::CsvDocument::Row& row) {
  CsvCells cells;
  for (size_t i = 0; i < row.size(); ++i) cells.emplace_back(row[i]);
  return cells;
}

// The header, then the rows.
std::vector<CsvCells> RecordsOf(const qv::CsvDocument& document) {
  std::vector<CsvCells> records{CellsOf(document.header())};
  for (int32_t i = 0; i < document.rowCount(); ++i) records.push_back(CellsOf(document.row(i)));
  return records;
}

qv::CsvRow RowOf(const CsvCells& cells) {
  qv::CsvRow row;
  for (const std::u16string& cell : cells) row.Append(cell);
  return row;
}

bool HasTab(const CsvCells& cells) {
  return std::ranges::any_of(
      cells, [](const std::u16string& cell) { return cell.find(u'\t') != cell.npos; });
}

// Any rows with cells come back from the bytes of their lines, but for NULs and what the code page
// lacks; unless a tab among the headings makes the lines tab-separated.
void CheckRoundTrip(std::vector<CsvCells> records) {
  qv::CodePages& pages = qv::Service<qv::CodePages>::Get();
  std::string bytes;
  for (CsvCells& cells : records) {
    bytes += qv::CsvLine(RowOf(cells));
    for (std::u16string& cell : cells) {
      std::erase(cell, u'\0');
      cell = DecodeAnsi(pages.Encode(cell, qv::kAnsiPage));
    }
  }
  qv::CsvDocument document;
  Require(document.ParseText(DecodeAnsi(bytes)));
  if (HasTab(records[0])) {
    Require(document.separator() == u'\t');
  } else {
    Require(document.separator() == u',' && RecordsOf(document) == records);
  }
}

void CheckText(const std::u16string& text) {
  qv::CsvDocument document;
  Require(document.ParseText(text));
  const std::vector<CsvCells> records = RecordsOf(document);
  size_t length = 0;
  for (size_t i = 0; i < records.size(); ++i) {
    Require(i == 0 || !records[i].empty());
    for (const std::u16string& cell : records[i]) length += cell.size();
  }
  Require(length <= text.size());

  std::vector<CsvCells> expected = qv::test::ReadCsvSlowly(text);
  if (expected.empty()) expected.emplace_back();
  Require(records == expected);

  qv::CsvDocument built;
  built.SetHeader(RowOf(records[0]));
  for (size_t i = 1; i < records.size(); ++i) built.AppendRow(RowOf(records[i]));
  Require(RecordsOf(built) == records);
  CheckRoundTrip(records);
}

bool TellsOfCellsBeyond(const qv::Sheet& sheet) {
  return sheet.moreProblems > 0 ||
         std::ranges::any_of(sheet.problems, [](const qv::SheetProblem& problem) {
           return problem.text.find("beyond") != problem.text.npos;
         });
}

// All that is neither quote, separator nor line end must be in a cell, or be told.
void CheckNothingIsSwallowed(const qv::Sheet& sheet, std::u16string_view text) {
  if (text.find_first_of(u"\r\n") == 5 && qv::EqualsIgnoreCase(text.substr(0, 4), u"sep=")) {
    text.remove_prefix(5);
  }
  while (text.ends_with(u'\x1A')) text.remove_suffix(1);
  const auto count = [&](std::u16string_view piece) {
    return std::ranges::count_if(piece, [&](char16_t unit) {
      return unit != u'\0' && unit != u'"' && unit != u'\r' && unit != u'\n' &&
             unit != sheet.separator;
    });
  };
  ptrdiff_t kept = 0;
  for (const std::u16string& cell : sheet.header) kept += count(cell);
  for (const qv::SheetRow& row : sheet.rows) {
    for (const std::u16string& cell : row.cells) kept += count(cell);
  }
  Require(kept == count(text) || (kept < count(text) && TellsOfCellsBeyond(sheet)));
}

// Lines go up, and there is none that the text has not.
void CheckLines(const qv::Sheet& sheet, std::u16string_view text) {
  const auto ends = static_cast<size_t>(
      std::ranges::count_if(text, [](char16_t unit) { return unit == u'\r' || unit == u'\n'; }));
  size_t line = 0;
  for (const qv::SheetRow& row : sheet.rows) {
    Require(row.line > line);
    Require(!row.cells.empty() && row.cells.size() <= sheet.header.size());
    line = row.line;
  }
  Require(line <= ends + 1);
  for (const qv::SheetProblem& problem : sheet.problems) {
    Require(problem.line >= 1 && problem.line <= ends + 1 && !problem.text.empty());
  }
}

// The stores find in their form the cells of the sheet without NULs, the headings without tabs.
void CheckStoreForm(const qv::Sheet& sheet, size_t piece) {
  std::vector<CsvCells> expected{sheet.header};
  for (std::u16string& heading : expected[0]) std::ranges::replace(heading, u'\t', u' ');
  for (const qv::SheetRow& row : sheet.rows) expected.push_back(row.cells);
  for (CsvCells& cells : expected) {
    for (std::u16string& cell : cells) std::erase(cell, u'\0');
  }
  const std::string bytes = qv::StoreForm(sheet);
  OneFile file(bytes, piece);
  const qv::ScopedService<qv::Files> files(file);
  qv::CsvDocument document;
  Require(document.LoadFile(u"C:\\a.csv"));
  Require(RecordsOf(document) == expected);
}

void CheckSheet(std::string_view bytes, const qv::SheetForm& form, size_t piece) {
  try {
    const qv::Sheet sheet = qv::ReadSheet(bytes, form);
    if (sheet.encoding == "UTF-8") {
      const bool hasMark = bytes.starts_with("\xEF\xBB\xBF");
      const std::u16string text = qv::FromUtf8(bytes.substr(hasMark ? 3 : 0));
      CheckNothingIsSwallowed(sheet, text);
      CheckLines(sheet, text);
    }
    CheckStoreForm(sheet, piece);
  } catch (const qv::UsageError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr const char* kAnsiPages[] = {"windows-1252", "EUC-KR", "SHIFT_JIS", "UTF-8"};
  constexpr std::optional<char16_t> kSeparators[] = {std::nullopt, u',', u';', u'\t'};
  constexpr const char* kCodePages[] = {nullptr, "UTF-8", "949", "UTF-16BE", "none"};
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const size_t choice = size == 0 ? 0 : data[size - 1];
  const size_t piece = 3 + choice % 61;
  Require(qv::Service<qv::CodePages>::Get().SetAnsiPage(kAnsiPages[choice % 4]));

  const std::u16string text = TextOf(bytes, piece);
  Require(text == SlowTextOf(bytes));
  CheckText(text);
  CheckText(qv::FromUtf16Le(bytes));

  qv::SheetForm form;
  form.separator = kSeparators[choice / 4 % 4];
  if (const char* page = kCodePages[choice / 16 % 5]) form.codePage = page;
  CheckSheet(bytes, form, piece);
  return 0;
}
