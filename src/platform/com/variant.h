// Tagged values of the component interfaces, and their owner.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/com/bstr.h"
#include "platform/com/com_ptr.h"

namespace qv {

// Persisted contract.
enum VARTYPE : uint16_t {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R8 = 5,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_BOOL = 11,
  VT_UNKNOWN = 13,
  VT_INT = 22,
};

struct VARIANT {
  VARTYPE vt = VT_EMPTY;
  uint16_t reserved1 = 0;
  uint16_t reserved2 = 0;
  uint16_t reserved3 = 0;
  union {
    int64_t raw = 0;
    int16_t iVal;
    int32_t lVal;   // VT_I4 and VT_INT
    double dblVal;  // VT_R8 and VT_DATE
    BSTR bstrVal;
    BOOL boolVal;
    IUnknown* punkVal;
  };
};

// Frees what the value owns and makes it VT_EMPTY.
void VariantClear(VARIANT* value) noexcept;

// Owns one value.
class Variant {
 public:
  Variant() = default;
  static Variant Text(std::u16string_view text);
  static Variant Int(int32_t number);  // VT_INT
  static Variant Bool(bool value);
  static Variant Null();
  static Variant Object(const ComPtr<IUnknown>& object);
  // A copy of a borrowed value.
  explicit Variant(const VARIANT& borrowed);

  Variant(const Variant& other) : Variant(other.value_) {}
  Variant(Variant&& other) noexcept : value_(std::exchange(other.value_, VARIANT{})) {}
  Variant& operator=(Variant other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Variant() { VariantClear(&value_); }

  const VARIANT& get() const noexcept { return value_; }
  VARTYPE type() const noexcept { return value_.vt; }
  bool IsText() const noexcept { return value_.vt == VT_BSTR; }
  // The characters of a VT_BSTR, otherwise empty.
  std::u16string_view view() const noexcept {
    return IsText() ? View(value_.bstrVal) : std::u16string_view();
  }
  VARIANT Detach() noexcept { return std::exchange(value_, VARIANT{}); }
  VARIANT* Out() noexcept {
    VariantClear(&value_);
    return &value_;
  }

 private:
  VARIANT value_;
};

}  // namespace qv
