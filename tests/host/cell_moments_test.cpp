// Moments of appointments in cells: against the clocks of the C library, every hour of some years.
#include <gmock/gmock.h>

#include <ctime>
#include <set>

#include "host/spreadsheet/account.h"
#include "host/spreadsheet/conversions.h"
#include "host/spreadsheet/moments.h"
#include "items/item_objects.h"
#include "kit/platform_fakes.h"
#include "stores/module.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

using testing::HasSubstr;

constexpr time_t kHour = 3600;

// What a clock on the wall shows, by the C library.
std::string OnTheWall(time_t utc) {
  tm parts{};
  localtime_r(&utc, &parts);
  char text[20];
  return std::string(text, strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts));
}

// The first moment of a year, by the C library.
time_t NewYear(int year) {
  tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mday = 1;
  return timegm(&parts);
}

class CellMomentsTest : public testing::TestWithParam<std::pair<const char*, int>> {
 protected:
  CellMomentsTest() : zone_("TZ", GetParam().first), first_(NewYear(GetParam().second)) {
    tzset();
    RegisterModuleClasses();
  }
  ~CellMomentsTest() override { tzset(); }

  // Two years, a day more at either end.
  template <class Body>
  void EachHour(Body&& body) const {
    for (time_t at = first_; at < NewYear(GetParam().second + 2); at += kHour) body(at);
  }
  // How often the clocks show a time, of the moments round one.
  static int Shown(time_t near, const std::string& text) {
    int count = 0;
    for (time_t at = near - 3 * kHour; at <= near + 3 * kHour; at += 900) {
      count += OnTheWall(at) == text;
    }
    return count;
  }

  const SyncSession noDatabase_;
  const GroupTable groups_{noDatabase_, QuoteRule::AsTheyStand};
  const test::ScopedEnvironment zone_;
  const time_t first_;
};

// The cells of one field for each hour of a calendar on paper, also those that never came.
TEST_P(CellMomentsTest, EveryCellBecomesWhatTheClocksSay) {
  std::string bytes = "Subject,Start Date,End Date,Alarm Date\n";
  std::vector<std::string> cells;
  EachHour([&](time_t at) {
    tm parts{};
    gmtime_r(&at, &parts);
    char text[20];
    cells.emplace_back(text, strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts));
    bytes += "x," + cells.back() + "," + cells.back() + "," + cells.back() + "\n";
  });
  Sheet sheet = ReadSheet(bytes, {});
  SheetMapping mapping = MapColumns(sheet, "calendar", {});
  ConvertCells(sheet, mapping);
  const SheetAccount account = AccountFor(sheet, mapping, groups_);
  for (const FieldAccount& field : account.fields) {
    EXPECT_EQ(field.kept, static_cast<int64_t>(cells.size())) << ToUtf8(field.field);
  }
  const auto beyond = HandOverDates(sheet, mapping);
  EXPECT_LT(beyond.size(), 10u);
  std::set<size_t> named;
  for (const SheetProblem& problem : sheet.problems) named.insert(problem.line - 2);
  size_t doubtful = 0;
  for (size_t i = 0; i < cells.size(); ++i) {
    FieldTexts texts(kCalendarFields.names.size());
    for (size_t column = 0; column < sheet.header.size(); ++column) {
      texts[static_cast<size_t>(FieldNumber(kCalendarFields, mapping.columns[column].field))] =
          sheet.rows[i].cells[column];
    }
    const ComPtr<IItemCommon> item = kCalendarFields.read(texts, groups_);
    Calendar& calendar = *CalendarOf(item.get());
    if (const auto right = beyond.find(i); right != beyond.end()) {
      SetMoments(calendar, right->second);
    }
    const time_t start = UnixSecondsFromDate(calendar.start);
    const int shown = Shown(start, cells[i]);
    ASSERT_EQ(named.contains(i), shown != 1) << cells[i] << " " << shown;
    doubtful += shown != 1;
    if (shown > 0) {
      ASSERT_EQ(OnTheWall(start), cells[i]);
    }
    ASSERT_EQ(calendar.end, calendar.start) << cells[i];
    ASSERT_EQ(calendar.reminderMinutes, 0) << cells[i];
  }
  EXPECT_LE(doubtful, 12u);
  EXPECT_EQ(sheet.moreProblems, 0u);
}

TEST_P(CellMomentsTest, EveryMomentBecomesWhatTheClocksShow) {
  const CellClock clock;
  int named = 0;
  EachHour([&](time_t at) {
    Calendar calendar;
    calendar.start = calendar.end = calendar.recurrence.until = DateFromUnixSeconds(at);
    calendar.isRecurring = true;
    calendar.reminderMinutes = 90;
    const auto told = MendForCells(clock, calendar);
    named += !told.empty();
    const auto item = MakeCalendarItem(calendar);
    for (const FieldCell& cell : kCalendarFields.write(item.get(), groups_)) {
      const std::u16string_view field = kCalendarFields.names[static_cast<size_t>(cell.field)];
      if (!IsDateField(field)) continue;
      const time_t moment = field == u"Alarm Date" ? at - 90 * 60 : at;
      if (ToUtf8(cell.text) == OnTheWall(moment)) continue;
      std::string all;
      for (const std::string& what : told) all += what + "\n";
      EXPECT_THAT(all,
                  HasSubstr(OnTheWall(moment) + ", stands in the file as " + ToUtf8(cell.text)));
    }
  });
  EXPECT_LE(named, 8);
}

// A day is no moment: neither its cells nor what is told of them lie beside midnight.
TEST_P(CellMomentsTest, EveryDayStaysTheDayThatItIs) {
  const CellClock clock;
  std::string bytes = "Subject,Start Date,End Date,Alarm Date,AllDay\n";
  int64_t days = 0;
  EachHour([&](time_t at) {
    if (at % 86400 != 0) return;
    Calendar calendar;
    calendar.allDay = true;
    calendar.start = calendar.end = DateFromUnixSeconds(at);
    calendar.end += 1;
    calendar.reminderMinutes = 32 * 60;
    EXPECT_TRUE(MendForCells(clock, calendar).empty());
    std::string row = "x,";
    FieldTexts texts(kCalendarFields.names.size());
    for (FieldCell& cell : kCalendarFields.write(MakeCalendarItem(calendar).get(), groups_)) {
      const size_t field = static_cast<size_t>(cell.field);
      if (IsDateField(kCalendarFields.names[field])) row += ToUtf8(cell.text) + ",";
      texts[field] = std::move(cell.text);
    }
    const auto wall = [&](time_t time) { return ToUtf8(PlainDateText(DateFromUnixSeconds(time))); };
    ASSERT_EQ(row,
              "x," + wall(at) + "," + wall(at + 24 * kHour) + "," + wall(at - 32 * kHour) + ",");
    bytes += row + "1\n";
    const ComPtr<IItemCommon> item = kCalendarFields.read(texts, groups_);
    Calendar& back = *CalendarOf(item.get());
    ReadMended(clock, texts, *FindSheetKind("calendar"), back);
    EXPECT_EQ(back.start, calendar.start) << row;
    EXPECT_EQ(back.end, calendar.end) << row;
    EXPECT_EQ(back.reminderMinutes, 32 * 60) << row;
    ++days;
  });
  EXPECT_GT(days, 360);
  Sheet sheet = ReadSheet(bytes, {});
  SheetMapping mapping = MapColumns(sheet, "calendar", {});
  ConvertCells(sheet, mapping);
  for (const FieldAccount& field : AccountFor(sheet, mapping, groups_).fields) {
    EXPECT_EQ(field.kept, days) << ToUtf8(field.field);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Zones, CellMomentsTest,
    testing::Values(std::pair("America/New_York", 2026), std::pair("America/New_York", 2005),
                    std::pair("Europe/Berlin", 2026), std::pair("Australia/Sydney", 2026),
                    std::pair("America/Sao_Paulo", 2017), std::pair("Asia/Kolkata", 2026),
                    std::pair("Australia/Lord_Howe", 2026), std::pair("UTC", 2026),
                    std::pair("America/Santiago", 2024), std::pair("Africa/Cairo", 2024)));

// What a start in a cell becomes, in Berlin: "UTC moment", or "left out".
std::string StartOf(const std::string& cell, const std::string& allDay = "") {
  Sheet sheet = ReadSheet("Subject;Start Date;AllDay\nx;\"" + cell + "\";" + allDay + "\n", {});
  SheetMapping mapping = MapColumns(sheet, "calendar", {});
  ConvertCells(sheet, mapping);
  for (const SheetProblem& problem : DropUselessRows(sheet, mapping)) {
    EXPECT_THAT(problem.text, HasSubstr(cell.substr(0, 20))) << "the cell is named";
    return "left out";
  }
  const CellClock clock;
  const auto handed = clock.HandOver(sheet.rows.at(0).cells.at(1));
  return handed ? ToUtf8(FormatDateTime(handed->utc)) : "none";
}

TEST(CellWordsTest, TimesOfAnyProgramAreReadAsAWholeOrNotAtAll) {
  const test::ScopedEnvironment zone("TZ", "Europe/Berlin");
  const std::pair<const char*, const char*> kCases[] = {
      {"2026-03-04T10:00:00Z", "2026-03-04 10:00:00"},
      {"2026-03-04T10:00:00.123Z", "2026-03-04 10:00:00"},
      {"2026-03-04T10:00:00-05:00", "2026-03-04 15:00:00"},
      {"2026-03-04 10:00 +0530", "2026-03-04 04:30:00"},
      {"2026-03-04T23:30-05", "2026-03-05 04:30:00"},
      {"20260304T101500Z", "2026-03-04 10:15:00"},
      {"20260304101530", "2026-03-04 09:15:30"},
      {"4.3.2026 10:00 UTC", "2026-03-04 10:00:00"},
      {"4.3.2026 10:00 GMT+1", "2026-03-04 09:00:00"},
      {"2026-10-25 02:30", "2026-10-25 00:30:00"},
      {"2026-10-25T02:30+01:00", "2026-10-25 01:30:00"},
      {"3/4/2026 6:00 PM", "2026-03-04 17:00:00"},
      {"4/3/2026 6:00 p. m.", "2026-04-03 16:00:00"},
      {"4/3/2026 6:00 p.\u00A0m.", "2026-04-03 16:00:00"},
      {"3/4/2026 12:15:30\u202F"
       "AM",
       "2026-03-03 23:15:30"},
      {"4-3-2026 6:00 μ.μ.", "2026-03-04 17:00:00"},
      {"4-3-2026 6:00 Μ.Μ.", "2026-03-04 17:00:00"},
      {"2026/3/4 下午 06:00:00", "2026-03-04 17:00:00"},
      {"2026/3/4 上午10:00", "2026-03-04 09:00:00"},
      {"2026-03-04 오후 6:00", "2026-03-04 17:00:00"},
      {"2026. 3. 4. 오전 10:00", "2026-03-04 09:00:00"},
      {"2026/03/04 午後6:00", "2026-03-04 17:00:00"},
      {"4.03.2026 ÖS 6:00", "2026-03-04 17:00:00"},
      {"2026. 03. 04. du. 6:00", "2026-03-04 17:00:00"},
      {"4.3.2026 18.00", "2026-03-04 17:00:00"},
      {"4.3.2026, 18:00 Uhr", "2026-03-04 17:00:00"},
      {"4/3/2026 18h30", "2026-04-03 16:30:00"},
      {"2026-03-04 24:00", "2026-03-04 23:00:00"},
      {"4.3.2026 18:00 PM", "2026-03-04 17:00:00"},
      {"2026-03-04 10:00 xx", "left out"},
      {"2026-03-04 18:00 AM", "left out"},
      {"2026-03-04 6:00 PST", "left out"},
      {"2026-03-04 6:00 nachts", "left out"},
      {"2026-03-04 上午 6:00 PM", "left out"},
      {"2026-03-04T10:00:00+99:00", "left out"},
      {"2026-03-04 10:61", "left out"},
      {"2026-03-04 25:00", "left out"},
      {"2026-02-30 10:00", "left out"},
      {"2026-03-04 10:00 7", "left out"},
      {"March 4, 2026", "left out"},
      {"12345678901", "left out"},
  };
  for (const auto& [cell, moment] : kCases) EXPECT_EQ(StartOf(cell), moment) << cell;
  // In whatever zone a midnight is told, the day of an all-day row is that one.
  EXPECT_EQ(StartOf("2026-03-04T00:00:00Z", "1"), "2026-03-03 23:00:00");
  EXPECT_EQ(StartOf("2026-03-04T00:00:00-05:00", "1"), "2026-03-03 23:00:00");
  EXPECT_EQ(StartOf("2026-03-03T23:00:00Z", "1"), "2026-03-03 23:00:00");
}

}  // namespace
}  // namespace qv
