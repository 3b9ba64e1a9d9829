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

struct LineCase {
  const char* text;
  const char* dump;
};

class VObjectLines : public testing::TestWithParam<LineCase> {};

TEST_P(VObjectLines, AreFoundInTheirText) {
  EXPECT_EQ(Dump(GetParam().text), GetParam().dump) << Shown(GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Breaks, VObjectLines,
    testing::Values(LineCase{"A:1\r\nB:2\nC:3\rD:4", "A()1\nB()2\nC()3\nD()4\n"},
                    LineCase{"\r\n\r\n  A:1\r\n\r\n\tB:2", "A()1\nB()2\n"}, LineCase{"", ""},
                    LineCase{" \r\n\t", ""},
                    LineCase{"A:1\r\n 2\r\n\t3\r\nB:4", "A()1<CR><LF> 2<CR><LF>\t3\nB()4\n"},
                    LineCase{"A:1\r 2\n 3\nB:4", "A()1<CR> 2<LF> 3\nB()4\n"}));

INSTANTIATE_TEST_SUITE_P(
    Headers, VObjectLines,
    testing::Values(LineCase{"item1.TEL;CELL;TYPE=a,b:x:y;z", "item1.TEL(CELL;TYPE=a,b)x:y;z\n"},
                    LineCase{"T\r\n EL;CE\r\n LL:1", "TEL(CELL)1\n"},
                    LineCase{"A;L=\"x;y:z\":1", "A(L=\"x;y:z\")1\n"},
                    LineCase{"A;L=\"x:y\r\nB:2", "A(L=\"x)y malformed\nB()2\n"},
                    LineCase{"A;L=\"x:y\"", "A(L=\"x:y\")\n"},
                    LineCase{"no colon\r\nA:1", "no colon()\nA()1\n"},
                    LineCase{":1\r\n.A:2\r\na b.C:3", "()1\n.A()2\na b.C()3\n"},
                    LineCase{"A\"b;X:1", "A\"b(X)1\n"},
                    LineCase{"A;charset=\"koi8-r\";Encoding=8bit:1",
                             "A(charset=\"koi8-r\";Encoding=8bit)1 "
                             "charset=koi8-r\n"}));

INSTANTIATE_TEST_SUITE_P(
    QuotedPrintable, VObjectLines,
    testing::Values(LineCase{"A;QUOTED-PRINTABLE:x=\r\ny=\r\n\r\nB:1",
                             "A(QUOTED-PRINTABLE)x=<CR><LF>y=<CR><LF> qp\nB()1\n"},
                    LineCase{"A;ENCODING=Quoted-Printable:x=\n y\nB:1",
                             "A(ENCODING=Quoted-Printable)x=<LF> y qp\nB()1\n"},
                    LineCase{"A:x=\r\nB:1", "A()x=\nB()1\n"},
                    LineCase{"A;TYPE=QUOTED-PRINTABLE:x=\r\nB:1",
                             "A(TYPE=QUOTED-PRINTABLE)x=\nB()1\n"},
                    LineCase{"A;QUOTED-PRINTABLE:x=", "A(QUOTED-PRINTABLE)x= qp\n"}));

// The value keeps the break before the blank line that ends it, so that it can be written back.
INSTANTIATE_TEST_SUITE_P(
    Base64, VObjectLines,
    testing::Values(
        LineCase{"A;BASE64:QU\r\n JD\r\n\r\nB:1", "A(BASE64)QU<CR><LF> JD<CR><LF> b64\nB()1\n"},
        LineCase{"A;ENCODING=b:QU\r\nJD==\r\nB:1", "A(ENCODING=b)QU<CR><LF>JD== b64\nB()1\n"},
        LineCase{"A;ENCODING=B:\r\n QUJD\r\nB;X:1", "A(ENCODING=B)<CR><LF> QUJD b64\nB(X)1\n"},
        LineCase{"A;B:QU\r\nJD\r\nB:1", "A(B)QU\nJD()\nB()1\n"},
        // A property whose name is folded starts like a line of base64.
        LineCase{"A;BASE64:QU\r\nNO\r\n TE:x", "A(BASE64)QU b64\nNOTE()x\n"}));

TEST(VObjectParameters, WordsAndValues) {
  struct Case {
    const char* parameters;
    const char* dump;
  };
  const Case cases[] = {
      {"HOME;TYPE=a,b", "=HOME TYPE=a,b "},
      {";; ;X= y ;\"q;r\"", "X=y =q;r "},
      {"L=\"a:b\";M=\"a\",\"b\"", "L=a:b M=\"a\",\"b\" "},
      {"L=\"a;N=1", "L=\"a N=1 "},
  };
  for (const Case& c : cases) {
    std::string dump;
    ParameterReader reader(c.parameters);
    for (Parameter p; reader.Next(p);) {
      dump += std::string(p.name) + '=' + std::string(p.value) + ' ';
    }
    EXPECT_EQ(dump, c.dump) << c.parameters;
  }
  std::string words;
  std::string_view list = "a, \"b\",,\"c d\"";
  for (std::string_view word; NextWord(list, word);) words += '<' + std::string(word) + '>';
  EXPECT_EQ(words, "<a><b><c d>");
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
