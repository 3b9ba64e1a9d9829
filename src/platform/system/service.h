// How a platform service is reached and replaced.
//
// A service is a class with virtual operations and a static `Default()`, the Linux one. Code calls
// `Service<Clock>::Get()`; whoever controls the process (a test, the command line) puts another
// object in its place for a while with `ScopedService`. One thread, like everything here.
#pragma once

#include <utility>

namespace qv {

template <class S>
class Service {
 public:
  static S& Get() { return slot() != nullptr ? *slot() : S::Default(); }
  // Null goes back to the default. Returns what stood there.
  static S* Replace(S* service) { return std::exchange(slot(), service); }

 private:
  static S*& slot() {
    static S* current = nullptr;
    return current;
  }
};

template <class S>
class ScopedService {
 public:
  explicit ScopedService(S& service) : previous_(Service<S>::Replace(&service)) {}
  ScopedService(const ScopedService&) = delete;
  ScopedService& operator=(const ScopedService&) = delete;
  ~ScopedService() { Service<S>::Replace(previous_); }

 private:
  S* previous_;
};

}  // namespace qv
