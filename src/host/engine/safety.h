// The safety stop: what looks like a lost or swapped side rather than somebody's work.
#pragma once

#include <string>

#include "host/engine/plan.h"

namespace qv {

// Why the plan must not run, with both counts and the way out; empty when it may.
std::string SafetyStop(const SyncPlan& plan, const Inventory& sides, std::string_view store);

}  // namespace qv
