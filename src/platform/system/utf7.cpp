#include "platform/system/utf7.h"

#include <cstdint>

namespace qv {
namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bool StandsForItself(char16_t c) {
  return c >= u' ' && c < 0x7F && c != u'+' && c != u'\\' && c != u'~';
}

}  // namespace

// text := (ASCII | "+-" | "+" base64 of UTF-16, big end first, ["-"])*
std::optional<std::u16string> FromUtf7(std::string_view bytes) {
  std::u16string text;
  for (size_t at = 0; at < bytes.size();) {
    const char c = bytes[at++];
    if (static_cast<unsigned char>(c) >= 0x80) return std::nullopt;
    if (c != '+') {
      text.push_back(static_cast<char16_t>(c));
      continue;
    }
    if (at < bytes.size() && bytes[at] == '-') {
      text.push_back(u'+');
      ++at;
      continue;
    }
    uint32_t bits = 0;
    int held = 0;
    const size_t begin = at;
    for (size_t letter = 0; at < bytes.size(); ++at) {
      letter = kLetters.find(bytes[at]);
      if (letter == kLetters.npos) break;
      bits = bits << 6 | static_cast<uint32_t>(letter);
      held += 6;
      if (held < 16) continue;
      held -= 16;
      text.push_back(static_cast<char16_t>(bits >> held & 0xFFFF));
    }
    // What is left fills the last letter up, with zeros.
    if (at == begin || held >= 6 || (bits & ((1u << held) - 1)) != 0) return std::nullopt;
    if (at < bytes.size() && bytes[at] == '-') ++at;
  }
  return text;
}

std::string ToUtf7(std::u16string_view text) {
  std::string bytes;
  for (size_t at = 0; at < text.size();) {
    if (StandsForItself(text[at])) {
      bytes.push_back(static_cast<char>(text[at++]));
      continue;
    }
    bytes.push_back('+');
    if (text[at] == u'+') {
      ++at;
    } else {
      uint32_t bits = 0;
      int held = 0;
      for (; at < text.size() && !StandsForItself(text[at]) && text[at] != u'+'; ++at) {
        bits = bits << 16 | text[at];
        for (held += 16; held >= 6;) {
          held -= 6;
          bytes.push_back(kLetters[bits >> held & 63]);
        }
      }
      if (held > 0) bytes.push_back(kLetters[bits << (6 - held) & 63]);
    }
    bytes.push_back('-');
  }
  return bytes;
}

}  // namespace qv
