// vCards onto the contacts of one Outlook folder.
#pragma once

#include "stores/outlook/outlook_store.h"

namespace qv {

class CDataStoreContact final : public OutlookStore {
 public:
  CDataStoreContact() : OutlookStore(kContactTraits) {}
};

}  // namespace qv
