#include "platform/database/stored_text.h"

#include <cstdint>

namespace qv {
namespace {

bool IsHigh(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLow(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

void AppendPoint(char32_t c, std::string& bytes) {
  const auto tail = [&](int shift) {
    bytes.push_back(static_cast<char>(0x80 | ((c >> shift) & 0x3F)));
  };
  if (c < 0x800) {
    bytes.push_back(static_cast<char>(0xC0 | (c >> 6)));
  } else if (c < 0x10000) {
    bytes.push_back(static_cast<char>(0xE0 | (c >> 12)));
    tail(6);
  } else {
    bytes.push_back(static_cast<char>(0xF0 | (c >> 18)));
    tail(12);
    tail(6);
  }
  tail(0);
}

struct Lead {
  size_t length;     // of the sequence, 0 for a byte that starts none
  char32_t bits;     // of the first byte
  char32_t minimum;  // below it the sequence is overlong
};

Lead LeadOf(uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {2, byte & 0x1Fu, 0x80};
  if (byte >= 0xE0 && byte <= 0xEF) return {3, byte & 0x0Fu, 0x800};
  if (byte >= 0xF0 && byte <= 0xF4) return {4, byte & 0x07u, 0x10000};
  return {0, 0, 0};
}

// The code point at the start of `bytes` and its length; U+FFFD and 1 for a bad byte.
char32_t PointAt(std::string_view bytes, size_t& length) {
  constexpr char32_t kBad = 0xFFFD;
  const Lead lead = LeadOf(static_cast<uint8_t>(bytes[0]));
  length = 1;
  if (lead.length == 0 || lead.length > bytes.size()) return kBad;
  char32_t c = lead.bits;
  for (size_t i = 1; i < lead.length; ++i) {
    const auto byte = static_cast<uint8_t>(bytes[i]);
    if ((byte & 0xC0) != 0x80) return kBad;
    c = c << 6 | (byte & 0x3Fu);
  }
  if (c < lead.minimum || c > 0x10FFFF) return kBad;
  length = lead.length;
  return c;
}

}  // namespace

void AppendStoredText(std::u16string_view text, std::string& bytes) {
  bytes.reserve(bytes.size() + text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c < 0x80) {
      bytes.push_back(static_cast<char>(c));
      continue;
    }
    if (IsHigh(c) && i + 1 < text.size() && IsLow(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    AppendPoint(c, bytes);
  }
}

void AppendFromStoredText(std::string_view bytes, std::u16string& text) {
  text.reserve(text.size() + bytes.size());
  while (!bytes.empty()) {
    const auto first = static_cast<uint8_t>(bytes[0]);
    if (first < 0x80) {
      text.push_back(static_cast<char16_t>(first));
      bytes.remove_prefix(1);
      continue;
    }
    size_t length = 0;
    const char32_t c = PointAt(bytes, length);
    if (c >= 0x10000) {
      text.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    } else {
      text.push_back(static_cast<char16_t>(c));
    }
    bytes.remove_prefix(length);
  }
}

}  // namespace qv
