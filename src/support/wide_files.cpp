#include "support/wide_files.h"

#include <algorithm>

#include "platform/system/code_page.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {

std::u16string ReadWideFile(std::u16string_view path) {
  const std::optional<std::string> native = ToNativePath(path);
  if (!native) return {};
  std::string bytes;
  // What was read before a failure is kept.
  static_cast<void>(Service<Files>::Get().Read(*native, bytes));
  std::u16string text = FromUtf16Le(bytes);
  text.resize(std::min(text.find(u'\0'), text.size()));
  return text;
}

int WriteWideFile(std::u16string_view path, std::u16string_view text) {
  const std::optional<std::string> native = ToNativePath(path);
  return native && !Service<Files>::Get().Write(*native, ToUtf16Le(text)) ? 1 : 0;
}

std::unique_ptr<char[]> ToAnsi(const char16_t* bstr) {
  if (bstr == nullptr) return nullptr;
  const std::string bytes = Service<CodePages>::Get().Encode(View(bstr), kAnsiPage);
  auto narrow = std::make_unique<char[]>(bytes.size() + 1);  // zeros: the last one ends it
  std::copy(bytes.begin(), bytes.end(), narrow.get());
  return narrow;
}

std::u16string ToWide(const char* text, uint32_t codePage) {
  if (text == nullptr) return {};
  return Service<CodePages>::Get().Decode(text, codePage);
}

}  // namespace qv
