#include "support/csv_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "kit/csv_reference.h"
#include "kit/platform_fakes.h"
#include "platform/system/code_page.h"
#include "support/text.h"

namespace qv {
namespace {

using test::CsvCells;

std::vector<CsvCells> RecordsOf(const CsvDocument& document) {
  std::vector<CsvCells> records(1);
  for (size_t i = 0; i < document.header().size(); ++i) {
    records[0].emplace_back(document.header()[i]);
  }
  for (int32_t i = 0; i < document.rowCount(); ++i) {
    const CsvDocument::Row row = document.row(i);
    CsvCells& cells = records.emplace_back();
    for (size_t j = 0; j < row.size(); ++j) cells.emplace_back(row[j]);
  }
  return records;
}

// "a|b/c" for a header of a and b above a row of c.
std::string Dump(const CsvDocument& document) {
  std::string dump;
  bool first = true;
  for (const CsvCells& record : RecordsOf(document)) {
    if (!first) dump += "/";
    first = false;
    for (size_t i = 0; i < record.size(); ++i) dump += (i == 0 ? "" : "|") + ToUtf8(record[i]);
  }
  return dump;
}

TEST(CsvDocumentTest, TextsBecomeTheseCells) {
  const struct {
    const char16_t* text;
    const char* cells;
  } kCases[] = {
      {u"", ""},
      {u"h", "h"},
      {u"a,b,\r\na,,b\n,\r,,", "a|b/a||b//|"},
      {u"h\n\"a,b\",c", "h/a,b|c"},
      {u"h\n\"He said \"\"hi\"\"\",x", "h/He said \"hi\"|x"},
      {u"h\na\"b,c\"d", "h/a\"b|c\"d"},
      {u"h\nab\"\"", "h/ab\""},
      {u"h\n\"a\r\nb\",c\r\nd", "h/a\r\nb|c/d"},
      {u"h\n\"\n\",x", "h/\n|x"},
      {u"\r\nh\n\n \n", "/h/ "},
      {u"a\tb,c\nd,e\tf", "a|b,c/d,e|f"},
      {u"a,b\nc\td,e", "a|b/c\td|e"},
      {u"h\na\"b,c\nd\"\ne", "h/a\"b|c\nd/e"},
      {u"h\n\"never closed,x\ny", "h/never closed,x\ny"},
      {u"h\n\"", "h/"},
  };
  for (const auto& [text, cells] : kCases) {
    CsvDocument document;
    EXPECT_TRUE(document.ParseText(text));
    EXPECT_EQ(Dump(document), cells) << ToUtf8(text);
  }
}

TEST(CsvDocumentTest, AnyTextIsReadAsStepByStep) {
  constexpr char16_t kSigns[] = {u'a', u',', u'"', u'"', u'\t', u'\r', u'\n', u',', u'\0', u'b'};
  std::mt19937 random(7);
  for (int round = 0; round < 20'000; ++round) {
    std::u16string text(random() % 24, u'\0');
    for (char16_t& sign : text) sign = kSigns[random() % std::size(kSigns)];
    CsvDocument document;
    ASSERT_TRUE(document.ParseText(text));
    std::vector<CsvCells> expected = test::ReadCsvSlowly(text);
    if (expected.empty()) expected.emplace_back();
    ASSERT_EQ(RecordsOf(document), expected) << testing::PrintToString(text);
  }
}

std::string Repeated(const std::string& text, size_t times) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}

TEST(CsvDocumentTest, FilesAreReadInTheirEncoding) {
  const test::TempFolder folder;
  const std::string wide("\xFF\xFEh\0\n\0\xE4\0\n\0\x0D\x0A\x1A\x01,\0z\0\0\0q\0", 22);
  const std::string narrow = "h\n" + std::string(600'000, 'x') + "\n";
  const struct {
    std::string bytes;
    std::string cells;
  } kCases[] = {
      {"\xEF\xBB\xBFh\r\n\xC3\xA4\r\n", "h/ä"},
      {"h\n\xE4\x80", "h/ä€"},
      {wide, "h/ä/\u0A0D\u011A|z"},
      {"h\na\x1A,b", "h/a"},
      {std::string("h\na\0b\nc", 8), "h/a"},
      {std::string("\xFE\xFF\0h\0\n\0a", 8), "þÿ"},
      {narrow + "\xE4,b", narrow.substr(0, 1) + "/" + narrow.substr(2, 600'000) + "/ä|b"},
      {"\xEF\xBB\xBF" + narrow.substr(0, 524'284) + "\xC3\xA4\n",
       "h/" + narrow.substr(2, 524'282) + "ä"},
      {"", ""},
      {"h\n" + std::string(1'500'001, '\xE4'), "h/" + Repeated("ä", 1'500'001)},
      {"\xEF\xBB\xBFh\n" + Repeated("ä", 600'001) + "\xC3",
       "h/" + Repeated("ä", 600'001) + "\uFFFD"},
      {std::string(100'000, ','), std::string(99'999, '|')},
  };
  for (const auto& [bytes, cells] : kCases) {
    folder.Put("a.csv", bytes);
    CsvDocument document;
    EXPECT_TRUE(document.LoadFile(folder.ModulePath(u"a.csv")));
    EXPECT_TRUE(Dump(document) == cells) << Dump(document).substr(0, 80);
  }
  CsvDocument document;
  for (const char16_t* path : {u"missing.csv", u""}) {
    ASSERT_TRUE(document.ParseText(u"h\nold"));
    EXPECT_FALSE(document.LoadFile(*path == 0 ? u"" : folder.ModulePath(path)));
    EXPECT_EQ(Dump(document), "");
  }
  EXPECT_FALSE(document.LoadFile(folder.ModulePath(u"")));
}

TEST(CsvDocumentTest, RowsAreWrittenSoThatTheyComeBack) {
  const test::TempFolder folder;
  const std::u16string path = folder.ModulePath(u"out.csv");
  CsvDocument document;
  CsvRow row;
  EXPECT_TRUE(document.WriteRow(path, row, false));
  row.Append(u"a\"b");
  row.Append(u"c,d");
  row.Append(u"\u0416\n\x3000");
  EXPECT_TRUE(document.WriteRow(path, row, false));
  row.Clear();
  row.Append(std::u16string_view(u"x\0y", 3));
  EXPECT_TRUE(document.WriteRow(path, row, true));
  EXPECT_EQ(folder.Get("out.csv"), "\"a\"\"b\",\"c,d\",\"?\n?\"\r\n\"xy\"\r\n");
  EXPECT_FALSE(document.WriteRow(folder.ModulePath(u"no\\out.csv"), row, true));
  document.SetHeader(row);
  document.AppendRow(row);
  document.AppendRow(row);
  EXPECT_EQ(RecordsOf(document), std::vector<CsvCells>(3, CsvCells{std::u16string(u"x\0y", 3)}));

  std::mt19937 random(11);
  constexpr std::u16string_view kSigns = u"ab,\"\r\n \u00E4=";
  for (int round = 0; round < 300; ++round) {
    std::vector<CsvCells> records(1 + random() % 4);
    for (size_t i = 0; i < records.size(); ++i) {
      CsvRow out;
      for (size_t cells = 1 + random() % 4; cells-- > 0;) {
        std::u16string cell(random() % 6, u'\0');
        for (char16_t& sign : cell) sign = kSigns[random() % kSigns.size()];
        records[i].push_back(cell);
        out.Append(cell);
      }
      ASSERT_TRUE(document.WriteRow(path, out, i > 0));
    }
    ASSERT_TRUE(document.LoadFile(path));
    ASSERT_EQ(RecordsOf(document), records);
  }
}

}  // namespace
}  // namespace qv
