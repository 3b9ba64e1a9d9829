// What people call the items that a plan or a report speaks of.
#pragma once

#include <string>

#include "host/engine/pc_side.h"
#include "host/engine/phone_folder.h"
#include "host/engine/plan.h"
#include "host/engine/sync.h"

namespace qv {

// The name of a person, the title of an appointment, the first line of a note: UTF-8, in one line;
// empty for an item without one.
std::string NameOfItem(IItemCommon& item);

// The names of one store's items, looked up when they are asked for: what was read for the plan is
// known, anything else is one look at one side. What cannot be read has no name.
class ItemNames {
 public:
  ItemNames(PcStore& pc, const PhoneFolder& phone, const Inventory& sides)
      : pc_(pc), phone_(phone), sides_(sides) {}

  std::string Of(const ItemLink& link) const;
  // Fills in the names of failures and conflicts, once the plan is through.
  void NameAll(StoreReport& report) const;

 private:
  std::string OnPc(const PcItem& item) const;
  std::string OnPhone(const PhoneItem& item) const;

  PcStore& pc_;
  const PhoneFolder& phone_;
  const Inventory& sides_;
};

}  // namespace qv
