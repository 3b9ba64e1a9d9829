// Fixed-width types and status codes of the component interfaces.
//
// Every width here is part of the binary contract: a status is 32 bits and negative on failure,
// an automation boolean is 16 bits (written -1 or 0, read as "not 0"), a date is the number of
// days since midnight of 30 December 1899.
#pragma once

#include <cstdint>

namespace qv {

using HRESULT = int32_t;
using BOOL = int16_t;
using DATE = double;

inline constexpr BOOL kTrue = -1;
inline constexpr BOOL kFalse = 0;
constexpr BOOL ToBool(bool value) {
  return value ? kTrue : kFalse;
}

constexpr HRESULT StatusFromBits(uint32_t bits) {
  return static_cast<HRESULT>(bits);
}

// Persisted contract: these values cross the module's edge.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = StatusFromBits(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = StatusFromBits(0x80004002u);
inline constexpr HRESULT E_POINTER = StatusFromBits(0x80004003u);
inline constexpr HRESULT E_FAIL = StatusFromBits(0x80004005u);
inline constexpr HRESULT E_OUTOFMEMORY = StatusFromBits(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = StatusFromBits(0x80070057u);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = StatusFromBits(0x80040110u);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = StatusFromBits(0x80040111u);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = StatusFromBits(0x80040154u);
inline constexpr HRESULT CO_E_CLASSSTRING = StatusFromBits(0x800401F3u);

static_assert(E_FAIL < 0, "a failure must be negative, or no sign test sees it");

constexpr bool Failed(HRESULT status) {
  return status < 0;
}
constexpr bool Succeeded(HRESULT status) {
  return status >= 0;
}

}  // namespace qv
