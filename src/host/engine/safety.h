// The safety stop: what looks like a lost or swapped side rather than somebody's work.
#pragma once

#include <functional>
#include <string>

#include "host/engine/plan.h"

namespace qv {

struct SafetyRules {
  bool allowMassDelete = false;
  bool allowMassAdd = false;
  bool isFirst = false;  // no sync with this phone went through yet: it may add whatever there is
  // What people call the item of a step; asked for the first few that are named.
  std::function<std::string(const PlanStep& step)> nameOf = {};
};

// Why the plan must not run, with counts, the first few names and the way out; empty when it may.
std::string SafetyStop(const SyncPlan& plan, const Inventory& sides, std::string_view store,
                       const SafetyRules& rules = {});

}  // namespace qv
