// Length-prefixed 16-bit strings, as they cross the edge, and their owner.
//
// A `BSTR` points at the first character; the four bytes before it hold the length in bytes, and a
// NUL that does not count follows the last character. Null and empty are both legal and mean the
// same to a reader. The callee allocates what it returns, the caller frees it.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/com/types.h"

namespace qv {

using BSTR = char16_t*;

// A new string with the characters of `text`. Throws std::bad_alloc.
BSTR SysAllocString(std::u16string_view text);
// Null is allowed and does nothing.
void SysFreeString(BSTR text) noexcept;
// Length in characters; 0 for null.
uint32_t SysStringLen(const char16_t* text) noexcept;

// The characters of a string, empty for null. Valid as long as the string is.
inline std::u16string_view View(const char16_t* text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}

// Owns one string.
class Bstr {
 public:
  Bstr() = default;
  Bstr(std::u16string_view text) : text_(SysAllocString(text)) {}
  Bstr(const char16_t* literal) : Bstr(std::u16string_view(literal)) {}
  Bstr(const std::u16string& text) : Bstr(std::u16string_view(text)) {}
  Bstr(const Bstr& other) : text_(other.text_ ? SysAllocString(other.view()) : nullptr) {}
  Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  Bstr& operator=(Bstr other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  ~Bstr() { SysFreeString(text_); }

  BSTR get() const noexcept { return text_; }
  operator BSTR() const noexcept { return text_; }
  std::u16string_view view() const noexcept { return View(text_); }
  std::u16string str() const { return std::u16string(view()); }
  BSTR Detach() noexcept { return std::exchange(text_, nullptr); }
  // For out arguments: frees what was held.
  BSTR* Out() noexcept {
    SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }

 private:
  BSTR text_ = nullptr;
};

}  // namespace qv
