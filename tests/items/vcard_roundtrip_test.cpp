// Properties that hold for every contact and for every text, over generated ones.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "items/extra.h"
#include "items/uid_text.h"
#include "items/vcard.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

class Generator {
 public:
  explicit Generator(uint32_t seed) : random_(seed) {}

  size_t Below(size_t limit) { return random_() % limit; }
  template <class List>
  const auto& Of(const List& list) {
    return list[Below(std::size(list))];
  }

  // Pieces that escapes, folds, encodings and prefixes could stumble over.
  std::u16string Text() {
    static const std::u16string kPieces[] = {
        u"a",         u"Bc d", u";",          u"\\",
        u",",         u":",    u"=",          u"\r\n",
        u"\n",        u"\t",   u" ",          u"\u00E9",
        u"\u8868",    u"\"",   u"\\n",        u"=41",
        u"tel:",      u"%27",  u"\uF7AA",     u"\uFEFF",
        u"END:VCARD", u"\x01", u"item1.",     u"\x7F",
        u"'",         u"%",    u"\U0001F600", u"a long run of plain words to pass the 76th column"};
    std::u16string text;
    for (size_t n = Below(6); n > 0; --n) text += Of(kPieces);
    return text;
  }

  template <class Kind>
  std::vector<Kinded<Kind>> List(int lowest, int highest) {
    std::vector<Kinded<Kind>> list(Below(4));
    for (auto& entry : list) {
      const int count = highest - lowest + 1;
      entry = {static_cast<Kind>(lowest + static_cast<int>(Below(static_cast<size_t>(count)))),
               Text()};
    }
    return list;
  }

  DATE Date(bool withTime) {
    DateTimeValue date;
    const auto part = [&](size_t limit) { return static_cast<int>(Below(limit)); };
    date.SetDateTime(1900 + part(300), 1 + part(12), 1 + part(28), withTime ? part(24) : 0,
                     withTime ? part(60) : 0, withTime ? part(60) : 0);
    return date.value;
  }

  Contact Any() {
    Contact c;
    for (std::u16string* text : {&c.givenName, &c.familyName, &c.additionalNames, &c.namePrefix,
                                 &c.nameSuffix, &c.formattedName, &c.nickname, &c.note}) {
      *text = Text();
    }
    c.telephones = List<PhoneKind>(1, 17);
    c.mails = List<MailKind>(2, 5);
    c.webAddresses = List<PlaceKind>(2, 4);
    c.messengers = List<MessengerKind>(1, 9);
    for (size_t n = Below(3); n > 0; --n) {
      PostalAddress address{static_cast<PlaceKind>(2 + Below(3)), {}};
      for (std::u16string& part : address.parts) part = Text();
      c.addresses.push_back(address);
      c.organisations.push_back({static_cast<OrganisationKind>(2 + Below(2)), Text(), Text()});
      c.jobTitles.push_back(Text());
      const std::u16string group = EncodeUid(Text());
      if (!group.empty()) c.groupUids.push_back(group);
    }
    if (Below(2) == 0) c.events.push_back({EventKind::Anniversary, Date(false)});
    if (Below(2) == 0) c.events.push_back({EventKind::Birthday, Date(false)});
    for (size_t n = Below(200); n > 0; --n) c.photo += static_cast<char>(Below(256));
    if (!c.photo.empty()) c.photoType = Below(2) == 0 ? u"JPEG" : u"PNG";
    c.fields.objUid = EncodeUid(Text());
    if (Below(2) == 0) c.fields.objModified = Date(true);
    return c;
  }

  // A text of lines and bytes as no producer would write it.
  std::string Mutilated(const std::vector<std::string>& lines) {
    std::string text = "BEGIN:VCARD\r\n";
    for (size_t n = Below(14); n > 0; --n) {
      std::string line = Of(lines);
      for (size_t m = Below(3); m > 0 && !line.empty(); --m) {
        const size_t at = Below(line.size());
        if (Below(2) == 0) {
          line.insert(at, Of(kRubbish));
        } else {
          line.erase(at, Below(4));
        }
      }
      text += line + std::string(Of(kEnds));
    }
    return text + "END:VCARD\r\n";
  }

 private:
  static constexpr std::string_view kEnds[] = {"\r\n", "\r\n", "\n", "\r", "\r\n\r\n", "\r\n "};
  static constexpr std::string_view kRubbish[] = {"\r\n ",
                                                  "\n\t",
                                                  "=\r\n",
                                                  ";",
                                                  ":",
                                                  "\"",
                                                  "=",
                                                  "\xE9",
                                                  "\\",
                                                  "\r",
                                                  "item.",
                                                  ",",
                                                  "X-Q",
                                                  ";BASE64",
                                                  ";PREF",
                                                  "\xEF\x9C\x80",
                                                  " ",
                                                  "\r\n",
                                                  "%41",
                                                  "'",
                                                  ";VCARD",
                                                  ";QUOTED-PRINTABLE",
                                                  ";CHARSET=UTF-16",
                                                  "QQ=="};
  std::mt19937 random_;
};

// What extras say, whatever grammar they stand in; the blank line behind one is none of it.
std::vector<std::string> Said(const std::vector<ExtraProperty>& extras) {
  std::vector<std::string> lines;
  for (const ExtraProperty& extra : extras) {
    LineWriter writer;
    WriteExtra(writer, extra, "VCARD");
    std::string& line = lines.emplace_back(writer.Take());
    while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  }
  return lines;
}

void ExpectSame(const Contact& expected, const Contact& actual) {
  ContactContent content = expected;
  content.groupNames.clear();
  EXPECT_TRUE(content == static_cast<const ContactContent&>(actual));
  EXPECT_EQ(actual.fields.objUid, expected.fields.objUid);
  EXPECT_EQ(actual.fields.objModified, expected.fields.objModified);
  EXPECT_EQ(Said(actual.fields.extras), Said(expected.fields.extras));
  EXPECT_TRUE(actual.hidden == expected.hidden);
}

TEST(VCardRoundTrip, EveryContactIsReadAsItWasWritten) {
  Generator generator(20);
  for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
    const Contact contact = generator.Any();
    const std::string text = WriteVCard(contact);
    const std::optional<Contact> read = ParseVCard(text);
    ASSERT_TRUE(read.has_value()) << text;
    ExpectSame(contact, *read);
    if (testing::Test::HasFailure()) ADD_FAILURE() << text;
  }
}

void ExpectStable(const std::string& text) {
  const std::optional<Contact> first = ParseVCard(text);
  if (!first) return;
  const std::string written = WriteVCard(*first);
  const std::optional<Contact> second = ParseVCard(written);
  ASSERT_TRUE(second.has_value()) << text;
  ExpectSame(*first, *second);
  EXPECT_EQ(WriteVCard(*second), written);
  if (testing::Test::HasFailure()) ADD_FAILURE() << testing::PrintToString(text);
}

TEST(VCardRoundTrip, EveryTextIsStableOnceWritten) {
  const std::vector<std::string> lines = {"VERSION:3.0",
                                          "VERSION:4.0",
                                          "VERSION:2.1",
                                          "PRODID:x",
                                          "N:Doe;John;;;;",
                                          "FN:John Doe",
                                          "UID:it's",
                                          "REV:20110304T050607Z",
                                          "NICKNAME:Jo",
                                          "TEL;CELL:+1 2",
                                          "TEL;TYPE=\"home,voice\";PREF=1:tel:1",
                                          "i.TEL;X-mine:1",
                                          "TEL:1",
                                          "EMAIL;INTERNET:a@b",
                                          "EMAIL;X-mine:c",
                                          "EMAIL:",
                                          "URL;HOME:http://a\\;b",
                                          "i.URL;X-q:c",
                                          "URL;PREF:c",
                                          "URL:c",
                                          "ADR;TYPE=work:;;s\\nt;c;;1;d",
                                          "i.ADR;X-hut:;;u",
                                          "ORG:a;b;c",
                                          "ORG;X-club:a",
                                          "TITLE:t",
                                          "IMPP;X-SERVICE-TYPE=Skype:skype:j",
                                          "X-AIM;HOME:a",
                                          "X-IMPP;MSN:m",
                                          "BDAY:1970-01-02",
                                          "BDAY:--0102",
                                          "ANNIVERSARY:20010203T10Z",
                                          "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0A=\r\n b=\r\n",
                                          "NOTE;CHARSET=Shift_JIS:\x95\x5C",
                                          "NOTE:x\r\n y",
                                          "PHOTO;ENCODING=B;TYPE=PNG:QUJD\r\nREVG\r\n",
                                          "PHOTO;BASE64:\r\n QUJD\r\n",
                                          "PHOTO:data:image/png;base64,QQ==",
                                          "X-GRPUUID:a;b'",
                                          "X-GROUP:g",
                                          "X-KEY;BASE64:QUJD\r\nQQ==\r\n",
                                          "BEGIN:VX\r\nTEL:9\r\nEND:VX",
                                          "BEGIN:VCARD\r\nEND:VCARD",
                                          "BEGIN:VX",
                                          "END:VX",
                                          "X-FOO;QUOTED-PRINTABLE:a=\r\nb",
                                          "no colon",
                                          ";BASE64"};
  Generator generator(21);
  for (int i = 0; i < 6000 && !testing::Test::HasFailure(); ++i) {
    ExpectStable(generator.Mutilated(lines));
  }
}

// Inputs that once were not stable.
TEST(VCardRoundTrip, FormerFaults) {
  for (const char* lines : {
           // Behind an extra in base64, a line without colon whose name is folded.
           ";ENCODING=B\nPHOTO;\nA\r\t\n",
       }) {
    ExpectStable("BEGIN:VCARD\r" + std::string(lines) + "END:VCARD");
  }
}

TEST(VCardRoundTrip, CutTextsGiveNoContactOrAWholeOne) {
  const std::string text = WriteVCard(Generator(22).Any());
  for (size_t size = 0; size + 2 < text.size(); ++size) {
    EXPECT_FALSE(ParseVCard(text.substr(0, size)).has_value()) << text.substr(0, size);
  }
}

TEST(VCardWrite, EqualContactsGiveEqualBytesInAFixedOrder) {
  Contact contact;
  contact.familyName = u"Doe";
  contact.formattedName = u"J;D";
  contact.telephones = {{PhoneKind::Home, u"1"}, {PhoneKind::Other, u"2"}};
  contact.addresses = {std::nullopt, PostalAddress{PlaceKind::Home, {u"", u"", u"s;t"}}};
  contact.note = u"\u00E9";
  contact.groupNames = {u"not written"};
  contact.photo = "ABC";
  contact.photoType = u"P:N\nG";  // no type's name
  contact.fields.objUid = u"it%27s";
  contact.fields.extras = {{u"X-A", u"1"}};
  EXPECT_EQ(WriteVCard(contact),
            "BEGIN:VCARD\r\nVERSION:2.1\r\nUID:it's\r\nN:Doe;;;;\r\nFN:J;D\r\nTEL;HOME;VOICE:1\r\n"
            "TEL:2\r\nADR;HOME:;;s\\;t;;;;\r\n"
            "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9\r\n"
            "PHOTO;ENCODING=BASE64;TYPE=JPEG:QUJD\r\n\r\nX-A:1\r\nEND:VCARD\r\n");
}

// Rows of the database may hold anything; one that is no single property is left out.
TEST(VCardWrite, AnExtraCannotBreakOutOfItsLine) {
  const ExtraProperty bad[] = {{u"END", u"VCARD"},
                               {u"X", u"1\r\nTEL:2"},
                               {u"X", u"1\r\nEND:VCARD"},
                               {u" X", u"1"},
                               {u"VERSION", u"3.0"},
                               {u"BEGIN", u"VCARD\r\nN:a"},
                               {u"X\r\nY", u"1"},
                               {u"BEGIN", u"VX\r\nEND:VX\r\nTEL:1"},
                               {u"X;QUOTED-PRINTABLE", u"1="},
                               {u"", u"\r\nTEL:1"},
                               {u"BEGIN", u"VX\r\nEND:VCARD"}};
  Contact contact;
  const std::string plain = WriteVCard(contact);
  for (const ExtraProperty& extra : bad) {
    contact.fields.extras = {extra};
    EXPECT_EQ(WriteVCard(contact), plain) << ToUtf8(extra.property + u":" + extra.value);
  }
}

// More than a list takes stays as it stood, and nothing walks its lists in squares.
TEST(VCardLimits, LongListsOverflowIntoExtras) {
  std::string text = "BEGIN:VCARD\r\n";
  for (int i = 0; i < 1500; ++i) {
    for (const char* line :
         {"TEL;CELL;MSG:1\r\n", "EMAIL;X-a:b\r\n", "ADR;DOM:\r\n", "TITLE:t\r\n"}) {
      text += line;
    }
  }
  text += "END:VCARD\r\n";
  const Contact contact = *ParseVCard(text);
  EXPECT_EQ(contact.telephones.size(), 1000u);
  EXPECT_EQ(contact.addresses.size(), 1000u);
  EXPECT_EQ(contact.fields.extras.size(), 2000u);
  ExpectStable(text);
  std::u16string uids;
  for (int i = 0; i < 600; ++i) uids += u";g";
  ExpectStable("BEGIN:VCARD\nX-GRPUUID:" + ToUtf8(uids) + "\nX-GRPUUID:" + ToUtf8(uids) +
               "\nX-GRPUUID:a\nEND:VCARD\n");
}

TEST(VCardLimits, BombsAreTakenInOnePass) {
  const auto repeated = [](size_t times, std::string_view piece) {
    std::string text;
    text.reserve(times * piece.size());
    while (times-- > 0) text += piece;
    return text;
  };
  const std::string bombs[] = {
      "NOTE:" + std::string(8'000'000, 'x'),
      "X-LONG:" + std::string(8'000'000, '\xE9'),
      "NOTE:" + repeated(100'000, "\r\n \r\n x"),
      "TEL;" + repeated(1'000'000, "X=1;") + "CELL:1",
      "TEL;TYPE=" + repeated(1'000'000, "a,") + ":1",
      "TEL;X=\"" + repeated(1'000'000, ";:") + ":1",
      "N:" + repeated(1'000'000, ";"),
      "NOTE;QUOTED-PRINTABLE:" + repeated(300'000, "=\r\n"),
      repeated(100'000, "BEGIN:VX\r\n") + repeated(100'000, "END:VX\r\n"),
      repeated(100'000, "BEGIN:VCARD\r\n") + repeated(100'000, "END:VCARD\r\n"),
      repeated(100'000, "BEGIN:VX\r\n"),
      std::string(1'000'000, '\0'),
  };
  for (const std::string& bomb : bombs) {
    const std::string text = "BEGIN:VCARD\r\n" + bomb + "\r\nEND:VCARD\r\n";
    const std::optional<Contact> contact = ParseVCard(text);
    ASSERT_TRUE(contact.has_value()) << bomb.substr(0, 40);
    EXPECT_LT(WriteVCard(*contact).size(), text.size() * 4) << bomb.substr(0, 40);
  }
  EXPECT_FALSE(ParseVCard(repeated(300'000, "BEGIN:VCARD\r\n")).has_value());
  // Too many properties to hold: no card rather than a hundred times its memory.
  EXPECT_FALSE(ParseVCard("BEGIN:VCARD\n" + repeated(200'000, "X:\n") + "END:VCARD").has_value());
}

}  // namespace
}  // namespace qv
