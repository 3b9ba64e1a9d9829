#include "support/vobject/marked_text.h"

#include "support/text.h"

namespace qv {
namespace {

std::string SwapBytes(std::string_view text) {
  std::string swapped(text);
  for (size_t i = 0; i + 1 < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
  return swapped;
}

}  // namespace

std::string_view WithoutMark(std::string_view text, std::string& buffer) {
  if (text.starts_with("\xEF\xBB\xBF")) return text.substr(3);
  if (text.starts_with("\xFF\xFE")) {
    buffer = ToUtf8(FromUtf16Le(text.substr(2)));
    return buffer;
  }
  if (text.starts_with("\xFE\xFF")) {
    buffer = ToUtf8(FromUtf16Le(SwapBytes(text.substr(2))));
    return buffer;
  }
  return text;
}

}  // namespace qv
