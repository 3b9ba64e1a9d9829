#include <gtest/gtest.h>

#include "items/moment_text.h"
#include "items/uid_text.h"
#include "items/vcard.h"
#include "items/vcard_labels.h"
#include "items/vcard_values.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

std::string Card(std::string_view lines, std::string_view version = "2.1") {
  return "BEGIN:VCARD\r\nVERSION:" + std::string(version) + "\r\n" + std::string(lines) +
         "\r\nEND:VCARD\r\n";
}

Contact Read(std::string_view lines, std::string_view version = "2.1") {
  std::optional<Contact> contact = ParseVCard(Card(lines, version));
  EXPECT_TRUE(contact.has_value()) << lines;
  return contact ? *std::move(contact) : Contact();
}

DATE Day(int year, int month, int day) {
  DateTimeValue date;
  date.SetDate(year, month, day);
  return date.value;
}

TEST(VCardRead, NamesAndTexts) {
  const Contact contact = Read(
      "N:Doe;John;Q,\\,R;Dr.;Jr.;;x\r\nFN:Dr. John Doe\r\nNICKNAME:Jo\\,hn\r\n"
      "NOTE:one\\ntwo\r\nUID:it's %41 \\; 5%\r\nREV:2011-03-04T05:06:07+01:30\r\n"
      "X-GRPUUID:a;b\\;c;;d'\r\nX-GROUP:Friends\r\nX-GROUP:\r\nTITLE:Head\r\nTITLE:",
      "3.0");
  EXPECT_EQ(contact.familyName, u"Doe");
  EXPECT_EQ(contact.givenName, u"John");
  EXPECT_EQ(contact.additionalNames, u"Q,,R");
  EXPECT_EQ(contact.namePrefix, u"Dr.");
  EXPECT_EQ(contact.nameSuffix, u"Jr.;;x");
  EXPECT_EQ(contact.formattedName, u"Dr. John Doe");
  EXPECT_EQ(contact.nickname, u"Jo,hn");
  EXPECT_EQ(contact.note, u"one\r\ntwo");
  EXPECT_EQ(contact.fields.objUid, u"it%27s %2541 ; 5%");
  EXPECT_EQ(MomentText(contact.fields.objModified), "20110304T033607Z");
  EXPECT_EQ(contact.groupUids, (std::vector<std::u16string>{u"a", u"b;c", u"d%27"}));
  EXPECT_EQ(contact.groupNames, std::vector<std::u16string>{u"Friends"});
  EXPECT_EQ(contact.jobTitles, (std::vector<std::u16string>{u"Head", u""}));
  EXPECT_EQ(contact.fields.extras, std::vector{ListExtra("X-NICKNAME", u"Jo\\,hn")});
}

TEST(VCardRead, TelephoneKinds) {
  struct Case {
    const char* line;
    int kind;
    bool hidden;
  };
  const Case cases[] = {
      {"TEL;X-ASSISTANT:1", 1, false},
      {"TEL;WORK;FAX:1", 2, false},
      {"TEL;TYPE=\"fax,work\":1", 2, false},
      {"TEL;WORK;VOICE:1", 3, false},
      {"TEL;TYPE=work:1", 3, false},
      {"TEL;X-CALLBACK:1", 4, false},
      {"TEL;CAR;VOICE:1", 5, false},
      {"TEL;X-COMPANY-MAIN:1", 6, false},
      {"TEL;type=HOME;type=FAX:1", 7, false},
      {"TEL;HOME:1", 8, false},
      {"TEL;isdn:1", 9, false},
      {"TEL;CELL:1", 10, false},
      {"TEL;WORK;CELL:1", 10, true},
      {"TEL;PREF;CELL;VOICE:1", 10, true},
      {"TEL;FAX:1", 11, false},
      {"TEL;FAX;VOICE:1", 11, true},
      {"TEL:1", 12, false},
      {"TEL;VOICE:1", 12, false},
      {"TEL;MSG:1", 12, true},
      {"TEL;CHARSET=UTF-8;ENCODING=8BIT;VALUE=text:1", 12, false},
      {"TEL;PAGER:1", 13, false},
      {"TEL;PREF:1", 14, false},
      {"TEL;PREF;WORK:1", 3, true},
      {"TEL;PREF=1;TYPE=work:1", 3, true},
      {"a.TEL;CELL:1", 10, true},
      {"TEL;X-RADIO:1", 15, false},
      {"TEL;X-TELEX:1", 16, false},
      {"TEL;X-TTY-TDD:1", 17, false},
      {"TEL;VIDEO:1", 21, false},
      {"TEL;VALUE=uri;TYPE=cell:tel:1", 10, false},
  };
  for (const Case& c : cases) {
    const Contact contact = Read(c.line);
    ASSERT_EQ(contact.telephones.size(), 1u) << c.line;
    EXPECT_EQ(static_cast<int>(contact.telephones[0].kind), c.kind) << c.line;
    EXPECT_EQ(contact.telephones[0].value, u"1") << c.line;
    EXPECT_EQ(contact.hidden.size(), c.hidden ? 1u : 0u) << c.line;
  }
}

// Mail, web, address, organisation and messenger entries as "kind value".
TEST(VCardRead, OtherKinds) {
  struct Case {
    const char* line;
    const char* entry;
    bool hidden;
  };
  const Case cases[] = {
      {"EMAIL;INTERNET;HOME:a@b", "2 a@b", false},
      {"EMAIL;TYPE=work:a@b", "3 a@b", false},
      {"EMAIL:a@b", "4 a@b", false},
      {"EMAIL;INTERNET;PREF:a@b", "4 a@b", true},
      {"EMAIL;X-MOBILE:a@b", "5 a@b", false},
      {"EMAIL;INTERNET;MOBILE:a@b", "5 a@b", false},
      {"EMAIL;X-MINE:", "4 ", false},
      {"URL;HOME:u", "2 u", false},
      {"URL;WORK:u", "3 u", false},
      {"URL:u\\;v", "4 u;v", false},
      {"ADR;HOME:1;2;3;4;5;6;7;;8;;", "2 1|2|3|4|5|6|7;;8", false},
      {"ADR;WORK:;;s", "3 ||s||||", false},
      {"ADR;DOM:", "4 ||||||", true},
      {"ORG;WORK:c;d", "2 c/d", false},
      {"ORG:c;d;e\\;f", "2 c/d;e\\;f", false},
      {"ORG;X-OTHER:c", "3 c/", false},
      {"ORG;X-MINE:c", "2 c/", true},
      {"X-IMPP;GOOGLE_TALK:m", "1 m", false},
      {"X-AIM:m", "2 m", false},
      {"IMPP:msnim:m", "3 m", false},
      {"X-YAHOO;TYPE=HOME:m", "4 m", true},
      {"X-SKYPE-USERNAME:m", "5 m", false},
      {"X-IMPP;QQ:m", "6 m", false},
      {"IMPP:ICQ:m", "7 m", false},
      {"IMPP;X-SERVICE-TYPE=Jabber:xmpp:m", "8 m", true},
      {"X-IMPP;X-OTHER:xmpp:m", "9 xmpp:m", false},
      {"IMPP:sip:m", "9 sip:m", false},
  };
  for (const Case& c : cases) {
    const Contact contact = Read(c.line);
    std::u16string entry;
    const auto add = [&](auto kind, const std::u16string& value) {
      entry += Decimal(static_cast<int64_t>(kind)) + u" " + value;
    };
    for (const auto& e : contact.mails) add(e.kind, e.value);
    for (const auto& e : contact.webAddresses) add(e.kind, e.value);
    for (const auto& e : contact.messengers) add(e.kind, e.value);
    for (const auto& e : contact.organisations) add(e.kind, e.name + u"/" + e.department);
    for (const auto& e : contact.addresses) {
      std::u16string parts = e->parts[0];
      for (size_t i = 1; i < e->parts.size(); ++i) parts += u"|" + e->parts[i];
      add(e->kind, parts);
    }
    EXPECT_EQ(ToUtf8(entry), c.entry) << c.line;
    EXPECT_EQ(!contact.hidden.empty(), c.hidden) << c.line;
    EXPECT_TRUE(contact.fields.extras.empty()) << c.line;
  }
}

TEST(VCardRead, Dates) {
  struct Case {
    const char* line;
    std::optional<DATE> date;  // none: stays an extra
  };
  const Case cases[] = {
      {"BDAY:19700102", Day(1970, 1, 2)},
      {"BDAY:1970-01-02", Day(1970, 1, 2)},
      {"BDAY;VALUE=date-and-or-time:19700102T235959-0800", Day(1970, 1, 2)},
      {"ANNIVERSARY: 1970-01-02 ", Day(1970, 1, 2)},
      {"BDAY:16000229", Day(1600, 2, 29)},
      {"BDAY:1970\r\n 0102", Day(1970, 1, 2)},  // in any dialect, no blank
      {"BDAY:--0102", {}},
      {"BDAY:1970-01", {}},
      {"BDAY:19700230", {}},
      {"BDAY:19700102 around noon", {}},
      {"BDAY:18991230", {}},  // as a number, no date
      {"BDAY;X-APPLE-OMIT-YEAR=1604:1604-01-02", {}},
  };
  for (const Case& c : cases) {
    const Contact contact = Read(c.line);
    EXPECT_EQ(contact.events.size(), c.date ? 1u : 0u) << c.line;
    EXPECT_EQ(contact.fields.extras.size(), c.date ? 0u : 1u) << c.line;
    if (c.date && !contact.events.empty()) {
      EXPECT_EQ(contact.events[0].date, *c.date) << c.line;
    }
  }
}

TEST(VCardRead, Moments) {
  struct Case {
    const char* text;
    const char* moment;  // empty for none
  };
  const Case cases[] = {
      {"20110304T050607Z", "20110304T050607Z"},
      {"2011-03-04T05:06:07.125Z", "20110304T050607Z"},
      {"20110304T050607", "20110304T050607Z"},
      {"2011-03-04", "20110304T000000Z"},
      {"20110304T0506", "20110304T050600Z"},
      {"20110304T00:30:00+0100", "20110303T233000Z"},
      {"20111231T233000-01", "20120101T003000Z"},
      {"20110304T250607Z", ""},
      {"20110304T050607Q", ""},
      {"00990101T000000Z", ""},
      {"01000101T000000+0100", ""},
      {"2011", ""},
  };
  for (const Case& c : cases) {
    const std::optional<DATE> moment = ParseMoment(c.text);
    EXPECT_EQ(moment ? MomentText(*moment) : "", c.moment) << c.text;
  }
}

TEST(VCardRead, Photos) {
  struct Case {
    const char* line;
    const char16_t* type;  // null: stays an extra
  };
  const Case cases[] = {
      {"PHOTO;ENCODING=BASE64;TYPE=JPEG:\r\n QUJD\r\n\r\nX:1", u"JPEG"},
      {"PHOTO;JPG;BASE64:QUJD\r\nX:1", u"JPEG"},
      {"PHOTO;ENCODING=b;TYPE=image/png:QU\r\nJD\r\nX:1", u"PNG"},
      {"PHOTO;ENCODING=b:QUJD\r\nX:1", u"JPEG"},
      {"PHOTO:data:image/gif;base64,QUJD\r\nX:1", u"GIF"},
      {"PHOTO;VALUE=uri:data:image/gif\\;base64\\,QU\r\n JD\r\nX:1", u"GIF"},
      {"PHOTO;VALUE=uri:http://example.org/a.jpg", nullptr},
      {"PHOTO;ENCODING=b:QU*JD", nullptr},
  };
  for (const Case& c : cases) {
    const Contact contact = Read(c.line);
    EXPECT_EQ(contact.photo, c.type != nullptr ? "ABC" : "") << c.line;
    EXPECT_EQ(contact.photoType, c.type != nullptr ? c.type : u"") << c.line;
    ASSERT_EQ(contact.fields.extras.size(), 1u) << c.line;
  }
}

TEST(VCardRead, ExtrasAreKeptAsTheyStood) {
  const Contact contact = Read(
      "item1.X-Foo;P=\"a:b\":x\\,y\r\n z\r\nNOTE:one\r\nNOTE;LANGUAGE=fr:two=\r\n"
      "X-B;BASE64:QUJD\r\n\r\nsome words\r\nX-\xFF:\xE9\r\nPRODID:p\r\nEND:VEVENT\r\n"
      "TEL;L=\"open:1\r\nBEGIN:VCARD\r\nN:inner\r\nBEGIN:VX\r\nEND:VCARD\r\nLABEL:l",
      "3.0");
  const std::vector<ExtraProperty> expected = {
      {u"item1.X-Foo;P=\"a:b\"", u"x\\,y\r\n z"},
      {u"NOTE;LANGUAGE=fr", u"two="},
      {u"X-B;BASE64", u"QUJD\r\n"},
      {u"some words", u""},
      {u"X-\uF7FF", u"\uF7E9"},
      {u"END", u"VEVENT"},
      {u"TEL;L=\"open", u"1"},
      {u"BEGIN", u"VCARD\r\nN:inner\r\nBEGIN:VX\r\nEND:VCARD"},
      {u"LABEL", u"l"},
  };
  ASSERT_EQ(contact.fields.extras.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(ToUtf8(contact.fields.extras[i].property), ToUtf8(expected[i].property));
    EXPECT_EQ(ToUtf8(contact.fields.extras[i].value), ToUtf8(expected[i].value));
  }
  EXPECT_EQ(contact.note, u"one");
  EXPECT_TRUE(contact.telephones.empty());
}

TEST(VCardRead, FirstWholeCardOfAText) {
  struct Case {
    std::string text;
    const char* given;  // null for no card
  };
  const Case cases[] = {
      {"", nullptr},
      {"BEGIN:VCARD\r\nN:;a", nullptr},
      {"N:;a\r\nEND:VCARD", nullptr},
      {"BEGIN:VCALENDAR\r\nEND:VCALENDAR", nullptr},
      {"junk\r\n\r\nbegin:vcard \r\nn:;a\r\nend:vcard", "a"},
      {"\xEF\xBB\xBF"
       "BEGIN:VCARD\nN:;a\nEND:VCARD\nBEGIN:VCARD\nN:;b\nEND:VCARD",
       "a"},
      // The first is cut off; the second is whole.
      {"BEGIN:VCARD\nN:;a\nBEGIN:VCARD\nN:;b\nEND:VCARD", "b"},
      // A component that lacks its end does not swallow the card's.
      {"BEGIN:VCARD\nN:;a\nBEGIN:VX\nN:;b\nEND:VCARD", "a"},
      {"\xFF\xFE" + ToUtf16Le(u"BEGIN:VCARD\nN:;a\nEND:VCARD"), "a"},
  };
  for (const Case& c : cases) {
    const std::optional<Contact> contact = ParseVCard(c.text);
    ASSERT_EQ(contact.has_value(), c.given != nullptr) << c.text;
    if (contact) {
      EXPECT_EQ(ToUtf8(contact->givenName), c.given) << c.text;
    }
  }
}

TEST(VCardSplit, CardsWithTheirLineEnds) {
  const std::string a = "BEGIN:VCARD\r\nN:a\r\nAGENT:\r\nBEGIN:VCARD\r\nEND:VCARD\r\nEND:VCARD\r\n";
  const std::string b = "begin:vcard\nN:b\nBEGIN:VX\nEND:VCARD";
  EXPECT_EQ(VCardsIn("junk\r\n" + a + "\r\nN:x\r\n" + b), (std::vector<std::string_view>{a, b}));
  EXPECT_EQ(VCardsIn("BEGIN:VCARD\r\n" + a + "BEGIN:VCARD\r\nN:cut\r\n" + b),
            (std::vector<std::string_view>{a, b}));
  EXPECT_TRUE(VCardsIn("END:VCARD\r\nBEGIN:VCARD\r\n").empty());
}

TEST(VCardUid, IsHarmlessInAStatementAndComesBack) {
  struct Case {
    std::u16string uid;
    std::u16string kept;
  };
  const Case cases[] = {
      {u"plain", u"plain"},   {u"x');DROP TABLE y;--", u"x%27);DROP TABLE y;--"},
      {u"100%", u"100%"},     {u"%4", u"%4"},
      {u"%41", u"%2541"},     {u"%%27", u"%%2527"},
      {u"%2527", u"%252527"}, {u"%'", u"%%27"},
      {u"%2'7", u"%2%277"},   {std::u16string(u"a\0b", 3), u"a%00b"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToUtf8(EncodeUid(c.uid)), ToUtf8(c.kept));
    EXPECT_EQ(DecodeUid(c.kept), c.uid) << ToUtf8(c.kept);
  }
  EXPECT_EQ(DecodeUid(u"100%25 %41"), u"100%25 %41");  // nothing here was encoded
}

}  // namespace
}  // namespace qv
