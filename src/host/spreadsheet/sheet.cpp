#include "host/spreadsheet/sheet.h"

#include <algorithm>

#include "host/profile.h"
#include "platform/system/code_page.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

constexpr size_t kTextLimit = size_t{1} << 30;
constexpr size_t kMaxProblems = 100;
// What spreadsheets hold at most, and what memory does.
constexpr size_t kMaxColumns = 16'384;
constexpr size_t kMaxCells = 100'000'000;
constexpr size_t kMaxCell = size_t{16} << 20;
// What old programs put behind the last line of a narrow file.
constexpr char16_t kEndMark = u'\x1A';

bool IsWideWithoutMark(std::string_view bytes, bool highFirst) {
  const std::string_view head = bytes.substr(0, 512);
  size_t zeros = 0;
  size_t others = 0;
  for (size_t i = 0; i + 1 < head.size(); i += 2) {
    zeros += head[i + (highFirst ? 0 : 1)] == '\0';
    others += head[i + (highFirst ? 1 : 0)] == '\0';
  }
  return zeros > 0 && others == 0 && zeros * 2 > head.size() / 2;
}

std::u16string DecodeAs(std::string_view bytes, const std::string& name) {
  const bool isNumber =
      !name.empty() && std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
  const std::string charset = name == "65001" ? "UTF-8" : (isNumber ? "CP" : "") + name;
  auto text = Service<CodePages>::Get().DecodeNamed(bytes, charset);
  if (!text) {
    throw UsageError("the code page \"" + name +
                     "\" is not known; a name like windows-1252, UTF-8 or EUC-KR, or a number "
                     "like 1252 is");
  }
  return *std::move(text);
}

std::u16string Decode(std::string_view bytes, const SheetForm& form, std::string& encoding) {
  std::string buffer;
  const std::string_view bare = WithoutMark(bytes, buffer);
  if (bare.data() != bytes.data() || bare.size() != bytes.size()) {
    encoding = bytes.starts_with("\xEF") ? "UTF-8" : "UTF-16";
    return FromUtf8(bare);
  }
  if (form.codePage) return DecodeAs(bytes, encoding = *form.codePage);
  for (const bool highFirst : {false, true}) {
    if (!IsWideWithoutMark(bytes, highFirst)) continue;
    encoding = "UTF-16";
    return DecodeAs(bytes, highFirst ? "UTF-16BE" : "UTF-16LE");
  }
  std::u16string text;
  encoding = "UTF-8";
  if (AppendUtf8(bytes, text)) return text;
  return DecodeAs(bytes, encoding = Service<CodePages>::Get().AnsiPage());
}

// What is wrong with a row.
struct Faults {
  size_t beyond = 0;  // which cell holds something beyond the headings, counted from 1; 0 for none
  bool hasNuls = false;
  bool isBroken = false;  // some bytes were no characters
  bool goesOnBehindQuote = false;
};

class Reader {
 public:
  Reader(std::u16string_view text, Sheet& sheet) : text_(text), sheet_(sheet) {}

  void Read(const std::optional<char16_t>& separator) {
    TakeSeparatorLine();
    sheet_.separator = separator ? *separator : named_ ? *named_ : GuessSeparator();
    while (at_ < text_.size()) {
      SheetRow row;
      row.line = line_;
      const Faults faults = ReadRow(row.cells);
      Tell(row.line, faults);
      if (faults.beyond == 0 && row.cells.size() == 1 && row.cells[0].empty()) continue;
      if (!sheet_.header.empty()) {
        sheet_.rows.push_back(std::move(row));
      } else {
        sheet_.header = std::move(row.cells);
        columns_ = sheet_.header.size();
      }
    }
  }

 private:
  // "sep=;" on a line of its own, as spreadsheets write it for each other.
  void TakeSeparatorLine() {
    if (text_.size() < 5 || !EqualsIgnoreCase(text_.substr(0, 4), u"sep=")) return;
    const size_t end = text_.find_first_of(u"\r\n");
    if (end != 5) return;
    named_ = text_[4];
    at_ = text_.substr(5).starts_with(u"\r\n") ? 7 : 6;
    line_ = 2;
  }

  char16_t GuessSeparator() const {
    constexpr std::u16string_view kSigns = u",;\t";
    size_t counts[3] = {};
    bool quoted = false;
    for (size_t i = at_; i < text_.size(); ++i) {
      const char16_t unit = text_[i];
      if (unit == u'"') quoted = !quoted;
      if (quoted) continue;
      if ((unit == u'\n' || unit == u'\r') && i > at_) break;
      const size_t sign = kSigns.find(unit);
      if (sign != kSigns.npos) ++counts[sign];
    }
    const auto most = std::ranges::max_element(counts);
    return *most == 0 ? u',' : kSigns[static_cast<size_t>(most - counts)];
  }

  bool IsLineEnd(size_t at) const { return text_[at] == u'\r' || text_[at] == u'\n'; }

  void TakeLineEnd() {
    at_ += text_.substr(at_).starts_with(u"\r\n") ? 2 : 1;
    ++line_;
  }

  Faults ReadRow(std::vector<std::u16string>& cells) {
    Faults faults;
    for (size_t count = 1;; ++count) {
      std::u16string cell = ReadCell(faults);
      if (count <= columns_) {
        cells.push_back(std::move(cell));
      } else if (!cell.empty()) {
        faults.beyond = count;
      }
      if (++cells_ > kMaxCells)
        throw UsageError("it has too many cells; cut it into smaller files");
      if (at_ >= text_.size()) return faults;
      if (text_[at_] != sheet_.separator) break;
      ++at_;
    }
    TakeLineEnd();
    return faults;
  }

  std::u16string ReadCell(Faults& faults) {
    std::u16string cell;
    const size_t line = line_;
    const bool isQuoted =
        !ignoresQuotes_ && at_ < text_.size() && text_[at_] == u'"' && ReadQuoted(cell);
    // What stands behind a closing quote belongs to the cell too.
    const size_t from = at_;
    while (at_ < text_.size() && text_[at_] != sheet_.separator && !IsLineEnd(at_)) ++at_;
    const std::u16string_view tail = text_.substr(from, at_ - from);
    faults.goesOnBehindQuote |= isQuoted && !TrimBlanks(tail).empty();
    cell.append(tail);
    faults.hasNuls |= std::erase(cell, u'\0') > 0;
    faults.isBroken |= cell.find(u'\xFFFD') != cell.npos;
    if (cell.size() <= kMaxCell) return cell;
    throw UsageError("it has a cell of more than 16 Mi characters in line " + std::to_string(line) +
                     "; a quote may be missing there");
  }

  // False, and nothing is taken, when the quote is never closed.
  bool ReadQuoted(std::u16string& cell) {
    size_t lines = 0;
    size_t from = at_ + 1;
    while (true) {
      const size_t quote = text_.find(u'"', from);
      if (quote == text_.npos) break;
      const std::u16string_view piece = text_.substr(from, quote - from);
      cell.append(piece);
      lines += LineEndsIn(piece);
      if (quote + 1 >= text_.size() || text_[quote + 1] != u'"') {
        at_ = quote + 1;
        line_ += lines;
        return true;
      }
      cell.push_back(u'"');
      from = quote + 2;
    }
    cell.clear();
    ignoresQuotes_ = true;
    Problem(line_, "a quote is opened and never closed; from here on quotes were taken as text");
    return false;
  }

  static size_t LineEndsIn(std::u16string_view text) {
    size_t count = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      count += text[i] == u'\n' || (text[i] == u'\r' && !text.substr(i).starts_with(u"\r\n"));
    }
    return count;
  }

  void Tell(size_t line, const Faults& faults) {
    if (faults.beyond > 0 && sheet_.header.empty()) {
      throw UsageError("it has more than " + std::to_string(kMaxColumns) + " columns");
    }
    if (faults.beyond > 0) {
      Problem(line, "the row has " + std::to_string(faults.beyond) + " cells below " +
                        std::to_string(columns_) + " headings; what is beyond was left out");
    }
    if (faults.goesOnBehindQuote) Problem(line, "text behind a closing quote; check this row");
    if (faults.hasNuls) Problem(line, "NUL characters were left out");
    if (faults.isBroken) {
      const bool hasChoice = sheet_.encoding != "UTF-16";
      Problem(line, "some characters are none in " + sheet_.encoding +
                        (hasChoice ? "; --code-page names another encoding" : ""));
    }
  }

  void Problem(size_t line, std::string text) { AddProblem(sheet_, line, std::move(text)); }

  std::u16string_view text_;
  Sheet& sheet_;
  std::optional<char16_t> named_;
  size_t at_ = 0;
  size_t line_ = 1;
  size_t columns_ = kMaxColumns;
  size_t cells_ = 0;
  bool ignoresQuotes_ = false;
};

void AppendCell(std::u16string& out, std::u16string_view cell, bool isHeading) {
  out.push_back(u'"');
  for (const char16_t unit : cell) {
    if (unit == u'\0') continue;
    if (unit == u'"') out.push_back(unit);
    out.push_back(isHeading && unit == u'\t' ? u' ' : unit);
  }
  out.push_back(u'"');
}

void AppendRow(std::string& bytes, const std::vector<std::u16string>& cells, size_t columns,
               bool isHeading) {
  std::u16string line;
  for (size_t i = 0; i < std::min(cells.size(), columns); ++i) {
    if (i > 0) line.push_back(u',');
    AppendCell(line, cells[i], isHeading);
  }
  bytes += ToUtf16Le(line.append(u"\r\n"));
}

}  // namespace

void AddProblem(Sheet& sheet, size_t line, std::string text) {
  if (sheet.problems.size() < kMaxProblems) {
    sheet.problems.push_back({line, std::move(text)});
  } else {
    ++sheet.moreProblems;
  }
}

Sheet ReadSheet(std::string_view bytes, const SheetForm& form) {
  if (bytes.size() >= 2 * kTextLimit) {
    throw UsageError("it has more than 2 GiB; cut it into smaller files");
  }
  Sheet sheet;
  std::u16string text = Decode(bytes, form, sheet.encoding);
  while (text.ends_with(kEndMark)) text.pop_back();
  if (text.size() >= kTextLimit) {
    throw UsageError("it has 1 Gi characters or more; cut it into smaller files");
  }
  Reader(text, sheet).Read(form.separator);
  const bool hasHeading =
      std::ranges::any_of(sheet.header, [](const std::u16string& cell) { return !cell.empty(); });
  if (!hasHeading) throw UsageError("it has no row of headings");
  return sheet;
}

std::string StoreForm(const Sheet& sheet) {
  std::string bytes = "\xFF\xFE";
  const size_t columns = sheet.header.size();
  AppendRow(bytes, sheet.header, columns, true);
  for (const SheetRow& row : sheet.rows) AppendRow(bytes, row.cells, columns, false);
  return bytes;
}

std::u16string_view TrimBlanks(std::u16string_view text) {
  while (text.starts_with(u' ')) text.remove_prefix(1);
  while (text.ends_with(u' ')) text.remove_suffix(1);
  return text;
}

}  // namespace qv
