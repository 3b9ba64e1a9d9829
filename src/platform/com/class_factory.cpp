#include "platform/com/class_factory.h"

#include <atomic>
#include <unordered_map>

#include "platform/com/lists.h"

namespace qv {
namespace {

std::unordered_map<GUID, ClassCreator, GuidHash>& Creators() {
  static std::unordered_map<GUID, ClassCreator, GuidHash> creators;
  return creators;
}

std::atomic<int32_t> g_serverLocks = 0;

class ClassFactory final : public ComObject<IClassFactory> {
 public:
  explicit ClassFactory(const CLSID& clsid) : clsid_(clsid) {}

  HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** out) noexcept override {
    return CoCreateInstance(clsid_, outer, CLSCTX_ALL, iid, out);
  }
  HRESULT LockServer(BOOL lock) noexcept override {
    if (lock != kFalse) {
      ++g_serverLocks;
      return S_OK;
    }
    // An unlock too many counts for nothing.
    int32_t locks = g_serverLocks;
    while (locks > 0 && !g_serverLocks.compare_exchange_weak(locks, locks - 1)) {
    }
    return S_OK;
  }

 private:
  CLSID clsid_;
};

}  // namespace

ClassCreator RegisterClass(const CLSID& clsid, ClassCreator creator) {
  ClassCreator& place = Creators()[clsid];
  std::swap(place, creator);
  return creator;
}

bool IsClassRegistered(const CLSID& clsid) {
  const auto found = Creators().find(clsid);
  return found != Creators().end() && found->second != nullptr;
}

HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, uint32_t, const IID& iid,
                         void** out) noexcept {
  return Slot(Requires(), Outs(out), [&]() -> HRESULT {
    if (outer != nullptr && iid != IUnknown::kIid) return CLASS_E_NOAGGREGATION;
    const auto found = Creators().find(clsid);
    if (found == Creators().end() || !found->second) return REGDB_E_CLASSNOTREG;
    const CreatedObject created = found->second();
    if (created.root == nullptr) return E_FAIL;
    const auto held = ComPtr<IUnknown>::Adopt(created.root->Inner());
    if (outer != nullptr) created.root->SetOuter(outer);
    return held->QueryInterface(iid, out);
  });
}

HRESULT CLSIDFromString(std::u16string_view text, CLSID* clsid) noexcept {
  const auto parsed = ParseGuid(text);
  if (!parsed) return CO_E_CLASSSTRING;
  *clsid = *parsed;
  return S_OK;
}

HRESULT GetClassFactory(const CLSID& clsid, const IID& iid, void** out) noexcept {
  return Slot(Requires(), Outs(out), [&]() -> HRESULT {
    if (!IsClassRegistered(clsid)) return CLASS_E_CLASSNOTAVAILABLE;
    return MakeObject<ClassFactory>(clsid)->QueryInterface(iid, out);
  });
}

int32_t ServerLocks() noexcept {
  return g_serverLocks;
}

void RegisterListClasses() {
  RegisterClass(CLSID_UnkList, CreateClass<UnkList>);
  RegisterClass(CLSID_VarList, CreateClass<VarList>);
}

}  // namespace qv
