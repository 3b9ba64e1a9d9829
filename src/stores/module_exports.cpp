// The four exports of a component server.
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
