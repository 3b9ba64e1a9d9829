// Sheets of other programs: reading, mapping, converting, and the account of every cell.
#include <gmock/gmock.h>

#include <random>

#include "host/profile.h"
#include "host/spreadsheet/account.h"
#include "host/spreadsheet/conversions.h"
#include "host/spreadsheet/labels.h"
#include "items/item_objects.h"
#include "kit/platform_fakes.h"
#include "platform/system/code_page.h"
#include "stores/module.h"
#include "support/csv_document.h"
#include "support/text.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

// "a|b/c" for headings a and b above a row of c.
std::string Dump(const Sheet& sheet) {
  std::string dump;
  const auto add = [&](const std::vector<std::u16string>& cells) {
    for (size_t i = 0; i < cells.size(); ++i) dump += (i == 0 ? "" : "|") + ToUtf8(cells[i]);
  };
  add(sheet.header);
  for (const SheetRow& row : sheet.rows) {
    dump += "/";
    add(row.cells);
  }
  return dump;
}

std::string ErrorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "none";
}

TEST(SheetTest, AnyEncodingAndSeparatorIsRead) {
  const struct {
    std::string bytes;
    const char* cells;
    const char* encoding = "UTF-8";
    SheetForm form = {};
  } kCases[] = {
      {"a,b\r\n1,2\r\n", "a|b/1|2"},
      {"a;b;c,d\n1;2,3", "a|b|c,d/1|2,3"},
      {"a\tb\r\"x\ny\"\t2", "a|b/x\ny|2"},
      {"sep=;\r\na;b\n1;2", "a|b/1|2"},
      {"a,b\n1,2", "a,b/1,2", "UTF-8", {{}, u';'}},
      {"\"a;b\",c\n\"x\"\"y\",\"z\" tail\n", "a;b|c/x\"y|z tail"},
      {"a,b\n\n,\n\"\"\n", "a|b/|"},
      {"a,b\n1\n1,2,,\n", "a|b/1/1|2"},
      {"h\n,beyond\n,\n", "h/"},
      {"\xEF\xBB\xBFä\nö", "ä/ö"},
      {"\xFF\xFE" + ToUtf16Le(u"ä\nö"), "ä/ö", "UTF-16"},
      {std::string("\xFE\xFF\0a\0\n\0b", 8), "a/b", "UTF-16"},
      {ToUtf16Le(u"Name,Phone\nAnna,1"), "Name|Phone/Anna|1", "UTF-16"},
      {"a\n\xE4\x80", "a/ä€", "windows-1252"},
      {"a\n1\n\x1A", "a/1"},
      {"a\n\xC4\xE0", "a/Да", "1251", {"1251", {}}},
      {"a\n\xC7\xD1", "a/한", "EUC-KR", {"EUC-KR", {}}},
      {"a,b\n\"open,1\n2,3\n", "a|b/\"open|1/2|3"},
  };
  for (const auto& [bytes, cells, encoding, form] : kCases) {
    const Sheet sheet = ReadSheet(bytes, form);
    EXPECT_EQ(Dump(sheet), cells);
    EXPECT_EQ(sheet.encoding, encoding) << cells;
  }
  CodePages& pages = Service<CodePages>::Get();
  const std::string before = pages.AnsiPage();
  ASSERT_TRUE(pages.SetAnsiPage("windows-1251"));
  EXPECT_EQ(Dump(ReadSheet("a\n\xC4\xE0", {})), "a/Да") << "the profile's page comes last";
  pages.SetAnsiPage(before);
}

TEST(SheetTest, WhatIsWrongIsTold) {
  const Sheet sheet =
      ReadSheet("a,b\n\"1\n2\",3,4,,5\n" + std::string("x\0y,\xC3\xA4", 6) +
                    "\n\"5 inch,1\n\"fine\",2\n\"Bob\" Smith,3\n\"x\" ,4\n\"never\n",
                {});
  EXPECT_EQ(Dump(sheet), "a|b/1\n2|3/xy|ä/5 inch,1\nfine\"|2/Bob Smith|3/x |4/\"never");
  std::vector<std::string> told;
  for (const SheetProblem& problem : sheet.problems) {
    told.push_back(std::to_string(problem.line) + problem.text.substr(0, 20));
  }
  EXPECT_THAT(told,
              ElementsAre("2the row has 5 cells ", "4NUL characters were ", "5text behind a closin",
                          "7text behind a closin", "9a quote is opened an"));
  EXPECT_EQ(sheet.rows[1].line, 4u);
  for (const char* bytes : {"a\n\xFF\xFF", "a\xFF\n1"}) {
    EXPECT_THAT(ReadSheet(bytes, {"UTF-8", {}}).problems.at(0).text, HasSubstr("--code-page"));
  }
  EXPECT_EQ(ReadSheet(std::string("a,b\0,c\n", 8), {}).problems.at(0).line, 1u);
  std::string wrong = "a\n";
  for (int i = 0; i < 103; ++i) wrong += "1,2\n";
  EXPECT_EQ(ReadSheet(wrong, {}).problems.size(), 100u);
  EXPECT_EQ(ReadSheet(wrong, {}).moreProblems, 3u);
  for (const std::string& bytes : {std::string("\n,,\n"), std::string("\0,\0\n", 4)}) {
    EXPECT_THAT(ErrorOf([&] { ReadSheet(bytes, {}); }), HasSubstr("no row of headings"));
  }
  EXPECT_THAT(ErrorOf([] { ReadSheet("a", {"no-such", {}}); }), HasSubstr("windows-1252"));
  EXPECT_THAT(ErrorOf([] { ReadSheet(std::string(20'000, ',') + "x", {}); }), HasSubstr("16384"));
  const std::string longest = "a\n\n" + std::string(size_t{16} << 20, 'x');
  EXPECT_EQ(ErrorOf([&] { ReadSheet(longest, {}); }), "none");
  EXPECT_THAT(ErrorOf([&] { ReadSheet(longest + "x", {}); }), HasSubstr("line 3"));
}

TEST(SheetTest, WhatIsHandedOverIsReadAsTheseCells) {
  std::mt19937 random(3);
  constexpr std::u16string_view kSigns = u"ab,;\t\"\r\n \u00E4\xD83D=";
  const auto cell = [&] {
    std::u16string text(1 + random() % 5, u'x');
    for (char16_t& sign : text) sign = kSigns[random() % kSigns.size()];
    return text;
  };
  for (int round = 0; round < 500; ++round) {
    Sheet sheet;
    for (size_t i = 1 + random() % 4; i > 0; --i) sheet.header.push_back(cell() + u"x");
    for (size_t i = random() % 4; i > 0; --i) {
      sheet.rows.push_back({});
      for (size_t j = 1 + random() % sheet.header.size(); j > 0; --j) {
        sheet.rows.back().cells.push_back(random() % 3 == 0 ? u"" : cell());
      }
    }
    CsvDocument document;
    ASSERT_TRUE(document.ParseText(FromUtf16Le(StoreForm(sheet).substr(2))));
    ASSERT_EQ(document.header().size(), sheet.header.size());
    ASSERT_EQ(static_cast<size_t>(document.rowCount()), sheet.rows.size());
    for (size_t i = 0; i < sheet.rows.size(); ++i) {
      const CsvDocument::Row row = document.row(static_cast<int32_t>(i));
      ASSERT_EQ(row.size(), sheet.rows[i].cells.size());
      for (size_t j = 0; j < row.size(); ++j) ASSERT_EQ(row[j], sheet.rows[i].cells[j]);
    }
  }
}

// "GivenName,,Mobile": the fields by column.
std::string Fields(const SheetMapping& mapping) {
  std::string fields;
  for (const ColumnChoice& choice : mapping.columns) fields += ToUtf8(choice.field) + ",";
  return std::string(mapping.kind->store) + ":" + fields;
}

TEST(MappingTest, HeadingsOfManyProgramsAreKnown) {
  const struct {
    const char* headings;
    const char* fields;
  } kCases[] = {
      {"First Name,Last Name,Mobile Phone,E-mail Address,Home Street,Business Fax",
       "contacts:GivenName,FamilyName,Mobile,Home Email,Home Address Street,Work Fax,"},
      {"Vorname,Nachname,Mobiltelefon,E-Mail-Adresse,Straße privat,Fax geschäftlich",
       "contacts:GivenName,FamilyName,Mobile,Home Email,Home Address Street,Work Fax,"},
      {"FamilyName,Home Telephone_1,Home Telephone_2,Mobile_1,Home Email_1,Home Email_2",
       "contacts:FamilyName,Home Telephone,Other Telephone,Mobile,Home Email,Other Email,"},
      {"First Name,Home Phone 2,Other Phone,Primary Phone\nAnna,,,+49 30 1",
       "contacts:GivenName,Other Telephone,,Default Telephone,"},
      {"Home Telephone_1,Home Telephone_2,Other Telephone_1",
       "contacts:Home Telephone,Default Telephone,Other Telephone,"},
      {"Vorname,Name,Tel. dienstlich,Tel. privat,Fax-Nummer,Pager-Nummer,Mobil-Tel.-Nr.,"
       "Arbeitstitel,Webseite 1,Webseite 2",
       "contacts:GivenName,FamilyName,Work Telephone,Home Telephone,Work Fax,Pager,Mobile,"
       "JobTitle,Work Url,Home Url,"},
      {"Given Name,Family Name,Name,Bemerkung",
       "contacts:GivenName,FamilyName,FormattedName,Note,"},
      {"Privat: Adresse,Privat: Adresse 2,Privat: Ort,Privat: Bundesland,Privat: PLZ,Privat: Land",
       "contacts:Home Address Street,Home Address Extended,Home Address Locality,"
       "Home Address Region,Home Address Postalcode,Home Address Country,"},
      {"Dienstlich: Adresse,Dienstlich: Ort,Straße privat 2,Straße geschäftlich 2,PLZ,Ort,Straße",
       "contacts:Work Address Street,Work Address Locality,Home Address Extended,"
       "Work Address Extended,Home Address Postalcode,Home Address Locality,Home Address Street,"},
      {"Weitere Straße,Weiterer Ort,Weiteres Bundesland/Kanton,Weitere Postleitzahl,"
       "Weiteres/r/e Land/Region",
       "contacts:Other Address Street,Other Address Locality,Other Address Region,"
       "Other Address Postalcode,Other Address Country,"},
      {"First,Middle,Last,Email,Home,Work,Mobile,Fax,Pager,Other,Home ZIP,Work ZIP,Comments",
       "contacts:GivenName,Additional,FamilyName,Home Email,Home Telephone,Work Telephone,Mobile,"
       "Work Fax,Pager,Other Telephone,Home Address Postalcode,Work Address Postalcode,Note,"},
      {"Rufnummer (privat),Rufnummer (geschäftlich),Private Webseite,Webseite (geschäftlich)",
       "contacts:Home Telephone,Work Telephone,Home Url,Work Url,"},
      {"General mobile,Home mobile,General phone,Home phone,Business phone,General e-mail,"
       "Home e-mail,Business e-mail",
       "contacts:Mobile,Other Telephone,Default Telephone,Home Telephone,Work Telephone,"
       "Other Email,Home Email,Work Email,"},
      {"Name,Phone 1 - Type,Phone 1 - Value,Favourite", "contacts:FormattedName,,(by label),,"},
      {"Name,Phone 1 - Value,Phone,Telefon,Telephone",
       "contacts:FormattedName,Default Telephone,Home Telephone,Other Telephone,,"},
      {"Subject,Start Date,Start Time,All day event,Private",
       "calendar:Subject,Start Date,,AllDay,Class,"},
      {"Betreff,Beginnt am,Endet am,Ort", "calendar:Subject,Start Date,End Date,Location,"},
      {"Memo", "notes:Memo,"},
      {"notes,text", "notes:Memo,,"},
  };
  for (const auto& [headings, fields] : kCases) {
    EXPECT_EQ(Fields(MapColumns(ReadSheet(headings, {}), "", {})), fields);
  }
}

TEST(MappingTest, APersonHasTheLastWordAndIsToldWhatCanBeSaid) {
  const Sheet sheet = ReadSheet("Name,Phone,a=b,Phone", {});
  EXPECT_EQ(Fields(MapColumns(sheet, "", {"a=b=note", "#4=HOME FAX", "phone=Mobile", "Name="})),
            "contacts:,Mobile,Note,Home Fax,");
  EXPECT_EQ(Fields(MapColumns(sheet, "", {"#4=Default Telephone"})),
            "contacts:FormattedName,,,Default Telephone,");
  const struct {
    const char* store;
    MapArguments map;
    const char* error;
  } kBad[] = {
      {"", {"Name"}, "is not COLUMN=FIELD"},
      {"", {"none=Mobile"}, "\"Name\", \"Phone\", \"a=b\""},
      {"", {"#5=Mobile"}, "#1 to #4"},
      {"", {"Name=Colour"}, "NickName"},
      {"bookmarks", {}, "no spreadsheet form"},
      {"notes", {}, "no column is mapped"},
  };
  for (const auto& [store, map, error] : kBad) {
    EXPECT_THAT(ErrorOf([&] { MapColumns(sheet, store, map); }), HasSubstr(error));
  }
  EXPECT_THAT(ErrorOf([] { MapColumns(ReadSheet("x,y", {}), "", {}); }), HasSubstr("--store"));
}

TEST(MappingTest, AKeptMappingComesBack) {
  const test::TempFolder folder;
  const Sheet sheet = ReadSheet("Name,Phone 1 - Label,Phone 1 - Value,\xC3\xA4", {});
  const SheetMapping mapping = MapColumns(sheet, "", {"\xC3\xA4=Note"});
  const std::string file = folder.File("map.xml");
  SaveMapping(mapping, file, false);
  EXPECT_EQ(Fields(LoadMapping(sheet, "", {}, file)), Fields(mapping));
  EXPECT_EQ(Fields(LoadMapping(sheet, "", {"Name="}, file)), "contacts:,,(by label),Note,");
  EXPECT_THAT(ErrorOf([&] { LoadMapping(ReadSheet("Name", {}), "", {}, file); }),
              HasSubstr("maps 4 columns"));
  EXPECT_THAT(ErrorOf([&] { LoadMapping(sheet, "", {}, folder.File("none")); }),
              HasSubstr("cannot be read"));
  folder.Put("bad.xml", "<Msg>\n<Body>");
  EXPECT_THAT(ErrorOf([&] { LoadMapping(sheet, "", {}, folder.File("bad.xml")); }),
              HasSubstr("--save-map"));
  folder.Put("twice.xml",
             "<Msg><Body><Put><C Data='Note'/><C Data='Note'/><C/><C/></Put></Body></Msg>");
  const SheetMapping twice = LoadMapping(sheet, "", {}, folder.File("twice.xml"));
  EXPECT_EQ(Fields(twice), "contacts:Note,,,,");
  EXPECT_THAT(twice.columns[1].reason, HasSubstr("taken from another"));
  folder.Put("few.xml", "<Msg><Body><Put><C Data='x'/><C/><C/><C/></Put></Body></Msg>");
  EXPECT_THAT(ErrorOf([&] { LoadMapping(sheet, "", {}, folder.File("few.xml")); }),
              HasSubstr("names no fields"));
  EXPECT_THAT(ErrorOf([&] { SaveMapping(mapping, folder.File("no/map.xml"), true); }),
              HasSubstr("No such file"));
  EXPECT_THAT(ErrorOf([&] { SaveMapping(mapping, folder.File("bad.xml"), false); }),
              HasSubstr("--replace-map"));
  EXPECT_EQ(*folder.Get("bad.xml"), "<Msg>\n<Body>");
  SaveMapping(mapping, folder.File("bad.xml"), true);
  EXPECT_EQ(*folder.Get("bad.xml"), *folder.Get("map.xml"));
  EXPECT_EQ(folder.Names().size(), 4u) << "no half file stays behind";
  EXPECT_THAT(ToUtf8(MappingXml(mapping, u"C:\\a&b.csv")), HasSubstr("Path=\"C:\\a&amp;b.csv\""));
}

// The cells of one field after all conversions.
std::vector<std::string> Converted(const std::string& bytes, const char* field,
                                   DateOrder order = DateOrder::Guess) {
  Sheet sheet = ReadSheet(bytes, {});
  SheetMapping mapping = MapColumns(sheet, "", {});
  SpreadByLabel(sheet, mapping);
  ConvertCells(sheet, mapping, order);
  std::vector<std::string> cells;
  for (size_t i = 0; i < mapping.columns.size(); ++i) {
    if (ToUtf8(mapping.columns[i].field) != field) continue;
    for (const SheetRow& row : sheet.rows) {
      cells.push_back(i < row.cells.size() ? ToUtf8(row.cells[i]) : "");
    }
  }
  return cells;
}

// "HEADING: what, cells" of all conversions.
std::vector<std::string> Told(const std::string& bytes, DateOrder order = DateOrder::Guess) {
  Sheet sheet = ReadSheet(bytes, {});
  SheetMapping mapping = MapColumns(sheet, "", {});
  std::vector<std::string> told;
  for (const Conversion& conversion : ConvertCells(sheet, mapping, order)) {
    told.push_back(ToUtf8(conversion.heading) + ": " + conversion.what + ", " +
                   std::to_string(conversion.cells));
  }
  return told;
}

// November 2023.
class ConversionsTest : public testing::Test {
 protected:
  test::FakeClock clock_{1'700'000'000};
  ScopedService<Clock> use_{clock_};
};

TEST_F(ConversionsTest, DatesOfAnyOrderBecomeOne) {
  EXPECT_THAT(
      Converted("Name,Birthday\n,24.12.1980\n,1.2.80\n,1/2/2003\n,2003-04-05\n,soon\n"
                ",0/0/00\n,1-2-49 6:05 pm\n,31.31.2000\n,2003-04-05T10:00\n",
                "BirthDay"),
      ElementsAre("1980-12-24 00:00", "1980-02-01 00:00", "2003-02-01 00:00", "2003-04-05 00:00",
                  "soon", "", "1949-02-01 18:05", "31.31.2000", "2003-04-05 10:00"));
  EXPECT_THAT(Converted("Name,Birthday\n,1/2/2003\n", "BirthDay"), ElementsAre("2003-01-02 00:00"))
      << "the month stands first before a slash";
  EXPECT_THAT(Converted("Subject,Start Date,Start Time\na,12/24/2026,6:00:00 PM\nb,1/2/2026,\n"
                        "c,,9:00\nd,1/3/2026,12:30 AM\n",
                        "Start Date"),
              ElementsAre("2026-12-24 18:00", "2026-01-02 00:00", "", "2026-01-03 00:30"));
  const std::string alarms =
      "Subject,Reminder on/off,Reminder Date,Reminder Time\na,False,1/2/2026,8:00\n"
      "b,True,1/2/2026,8:00\n";
  EXPECT_THAT(Converted(alarms, "Alarm Date"), ElementsAre("", "2026-01-02 08:00"));
  EXPECT_THAT(Converted("Betreff,Ganztägig,Priorität,Vertraulichkeit\na,Wahr,Hoch,Privat\n"
                        "b,Falsch,Normal,Normal\nc,2,3,x\nd,Ein\ne,off\n",
                        "AllDay"),
              ElementsAre("1", "", "2", "1", ""));
  EXPECT_THAT(Converted("Subject,Private\na,On\nb,Aus\n", "Class"), ElementsAre("2", ""));
  EXPECT_THAT(Converted("Betreff,Erinnerung Ein/Aus,Erinnerung am\na,Aus,1.2.2026\n"
                        "b,Ein,1.2.2026\n",
                        "Alarm Date"),
              ElementsAre("", "2026-02-01 00:00"));
}

TEST_F(ConversionsTest, AllDatesOfAFileHaveOneOrderAndItIsTold) {
  const std::string british =
      "Subject,Start,End\na,31/03/2026,01/04/2026\nb,03/04/2026,05/04/2026\n";
  EXPECT_THAT(Converted(british, "Start Date"),
              ElementsAre("2026-03-31 00:00", "2026-04-03 00:00"));
  EXPECT_THAT(Converted(british, "End Date"), ElementsAre("2026-04-01 00:00", "2026-04-05 00:00"));
  EXPECT_THAT(Told(british), ElementsAre("Start: dates read as day, month, year, 2",
                                         "End: dates read as day, month, year, 2"));
  EXPECT_THAT(Converted(british, "End Date", DateOrder::MonthFirst),
              ElementsAre("2026-01-04 00:00", "2026-05-04 00:00"));
  EXPECT_THAT(
      Told("Subject,Start\na,1/2/2026\nb,2026-01-02\nc,1/1/4501\n"),
      ElementsAre("Start: dates read as year, month, day, 1",
                  "Start: dates read as month, day, year (assumed: no day above 12 tells; --dates "
                  "sets it), 1",
                  "Start: dates that mean none left out, 1"));
  const std::string both = "Subject,Start,End\na,31/03/2026,1/2/2026\nb,03/31/2026,\n";
  EXPECT_THAT(Converted(both, "Start Date"), ElementsAre("31/03/2026", "2026-03-31 00:00"));
  EXPECT_THAT(Told(both)[0], HasSubstr("(assumed: days above 12 tell both orders"));
  EXPECT_THAT(Told(both, DateOrder::DayFirst),
              ElementsAre("Start: dates read as day, month, year, 1",
                          "End: dates read as day, month, year, 1"));
}

TEST_F(ConversionsTest, BirthdaysLieBehindUsAndMayStandInThreeColumns) {
  EXPECT_THAT(Converted("Name,Birthday\n,1.2.23\n,1.2.24\n,1.2.2030\n", "BirthDay"),
              ElementsAre("2023-02-01 00:00", "1924-02-01 00:00", "2030-02-01 00:00"));
  EXPECT_THAT(Converted("Subject,Start\n,1.2.24\n", "Start Date"), ElementsAre("2024-02-01 00:00"));
  EXPECT_THAT(Converted("Name,Birth Year,Birth Month,Birth Day\n,1980,12,24\n,80,1,2\n,,12,24\n"
                        ",1980,12\nx\n",
                        "BirthDay"),
              ElementsAre("1980-12-24 00:00", "1980-01-02 00:00", "-12-24", "1980-12-", ""));
  EXPECT_THAT(Converted("Geburtsjahr,Geburtsmonat,Geburtstag\n1980,1,2\n", "BirthDay"),
              ElementsAre("1980-01-02 00:00"));
}

TEST_F(ConversionsTest, TheEndOfAnAllDayRowIsTheMidnightAfterItsLastDay) {
  const std::string sheet =
      "Subject,Start Date,Start Time,End Date,End Time,All Day Event\n"
      "a,05/31/2026,,05/31/2026,,True\nb,05/31/2026,,,,True\n"
      "c,05/31/2026,12:00 AM,06/01/2026,12:00 AM,True\nd,05/31/2026,,05/31/2026,,False\n"
      "e,05/31/2026,,someday,,True\nf,05/31/2026,,,8:00,\n";
  EXPECT_THAT(Converted(sheet, "End Date"), ElementsAre("2026-06-01 00:00", "", "2026-06-01 00:00",
                                                        "2026-05-31 00:00", "someday", ""));
  EXPECT_THAT(Told(sheet), IsSupersetOf({"End Date: last days of all-day rows became the midnight "
                                         "after, 1",
                                         "End Time: times without a day left out, 1"}));
}

TEST(LabelsTest, ValuesGoToTheFieldOfTheirLabel) {
  const std::string sheet =
      "Name,Phone 1 - Label,Phone 1 - Value,Phone 2 - Label,Phone 2 - Value,"
      "E-mail 1 - Label,E-mail 1 - Value,Address 1 - Label,Address 1 - City,Address 1 - Street\n"
      "A,* Mobile,1,Home,2,Work,w@x,Work,Berlin,Str. 1\n"
      "B,Work,3 ::: 4,Sailing,5,,h@x,,Bonn,\n"
      "C,Mobile,6 ::: 7 ::: 8 ::: 9 ::: 10,,,,,,,,beyond\n";
  EXPECT_THAT(Converted(sheet, "Mobile"), ElementsAre("1", "", "6"));
  EXPECT_THAT(Converted(sheet, "Home Telephone"), ElementsAre("2", "", ""));
  EXPECT_THAT(Converted(sheet, "Work Telephone"), ElementsAre("", "3", ""));
  EXPECT_THAT(Converted(sheet, "Company Telephone"), ElementsAre("", "4", ""));
  EXPECT_THAT(Converted(sheet, "Other Telephone"), ElementsAre("", "5", "7"));
  EXPECT_THAT(Converted(sheet, "Work Address Locality"), ElementsAre("Berlin", "", ""));
  EXPECT_THAT(Converted(sheet, "Home Address Locality"), ElementsAre("", "Bonn", ""));
  EXPECT_THAT(Converted(sheet, "Home Email"), ElementsAre("", "h@x", ""));
  Sheet read = ReadSheet(sheet, {});
  SheetMapping mapping = MapColumns(read, "", {"Phone 2 - Value=Pager"});
  SpreadByLabel(read, mapping);
  EXPECT_EQ(ToUtf8(read.rows[0].cells[4]), "2") << "a person has the last word";
  EXPECT_EQ(ToUtf8(read.rows[2].cells[2]), "10") << "what finds no field stays, to be told";
  EXPECT_EQ(ToUtf8(read.rows[1].cells[3]), "Sailing");
}

TEST(AccountTest, RowsThatSayNothingAreLeftOut) {
  const auto told = [](const std::string& bytes) {
    Sheet sheet = ReadSheet(bytes, {});
    SheetMapping mapping = MapColumns(sheet, "", {});
    ConvertCells(sheet, mapping);
    std::vector<std::string> lines;
    for (const SheetProblem& problem : DropUselessRows(sheet, mapping)) {
      lines.push_back(std::to_string(problem.line) + problem.text.substr(0, 10));
    }
    lines.push_back(std::to_string(sheet.rows.size()));
    return lines;
  };
  EXPECT_THAT(told("Name,Colour\n,red\nA,\n" + std::string("\0,\0\n", 4)),
              ElementsAre("2nothing in", "4nothing in", "1"));
  EXPECT_THAT(told("Subject,Start\na,\nb,soon\nc,1.2.2026\n,\n"),
              ElementsAre("2no start t", "3no start t", "5nothing in", "1"));
}

TEST(AccountTest, EveryCellIsKeptChangedOrDropped) {
  Sheet sheet = ReadSheet(
      "FamilyName,BirthDay,Mobile,Photo,Group,Work Department,Colour\n"
      "A,1980-04-05,\"\"\"1\"\"\",x,Friends,Sales,red\n"
      "B,1980-04-05 10:30,2,,None,,\nC,soon,3,,,,\n",
      {});
  SheetMapping mapping = MapColumns(sheet, "", {});
  ConvertCells(sheet, mapping);
  RegisterModuleClasses();
  const SyncSession noDatabase;
  const GroupTable groups(noDatabase, QuoteRule::AsTheyStand);
  const SheetAccount account = AccountFor(sheet, mapping, groups);
  std::vector<std::string> told;
  for (const FieldAccount& field : account.fields) {
    told.push_back(ToUtf8(field.field) + " " + std::to_string(field.kept) + " " +
                   std::to_string(field.changed) + " " + std::to_string(field.dropped));
  }
  EXPECT_THAT(told, ElementsAre("FamilyName 3 0 0", "BirthDay 1 1 1", "Mobile 3 0 0", "Photo 0 0 1",
                                "Group 0 0 2", "Work Department 1 0 0"));
  EXPECT_THAT(account.fields[1].examples,
              ElementsAre("line 3: \"1980-04-05 10:30\" became \"1980-04-05 00:00\"",
                          "line 4: \"soon\" cannot be held"));
  ASSERT_EQ(account.lost.size(), 1u);
  EXPECT_EQ(account.lost[0].cells, 1);
  Sheet used = ReadSheet(
      "Subject,Start Date,Start Time,Reminder on/off,Reminder Date,x\n"
      "a,1/2/2026,8:00,On,1/2/2026,y\n",
      {});
  SheetMapping joined = MapColumns(used, "", {});
  ConvertCells(used, joined);
  const SheetAccount second = AccountFor(used, joined, groups);
  ASSERT_EQ(second.lost.size(), 1u) << "times and switches have been used";
  EXPECT_EQ(second.lost[0].heading, u"x");

  const StoreKind& store = *FindStoreKind("contacts");
  const auto loses = [&](const std::string& lines) {
    const auto item = ReadItem(store, "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n");
    return LosesInCells(*FindSheetKind("contacts"), *item, groups, CellClock());
  };
  EXPECT_FALSE(loses("N:A;B\r\nFN:C\r\nTEL;HOME:1\r\nTEL;CELL:2\r\nBDAY:19800405\r\nNOTE:x\r\n"));
  EXPECT_TRUE(loses("N:A\r\nTEL;HOME:1\r\nTEL;HOME:2\r\n"));
  EXPECT_TRUE(loses("N:A\r\nX-COLOUR:red\r\n"));
  EXPECT_TRUE(loses("N:A\r\nX-GRPUUID:g1\r\n")) << "a group without a name";
}

}  // namespace
}  // namespace qv
