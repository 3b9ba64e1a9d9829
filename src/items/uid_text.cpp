#include "items/uid_text.h"

namespace qv {
namespace {

constexpr bool IsHex(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
}

bool HexPairAt(std::u16string_view text, size_t i) {
  return i + 1 < text.size() && IsHex(text[i]) && IsHex(text[i + 1]);
}

struct Code {
  char16_t character;
  std::u16string_view text;
};

constexpr Code kCodes[] = {{u'\'', u"%27"}, {u'\0', u"%00"}, {u'%', u"%25"}};

bool MustEncode(std::u16string_view uid, size_t i) {
  return uid[i] == u'\'' || uid[i] == u'\0' || (uid[i] == u'%' && HexPairAt(uid, i + 1));
}

// A coded percent sign is one that stands before two digits; any other never was encoded.
bool IsCode(std::u16string_view uid, size_t i, const Code& code) {
  return uid.substr(i).starts_with(code.text) &&
         (code.character != u'%' || HexPairAt(uid, i + code.text.size()));
}

}  // namespace

std::u16string EncodeUid(std::u16string_view uid) {
  std::u16string encoded;
  encoded.reserve(uid.size());
  for (size_t i = 0; i < uid.size(); ++i) {
    if (!MustEncode(uid, i)) {
      encoded += uid[i];
      continue;
    }
    for (const Code& code : kCodes) {
      if (code.character == uid[i]) encoded += code.text;
    }
  }
  return encoded;
}

std::u16string DecodeUid(std::u16string_view uid) {
  std::u16string decoded;
  decoded.reserve(uid.size());
  for (size_t i = 0; i < uid.size();) {
    const Code* found = nullptr;
    if (uid[i] == u'%') {
      for (const Code& code : kCodes) {
        if (IsCode(uid, i, code)) found = &code;
      }
    }
    decoded += found != nullptr ? found->character : uid[i];
    i += found != nullptr ? found->text.size() : 1;
  }
  return decoded;
}

}  // namespace qv
