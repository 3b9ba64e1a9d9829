// The engine's configuration bag, as the module needs it: texts by key.
//
// The pointer that the engine hands as its bag is used without a query: a class that implements
// the bag derives from `IEngineConfig` first, and every reader goes through `AsEngineConfig`.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/component_ids.h"
#include "platform/com/variant.h"

namespace qv {

struct IEngineConfig : IDispatch {
  static constexpr IID kIid = IID_IEngineConfig;
  // What an unknown key answers is the bag's own business; empty means "not set".
  virtual HRESULT GetValue(BSTR key, VARIANT* value) noexcept = 0;
  virtual HRESULT SetValue(BSTR key, VARIANT text, BOOL persist) noexcept = 0;

 protected:
  ~IEngineConfig() = default;
};

inline IEngineConfig* AsEngineConfig(IUnknown* bag) {
  return static_cast<IEngineConfig*>(bag);
}

// A value as text: VT_BSTR as it stands, empty and null as "", integers in decimal, a boolean as
// "-1" or "0"; any other type throws StatusError(E_INVALIDARG).
std::u16string VariantText(const VARIANT& value);

// Read and write one key. Throw StatusError: E_POINTER for a null bag, else the bag's own status.
std::u16string ReadConfigText(IEngineConfig* bag, std::u16string_view key);
void WriteConfigText(IEngineConfig* bag, std::u16string_view key, std::u16string_view value);

}  // namespace qv
