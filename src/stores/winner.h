// Who wins where both sides have an item.
#pragma once

#include <optional>

#include "framework/store_contract.h"
#include "support/date_time.h"

namespace qv {

// The newer side, at one-second precision; nothing when a time is missing.
inline std::optional<RESV_CONFLTLASTMODIFIED> NewerSide(DATE pc, DATE phone) {
  if (pc == 0.0 || phone == 0.0) return std::nullopt;
  const int order = CompareDateTime(pc, phone);
  if (order == 0) return RESV_CONFLTLASTMODIFIED_IGNORE;
  return order > 0 ? RESV_CONFLTLASTMODIFIED_SERVERWIN : RESV_CONFLTLASTMODIFIED_CLIENTWIN;
}

}  // namespace qv
