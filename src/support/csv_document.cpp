#include "support/csv_document.h"

#include <algorithm>
#include <limits>
#include <new>

#include "platform/system/code_page.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/csv_text.h"

namespace qv {
namespace {

constexpr char16_t kQuote = u'"';
constexpr size_t kTextLimit = std::numeric_limits<uint32_t>::max();

}  // namespace

std::string CsvLine(const CsvRow& row) {
  std::u16string line;
  for (size_t i = 0; i < row.size(); ++i) {
    if (i > 0) line.push_back(u',');
    line.push_back(kQuote);
    for (const char16_t unit : row[i]) {
      if (unit == kQuote) line.push_back(kQuote);
      if (unit != u'\0') line.push_back(unit);
    }
    line.push_back(kQuote);
  }
  return Service<CodePages>::Get().Encode(line, kAnsiPage) + "\r\n";
}

bool CsvDocument::LoadFile(std::u16string_view path) {
  Clear();
  const std::optional<std::string> native = ToNativePath(path);
  if (!native || native->empty()) return false;
  try {
    std::optional<std::u16string> text = ReadCsvText(*native, kTextLimit);
    return text && ParseText(*std::move(text));
  } catch (const std::bad_alloc&) {
    Clear();
    return false;
  }
}

bool CsvDocument::ParseText(std::u16string text) {
  Clear();
  if (text.size() >= kTextLimit) return false;
  text_ = std::move(text);
  bool isFirst = true;
  for (size_t from = 0; from < text_.size();) {
    size_t next = 0;
    const size_t end = NextRecord(from, next);
    if (isFirst) {
      const auto record = std::u16string_view(text_).substr(from, end - from);
      separator_ = record.find(u'\t') == record.npos ? u',' : u'\t';
    }
    const Start start{ends_.size(), used_};
    ReadRecord(from, end);
    if (isFirst) {
      header_.text.assign(text_, 0, used_);
      header_.ends.swap(ends_);
      used_ = 0;
    } else if (ends_.size() > start.cell) {
      rows_.push_back(start);
    }
    isFirst = false;
    from = next;
  }
  text_.resize(used_);
  return true;
}

void CsvDocument::Clear() {
  separator_ = u',';
  header_ = {};
  text_ = {};
  used_ = 0;
  ends_ = {};
  rows_ = {};
}

// Where the record that begins at `from` ends, and where the next begins: behind the first line end
// with an even number of quotes before it, wherever in the record these stand.
size_t CsvDocument::NextRecord(size_t from, size_t& next) const {
  const char16_t* const text = text_.data();
  const size_t size = text_.size();
  bool quoted = false;
  for (size_t i = from; i < size; ++i) {
    const char16_t unit = text[i];
    if (unit > kQuote) continue;
    if (unit == kQuote) quoted = !quoted;
    if (quoted || (unit != u'\r' && unit != u'\n')) continue;
    const bool isPair = unit == u'\r' && i + 1 < size && text[i + 1] == u'\n';
    next = i + (isPair ? 2 : 1);
    return i;
  }
  return next = size;
}

void CsvDocument::ReadRecord(size_t from, size_t end) {
  const size_t start = used_;
  while (from < end) {
    const size_t separator = FindSeparator(from, end);
    AppendCell(from, separator);
    ends_.push_back(static_cast<uint32_t>(used_ - start));
    from = separator + 1;
  }
}

// `end` for none. Quotes protect separators only in a cell that begins with one: there the cell is
// over at the first separator with an odd number of quotes between.
size_t CsvDocument::FindSeparator(size_t from, size_t end) const {
  const char16_t* const text = text_.data();
  if (text[from] != kQuote) {
    const char16_t* const found = std::find(text + from, text + end, separator_);
    return static_cast<size_t>(found - text);
  }
  bool closed = false;
  for (size_t i = from + 1; i < end; ++i) {
    if (text[i] == kQuote) closed = !closed;
    if (text[i] == separator_ && closed) return i;
  }
  return end;
}

// One quote goes at either end where there is one, whatever stands at the other; of two quotes
// within one stays.
void CsvDocument::AppendCell(size_t from, size_t end) {
  char16_t* const text = text_.data();
  if (from < end && text[from] == kQuote) ++from;
  if (from < end && text[end - 1] == kQuote) --end;
  while (from < end) {
    const char16_t* const quote = std::find(text + from, text + end, kQuote);
    const bool found = quote != text + end;
    const size_t upTo = static_cast<size_t>(quote - text) + (found ? 1 : 0);
    std::copy(text + from, text + upTo, text + used_);
    used_ += upTo - from;
    from = upTo;
    if (found && from < end && text[from] == kQuote) ++from;
  }
}

void CsvDocument::SetHeader(const CsvRow& row) {
  header_ = {};
  for (size_t i = 0; i < row.size(); ++i) {
    header_.text += row[i];
    header_.ends.push_back(static_cast<uint32_t>(header_.text.size()));
  }
}

void CsvDocument::AppendRow(const CsvRow& row) {
  const Start start{ends_.size(), used_};
  for (size_t i = 0; i < row.size(); ++i) {
    text_ += row[i];
    used_ += row[i].size();
    ends_.push_back(static_cast<uint32_t>(used_ - start.text));
  }
  rows_.push_back(start);
}

CsvDocument::Row CsvDocument::row(int32_t index) const {
  const size_t at = static_cast<size_t>(index);
  const size_t end = at + 1 < rows_.size() ? rows_[at + 1].cell : ends_.size();
  return {text_.data() + rows_[at].text, ends_.data() + rows_[at].cell, end - rows_[at].cell};
}

bool CsvDocument::WriteRow(std::u16string_view path, const CsvRow& row, bool append) const {
  const std::optional<std::string> native = ToNativePath(path);
  if (!native || native->empty()) return false;
  Files& files = Service<Files>::Get();
  const std::string line = CsvLine(row);
  return !(append ? files.Append(*native, line) : files.Write(*native, line));
}

}  // namespace qv
