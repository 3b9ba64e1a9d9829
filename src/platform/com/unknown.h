// The two roots of every component interface.
//
// An interface is three `IUnknown` slots, for the automation ones four `IDispatch` slots, then its
// operations in slot order. Interfaces have no virtual destructor (it would take a slot) and are
// never deleted through: an object dies in its own `Release`.
#pragma once

#include "platform/com/guid.h"
#include "platform/com/types.h"

namespace qv {

struct VARIANT;

struct IUnknown {
  static constexpr IID kIid = "{00000000-0000-0000-C000-000000000046}"_guid;

  virtual HRESULT QueryInterface(const IID& iid, void** out) noexcept = 0;
  virtual uint32_t AddRef() noexcept = 0;
  virtual uint32_t Release() noexcept = 0;

 protected:
  ~IUnknown() = default;
};

struct IDispatch : IUnknown {
  static constexpr IID kIid = "{00020400-0000-0000-C000-000000000046}"_guid;

  virtual HRESULT GetTypeInfoCount(uint32_t* count) noexcept = 0;
  virtual HRESULT GetTypeInfo(uint32_t index, uint32_t locale, IUnknown** info) noexcept = 0;
  virtual HRESULT GetIDsOfNames(const IID& reserved, char16_t** names, uint32_t count,
                                uint32_t locale, int32_t* ids) noexcept = 0;
  virtual HRESULT Invoke(int32_t id, const IID& reserved, uint32_t locale, uint16_t flags,
                         void* arguments, VARIANT* result, void* exception,
                         uint32_t* badArgument) noexcept = 0;

 protected:
  ~IDispatch() = default;
};

}  // namespace qv
