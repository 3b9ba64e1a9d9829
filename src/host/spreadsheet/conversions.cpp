#include "host/spreadsheet/conversions.h"

#include <algorithm>
#include <optional>

#include "host/spreadsheet/moments.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kMaxWords = 8;
struct Words {
  std::u16string_view field;
  std::u16string_view number;
  std::u16string_view words[kMaxWords];  // small letters
};

constexpr Words kWords[] = {
    {u"AllDay", u"1", {u"true", u"yes", u"on", u"wahr", u"ja", u"ein"}},
    {u"AllDay", u"", {u"false", u"no", u"off", u"falsch", u"nein", u"aus"}},
    {u"Class", u"2", {u"private", u"privat", u"true", u"yes", u"on", u"wahr", u"ja", u"ein"}},
    {u"Class", u"", {u"normal", u"public", u"false", u"no", u"off", u"falsch", u"nein", u"aus"}},
    {u"Class", u"3", {u"confidential", u"vertraulich"}},
    {u"Priority", u"1", {u"high", u"hoch"}},
    {u"Priority", u"5", {u"normal"}},
    {u"Priority", u"9", {u"low", u"niedrig"}},
};

std::optional<std::u16string> WordNumber(std::u16string_view field, std::u16string_view cell) {
  cell = TrimBlanks(cell);
  const auto isCell = [&](std::u16string_view word) { return EqualsIgnoreCase(cell, word); };
  for (const Words& row : kWords) {
    if (row.field == field && !cell.empty() && std::ranges::any_of(row.words, isCell)) {
      return std::u16string(row.number);
    }
  }
  return std::nullopt;
}

bool IsPastField(std::u16string_view field) {
  return field == u"BirthDay" || field == u"Anniversary";
}

// The time of a column of its own takes the place of a midnight that programs put behind each day.
void AddTime(std::u16string& day, std::u16string_view time) {
  const size_t blank = day.find(u' ');
  const bool hasMidnight = blank != day.npos && (day.compare(blank, day.npos, u" 0:00") == 0 ||
                                                 day.compare(blank, day.npos, u" 00:00") == 0 ||
                                                 day.compare(blank, day.npos, u" 0:00:00") == 0 ||
                                                 day.compare(blank, day.npos, u" 00:00:00") == 0);
  if (hasMidnight) day.resize(blank);
  day.append(u" ").append(time);
}

bool IsNumber(std::u16string_view text) {
  return text.find_first_not_of(u"0123456789") == text.npos;
}

// A date of its parts. With one missing it is none, and can be told as one that cannot be held;
// empty without any, and where the day is a whole date already.
std::u16string JoinedDay(std::u16string_view year, std::u16string_view month,
                         std::u16string_view day) {
  if ((year.empty() && month.empty() && day.empty()) || !IsNumber(day)) return {};
  std::u16string date;
  if (!year.empty() && year.size() <= 2 && IsNumber(year)) {
    AppendPadded(date, FullYear(ToInt(year), year.size(), true), 4);
  } else {
    date = year;
  }
  return date.append(u"-").append(month).append(u"-").append(day);
}

// The text of a cell, also of one that a short row has not.
std::u16string_view CellOf(const SheetRow& row, size_t column) {
  return column < row.cells.size() ? TrimBlanks(row.cells[column]) : std::u16string_view();
}

class Converter {
 public:
  Converter(Sheet& sheet, SheetMapping& mapping, DateOrder order)
      : sheet_(sheet), mapping_(mapping), dates_(order) {}

  std::vector<Conversion> Run() {
    const size_t columns = mapping_.columns.size();
    for (size_t i = 0; i < columns; ++i) {
      if (IsDateField(mapping_.columns[i].field)) PrepareDates(i);
    }
    for (size_t i = 0; i < columns; ++i) {
      if (!IsDateField(mapping_.columns[i].field)) ReplaceWords(i);
    }
    const std::vector<size_t> lastDays = RowsWithLastDay();
    for (size_t i = 0; i < columns; ++i) {
      if (IsDateField(mapping_.columns[i].field)) ReadDates(i);
    }
    EndAfter(lastDays);
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

  // For each cell of a column that has text.
  template <class Body>
  void ForCells(size_t column, Body&& body) {
    for (SheetRow& row : sheet_.rows) {
      if (column < row.cells.size() && !row.cells[column].empty()) body(row.cells[column]);
    }
  }

  void PrepareDates(size_t column) {
    JoinParts(column);
    JoinTime(column);
    if (mapping_.columns[column].field == u"Alarm Date") DropUnwanted(column);
    ForCells(column, [&](const std::u16string& cell) { dates_.Vote(cell); });
  }

  bool IsAllDay(const SheetRow& row, size_t allDay) const { return CellOf(row, allDay) == u"1"; }

  void ReadDates(size_t column) {
    const std::u16string& field = mapping_.columns[column].field;
    const bool isEdge = field == u"Start Date" || field == u"End Date";
    const size_t allDay = ColumnOf(u"AllDay");
    int64_t counts[kDateReadings] = {};
    int64_t zones = 0;
    for (SheetRow& row : sheet_.rows) {
      if (column >= row.cells.size() || row.cells[column].empty()) continue;
      const DateUse use = IsPastField(field)                ? DateUse::PastDay
                          : isEdge && IsAllDay(row, allDay) ? DateUse::DayOfAllDay
                                                            : DateUse::Moment;
      DateReading reading = DateReading::None;
      std::optional<std::u16string> date = dates_.Convert(row.cells[column], use, reading);
      if (!date || *date == row.cells[column]) continue;
      zones += date->ends_with(u'Z');
      row.cells[column] = std::move(*date);
      ++counts[static_cast<size_t>(reading)];
    }
    for (size_t i = 0; i < kDateReadings; ++i) {
      Note(column, TextOf(static_cast<DateReading>(i)), counts[i]);
    }
    Note(column, "times taken in the zone that they name", zones);
  }

  void ReplaceWords(size_t column) {
    const std::u16string& field = mapping_.columns[column].field;
    int64_t cells = 0;
    ForCells(column, [&](std::u16string& cell) {
      std::optional<std::u16string> number = WordNumber(field, cell);
      if (!number) return;
      cell = std::move(*number);
      ++cells;
    });
    Note(column, "words replaced by their numbers", cells);
  }

  size_t ColumnOf(std::u16string_view field) const {
    const auto found = std::ranges::find(mapping_.columns, field, &ColumnChoice::field);
    return static_cast<size_t>(found - mapping_.columns.begin());
  }

  // All-day rows whose end is a day without a time.
  std::vector<size_t> RowsWithLastDay() const {
    const size_t end = ColumnOf(u"End Date");
    const size_t allDay = ColumnOf(u"AllDay");
    std::vector<size_t> rows;
    for (size_t i = 0; i < sheet_.rows.size(); ++i) {
      const SheetRow& row = sheet_.rows[i];
      if (IsAllDay(row, allDay) && IsDayAlone(CellOf(row, end))) rows.push_back(i);
    }
    return rows;
  }

  void EndAfter(const std::vector<size_t>& rows) {
    const size_t end = ColumnOf(u"End Date");
    int64_t ends = 0;
    for (const size_t row : rows) {
      std::u16string& cell = sheet_.rows[row].cells[end];
      const std::optional<PlainDate> day = ReadPlainDate(cell);
      if (!day) continue;
      cell = PlainDateText((DateTimeValue(day->date) + DateTimeSpan(1, 0, 0, 0)).value);
      ++ends;
    }
    Note(end, "last days of all-day rows became the midnight after", ends);
  }

  // A day, a month and a year in columns of their own.
  void JoinParts(size_t day) {
    const DayHeadings* headings = FindDayInThree(PlainHeading(sheet_.header[day]));
    if (headings == nullptr) return;
    const size_t month = ColumnCalled(headings->month);
    const size_t year = ColumnCalled(headings->year);
    if (!IsFree(month) || !IsFree(year)) return;
    Use(month, day);
    Use(year, day);
    int64_t cells = 0;
    for (SheetRow& row : sheet_.rows) {
      std::u16string date = JoinedDay(CellOf(row, year), CellOf(row, month), CellOf(row, day));
      if (date.empty()) continue;
      row.cells.resize(std::max(row.cells.size(), day + 1));
      row.cells[day] = std::move(date);
      ++cells;
    }
    Note(day, "joined with the months and years beside it", cells);
  }

  // A column of the file that is no field.
  bool IsFree(size_t column) const {
    return column < sheet_.header.size() && mapping_.columns[column].field.empty();
  }

  void Use(size_t column, size_t with) {
    mapping_.columns[column] = {
        {}, std::string("its cells go with \"").append(ToUtf8(sheet_.header[with])) + "\"", true};
  }

  void JoinTime(size_t day) {
    const std::u16string_view wanted = TimeHeadingFor(PlainHeading(sheet_.header[day]));
    const size_t time = wanted.empty() ? sheet_.header.size() : ColumnCalled(wanted);
    if (!IsFree(time)) return;
    Use(time, day);
    int64_t joined = 0;
    int64_t alone = 0;
    for (SheetRow& row : sheet_.rows) {
      const std::u16string_view text = CellOf(row, time);
      if (text.empty()) continue;
      const bool hasDay = day < row.cells.size() && !row.cells[day].empty();
      if (hasDay) AddTime(row.cells[day], text);
      ++(hasDay ? joined : alone);
    }
    Note(day, "joined with the times of \"" + ToUtf8(sheet_.header[time]) + "\"", joined);
    Note(time, "times without a day left out", alone);
  }

  // An alarm that is switched off in a column of its own.
  void DropUnwanted(size_t alarm) {
    for (const std::u16string_view heading : {u"reminderonoff", u"erinnerungeinaus"}) {
      const size_t column = ColumnCalled(heading);
      if (!IsFree(column)) continue;
      Use(column, alarm);
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
  DateReader dates_;
  std::vector<Conversion> done_;
};

}  // namespace

std::vector<Conversion> ConvertCells(Sheet& sheet, SheetMapping& mapping, DateOrder order) {
  return Converter(sheet, mapping, order).Run();
}

}  // namespace qv
