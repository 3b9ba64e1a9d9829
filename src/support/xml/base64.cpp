#include "support/xml/base64.h"

#include <cstdint>

namespace qv {
namespace {

constexpr std::u16string_view kAlphabet =
    u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::u16string_view kBlanks = u" \t\r\n";

}  // namespace

std::string DecodeBase64(std::u16string_view text, XmlError& error, size_t limit) {
  error = XmlError::None;
  std::string bytes;
  uint32_t bits = 0;
  int signs = 0;  // of the group so far
  int padding = 0;
  for (const char16_t unit : text) {
    if (kBlanks.find(unit) != kBlanks.npos) continue;
    const size_t value = kAlphabet.find(unit);
    const bool isPadding = unit == u'=';
    if ((value == kAlphabet.npos && !isPadding) || (padding > 0 && !isPadding)) {
      error = XmlError::Base64Character;
      return {};
    }
    padding += isPadding;
    bits = bits << 6 | (isPadding ? 0 : static_cast<uint32_t>(value));
    if (++signs < 4) continue;
    const int count = 3 - padding;
    if (count < 1) {
      error = XmlError::Base64Truncated;
      return bytes;
    }
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>(bits >> (16 - 8 * i)));
    if (bytes.size() > limit) {
      error = XmlError::Base64Buffer;
      return {};
    }
    bits = 0;
    signs = 0;
  }
  if (signs > 0) error = XmlError::Base64Length;
  return bytes;
}

}  // namespace qv
