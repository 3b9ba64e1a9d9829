#include "host/cli/output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kWidestColumn = 40;
constexpr size_t kColumnGap = 2;

int firstWriteError = 0;

struct Range {
  char32_t first;
  char32_t last;
};

// C0, DEL and C1; separators that break lines; marks that turn the writing direction, or that no
// reader sees.
constexpr Range kUnprintable[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                  {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x206F},
                                  {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
// The blocks that matter in names; the rest counts as one column.
constexpr Range kNoWidth[] = {{0x0300, 0x036F}, {0x0591, 0x05BD}, {0x064B, 0x065F},
                              {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x200B, 0x200D},
                              {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
constexpr Range kDoubleWidth[] = {
    {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <size_t kCount>
bool IsIn(const Range (&ranges)[kCount], char32_t c) {
  return std::ranges::any_of(ranges, [c](Range r) { return c >= r.first && c <= r.last; });
}

// The code points of well-formed UTF-16.
template <class Visit>
void ForEachPoint(std::u16string_view text, Visit visit) {
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size()) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[++i]) - 0xDC00);
      visit(c, 2);
    } else {
      visit(c, 1);
    }
  }
}

std::string MakePrintable(std::string_view text, bool keepLines) {
  const std::u16string wide = FromUtf8(text);
  std::u16string result;
  result.reserve(wide.size());
  size_t at = 0;
  ForEachPoint(wide, [&](char32_t c, size_t units) {
    const bool kept = keepLines && (c == U'\n' || c == U'\r' || c == U'\t');
    if (kept || (!IsIn(kUnprintable, c) && c != 0xFFFD)) {
      result.append(wide, at, units);
    } else {
      result += u'?';
    }
    at += units;
  });
  return ToUtf8(result);
}

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  ForEachPoint(FromUtf8(text), [&](char32_t c, size_t) {
    if (!IsIn(kNoWidth, c)) width += IsIn(kDoubleWidth, c) ? 2 : 1;
  });
  return width;
}

}  // namespace

const char* ExitWord(Exit exit) {
  static constexpr std::array<const char*, 6> kWords = {"ok",      "partial", "failed",
                                                        "refused", "stopped", "failed"};
  return kWords.at(static_cast<size_t>(exit));
}

std::string Printable(std::string_view text) {
  return MakePrintable(text, false);
}

std::string PrintableLines(std::string_view text) {
  return MakePrintable(text, true);
}

void Print(std::string_view text) {
  errno = 0;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (!written && firstWriteError == 0) firstWriteError = errno != 0 ? errno : EIO;
}

void PrintMessage(std::string_view text) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string line = "qvsync: " + Printable(text.substr(0, end)) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void PrintJson(const nlohmann::ordered_json& document) {
  Print(document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  Print("\n");
}

void PrintError(Exit exit, std::string_view message, bool json) {
  PrintMessage(message);
  if (json) PrintJson({{"result", ExitWord(exit)}, {"message", message}});
}

bool FlushOutput() {
  errno = 0;
  if (std::fflush(stdout) != 0 && firstWriteError == 0) firstWriteError = errno;
  if (firstWriteError == 0 || firstWriteError == EPIPE) return true;
  PrintMessage("cannot write to standard output: " +
               std::error_code(firstWriteError, std::generic_category()).message());
  return false;
}

std::string FormatTable(const std::vector<std::string>& heads,
                        const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> widths;
  for (const std::string& head : heads) widths.push_back(DisplayWidth(head));
  for (const auto& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], std::min(DisplayWidth(Printable(row[i])), kWidestColumn));
    }
  }
  std::string table;
  const auto addRow = [&](const std::vector<std::string>& row) {
    for (size_t i = 0; i < row.size(); ++i) {
      const std::string cell = Printable(row[i]);
      table += cell;
      if (i + 1 == row.size()) break;
      const size_t width = DisplayWidth(cell);
      table.append(kColumnGap + (width < widths[i] ? widths[i] - width : 0), ' ');
    }
    table += '\n';
  };
  addRow(heads);
  for (const auto& row : rows) addRow(row);
  return table;
}

}  // namespace qv
