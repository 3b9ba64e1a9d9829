#include "platform/com/com_object.h"

#include <atomic>

namespace qv {
namespace {
// Of all threads, each of which has objects of its own.
std::atomic<int32_t> g_liveObjects = 0;
}  // namespace

int32_t ComRoot::LiveObjects() noexcept {
  return g_liveObjects;
}

ComRoot::ComRoot() noexcept {
  ++g_liveObjects;
}
ComRoot::~ComRoot() {
  --g_liveObjects;
}

HRESULT ComRoot::InnerQuery(const IID& iid, void** out) noexcept {
  if (out == nullptr) return E_POINTER;
  IUnknown* found = iid == IUnknown::kIid ? &inner_ : FindInterface(iid);
  *out = found;
  if (found == nullptr) return E_NOINTERFACE;
  found->AddRef();
  return S_OK;
}

uint32_t ComRoot::InnerAddRef() noexcept {
  return static_cast<uint32_t>(++count_);
}

uint32_t ComRoot::InnerRelease() noexcept {
  if (count_ > 1) return static_cast<uint32_t>(--count_);
  try {
    FinalRelease();
  } catch (...) {  // the object goes all the same
  }
  delete this;
  return 0;
}

HRESULT ComRoot::InnerUnknown::QueryInterface(const IID& iid, void** out) noexcept {
  return root.InnerQuery(iid, out);
}

}  // namespace qv
