// What of an item does not reach the other side: told in the run that brings the item there, and
// not again at each change of it.
//
// What the phone sends and the PC has no field for is kept beside the PC's item and comes back to
// that phone, and to no other one.
#pragma once

#include <string>
#include <vector>

#include "host/engine/engine_record.h"
#include "host/engine/item_names.h"
#include "host/engine/pc_side.h"
#include "host/engine/plan.h"
#include "host/engine/sync.h"

namespace qv {

class Parts {
 public:
  Parts(PcStore& pc, EngineRecord& record, std::string phoneId, const Inventory& sides,
        const ItemNames& names)
      : pc_(pc), record_(record), phoneId_(std::move(phoneId)), sides_(sides), names_(names) {}

  // Before anything is done.
  void Find(const SyncPlan& plan);
  // Of the steps that were done, as the record has it; of a plan all.
  void Tell(StoreReport& report, bool isPlan);

 private:
  void OfPhone(const PlanStep& step);
  void OfOtherPhones(const SyncPlan& plan);

  struct Found {
    PlanStep step;
    PartNote note;
  };
  PcStore& pc_;
  EngineRecord& record_;
  std::string phoneId_;
  const Inventory& sides_;
  const ItemNames& names_;
  std::vector<Found> found_;
};

}  // namespace qv
