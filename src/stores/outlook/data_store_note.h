// vNotes and plain texts onto the notes of one Outlook folder.
#pragma once

#include "stores/outlook/outlook_store.h"

namespace qv {

class CDataStoreNote final : public OutlookStore {
 public:
  CDataStoreNote() : OutlookStore(kNoteTraits) {}
};

}  // namespace qv
