#include "kit/samples.h"

namespace qv::test {

std::string Card(int which, const char* uid, const char* modified) {
  const std::string number = std::to_string(which);
  std::string text = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Muster" + number +
                     ";Anna;;;\r\nFN:Anna Muster" + number + "\r\nTEL;CELL:+49 170 " + number +
                     "\r\nEMAIL;INTERNET;HOME:anna" + number + "@example.org\r\n";
  if (uid != nullptr) text += std::string("UID:") + uid + "\r\n";
  if (modified != nullptr) text += std::string("REV:") + modified + "\r\n";
  return text + "END:VCARD\r\n";
}

}  // namespace qv::test
