#include "items/vcard_values.h"

#include "support/vobject/decode.h"

namespace qv {

std::u16string PhotoTypeOf(std::string_view word) {
  constexpr std::string_view kImage = "image/";
  constexpr std::string_view kMarks = "+-.";
  if (SameWord(word.substr(0, kImage.size()), kImage)) word.remove_prefix(kImage.size());
  if (word.size() > 32 || SameWord(word, "PREF")) return {};
  std::u16string type;
  for (const char c : word) {
    const bool lower = c >= 'a' && c <= 'z';
    const bool plain = lower || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!plain && kMarks.find(c) == kMarks.npos) return {};
    type += static_cast<char16_t>(lower ? c - 'a' + 'A' : c);
  }
  return type == u"JPG" ? u"JPEG" : type;
}

std::optional<DataUri> ParseDataUri(std::string_view uri) {
  constexpr std::string_view kScheme = "data:";
  constexpr std::string_view kBase64 = ";base64";
  const size_t comma = uri.find(',');
  if (comma == uri.npos || !SameWord(uri.substr(0, kScheme.size()), kScheme)) return std::nullopt;
  const std::string_view head = uri.substr(kScheme.size(), comma - kScheme.size());
  if (head.size() < kBase64.size() ||
      !SameWord(head.substr(head.size() - kBase64.size()), kBase64)) {
    return std::nullopt;
  }
  DataUri data;
  data.mediaType = head.substr(0, head.find(';'));
  if (!AppendBase64(uri.substr(comma + 1), data.bytes)) return std::nullopt;
  return data;
}

}  // namespace qv
