#include "platform/com/bstr.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace qv {
namespace {
// Room before the first character: the length lies in its last four bytes, the rest keeps the
// characters aligned as malloc aligned the block.
constexpr size_t kHeader = 8;
}  // namespace

BSTR SysAllocString(std::u16string_view text) {
  if (text.size() > (std::numeric_limits<uint32_t>::max() - 2) / 2) throw std::bad_alloc();
  const auto bytes = static_cast<uint32_t>(text.size() * 2);
  auto* block = static_cast<char*>(std::malloc(kHeader + bytes + 2));
  if (block == nullptr) throw std::bad_alloc();
  std::memcpy(block + kHeader - 4, &bytes, 4);
  if (bytes != 0) std::memcpy(block + kHeader, text.data(), bytes);
  std::memset(block + kHeader + bytes, 0, 2);
  return reinterpret_cast<BSTR>(block + kHeader);
}

void SysFreeString(BSTR text) noexcept {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kHeader);
}

uint32_t SysStringLen(const char16_t* text) noexcept {
  if (text == nullptr) return 0;
  uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - 4, 4);
  return bytes / 2;
}

}  // namespace qv
