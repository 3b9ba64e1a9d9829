#include "support/vobject/raw_text.h"

#include "support/text.h"

namespace qv {
namespace {

constexpr char16_t kFirstCarrier = 0xF700;
constexpr char16_t kLastCarrier = 0xF7FF;

constexpr bool IsCarrier(char16_t c) {
  return c >= kFirstCarrier && c <= kLastCarrier;
}

constexpr size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF5 ? 4 : 0;
}

// Appends the character at the front of `bytes` if it can stand for itself; returns its length.
size_t AppendGenuine(std::string_view bytes, std::u16string& text) {
  const size_t length = SequenceLength(static_cast<unsigned char>(bytes.front()));
  if (length == 0 || length > bytes.size() || bytes.front() == '\0') return 0;
  const size_t before = text.size();
  if (!AppendUtf8(bytes.substr(0, length), text)) return 0;
  if (!IsCarrier(text[before])) return length;
  text.resize(before);
  return 0;
}

}  // namespace

std::u16string TextFromRaw(std::string_view bytes) {
  std::u16string text;
  // U+F700 to U+F7FF start with this byte, as do few other characters.
  constexpr char kCarrierLead = '\xEF';
  if (bytes.find('\0') == bytes.npos && bytes.find(kCarrierLead) == bytes.npos &&
      AppendUtf8(bytes, text)) {
    return text;
  }
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    size_t used = AppendGenuine(bytes, text);
    if (used == 0) {
      text += static_cast<char16_t>(kFirstCarrier + static_cast<unsigned char>(bytes.front()));
      used = 1;
    }
    bytes.remove_prefix(used);
  }
  return text;
}

void AppendRaw(std::u16string_view text, std::string& bytes) {
  while (!text.empty()) {
    size_t run = 0;
    while (run < text.size() && !IsCarrier(text[run])) ++run;
    if (run > 0) {
      bytes += ToUtf8(text.substr(0, run));
      text.remove_prefix(run);
    } else {
      bytes += static_cast<char>(text.front() - kFirstCarrier);
      text.remove_prefix(1);
    }
  }
}

}  // namespace qv
