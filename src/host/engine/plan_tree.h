// What the folders of a tree ask of a plan.
//
// A pair goes into the folder of the side that moved it. A folder is there for whatever is in it:
// one that was deleted on one side comes back where something in it was changed or added on the
// other. A folder that goes from the PC goes with its content.
#pragma once

#include "host/engine/plan.h"

namespace qv {

// The links' parents must be filled in.
void PlanTree(const Inventory& sides, SyncPlan& plan);

}  // namespace qv
