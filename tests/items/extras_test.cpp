// What becomes of properties that an item has no place for, looked at through a reader of its own.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "items/extra.h"
#include "items/vcalendar.h"
#include "items/vcard.h"
#include "support/text.h"

namespace qv {
namespace {

std::string Card(std::string_view version, const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:" + std::string(version) + "\r\n" + lines + "\r\nEND:VCARD\r\n";
}

// As a store does: to the rows and back.
Contact ThroughRows(Contact contact) {
  for (ExtraProperty& extra : contact.fields.extras) {
    const ExtraProperty back = ExtraFromMarked(MarkedProperty(extra), extra.value);
    EXPECT_EQ(back, extra) << ToUtf8(MarkedProperty(extra));
    extra = back;
  }
  return contact;
}

// The lines behind the empty name of what is written for a card of these lines.
std::string Written(std::string_view version, const std::string& lines) {
  const std::string text = WriteVCard(ThroughRows(*ParseVCard(Card(version, lines))));
  const size_t begin = text.find("N:;;;;\r\n") + 8;
  return text.substr(begin, text.rfind("END:VCARD") - begin);
}

TEST(Extras, AreWrittenInTheOldGrammar) {
  struct Case {
    std::string modern;
    std::string old;
  };
  const Case cases[] = {
      {"LABEL:1\\, Road\\; x;y,z\\\\", "LABEL:1, Road\\; x;y,z\\\\\r\n"},
      {"LABEL:a\\nb", "LABEL;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab\r\n"},
      {"X-A;LANGUAGE=de:\xC3\r\n \xA9",
       "X-A;LANGUAGE=de;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9\r\n"},
      {"item1.X-A;TYPE=\"a,b\";CN=\"Doe, J\";R=\"c d\";S=e,f:\\:\\x",
       "item1.X-A;TYPE=a;TYPE=b;CN=\"Doe, J\";R=c d;S=e,f::\\x\r\n"},
      {"LOGO;VALUE=uri;MEDIATYPE=image/png:http://x/\r\n  a;b",
       "LOGO;VALUE=URL;MEDIATYPE=image/png:http://x/ a;b\r\n"},
      {"KEY;ENCODING=b;TYPE=PGP:QU\r\n JD", "KEY;TYPE=PGP;ENCODING=BASE64:QUJD\r\n\r\n"},
      {"KEY;ENCODING=b:Q*", "KEY;ENCODING=b:Q*\r\n"},
      {"X-A;P=\"open:a\\,b", "X-A;P=\"open:a\\,b\r\n"},
      {"X-A;ENCODING=QUOTEDPRINTABLE;CHARSET=ISO-8859-1:=E9\\,",
       "X-A;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=A9,\r\n"},
      {"BEGIN:VX\r\nX:a\\,b\r\nno colon\r\nEND:VX", "BEGIN:VX\r\nX:a,b\r\nno colon\r\nEND:VX\r\n"},
      {"BEGIN:VX\r\nVERSION:9\r\nX:a\\,\r\n b\r\nEND:VX",
       "BEGIN:VX\r\nVERSION:9\r\nX:a\\,\r\n b\r\nEND:VX\r\n"},
      {"no colon\\,", "no colon\\,\r\n"},
  };
  for (const Case& c : cases) {
    for (const char* version : {"3.0", "4.0"}) EXPECT_EQ(Written(version, c.modern), c.old);
    EXPECT_EQ(Written("2.1", c.modern), c.modern + "\r\n");
  }
}

TEST(Extras, OfACalendarAreWrittenTheSameWay) {
  const std::string extras =
      "ATTENDEE;CN=\"Doe, J\";ROLE=CHAIR:mailto:j@x.\r\n org\r\nCATEGORIES:a\\,b,c\r\n"
      "BEGIN:VX\r\nDESCRIPTION:a\\nb\r\nEND:VX\r\n";
  const std::string text =
      WriteVCalendar(*ParseVCalendar("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\n" + extras +
                                     "END:VEVENT\r\nEND:VCALENDAR\r\n"));
  EXPECT_EQ(text.substr(text.find("ATTENDEE")),
            "ATTENDEE;CN=\"Doe, J\";ROLE=CHAIR:mailto:j@x.org\r\nCATEGORIES:a,b;c\r\nBEGIN:VX\r\n"
            "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab\r\nEND:VX\r\n"
            "END:VEVENT\r\nEND:VCALENDAR\r\n");
}

TEST(Extras, ARowWithoutAMarkIsWhatItLooksLike) {
  struct Case {
    const char16_t* property;
    const char16_t* value;
    Dialect dialect;
    bool bare = false;
  };
  const Case cases[] = {
      {u"X-A", u"b", Dialect::Old},
      {u"X-A", u"a\\;b\\\\nc", Dialect::Old},
      {u"X-A;CHARSET=UTF-8", u"C:\\new", Dialect::Old},
      {u"X-A;HOME", u"a\\,b", Dialect::Old},
      {u"X-A;TYPE=a", u"a\\,b", Dialect::Modern},
      {u"X-A", u"a\r\n b", Dialect::Modern},
      {u"LOGO;ENCODING=b", u"QQ==", Dialect::Modern},
      {u"BEGIN", u"VX\r\nX:a\\nb\r\nEND:VX", Dialect::Modern},
      {u"X-A:modern", u"b", Dialect::Modern},
      {u"X-A:bare", u"", Dialect::Old, true},
  };
  for (const Case& c : cases) {
    const ExtraProperty extra = ExtraFromMarked(c.property, c.value);
    EXPECT_EQ(extra.dialect, c.dialect) << ToUtf8(c.property);
    EXPECT_EQ(extra.bare, c.bare) << ToUtf8(c.property);
  }
}

// A reader of cards that shares nothing with the one under test: whole text in, one property after
// the other out. What separates in a value is a line break here.
class OtherReader {
 public:
  using Seen = std::multimap<std::string, std::string>;  // name and parameters, value

  static Seen Read(std::string text, bool modern) {
    if (modern) Replace(text, "\r\n ", "");
    Seen seen;
    while (!text.empty()) {
      const size_t end = text.find("\r\n");
      std::string line = text.substr(0, end);
      text.erase(0, end + 2);
      const bool coded = line.find("QUOTED-PRINTABLE") != line.npos;
      while (coded && line.ends_with("=")) {
        line.pop_back();
        line += text.substr(0, text.find("\r\n"));
        text.erase(0, text.find("\r\n") + 2);
      }
      while (text.starts_with(' ')) {
        line += text.substr(1, text.find("\r\n") - 1);
        text.erase(0, text.find("\r\n") + 2);
      }
      const bool saysNothing = line == "NICKNAME:";  // a field, and an empty one
      if (!line.empty() && !saysNothing) seen.insert(Property(line, coded, modern));
    }
    return seen;
  }

 private:
  static void Replace(std::string& text, std::string_view from, std::string_view to) {
    for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
  }

  static std::pair<std::string, std::string> Property(const std::string& line, bool coded,
                                                      bool modern) {
    std::vector<std::string> parts(1);
    size_t at = 0;
    for (bool quoted = false; line[at] != ':' || quoted; ++at) {
      if (line[at] == '"') {
        quoted = !quoted;
      } else if (line[at] == ';' && !quoted) {
        parts.emplace_back();
      } else {
        parts.back() += line[at];
      }
    }
    std::multimap<std::string, std::string> parameters;
    for (size_t i = 1; i < parts.size(); ++i) {
      const std::string name = parts[i].substr(0, parts[i].find('='));
      std::string value = parts[i].substr(parts[i].find('=') + 1);
      if (name == "ENCODING" || name == "CHARSET") continue;
      if (value == "uri") value = "URL";
      for (; name == "TYPE" && value.find(',') != value.npos; value.erase(0, value.find(',') + 1)) {
        parameters.emplace(name, value.substr(0, value.find(',')));
      }
      parameters.emplace(name, value);
    }
    std::string head = parts[0];
    for (const auto& [name, value] : parameters) head += "|" + name + "=" + value;
    const bool isList = parts[0] == "CATEGORIES" || parts[0].ends_with("NICKNAME");
    return {parts[0] == "NICKNAME" ? "X-" + head : head,
            Value(line.substr(at + 1), coded, modern, isList)};
  }

  static std::string Value(std::string text, bool coded, bool modern, bool isList) {
    for (size_t i = 0; coded && (i = text.find('=', i)) != text.npos; ++i) {
      text.replace(i, 3, 1, static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)));
    }
    std::string value;
    for (size_t i = 0; i < text.size(); ++i) {
      const char next = i + 1 < text.size() ? text[i + 1] : '\0';
      const bool escape =
          text[i] == '\\' && (next == '\\' || next == ';' || ((modern || isList) && next == ',') ||
                              (modern && next == 'n'));
      if (escape) ++i;
      const bool separates = !escape && (text[i] == ';' || (isList && text[i] == ','));
      value += escape && next == 'n' ? "\r\n" : (separates ? "\n" : "") + text.substr(i, 1);
    }
    return value;
  }
};

// Cards as phones and address books write them: their own properties, escaped and folded.
class Producer {
 public:
  explicit Producer(uint32_t seed) : random_(seed) {}

  std::string Lines() {
    // Of iOS, Google, Nextcloud, Thunderbird, Outlook and DAVx5.
    static const std::string kHeaders[] = {"item1.X-ABLabel",
                                           "item2.X-ABADR",
                                           "X-SOCIALPROFILE;type=twitter;x-userid=\"a b\"",
                                           "X-PHONETIC-FIRST-NAME",
                                           "NICKNAME",
                                           "X-ABRELATEDNAMES;type=pref",
                                           "CATEGORIES",
                                           "RELATED;VALUE=text",
                                           "LABEL;TYPE=\"HOME,PREF\"",
                                           "X-MS-CARDPICTURE;VALUE=uri",
                                           "ROLE;LANGUAGE=de-CH",
                                           "GEO",
                                           "LABEL;TYPE=WORK,POSTAL;CN=\"M\xC3\xBCller; J:\"",
                                           "X-CUSTOM1;VALUE=TEXT",
                                           "item3.URL;type=pref",
                                           "SOURCE",
                                           "X-EVOLUTION-FILE-AS",
                                           "GENDER",
                                           "MEMBER;VALUE=uri",
                                           "KEY;TYPE=PGP;ENCODING=b"};
    std::string lines;
    for (int i = 0; i < 12; ++i) {
      const std::string& header = kHeaders[random_() % std::size(kHeaders)];
      const bool isField = header.find("URL") != header.npos || header.ends_with("=b");
      std::string line = header + ":" + (isField ? std::string("QUJD") : Value());
      for (size_t at = 75; at < line.size(); at += 77) line.insert(at, "\r\n ");
      lines += (i > 0 ? "\r\n" : "") + line;
    }
    return lines;
  }

 private:
  std::string Value() {
    static const std::string kPieces[] = {
        "Stra\xC3\x9F"
        "e 5",
        "\\, ",
        "\\;",
        ";",
        ",",
        "\\n",
        "\\\\",
        "\xF0\x9F\x98\x80",
        "=41",
        " ",
        "https://example.org/~a/?q=1&r=2",
        "mailto:a@example.org",
        "_$!<Mother>!$_",
        "word"};
    std::string value;
    for (size_t n = random_() % 9; n > 0; --n) value += kPieces[random_() % std::size(kPieces)];
    return value;
  }

  std::mt19937 random_;
};

TEST(Extras, SayTheSameToAnotherReaderAfterAnEdit) {
  Producer producer(30);
  for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
    const std::string lines = producer.Lines();
    const std::string text = Card(i % 2 == 0 ? "3.0" : "4.0", lines);
    Contact contact = ThroughRows(*ParseVCard(text));
    contact.telephones.push_back({PhoneKind::Mobile, u"+49 1"});
    const std::string written = WriteVCard(contact);
    OtherReader::Seen expected = OtherReader::Read(lines + "\r\n", true);
    OtherReader::Seen seen = OtherReader::Read(written, false);
    for (const char* own : {"BEGIN", "VERSION", "N", "TEL|CELL=CELL", "END"}) seen.erase(own);
    EXPECT_EQ(seen, expected) << text << written;
    // And once more, from the phone's own text.
    EXPECT_EQ(WriteVCard(ThroughRows(*ParseVCard(written))), written);
  }
}

}  // namespace
}  // namespace qv
