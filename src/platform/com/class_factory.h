// Class creation by identifier.
//
// Classes are registered at run time, by each layer for its own classes; a test may register a
// fake behind any identifier. A creator makes one object and returns it with one reference.
#pragma once

#include <functional>
#include <string_view>

#include "platform/com/com_object.h"

namespace qv {

// All server kinds; accepted and not looked at.
inline constexpr uint32_t CLSCTX_ALL = 0x17;

// A new object: the root that carries the single reference.
struct CreatedObject {
  ComRoot* root = nullptr;
};
using ClassCreator = std::function<CreatedObject()>;

template <class T>
CreatedObject CreateClass() {
  return {MakeObject<T>().Detach()};
}

// Registers or replaces the creator of a class; an empty one takes the class away. Returns the
// creator that stood there before, so that a test can put it back.
ClassCreator RegisterClass(const CLSID& clsid, ClassCreator creator);
bool IsClassRegistered(const CLSID& clsid);

// Creates an object and asks it for `iid`. REGDB_E_CLASSNOTREG for an unknown class,
// E_NOINTERFACE when the object lacks the interface, E_POINTER for a null out. With an outer
// object `iid` must be IUnknown's (CLASS_E_NOAGGREGATION otherwise).
HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, uint32_t context, const IID& iid,
                         void** out) noexcept;

// Exactly "{8-4-4-4-12}" with hexadecimal digits of either case; otherwise CO_E_CLASSSTRING.
HRESULT CLSIDFromString(std::u16string_view text, CLSID* clsid) noexcept;

// Creates an object; throws StatusError when that fails.
template <class Interface>
ComPtr<Interface> CreateInstance(const CLSID& clsid) {
  void* object = nullptr;
  Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, Interface::kIid, &object));
  return ComPtr<Interface>::Adopt(static_cast<Interface*>(object));
}

struct IClassFactory : IUnknown {
  static constexpr IID kIid = "{00000001-0000-0000-C000-000000000046}"_guid;
  virtual HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** out) noexcept = 0;
  virtual HRESULT LockServer(BOOL lock) noexcept = 0;

 protected:
  ~IClassFactory() = default;
};

// The factory object of a class. CLASS_E_CLASSNOTAVAILABLE for an unknown one.
HRESULT GetClassFactory(const CLSID& clsid, const IID& iid, void** out) noexcept;
// How often the server is locked by its factories, on all threads.
int32_t ServerLocks() noexcept;

// Registers the classes of this folder: the two lists. The database accessor registers itself, see
// platform/database/sqlite_accessor.h.
void RegisterListClasses();

}  // namespace qv
