// What the module exports (module.map): the four functions of a component server, and four for the
// texts that cross its edge, so that a host needs nothing of ours to make and free them.
#include <new>
#include <string_view>

#include "platform/com/bstr.h"
#include "platform/com/class_factory.h"
#include "platform/com/status_error.h"
#include "stores/module.h"

#define QV_EXPORT extern "C" __attribute__((visibility("default")))

// S_OK when no object lives and no factory holds a lock.
QV_EXPORT qv::HRESULT DllCanUnloadNow() {
  return qv::ComRoot::LiveObjects() == 0 && qv::ServerLocks() == 0 ? qv::S_OK : qv::S_FALSE;
}

QV_EXPORT qv::HRESULT DllGetClassObject(const qv::CLSID& clsid, const qv::IID& iid, void** out) {
  return qv::Guarded([&] {
    static const bool registered = [] {
      qv::RegisterModuleClasses();
      return true;
    }();
    return registered ? qv::GetClassFactory(clsid, iid, out) : qv::E_FAIL;
  });
}

// There is no registry to write: the class table is part of the module.
QV_EXPORT qv::HRESULT DllRegisterServer() {
  return qv::S_OK;
}
QV_EXPORT qv::HRESULT DllUnregisterServer() {
  return qv::S_OK;
}

// A copy of `length` characters, or of those before the first NUL. Null for null, and when there is
// no memory.
QV_EXPORT qv::BSTR SysAllocStringLen(const char16_t* text, uint32_t length) {
  try {
    return text == nullptr ? nullptr : qv::SysAllocString({text, length});
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
QV_EXPORT qv::BSTR SysAllocString(const char16_t* text) {
  if (text == nullptr) return nullptr;
  try {
    return qv::SysAllocString(text);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
// In characters; 0 for null.
QV_EXPORT uint32_t SysStringLen(const char16_t* text) {
  return qv::SysStringLen(text);
}
// Null is allowed.
QV_EXPORT void SysFreeString(qv::BSTR text) {
  qv::SysFreeString(text);
}
