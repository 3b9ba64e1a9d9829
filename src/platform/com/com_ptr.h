// Counted reference to a component interface.
#pragma once

#include <cstddef>
#include <utility>

#include "platform/com/unknown.h"

namespace qv {

template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  // Takes a reference of its own.
  explicit ComPtr(T* pointer) noexcept : pointer_(pointer) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> ComPtr(const ComPtr<U>& other)
  noexcept : ComPtr(static_cast<T*>(other.get())) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() {
    if (pointer_ != nullptr) pointer_->Release();
  }

  // Takes over the reference that the caller holds.
  static ComPtr Adopt(T* pointer) noexcept {
    ComPtr result;
    result.pointer_ = pointer;
    return result;
  }

  T* get() const noexcept { return pointer_; }
  T* operator->() const noexcept { return pointer_; }
  T& operator*() const noexcept { return *pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

  void Reset() noexcept { *this = ComPtr(); }
  T* Detach() noexcept { return std::exchange(pointer_, nullptr); }
  // For out arguments: releases what was held.
  T** Out() noexcept {
    Reset();
    return &pointer_;
  }

 private:
  T* pointer_ = nullptr;
};

// Asks for an interface; null when the object is null or does not have it.
template <class T, class U>
ComPtr<T> Query(U* object) noexcept {
  void* found = nullptr;
  if (object == nullptr || Failed(object->QueryInterface(T::kIid, &found))) return nullptr;
  return ComPtr<T>::Adopt(static_cast<T*>(found));
}

template <class T, class U>
ComPtr<T> Query(const ComPtr<U>& object) noexcept {
  return Query<T>(object.get());
}

}  // namespace qv
