// Texts that stand for a thing: fresh identifiers and checksums.
#include "platform/system/identifiers.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {

std::u16string MakeGuidText() {
  return FormatGuid(Service<GuidSource>::Get().New()).substr(1, 36);
}

std::u16string ComputeMd5(std::u16string_view text) {
  constexpr char16_t kDigits[] = u"0123456789abcdef";
  const std::optional<Md5Digest> digest = Service<Md5Provider>::Get().Digest(ToUtf16Le(text));
  std::u16string hex;
  if (!digest) return hex;
  hex.reserve(digest->size() * 2);
  for (const uint8_t byte : *digest) {
    hex.push_back(kDigits[byte >> 4]);
    hex.push_back(kDigits[byte & 0xF]);
  }
  return hex;
}

}  // namespace qv
