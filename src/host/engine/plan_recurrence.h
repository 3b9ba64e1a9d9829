// What series and their exceptions add to a plan. Pure.
#pragma once

#include "host/engine/plan.h"

namespace qv {

// Marks the steps of exceptions, and settles what a step on one asks of the other:
// - an exception goes with its series, and comes back with it;
// - one that the phone changed, and whose series it deleted, is kept there (`orphaned`);
// - a deleted exception is noted in its series, which goes to the phone again;
// - a series whose exceptions name the phone's uid takes that uid over first.
void PlanRecurrence(const Inventory& sides, SyncPlan& plan);

}  // namespace qv
