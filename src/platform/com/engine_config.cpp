#include "platform/com/engine_config.h"

#include "platform/com/status_error.h"

namespace qv {
namespace {

std::u16string Decimal(int64_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

}  // namespace

std::u16string VariantText(const VARIANT& value) {
  switch (value.vt) {
    case VT_BSTR:
      return std::u16string(View(value.bstrVal));
    case VT_EMPTY:
    case VT_NULL:
      return {};
    case VT_I2:
      return Decimal(value.iVal);
    case VT_I4:
    case VT_INT:
      return Decimal(value.lVal);
    case VT_BOOL:
      return value.boolVal != kFalse ? u"-1" : u"0";
    default:
      throw StatusError(E_INVALIDARG);
  }
}

std::u16string ReadConfigText(IEngineConfig* bag, std::u16string_view key) {
  if (bag == nullptr) throw StatusError(E_POINTER);
  Variant value;
  Check(bag->GetValue(Bstr(key), value.Out()));
  return VariantText(value.get());
}

void WriteConfigText(IEngineConfig* bag, std::u16string_view key, std::u16string_view value) {
  if (bag == nullptr) throw StatusError(E_POINTER);
  Check(bag->SetValue(Bstr(key), Variant::Text(value).get(), kTrue));
}

}  // namespace qv
