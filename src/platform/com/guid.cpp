#include "platform/com/guid.h"

namespace qv {

std::u16string FormatGuid(const GUID& guid) {
  static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  std::u16string text;
  text.reserve(38);
  const auto put = [&](uint32_t value, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
      text.push_back(kDigits[(value >> shift) & 0xF]);
    }
  };
  text.push_back(u'{');
  put(guid.data1, 8);
  text.push_back(u'-');
  put(guid.data2, 4);
  text.push_back(u'-');
  put(guid.data3, 4);
  for (size_t i = 0; i < guid.data4.size(); ++i) {
    if (i == 0 || i == 2) text.push_back(u'-');
    put(guid.data4[i], 2);
  }
  text.push_back(u'}');
  return text;
}

}  // namespace qv
