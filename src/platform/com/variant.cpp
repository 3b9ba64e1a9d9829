#include "platform/com/variant.h"

namespace qv {

void VariantClear(VARIANT* value) noexcept {
  if (value->vt == VT_BSTR) SysFreeString(value->bstrVal);
  if (value->vt == VT_UNKNOWN && value->punkVal != nullptr) value->punkVal->Release();
  *value = VARIANT{};
}

Variant::Variant(const VARIANT& borrowed) : value_(borrowed) {
  if (borrowed.vt == VT_BSTR && borrowed.bstrVal != nullptr) {
    value_.vt = VT_EMPTY;
    value_.bstrVal = SysAllocString(View(borrowed.bstrVal));
    value_.vt = VT_BSTR;
  }
  if (borrowed.vt == VT_UNKNOWN && borrowed.punkVal != nullptr) borrowed.punkVal->AddRef();
}

Variant Variant::Text(std::u16string_view text) {
  Variant result;
  result.value_.bstrVal = SysAllocString(text);
  result.value_.vt = VT_BSTR;
  return result;
}

Variant Variant::Int(int32_t number) {
  Variant result;
  result.value_.vt = VT_INT;
  result.value_.lVal = number;
  return result;
}

Variant Variant::Bool(bool value) {
  Variant result;
  result.value_.vt = VT_BOOL;
  result.value_.boolVal = ToBool(value);
  return result;
}

Variant Variant::Null() {
  Variant result;
  result.value_.vt = VT_NULL;
  return result;
}

Variant Variant::Object(const ComPtr<IUnknown>& object) {
  Variant result;
  result.value_.vt = VT_UNKNOWN;
  result.value_.punkVal = ComPtr<IUnknown>(object).Detach();
  return result;
}

}  // namespace qv
