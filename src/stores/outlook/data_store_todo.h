// vCalendar tasks onto the tasks of one Outlook folder.
#pragma once

#include "stores/outlook/outlook_store.h"

namespace qv {

class CDataStoreTodo final : public OutlookStore {
 public:
  CDataStoreTodo() : OutlookStore(kTodoTraits) {}

  // The filter text of this store comes from no key of the bag: whoever holds the class sets it.
  using StoreBase::config;
};

}  // namespace qv
