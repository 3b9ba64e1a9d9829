// What a store leaves alone in the phone's folder, and when it must not even begin beside it.
#pragma once

#include <span>
#include <string>

#include "host/engine/phone_folder.h"
#include "host/store_kinds.h"

namespace qv {

// "a folder", for a person; and for programs "folder".
const char* LeftWords(LeftKind kind);
const char* LeftKey(LeftKind kind);

// Why no sync may run here: the folder holds the same kind of items in a form that is not read, and
// another program would not see those that are written beside them. With the way out; empty where
// there are none.
std::string FormStop(const StoreKind& kind, const std::string& folder,
                     std::span<const LeftAlone> left);

}  // namespace qv
