#include <gtest/gtest.h>

#include <vector>

#include "support/vobject/lines.h"

namespace qv {
namespace {

std::string Shown(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    shown += c == '\r' ? "<CR>" : c == '\n' ? "<LF>" : std::string(1, c);
  }
  return shown;
}

// One line of text as "group.NAME(parameters)value", followed by what else is said of it.
std::string Dump(std::string_view text) {
  std::string dump;
  LineReader reader(text);
  for (Line line; reader.Next(line);) {
    if (!line.group.empty()) dump += std::string(line.group) + '.';
    dump += Shown(line.name) + '(' + Shown(line.parameters) + ')' + Shown(line.value);
    if (line.encoding == ValueEncoding::QuotedPrintable) dump += " qp";
    if (line.encoding == ValueEncoding::Base64) dump += " b64";
    if (!line.charset.empty()) dump += " charset=" + std::string(line.charset);
    if (line.malformed) dump += " malformed";
    dump += '\n';
  }
  return dump;
}

TEST(VObjectLines, AreFoundInTheirText) {
  const std::pair<const char*, const char*> kCases[] = {
      {"A:1\r\nB:2\nC:3\rD:4", "A()1\nB()2\nC()3\nD()4\n"},
      {"\r\n\r\n  A:1\r\n\r\n\tB:2", "A()1\nB()2\n"},
      {" \r\n\t", ""},
      {"A:1\r 2\n 3\nB:4", "A()1<CR> 2<LF> 3\nB()4\n"},
      {"item1.T\r\n EL;CE\r\n LL:1", "item1.TEL(CELL)1\n"},
      {"A;L=\"x;y:z\":1", "A(L=\"x;y:z\")1\n"},
      {"A;L=\"x:y\r\nB:2", "A(L=\"x)y malformed\nB()2\n"},
      {":1\r\n.A:2\r\na b.C:3\r\nno colon", "()1\n.A()2\na b.C()3\nno colon()\n"},
      {"A;charset=\"koi8-r\";Encoding=8bit:1",
       "A(charset=\"koi8-r\";Encoding=8bit)1 charset=koi8-r\n"},
      {"A;QUOTED-PRINTABLE:x=\r\ny=\r\n\r\nB:1",
       "A(QUOTED-PRINTABLE)x=<CR><LF>y=<CR><LF> qp\nB()1\n"},
      {"A;BASE64:QU\r\nNO\r\n TE:x", "A(BASE64)QU b64\nNOTE()x\n"}};
  for (const auto& [text, dump] : kCases) EXPECT_EQ(Dump(text), dump) << Shown(text);
}

// A text with one kind of break only, or with folds or parameters without end, costs one pass.
TEST(VObjectLines, LargeTextsAreReadInOnePass) {
  std::string breaks;
  for (int i = 0; i < 300'000; ++i) breaks += "A:1\r";
  std::string folds = "A:";
  for (int i = 0; i < 300'000; ++i) folds += "x\n ";
  std::string parameters = "A";
  for (int i = 0; i < 1'000'000; ++i) parameters += ";X=1";
  std::string base64;
  for (int i = 0; i < 100'000; ++i) base64 += "A;BASE64:QQ\nQ\n Q\n :\n";
  struct Case {
    const std::string& text;
    size_t lines;
  };
  for (const Case& c :
       {Case{breaks, 300'000}, Case{folds, 1}, Case{parameters, 1}, Case{base64, 200'000}}) {
    size_t lines = 0;
    LineReader reader(c.text);
    for (Line line; reader.Next(line);) ++lines;
    EXPECT_EQ(lines, c.lines);
    EXPECT_EQ(reader.position(), c.text.size());
  }
}

}  // namespace
}  // namespace qv
