#include "kit/samples.h"

namespace qv::test {
namespace {

std::string Line(const char* name, const char* value) {
  return value == nullptr ? std::string() : std::string(name) + ":" + value + "\r\n";
}

std::string Component(const char* name, const std::string& lines) {
  const std::string component(name);
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:" + component + "\r\n" + lines +
         "END:" + component + "\r\nEND:VCALENDAR\r\n";
}

}  // namespace

std::string Card(int which, const char* uid, const char* modified) {
  const std::string number = std::to_string(which);
  std::string text = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Muster" + number +
                     ";Anna;;;\r\nFN:Anna Muster" + number + "\r\nTEL;CELL:+49 170 " + number +
                     "\r\nEMAIL;INTERNET;HOME:anna" + number + "@example.org\r\n";
  if (uid != nullptr) text += std::string("UID:") + uid + "\r\n";
  if (modified != nullptr) text += std::string("REV:") + modified + "\r\n";
  return text + "END:VCARD\r\n";
}

std::string Event(int which, const char* uid, const char* modified) {
  const std::string day = "202402" + std::to_string(10 + which);
  return Component("VEVENT", Line("UID", uid) + Line("LAST-MODIFIED", modified) +
                                 "SUMMARY:Meeting " + std::to_string(which) + "\r\nDTSTART:" + day +
                                 "T100000Z\r\nDTEND:" + day + "T110000Z\r\n");
}

std::string Task(int which, const char* uid, const char* modified) {
  return Component("VTODO", Line("UID", uid) + Line("LAST-MODIFIED", modified) + "SUMMARY:Task " +
                                std::to_string(which) + "\r\nDUE:20240220T120000Z\r\n");
}

std::string VNote(int which, const char* uid, const char* modified) {
  return "BEGIN:VNOTE\r\nVERSION:1.1\r\n" + Line("X-IRMC-LUID", uid) +
         Line("LAST-MODIFIED", modified) + "BODY:Note " + std::to_string(which) +
         "\r\nEND:VNOTE\r\n";
}

}  // namespace qv::test
