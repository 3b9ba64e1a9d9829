// A shared owner of one object, with a counter of its own beside it.
//
// Copies share the object and its counter; the last one to let go deletes both. Not for threads.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

namespace qv {

class NullPointerException : public std::exception {
 public:
  const char* what() const noexcept override {
    return "[CountedPtr Exception] Attempted to dereference null pointer";
  }
};

template <class T>
class CountedPtr {
 public:
  CountedPtr() = default;
  explicit CountedPtr(T* object) { *this = object; }
  CountedPtr(const CountedPtr& other) : object_(other.object_), count_(other.count_) {
    if (count_ != nullptr) ++*count_;
  }
  CountedPtr(CountedPtr&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)),
        count_(std::exchange(other.count_, nullptr)) {}
  ~CountedPtr() { Release(); }

  CountedPtr& operator=(CountedPtr other) noexcept {
    std::swap(object_, other.object_);
    std::swap(count_, other.count_);
    return *this;
  }

  // Takes the object over. Null leaves everything as it is, and so does the object already held.
  CountedPtr& operator=(T* object) {
    if (object == nullptr || object == object_) return *this;
    std::unique_ptr<T> taken(object);  // deleted should the counter not come about
    Release();
    count_ = std::make_unique<int32_t>(1).release();
    object_ = taken.release();
    return *this;
  }

  // Lets go; empty afterwards.
  void Release() {
    T* const object = std::exchange(object_, nullptr);
    int32_t* const count = std::exchange(count_, nullptr);
    if (count != nullptr && --*count == 0) Delete(count, object);
  }

  bool IsEmpty() const { return object_ == nullptr; }
  T* get() const { return object_; }

  // Both raise a `NullPointerException*`, newly allocated, when there is no object; whoever catches
  // it deletes it.
  T* operator->() const { return &**this; }
  T& operator*() const {
    if (object_ == nullptr) throw new NullPointerException;
    return *object_;
  }

 private:
  // Not inlined: the compiler would follow the counter over several copies and warn of uses behind
  // a deletion that the count rules out.
  [[gnu::noinline]] static void Delete(int32_t* count, T* object) {
    delete count;
    delete object;
  }

  T* object_ = nullptr;
  int32_t* count_ = nullptr;
};

}  // namespace qv
