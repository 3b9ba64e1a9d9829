#include <gtest/gtest.h>

#include "items/vcard.h"
#include "support/text.h"

namespace qv {
namespace {

Contact Read(const std::string& lines, const std::string& version = "2.1") {
  return *ParseVCard("BEGIN:VCARD\r\n" + lines + "VERSION:" + version + "\r\nEND:VCARD\r\n");
}

// Hidden rows as "property|value|extended|custom".
std::string Rows(const Contact& contact) {
  std::string rows;
  for (const HiddenLabel& row : contact.hidden) {
    rows += ToUtf8(row.property + u"|" + row.value + u"|" + row.extended) +
            (row.isCustom ? "|1\n" : "|0\n");
  }
  return rows;
}

// The written lines that begin with one of the names.
std::string Written(const Contact& contact, std::string_view name) {
  std::string lines;
  const std::string text = WriteVCard(contact);
  for (size_t at = 0; at < text.size();) {
    const size_t end = text.find("\r\n", at) + 2;
    const std::string line = text.substr(at, end - at);
    if (line.find(name) < line.find(':')) lines += line;
    at = end;
  }
  return lines;
}

struct LabelCase {
  const char* name;
  std::string lines;
  std::string rows;
};

class VCardLabels : public testing::TestWithParam<LabelCase> {};

// What was read comes out again as it stood.
TEST_P(VCardLabels, GoToHiddenRowsAndBack) {
  const LabelCase& c = GetParam();
  const Contact contact = Read(c.lines);
  EXPECT_EQ(Rows(contact), c.rows);
  EXPECT_EQ(Written(contact, c.name), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    Families, VCardLabels,
    testing::Values(
        LabelCase{"TEL", "TEL;PREF;CELL;VOICE:1\r\nTEL;CELL:2\r\nTEL;X-boat;PREF:3\r\n",
                  "TEL|1|PREF;CELL;VOICE|0\nTEL|3|X-boat;PREF|1\n"},
        LabelCase{"TEL", "a1.TEL;TYPE=\"x,y\";L=\"p:q;r\":1\r\nb.TEL:2\r\n",
                  "TEL|1|GROUP=a1;TYPE=\"x,y\";L=\"p:q;r\"|0\nTEL|2|GROUP=b|0\n"},
        LabelCase{"TEL", "TEL;L=\xC3\xA9\xE9:1\r\n", "TEL|1|L=\u00E9\uF7E9|0\n"},
        LabelCase{"EMAIL",
                  "EMAIL;INTERNET:a\r\nEMAIL;X-club:b\r\nEMAIL;INTERNET;HOME:c\r\n"
                  "EMAIL;PREF:d\r\n",
                  "EMAIL|||0\nX-EMAILCUSTOM|b|X-club|1\nEMAIL|||0\nEMAIL|d|PREF|0\n"},
        LabelCase{"ADR", "ADR;HOME:;;s;;;;\r\nADR;X-hut;HOME:;;t;;;;\r\nADR;DOM:;;u;;;;\r\n",
                  "ADR|1|X-hut;HOME|1\nADR|2|DOM|0\n"},
        LabelCase{"ORG",
                  "ORG;X-club:a;b;c\r\nORG;SORT-AS=z:d\r\nORG;WORK:A\\; Inc.;R\\;D;Lab\\\\\r\n",
                  "X-ORGCUSTOM|a|X-club|1\nORG|d|SORT-AS=z|0\n"},
        LabelCase{"URL",
                  "i.URL;pref:http://a/;b\r\nURL;X-blog;HOME:c\r\nURL;X=1:c\r\nURL;HOME:c\r\n", ""},
        LabelCase{"IMPP", "X-IMPP;SKYPE;HOME:a\r\nX-IMPP;X-chat:b\r\n",
                  "X-IMPP|a|SKYPE;HOME|0\nX-IMPPCUSTOM|b|X-chat|1\n"}));

// A property under a foreign name says its kind by that name; written under our own, by a word.
TEST(VCardLabelsOfForeignNames, CarryTheKindAsAWord) {
  const Contact contact = Read("X-AIM;TYPE=HOME:a\r\nit.IMPP;PREF=1:xmpp:b\r\nIMPP;HOME:sip:c\r\n");
  EXPECT_EQ(Rows(contact),
            "X-IMPP|a|AOL;TYPE=HOME|0\nX-IMPP|b|GROUP=it;JABBER;PREF=1|0\nX-IMPP|sip:c|HOME|0\n");
  EXPECT_EQ(Written(contact, "IMPP"),
            "X-IMPP;AOL;TYPE=HOME:a\r\nit.X-IMPP;JABBER;PREF=1:b\r\nX-IMPP;HOME:sip:c\r\n");
}

// A label of a modern card is kept in the spelling of the cards that are written.
TEST(VCardLabelsOfModernCards, AreSpelledAnew) {
  const Contact contact =
      Read("it.TEL;TYPE=\"x,home\";L=\"a:b\";M=\"c\":1\r\nADR;TYPE=x,Dom:\r\n", "4.0");
  EXPECT_EQ(Rows(contact),
            "TEL|1|GROUP=it;TYPE=x;TYPE=home;L=\"a:b\";M=c|0\nADR|0|TYPE=x;TYPE=Dom|0\n");
  EXPECT_EQ(Written(contact, "TEL"), "it.TEL;TYPE=x;TYPE=home;L=\"a:b\";M=c:1\r\n");
}

TEST(VCardLabelsWritten, OnlyWhereTheValueStillFits) {
  Contact contact = Read(
      "TEL;CELL;PREF:1\r\nTEL;CELL;MSG:1\r\nTEL;HOME;MSG:2\r\n"
      "EMAIL;X-a:a\r\nEMAIL;X-b:b\r\nEMAIL;X-d:d\r\nORG;X-c:c\r\n");
  contact.telephones[2].kind = PhoneKind::Work;
  contact.telephones.push_back({PhoneKind::Mobile, u"1"});
  contact.mails[0].value = u"new";
  contact.mails[2].kind = MailKind::Home;
  contact.organisations[0].name = u"new";
  EXPECT_EQ(Written(contact, "TEL"),
            "TEL;CELL;PREF:1\r\nTEL;CELL;MSG:1\r\nTEL;WORK;VOICE:2\r\nTEL;CELL:1\r\n");
  EXPECT_EQ(Written(contact, "EMAIL"),
            "EMAIL;INTERNET:new\r\nEMAIL;X-b:b\r\nEMAIL;INTERNET;HOME:d\r\n");
  EXPECT_EQ(Written(contact, "ORG"), "ORG;WORK:new\r\n");
}

TEST(VCardLabelsWritten, NeverBreakALine) {
  for (const char16_t* extended :
       {u"CELL\r\nEND:VCARD", u"CELL;X=a:b", u"CELL;X=\"a", u"CELL;ENCODING=BASE64", u"CELL;BASE64",
        u"", u"GROUP=", u"GROUP=a.b;WORK"}) {
    Contact contact;
    contact.telephones.push_back({PhoneKind::Mobile, u"1"});
    contact.hidden.push_back({u"tel", u"1", extended, false});
    EXPECT_EQ(Written(contact, "TEL"), "TEL;CELL:1\r\n") << ToUtf8(extended);
  }
}

// What the store does with the rows of an item that it reads: labels are put back where their
// values still are, in the order of the rows.
Contact ThroughTables(const Contact& read) {
  Contact item = read;
  item.hidden.clear();
  size_t mail = 0;
  const auto is = [](const HiddenLabel& row, std::u16string_view a, std::u16string_view b) {
    return EqualsIgnoreCase(row.property, a) || EqualsIgnoreCase(row.property, b);
  };
  for (const HiddenLabel& row : read.hidden) {
    if (is(row, u"EMAIL", u"X-EMAILCUSTOM")) {
      const bool present = mail < item.mails.size() && !item.mails[mail].value.empty();
      item.hidden.push_back(present ? row : HiddenLabel{u"EMAIL", u"", u"", false});
      ++mail;
    } else if (is(row, u"ADR", u"ADR")) {
      if (static_cast<size_t>(ToInt(row.value)) < item.addresses.size()) item.hidden.push_back(row);
    } else {
      item.hidden.push_back(row);
    }
  }
  return item;
}

TEST(VCardLabelsWritten, AreTheSameAfterTheTables) {
  const Contact contact = Read(
      "TEL;MSG:2\r\nTEL:1\r\nTEL;BBS:3\r\nTEL;MODEM:1\r\nEMAIL;X-a:\r\nEMAIL;X-b:b\r\nEMAIL:c\r\n"
      "ADR;X-d:;;;;;;\r\nORG:o\r\nORG;X-e:p\r\nX-IMPP;X-f:q\r\n");
  const Contact item = ThroughTables(contact);
  EXPECT_EQ(Rows(item), Rows(contact));
  EXPECT_EQ(WriteVCard(item), WriteVCard(contact));
  // The row of the number that stands twice goes to the first of them, and so do the rows.
  EXPECT_EQ(Rows(*ParseVCard(WriteVCard(item))), Rows(item));
}

}  // namespace
}  // namespace qv
