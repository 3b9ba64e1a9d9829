// Base of every component class: interface map, reference count, aggregation, IDispatch.
//
//   class UnkList final : public ComObject<IUnkList> { ... };
//   auto list = MakeObject<UnkList>();
//
// An object's count is a plain 32-bit integer: objects belong to one thread. `FinalRelease` runs
// when the last reference goes, before the destructor, while the count is held at 1, so that it may
// hand out and take back references to the object; what it throws is dropped.
//
// An interface that extends another one names it as `Parent` and the object answers to both.
#pragma once

#include <tuple>
#include <utility>

#include "platform/com/com_ptr.h"
#include "platform/com/status_error.h"

namespace qv {

// What an aggregated object and its factory share. Not an interface.
class ComRoot {
 public:
  ComRoot(const ComRoot&) = delete;
  ComRoot& operator=(const ComRoot&) = delete;

  // The identity that does not delegate: what a factory hands to the outer object.
  IUnknown* Inner() noexcept { return &inner_; }
  // Before the first QueryInterface; the outer object is not counted, it outlives this one.
  void SetOuter(IUnknown* outer) noexcept { outer_ = outer; }

  // Live objects of all classes and threads, for DllCanUnloadNow.
  static int32_t LiveObjects() noexcept;

 protected:
  ComRoot() noexcept;
  virtual ~ComRoot();

  virtual void FinalRelease() {}
  // The interface without a new reference, or null.
  virtual IUnknown* FindInterface(const IID& iid) noexcept = 0;

  IUnknown* Outer() noexcept { return outer_; }
  HRESULT InnerQuery(const IID& iid, void** out) noexcept;
  uint32_t InnerAddRef() noexcept;
  uint32_t InnerRelease() noexcept;

 private:
  struct InnerUnknown final : IUnknown {
    explicit InnerUnknown(ComRoot& root) : root(root) {}
    HRESULT QueryInterface(const IID& iid, void** out) noexcept override;
    uint32_t AddRef() noexcept override { return root.InnerAddRef(); }
    uint32_t Release() noexcept override { return root.InnerRelease(); }
    ComRoot& root;
  };

  InnerUnknown inner_{*this};
  IUnknown* outer_ = nullptr;
  int32_t count_ = 1;
};

// The four `IDispatch` slots of one interface: there is no type information here.
template <class Interface>
struct DispatchSlots : Interface {
  HRESULT GetTypeInfoCount(uint32_t* count) noexcept override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT GetTypeInfo(uint32_t, uint32_t, IUnknown**) noexcept override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(const IID&, char16_t**, uint32_t, uint32_t, int32_t*) noexcept override {
    return E_NOTIMPL;
  }
  HRESULT Invoke(int32_t, const IID&, uint32_t, uint16_t, void*, VARIANT*, void*,
                 uint32_t*) noexcept override {
    return E_NOTIMPL;
  }

 protected:
  ~DispatchSlots() = default;
};

namespace detail {
template <class Interface>
using Slots = std::conditional_t<std::is_base_of_v<IDispatch, Interface>, DispatchSlots<Interface>,
                                 Interface>;
}  // namespace detail

template <class First, class... Rest>
class ComObject : public detail::Slots<First>, public detail::Slots<Rest>..., public ComRoot {
 public:
  HRESULT QueryInterface(const IID& iid, void** out) noexcept override {
    return Outer() != nullptr ? Outer()->QueryInterface(iid, out) : InnerQuery(iid, out);
  }
  uint32_t AddRef() noexcept override {
    return Outer() != nullptr ? Outer()->AddRef() : InnerAddRef();
  }
  uint32_t Release() noexcept override {
    return Outer() != nullptr ? Outer()->Release() : InnerRelease();
  }

 protected:
  IUnknown* FindInterface(const IID& iid) noexcept override {
    IUnknown* found = nullptr;
    (Match<First>(iid, found) || ... || Match<Rest>(iid, found));
    if (found == nullptr && iid == IDispatch::kIid && std::is_base_of_v<IDispatch, First>) {
      found = static_cast<First*>(this);
    }
    return found;
  }

 private:
  template <class Interface>
  bool Match(const IID& iid, IUnknown*& found) noexcept {
    bool matches = iid == Interface::kIid;
    if constexpr (requires { typename Interface::Parent; }) {
      matches = matches || iid == Interface::Parent::kIid;
    }
    if (!matches) return false;
    found = static_cast<Interface*>(this);
    return true;
  }
};

// A new object with one reference, which the result holds.
template <class T, class... Arguments>
ComPtr<T> MakeObject(Arguments&&... arguments) {
  return ComPtr<T>::Adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace qv
