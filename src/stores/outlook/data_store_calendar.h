// vCalendar events onto the appointments of one Outlook folder.
#pragma once

#include "stores/outlook/outlook_store.h"

namespace qv {

class CDataStoreCalendar final : public OutlookStore {
 public:
  CDataStoreCalendar() : OutlookStore(kCalendarTraits) {}
};

}  // namespace qv
