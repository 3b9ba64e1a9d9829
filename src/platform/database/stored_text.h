// 16-bit text as the bytes that are stored, and back: UTF-8, with nothing lost.
//
// A lone surrogate, which UTF-8 has no place for, is stored as three bytes in the same manner and
// comes back as it was. Bytes of any other kind read as U+FFFD, one for each.
#pragma once

#include <string>
#include <string_view>

namespace qv {

void AppendStoredText(std::u16string_view text, std::string& bytes);
void AppendFromStoredText(std::string_view bytes, std::u16string& text);

inline std::string StoredText(std::u16string_view text) {
  std::string bytes;
  AppendStoredText(text, bytes);
  return bytes;
}

inline std::u16string FromStoredText(std::string_view bytes) {
  std::u16string text;
  AppendFromStoredText(bytes, text);
  return text;
}

}  // namespace qv
