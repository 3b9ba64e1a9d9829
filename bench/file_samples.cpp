#include "file_samples.h"

#include <array>
#include <string_view>

#include "stores/importexport/csv_fields.h"
#include "support/text.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

using std::to_string;

// A number that looks like chance.
uint32_t Mix(uint32_t a, uint32_t b) {
  uint32_t x = a * 0x9E3779B1u ^ b * 0x85EBCA77u;
  x = (x ^ (x >> 15)) * 0x2C1B3C6Du;
  return x ^ (x >> 12);
}

struct Content {
  std::string_view heading;  // the end of it; the first that fits counts
  std::string (*text)(const std::string& number, bool foreign);
};

constexpr Content kContents[] = {
    {"FamilyName", [](const auto& n, bool foreign) { return (foreign ? "Müller" : "Muster") + n; }},
    {"FormattedName",
     [](const auto& n, bool foreign) {
       return (foreign ? "\"Müller" : "\"Muster") + n + ", Anna Maria\"";
     }},
    {"Note",
     [](const auto& n, bool) {
       return "\"Met at the fair in hall " + n + ", asked for the \"\"new\"\" catalogue\"";
     }},
    {"Name", [](const auto& n, bool) { return "Anna" + n; }},
    {"Day", [](const auto& n, bool) { return "1980-01-0" + n.substr(0, 1); }},
    {"Anniversary", [](const auto&, bool) { return std::string("2004-05-06"); }},
    {"Company", [](const auto& n, bool) { return "\"Example Trading " + n + ", Ltd.\""; }},
    {"Department", [](const auto&, bool) { return std::string("Purchasing"); }},
    {"Title", [](const auto&, bool) { return std::string("Head of Sales"); }},
    {"Email", [](const auto& n, bool) { return "anna.muster" + n + "@mail.example.org"; }},
    {"Messenger", [](const auto& n, bool) { return "anna.muster" + n; }},
    {"Url", [](const auto& n, bool) { return "https://www.example.org/people/" + n; }},
    {"Postoffice", [](const auto& n, bool) { return "PO Box " + n; }},
    {"Extended", [](const auto&, bool) { return std::string("c/o Smith"); }},
    {"Street",
     [](const auto& n, bool foreign) { return (foreign ? "Lange Straße " : "Meadow Lane ") + n; }},
    {"Locality",
     [](const auto&, bool foreign) { return std::string(foreign ? "Köln" : "Springfield"); }},
    {"Region", [](const auto&, bool) { return std::string("Illinois"); }},
    {"Postalcode", [](const auto&, bool) { return std::string("62701"); }},
    {"Country", [](const auto&, bool) { return std::string("United States"); }},
    {"Group", [](const auto&, bool) { return std::string("Friends"); }},
    {"fix", [](const auto&, bool) { return std::string("Dr."); }},
    {"Additional", [](const auto&, bool) { return std::string("Maria"); }},
    // Telephones of all kinds.
    {"", [](const auto& n, bool) { return "+49 30 555 " + n; }},
};

const Content& ContentOf(std::string_view heading) {
  const Content* content = kContents;
  while (!heading.ends_with(content->heading)) ++content;
  return *content;
}

std::string Photo(uint32_t number) {
  constexpr std::string_view kSigns =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string photo = "PHOTO;ENCODING=BASE64;TYPE=JPEG:";
  for (uint32_t i = 0; i < 8192; ++i) {
    if (i % 75 == 0) photo += "\r\n ";
    photo += kSigns[Mix(number, i) % kSigns.size()];
  }
  return photo + "\r\n\r\n";
}

std::string Card(int i, bool hasPhoto) {
  const std::string n = to_string(i);
  const bool foreign = i % 3 == 0;
  const std::string charset = foreign ? ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:" : ":";
  const std::string name = foreign ? "M=C3=BCller" + n : "Muster" + n;
  std::string card = "BEGIN:VCARD\r\nVERSION:2.1\r\nUID:card-" + n + "@example.org\r\n";
  card += "REV:20240101T010203Z\r\nN" + charset + name + ";Anna;Maria;Dr.;\r\n";
  card += "FN" + charset + "Anna " + name + "\r\nTEL;CELL:+49 170 " + n + "\r\n";
  card += "TEL;HOME;VOICE:+49 30 " + n + "\r\nTEL;WORK;VOICE:+49 40 " + n + "\r\n";
  card += "EMAIL;INTERNET;HOME:anna" + n + "@example.org\r\n";
  card += "EMAIL;INTERNET;WORK:a.muster" + n + "@company.example\r\n";
  card += "ADR;HOME:;;Meadow Lane " + n + ";Berlin;;10115;Germany\r\n";
  card += "ORG;WORK:Company " + n + ";Sales\r\nTITLE:Manager\r\n";
  card += "URL:https://www.example.org/people/" + n + "\r\nBDAY:19800101\r\n";
  if (hasPhoto) card += Photo(static_cast<uint32_t>(i));
  card += "NOTE:Met at the fair in hall " + n + "\r\nEND:VCARD\r\n";
  return card;
}

}  // namespace

std::string SheetOfContacts(int rows, int filled) {
  std::string sheet = "\xEF\xBB\xBF";
  std::vector<const Content*> contents;
  for (const std::u16string_view name : kContactFields.names) {
    const std::string heading = ToUtf8(name);
    sheet.append(contents.empty() ? "" : ",").append(heading);
    contents.push_back(&ContentOf(heading));
  }
  sheet += "\r\n";
  for (int row = 0; row < rows; ++row) {
    const auto number = static_cast<uint32_t>(row);
    const std::string n = to_string(1000000 + row);
    for (size_t i = 0; i < contents.size(); ++i) {
      if (i > 0) sheet += ',';
      // Nobody is without a name.
      if (i > 0 && Mix(number, static_cast<uint32_t>(i)) % 100 >= static_cast<uint32_t>(filled)) {
        continue;
      }
      sheet += contents[i]->text(n, row % 3 == 0);
    }
    sheet += "\r\n";
  }
  return sheet;
}

std::u16string MappingOfContacts(std::u16string_view path) {
  XmlTreeNode message = XmlTreeNode::CreateTop(u"Msg");
  message.AddChild(u"Hdr").AddAttribute(u"Path", path);
  XmlTreeNode columns = message.AddChild(u"Body").AddChild(u"Put");
  for (const std::u16string_view name : kContactFields.names) {
    columns.AddChild(u"Column").AddAttribute(u"Data", name);
  }
  return message.ToText(false);
}

std::string ContactsDocument(size_t size, const char* encoding) {
  std::string text = std::string("<?xml version=\"1.0\" encoding=\"") + encoding + "\"?>\n";
  text.reserve(size + 4096);
  text += "<contacts version=\"2\">\n";
  for (int i = 0; text.size() < size; ++i) {
    const std::string n = to_string(i);
    if (i % 10 == 0) text += "  <!-- page " + n + " of the address book -->\n";
    text += "  <contact id=\"card-" + n + "\" modified=\"2024-03-05T06:07:08Z\">\n";
    text += "    <name family=\"" + std::string(i % 3 == 0 ? "Müller" : "Muster") + n +
            "\" given=\"Anna &quot;Anni&quot;\"/>\n";
    text += "    <phone kind=\"mobile\">+49 170 " + n + "</phone>\n";
    text += "    <phone kind=\"work\">+49 30 " + n + "</phone>\n";
    text += "    <mail kind=\"home\">anna.muster" + n + "@mail.example.org</mail>\n";
    text += "    <address kind=\"home\"><street>Meadow Lane " + n +
            "</street><city>Berlin</city><code>10115</code></address>\n";
    text += "    <company>Example &amp; Sons</company>\n";
    text += "    <note>Met at the fair in hall " + n + ", &lt;call back in spring&gt;</note>\n";
    text += "  </contact>\n";
  }
  return text + "</contacts>\n";
}

std::string CardFile(size_t size, int photoEach) {
  std::string cards;
  cards.reserve(size + 16384);
  for (int i = 1; cards.size() < size; ++i) cards += Card(i, photoEach > 0 && i % photoEach == 0);
  return cards;
}

}  // namespace qv
