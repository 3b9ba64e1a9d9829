#include <gtest/gtest.h>

#include <random>

#include "support/text.h"
#include "support/vobject/decode.h"
#include "support/vobject/encode.h"
#include "support/vobject/marked_text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

using namespace std::string_literals;

std::optional<std::u16string> Decoded(std::string_view text, Dialect dialect) {
  LineReader reader(text);
  Line line;
  ValueDecoder decoder;
  if (!reader.Next(line)) return std::nullopt;
  const auto value = decoder.Text(line, dialect);
  if (!value) return std::nullopt;
  return Unescape(*value, dialect);
}

TEST(VObjectDecode, ValuesInBothDialects) {
  struct Case {
    std::string text;
    std::u16string old;
    std::u16string modern;
  };
  const Case cases[] = {
      {"A:a\r\n b", u"a b", u"ab"},
      {"A:a\r\n  b\n\tc", u"a  b\tc", u"a bc"},
      {"A:a\\;b\\\\n\\,c\\nd\\Ne\\x\\", u"a;b\\n\\,c\\nd\\Ne\\x\\", u"a;b\\n,c\r\nd\r\ne\\x\\"},
      {"A;QUOTED-PRINTABLE:a=3D=3b=\r\n b\r\n c=zz=4", u"a=; b c=zz=4", u"a=; bc=zz=4"},
      {"A;QUOTEDPRINTABLE:=C=\r\n3=\r\n=A=\n9==\r\n41=4\r\n 1=4=\r\n", u"\u00E9AA=4",
       u"\u00E9AA=4"},
      {"A;QUOTED-PRINTABLE:C:=5Cnew=0Ax", u"C:\\new\nx", u"C:\r\new\nx"},
      // An octet sequence folded in the middle is one character.
      {"A:Z\xC3\r\n\xA9", u"Z\u00C3", u"Z\u00C3"},
      {"A:Z\xC3\r\n \xA9", u"Z\u00C3 \u00A9", u"Z\u00E9"},
      {"A;ENCODING=B:w6k=", u"\u00E9", u"\u00E9"},
      {"A;CHARSET=Windows-1251:\xC8", u"\u0418", u"\u0418"},
      // The second byte of this character is a backslash in ASCII.
      {"A;CHARSET=Shift_JIS:\x95\x5C;x", u"\u8868;x", u"\u8868;x"},
      {"A;CHARSET=no-such-thing:\xC3\xA9", u"\u00E9", u"\u00E9"},
      {"A:\xE9\x80", u"\u00E9\u20AC", u"\u00E9\u20AC"},
      {"A:a\0b"s, u"a\uFFFDb", u"a\uFFFDb"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Decoded(c.text, Dialect::Old), c.old) << c.text;
    EXPECT_EQ(Decoded(c.text, Dialect::Modern), c.modern) << c.text;
  }
}

std::string Encoded(std::u16string_view value, std::string_view header = "NOTE") {
  LineWriter writer;
  writer.Begin(header);
  writer.Text(value);
  return writer.Take();
}

TEST(VObjectEncode, ValuesAsWritten) {
  EXPECT_EQ(Encoded(u"plain; a=b, \\n"), "NOTE:plain; a=b, \\\\n\r\n");
  EXPECT_EQ(Encoded(u"\u00E9=\r\n\tx "),
            "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9=3D=0D=0A=09x=20\r\n");
  EXPECT_EQ(Encoded(u"\U0001F600\xD800"),
            "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=F0=9F=98=80=EF=BF=BD\r\n");
  LineWriter writer;
  const std::u16string parts[] = {u"a;b", u"", u"c\\d"};
  writer.Begin("N");
  writer.Parts(parts);
  writer.Begin("ORG");
  writer.NameAndRest(u"a;b", u"c\\;d;e\\\\;f\\g\\");
  writer.Begin("ORG");
  writer.NameAndRest(u"a", u"");
  EXPECT_EQ(writer.Take(), "N:a\\;b;;c\\\\d\r\nORG:a\\;b;c\\;d;e\\\\;f\\\\g\\\\\r\nORG:a\r\n");
}

TEST(VObjectEncode, NoLineIsWiderThan76AndCharactersStayWhole) {
  for (size_t blanks = 0; blanks < 80; ++blanks) {
    const std::u16string value = std::u16string(blanks, u' ') + u"\u8868\u00E9 x\U0001F600 ";
    const std::string text = Encoded(value + value);
    for (size_t at = 0; at < text.size();) {
      const size_t end = text.find("\r\n", at);
      ASSERT_LE(end - at, 76u) << text;
      ASSERT_NE(text[end - 1], ' ') << text;
      ASSERT_NE(text[end + 2], ' ') << text;
      ASSERT_FALSE(text.substr(at, end - at).ends_with("=E8=A1=")) << text;
      at = end + 2;
    }
    EXPECT_EQ(Decoded(text, Dialect::Old), value + value);
  }
  LineWriter writer;
  writer.Begin("PHOTO;ENCODING=BASE64;TYPE=JPEG");
  writer.Base64(std::string(100, '\xFF'));
  const std::string text = writer.Take();
  EXPECT_EQ(text.find("\r\n "), 76u);
  EXPECT_TRUE(text.ends_with("/w==\r\n\r\n")) << text;
}

TEST(VObjectRawText, EveryByteStringComesBack) {
  const std::string cases[] = {"",
                               "abc",
                               "\xC3\xA9",
                               "\xE9",
                               "a\0b"s,
                               "\xEF\x9C\x80",
                               "\xEF\x9F\xBF",
                               "\xEF\x9B\xBF\xEF\xA0\x80",
                               "\xF0\x9F\x98\x80",
                               "\xED\xA0\x80",
                               "\xC3",
                               "\xF5"};
  for (const std::string& bytes : cases) {
    std::string back;
    AppendRaw(TextFromRaw(bytes), back);
    EXPECT_EQ(back, bytes) << testing::PrintToString(bytes);
  }
  EXPECT_EQ(TextFromRaw("\xC3\xA9\xE9\0"s), u"\u00E9\uF7E9\uF700");
  EXPECT_EQ(TextFromRaw("\xEF\x9C\x80"), u"\uF7EF\uF79C\uF780");
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes(random() % 24, '\0');
    for (char& c : bytes) c = static_cast<char>(random() % 3 == 0 ? 0xEF : random());
    std::string back;
    AppendRaw(TextFromRaw(bytes), back);
    ASSERT_EQ(back, bytes) << testing::PrintToString(bytes);
  }
}

TEST(VObjectMarkedText, MarksAreTakenOff) {
  std::string buffer;
  EXPECT_EQ(WithoutMark("\xEF\xBB\xBF"
                        "A",
                        buffer),
            "A");
  EXPECT_EQ(WithoutMark("\xFF\xFE\xE9\0A"s, buffer), "\xC3\xA9");  // an odd byte is dropped
  EXPECT_EQ(WithoutMark("\xFE\xFF\0\xE9\0A"s, buffer),
            "\xC3\xA9"
            "A");
  EXPECT_EQ(WithoutMark("A\xFF\xFE", buffer), "A\xFF\xFE");
}

}  // namespace
}  // namespace qv
