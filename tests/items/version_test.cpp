// The grammar of a text is known before the first of its values is read.
#include <gtest/gtest.h>

#include "items/vcalendar.h"
#include "items/vcard.h"
#include "support/text.h"

namespace qv {
namespace {

// Each card's note tells how its escapes were read.
TEST(VersionOfACard, IsKnownBeforeTheFirstValue) {
  struct Case {
    std::string lines;
    bool modern;
  };
  const std::string note = "NOTE:a\\,b\r\n";
  const std::string old = "BEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD\r\n";
  const Case cases[] = {
      {"VERSION:3.0\r\n" + note, true},
      {note + "VERSION:4.0\r\n", true},
      {"PRODID:x\r\n" + note + "i.version: 3.0\r\n", true},
      {note + "VERSION:2.1\r\nX;TYPE=a,b:\r\n", false},
      {note + "VERSION:3.0\r\nVERSION:2.1\r\n", true},
      {note + old + "VERSION:3.0\r\n", true},
      {"BEGIN:VX\r\nVERSION:4.0\r\nEND:VX\r\n" + note + "VERSION:2.1\r\n", false},
      // Without one the looks of the lines decide.
      {note, true},
      {note + "TEL;CELL:1\r\n", false},
      {note + "FN;ENCODING=QUOTED-PRINTABLE:a\r\n", false},
      {"VERSION\r\n" + note + "X;CHARSET=UTF-8:\r\n", false},
  };
  for (const Case& c : cases) {
    const std::optional<Contact> contact =
        ParseVCard("BEGIN:VCARD\r\n" + c.lines + "END:VCARD\r\n");
    EXPECT_EQ(ToUtf8(contact->note), c.modern ? "a,b" : "a\\,b") << c.lines;
  }
}

// Each event's place tells how its escapes were read.
TEST(VersionOfACalendar, IsKnownBeforeTheFirstValue) {
  struct Case {
    std::string text;
    const char* read;  // of each event: 'm' modern, 'o' old
  };
  const std::string event = "BEGIN:VEVENT\r\nLOCATION:a\\,b\r\nEND:VEVENT\r\n";
  const std::string begin = "BEGIN:VCALENDAR\r\n";
  const std::string end = "END:VCALENDAR\r\n";
  const Case cases[] = {
      {begin + "VERSION:2.0\r\n" + event + event + end, "mm"},
      {begin + "PRODID:x\r\n" + event + event + "VERSION:1.0\r\n" + end, "oo"},
      {begin + event + "VERSION:2.0\r\nVERSION:1.0\r\n" + end, "m"},
      {begin + event + "VERSION:1.0\r\n" + end + begin + "VERSION:2.0\r\n" + event + end, "om"},
      {begin + "VERSION:1.0\r\n" + end + event, "m"},
      {begin + event + "VERSION\r\n" + end, "m"},
      {"BEGIN:VEVENT\r\nX;CHARSET=UTF-8:\r\nLOCATION:a\\,b\r\nEND:VEVENT\r\n", "o"},
  };
  for (const Case& c : cases) {
    const auto grammar = [](const std::optional<Calendar>& item) {
      return item->location == u"a,b" ? 'm' : 'o';
    };
    std::string read;
    const CalendarText text(c.text);
    for (size_t i = 0; i < text.Count(); ++i) read += grammar(text.Read(i));
    EXPECT_EQ(read, c.read) << c.text;
    EXPECT_EQ(grammar(ParseVCalendar(c.text)), c.read[0]) << c.text;
  }
}

}  // namespace
}  // namespace qv
