// Files of comma-separated values: cells of text in rows, below a header row.
//
// Reader and writer are not alike. Read are commas or tabs (one tab in the first record makes the
// whole file tab-separated), quoted and plain cells, CR LF, CR and LF, and three encodings: UTF-8
// and UTF-16 low byte first by their marks, everything else in the ANSI code page. Narrow text ends
// at a byte 0x1A or NUL, wide text at a NUL. Written are always quoted cells, commas, CR LF and the
// ANSI code page, without a mark.
//
// Blank lines vanish, an odd quote takes the line end behind it into its record, and a separator at
// the end of a record opens no cell: "a,b," has two. Nothing checks or evens out how many cells a
// row has.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

class CsvRow {
 public:
  void Append(std::u16string_view cell) { cells_.emplace_back(cell); }
  void Clear() { cells_.clear(); }
  size_t size() const { return cells_.size(); }
  const std::u16string& operator[](size_t i) const { return cells_[i]; }

 private:
  std::vector<std::u16string> cells_;
};

// A row as bytes of a file, its line end included. Characters that the ANSI code page lacks become
// "?", NULs are left out: they would end the text.
std::string CsvLine(const CsvRow& row);

class CsvDocument {
 public:
  // A row of a document; valid until the document changes.
  class Row {
   public:
    Row(const char16_t* text, const uint32_t* ends, size_t size)
        : text_(text), ends_(ends), size_(size) {}
    size_t size() const { return size_; }
    std::u16string_view operator[](size_t i) const {
      const uint32_t start = i == 0 ? 0 : ends_[i - 1];
      return {text_ + start, ends_[i] - start};
    }

   private:
    const char16_t* text_;
    const uint32_t* ends_;  // of the cells, from the start of the row
    size_t size_;
  };

  // Empties the document first. False, and it stays empty, for a file that cannot be read, whose
  // text has 4 Gi characters or more, or for which there is no memory. Paths are in the module's
  // form; links are followed.
  bool LoadFile(std::u16string_view path);
  // As from a file of this text; false when it is too long.
  bool ParseText(std::u16string text);
  // Creates the file, or with `append` adds to it. False when it cannot be opened or written.
  bool WriteRow(std::u16string_view path, const CsvRow& row, bool append) const;

  void SetHeader(const CsvRow& row);
  void AppendRow(const CsvRow& row);

  char16_t separator() const { return separator_; }
  Row header() const { return {header_.text.data(), header_.ends.data(), header_.ends.size()}; }
  int32_t rowCount() const { return static_cast<int32_t>(rows_.size()); }
  // From 0.
  Row row(int32_t index) const;

 private:
  // Where a row's cells and text begin; the next row's are its ends.
  struct Start {
    size_t cell = 0;
    size_t text = 0;
  };

  void Clear();
  size_t NextRecord(size_t from, size_t& next) const;
  void ReadRecord(size_t from, size_t end);
  size_t FindSeparator(size_t from, size_t end) const;
  void AppendCell(size_t from, size_t end);

  char16_t separator_ = u',';
  struct {
    std::u16string text;
    std::vector<uint32_t> ends;
  } header_;
  // The text of all cells, unquoted and moved together in place: what has been read is never ahead
  // of what is still to be read.
  std::u16string text_;
  size_t used_ = 0;
  std::vector<uint32_t> ends_;
  std::vector<Start> rows_;
};

}  // namespace qv
