// The one shape of a component slot.
//
//   HRESULT GetAllUid(IUnknown** out) noexcept override {
//     return Slot(Requires(), Outs(out), [&] { return HandOut(out, ReadAll()); });
//   }
//
// In order: every pointer named in `Requires` and `Outs` is tested (E_POINTER on a null one), the
// outs are cleared, the body runs, and an exception becomes its status (`StatusError` its own,
// anything else E_FAIL). A slot with its own rule names fewer pointers and does the rest in its
// body.
#pragma once

#include <tuple>

#include "platform/com/bstr.h"
#include "platform/com/com_ptr.h"
#include "platform/com/status_error.h"
#include "platform/com/variant.h"

namespace qv {

template <class... Pointers>
std::tuple<Pointers...> Requires(Pointers... pointers) {
  return {pointers...};
}

template <class... Pointers>
std::tuple<Pointers...> Outs(Pointers... pointers) {
  return {pointers...};
}

template <class... In, class... Out, class Body>
HRESULT Slot(const std::tuple<In...>& required, const std::tuple<Out...>& outs,
             Body&& body) noexcept {
  const auto allSet = [](const auto&... pointer) { return ((pointer != nullptr) && ...); };
  if (!std::apply(allSet, required) || !std::apply(allSet, outs)) return E_POINTER;
  std::apply([](auto*... out) { ((*out = {}), ...); }, outs);
  return Guarded(body);
}

// Give a value to the caller, who owns it from then on. Each returns S_OK.
inline HRESULT HandOut(BSTR* out, std::u16string_view text) {
  *out = SysAllocString(text);
  return S_OK;
}

template <class I, class T>
requires std::is_convertible_v<T*, I*> HRESULT HandOut(I** out, ComPtr<T> object) {
  *out = object.Detach();
  return S_OK;
}

template <class Value>
requires std::is_arithmetic_v<Value> || std::is_enum_v<Value> HRESULT HandOut(Value* out,
                                                                              Value value) {
  *out = value;
  return S_OK;
}

}  // namespace qv
