// The reading of CSV text, step by step and at any cost: what the document must agree with.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qv::test {

using CsvCells = std::vector<std::u16string>;

inline std::u16string CutRecord(std::u16string& text) {
  size_t quotes = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'"') ++quotes;
    size_t length = 0;
    if (text[i] == u'\r') length = i + 1 < text.size() && text[i + 1] == u'\n' ? 2 : 1;
    if (text[i] == u'\n') length = 1;
    if (quotes % 2 != 0 || length == 0) continue;
    std::u16string record = text.substr(0, i);
    text.erase(0, i + length);
    return record;
  }
  return std::exchange(text, {});
}

inline size_t CellEnd(const std::u16string& rest, char16_t separator) {
  size_t at = rest.find(separator);
  if (rest.find(u'"') != 0) return at;
  for (; at != rest.npos; at = rest.find(separator, at + 1)) {
    size_t quotes = 0;
    for (size_t i = 1; i < at; ++i) quotes += rest[i] == u'"';
    if (quotes % 2 != 0) break;
  }
  return at;
}

inline CsvCells CutCells(std::u16string rest, char16_t separator) {
  CsvCells cells;
  while (!rest.empty()) {
    const size_t end = CellEnd(rest, separator);
    std::u16string cell = rest.substr(0, end);
    rest.erase(0, end == rest.npos ? rest.size() : end + 1);
    if (!cell.empty() && cell.front() == u'"') cell.erase(0, 1);
    if (!cell.empty() && cell.back() == u'"') cell.pop_back();
    for (size_t at = 0; (at = cell.find(u"\"\"", at)) != cell.npos; ++at) cell.erase(at, 1);
    cells.push_back(cell);
  }
  return cells;
}

// The header, then the rows.
inline std::vector<CsvCells> ReadCsvSlowly(std::u16string text) {
  std::vector<CsvCells> records;
  char16_t separator = u',';
  while (!text.empty()) {
    const std::u16string record = CutRecord(text);
    if (records.empty() && record.find(u'\t') != record.npos) separator = u'\t';
    CsvCells cells = CutCells(record, separator);
    if (records.empty() || !cells.empty()) records.push_back(std::move(cells));
  }
  return records;
}

}  // namespace qv::test
