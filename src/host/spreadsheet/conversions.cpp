#include "host/spreadsheet/conversions.h"

#include <algorithm>
#include <optional>

#include "support/text.h"

namespace qv {
namespace {

constexpr std::u16string_view kDateFields[] = {u"BirthDay",   u"Anniversary",
                                               u"Start Date", u"End Date",
                                               u"Alarm Date", u"Recurrence UntileDate"};

struct Word {
  std::u16string_view field;
  std::u16string_view word;  // small letters
  std::u16string_view number;
};

constexpr Word kWords[] = {
    {u"AllDay", u"true", u"1"},        {u"AllDay", u"yes", u"1"},
    {u"AllDay", u"wahr", u"1"},        {u"AllDay", u"ja", u"1"},
    {u"AllDay", u"false", u""},        {u"AllDay", u"no", u""},
    {u"AllDay", u"falsch", u""},       {u"AllDay", u"nein", u""},
    {u"Class", u"true", u"2"},         {u"Class", u"wahr", u"2"},
    {u"Class", u"private", u"2"},      {u"Class", u"privat", u"2"},
    {u"Class", u"confidential", u"3"}, {u"Class", u"vertraulich", u"3"},
    {u"Class", u"normal", u""},        {u"Class", u"public", u""},
    {u"Class", u"false", u""},         {u"Class", u"falsch", u""},
    {u"Priority", u"high", u"1"},      {u"Priority", u"hoch", u"1"},
    {u"Priority", u"normal", u"5"},    {u"Priority", u"low", u"9"},
    {u"Priority", u"niedrig", u"9"},
};

bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  return text;
}

// "24.12.2026": the three numbers, and the sign between them.
struct DayParts {
  int parts[3] = {};
  size_t digits[3] = {};
  char16_t sign = 0;
};

// A number of up to four digits off the front; -1 for none.
int TakeNumber(std::u16string_view& text, size_t& digits) {
  int number = 0;
  for (digits = 0; digits < text.size() && IsDigit(text[digits]); ++digits) {
    if (digits == 4) return -1;
    number = number * 10 + (text[digits] - u'0');
  }
  text.remove_prefix(digits);
  return digits == 0 ? -1 : number;
}

std::optional<DayParts> TakeDay(std::u16string_view& text) {
  DayParts day;
  for (int i = 0; i < 3; ++i) {
    day.parts[i] = TakeNumber(text, day.digits[i]);
    if (day.parts[i] < 0) return std::nullopt;
    if (i == 2) break;
    if (text.empty() || (text[0] != u'.' && text[0] != u'/' && text[0] != u'-')) {
      return std::nullopt;
    }
    if (i == 1 && text[0] != day.sign) return std::nullopt;
    day.sign = text[0];
    text.remove_prefix(1);
  }
  return day;
}

// "6:00:00 PM", "18:00", "18:00 Uhr"; nothing for what is none.
std::optional<std::u16string> TimeOf(std::u16string_view text) {
  text = Trimmed(text);
  if (text.starts_with(u',')) text = Trimmed(text.substr(1));
  if (text.empty()) return u"00:00";
  int parts[3] = {};
  for (int i = 0; i < 3; ++i) {
    size_t digits = 0;
    parts[i] = TakeNumber(text, digits);
    if (parts[i] < 0) return std::nullopt;
    if (!text.starts_with(u':')) break;
    if (i == 2) return std::nullopt;
    text.remove_prefix(1);
  }
  text = Trimmed(text);
  const bool isAfternoon = EqualsIgnoreCase(text, u"pm") || EqualsIgnoreCase(text, u"p.m.");
  const bool isMorning = EqualsIgnoreCase(text, u"am") || EqualsIgnoreCase(text, u"a.m.");
  if (!text.empty() && !isAfternoon && !isMorning && !EqualsIgnoreCase(text, u"uhr")) {
    return std::nullopt;
  }
  if ((isAfternoon || isMorning) && parts[0] == 12) parts[0] = 0;
  if (isAfternoon) parts[0] += 12;
  if (parts[0] > 24 || parts[1] > 59) return std::nullopt;
  std::u16string time;
  AppendPadded(time, parts[0], 2);
  time.push_back(u':');
  AppendPadded(time, parts[1], 2);
  return time;
}

// Years of two digits: those to come are of this century.
int FullYear(int year, size_t digits) {
  if (digits > 2) return year;
  return year < 50 ? 2000 + year : 1900 + year;
}

class DateColumn {
 public:
  DateColumn(const Sheet& sheet, size_t column) {
    for (const SheetRow& row : sheet.rows) {
      if (column >= row.cells.size()) continue;
      std::u16string_view text = Trimmed(row.cells[column]);
      const std::optional<DayParts> day = TakeDay(text);
      if (!day || day->digits[0] > 2) continue;
      const bool first = day->parts[0] > 12;
      const bool second = day->parts[1] > 12;
      if (first == second) continue;  // anything, or no date at all
      dayAhead_ |= first;
      monthAhead_ |= second;
    }
  }

  // Nothing for a cell that stays as it is.
  std::optional<std::u16string> Convert(std::u16string_view cell) const {
    std::u16string_view text = Trimmed(cell);
    const std::optional<DayParts> day = TakeDay(text);
    if (!day) return std::nullopt;
    int year = FullYear(day->parts[2], day->digits[2]);
    int month = day->parts[0];
    int dayOfMonth = day->parts[1];
    if (day->digits[0] == 4) {
      year = day->parts[0];
      month = day->parts[1];
      dayOfMonth = day->parts[2];
      if (text.starts_with(u'T')) return std::nullopt;
    } else if (IsDayFirst(day->sign)) {
      std::swap(month, dayOfMonth);
    }
    // How programs write that there is none.
    if ((month == 0 && dayOfMonth == 0) || year == 4501) return u"";
    const std::optional<std::u16string> time = TimeOf(text);
    if (!time || month < 1 || month > 12 || dayOfMonth < 1 || dayOfMonth > 31) return std::nullopt;
    std::u16string date;
    AppendPadded(date, year, 4);
    date.push_back(u'-');
    AppendPadded(date, month, 2);
    date.push_back(u'-');
    AppendPadded(date, dayOfMonth, 2);
    return date.append(u" ").append(*time);
  }

 private:
  bool IsDayFirst(char16_t sign) const {
    if (dayAhead_ != monthAhead_) return dayAhead_;
    return sign != u'/';
  }

  bool dayAhead_ = false;
  bool monthAhead_ = false;
};

std::optional<std::u16string> WordNumber(std::u16string_view field, std::u16string_view cell) {
  for (const Word& word : kWords) {
    if (word.field == field && EqualsIgnoreCase(Trimmed(cell), word.word)) {
      return std::u16string(word.number);
    }
  }
  return std::nullopt;
}

class Converter {
 public:
  Converter(Sheet& sheet, SheetMapping& mapping) : sheet_(sheet), mapping_(mapping) {}

  std::vector<Conversion> Run() {
    for (size_t i = 0; i < mapping_.columns.size(); ++i) {
      const std::u16string& field = mapping_.columns[i].field;
      if (std::ranges::find(kDateFields, field) != std::end(kDateFields)) {
        JoinTime(i);
        if (field == u"Alarm Date") DropUnwanted(i);
        const DateColumn dates(sheet_, i);
        Change(i, "dates written as year, month and day",
               [&](std::u16string_view cell) { return dates.Convert(cell); });
      } else {
        Change(i, "words replaced by their numbers",
               [&](std::u16string_view cell) { return WordNumber(field, cell); });
      }
    }
    return std::move(done_);
  }

 private:
  size_t ColumnCalled(std::u16string_view plain) const {
    const auto found = std::ranges::find_if(sheet_.header, [&](const std::u16string& heading) {
      return PlainHeading(heading) == plain;
    });
    return static_cast<size_t>(found - sheet_.header.begin());
  }

  void Note(size_t column, std::string what, int64_t cells) {
    if (cells > 0) done_.push_back({sheet_.header[column], std::move(what), cells});
  }

  template <class Convert>
  void Change(size_t column, const char* what, Convert&& convert) {
    int64_t cells = 0;
    for (SheetRow& row : sheet_.rows) {
      if (column >= row.cells.size() || row.cells[column].empty()) continue;
      std::optional<std::u16string> converted = convert(row.cells[column]);
      if (!converted || *converted == row.cells[column]) continue;
      row.cells[column] = std::move(*converted);
      ++cells;
    }
    Note(column, what, cells);
  }

  void JoinTime(size_t day) {
    const std::u16string_view wanted = TimeHeadingFor(PlainHeading(sheet_.header[day]));
    const size_t time = wanted.empty() ? sheet_.header.size() : ColumnCalled(wanted);
    if (time >= sheet_.header.size() || !mapping_.columns[time].field.empty()) return;
    const std::string shown = "\"" + ToUtf8(sheet_.header[day]) + "\"";
    mapping_.columns[time].reason = "its times go with " + shown;
    int64_t cells = 0;
    for (SheetRow& row : sheet_.rows) {
      if (std::max(day, time) >= row.cells.size() || row.cells[day].empty()) continue;
      const std::u16string_view text = Trimmed(row.cells[time]);
      if (text.empty()) continue;
      row.cells[day].append(u" ").append(text);
      ++cells;
    }
    Note(day, "joined with the times of \"" + ToUtf8(sheet_.header[time]) + "\"", cells);
  }

  // An alarm that is switched off in a column of its own.
  void DropUnwanted(size_t alarm) {
    for (const std::u16string_view heading : {u"reminderonoff", u"erinnerungeinaus"}) {
      const size_t column = ColumnCalled(heading);
      if (column >= sheet_.header.size()) continue;
      mapping_.columns[column].reason = "it says which alarms count";
      int64_t cells = 0;
      for (SheetRow& row : sheet_.rows) {
        if (std::max(alarm, column) >= row.cells.size() || row.cells[alarm].empty()) continue;
        const std::optional<std::u16string> on = WordNumber(u"AllDay", row.cells[column]);
        if (!on || !on->empty()) continue;
        row.cells[alarm].clear();
        ++cells;
      }
      Note(alarm, "left out where the alarm is off", cells);
    }
  }

  Sheet& sheet_;
  SheetMapping& mapping_;
  std::vector<Conversion> done_;
};

}  // namespace

std::vector<Conversion> ConvertCells(Sheet& sheet, SheetMapping& mapping) {
  return Converter(sheet, mapping).Run();
}

}  // namespace qv
