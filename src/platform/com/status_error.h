// A failed status on its way up to the edge.
#pragma once

#include <exception>

#include "platform/com/types.h"

namespace qv {

class StatusError : public std::exception {
 public:
  explicit StatusError(HRESULT status) : status_(status) {}
  HRESULT status() const noexcept { return status_; }
  const char* what() const noexcept override { return "a component call failed"; }

 private:
  HRESULT status_;
};

// Passes a status that is no failure, throws one that is.
inline HRESULT Check(HRESULT status) {
  if (Failed(status)) throw StatusError(status);
  return status;
}

// Runs `body` (returning a status) and turns whatever leaves it into a status.
template <class Body>
HRESULT Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (const StatusError& error) {
    return error.status();
  } catch (...) {
    return E_FAIL;
  }
}

}  // namespace qv
