// The one argument of the store contract that is no component pointer.
//
// `SetOutlookMgr` takes the address of the manager's `OutlookManager` dressed as an IUnknown
// pointer: it is never queried and never counted, and the manager keeps owning it. These two
// functions are the only places that dress and undress it.
#pragma once

#include "pim/outlook_manager.h"

namespace qv {

inline IUnknown* ToUnknownArgument(OutlookManager* manager) {
  return reinterpret_cast<IUnknown*>(manager);
}

inline OutlookManager* FromUnknownArgument(IUnknown* argument) {
  return reinterpret_cast<OutlookManager*>(argument);
}

}  // namespace qv
