// The folders of a tree among the links: which item lies in which folder, and which folder of one
// side is which of the other. Pure: nothing here looks at a file or asks a store.
#pragma once

#include <functional>
#include <string>

#include "host/engine/model.h"

namespace qv {

// Fills in the three parents of all links, as the links are now.
void FindParents(Inventory& sides);

// The PC's identifier of the folder that a phone's item lies in; empty where it has none yet.
std::u16string PcPlaceOf(const Inventory& sides, const ItemLink& link);

// Folders of one name in one place are the same. `nameOf` gives the name of a folder of the PC.
using FolderName = std::function<std::u16string(const PcItem& folder)>;
void LinkFoldersByName(Inventory& sides, const FolderName& nameOf);

// A folder that is gone from the PC is the one in which most of its items are now. Whether there
// was one.
bool LinkMovedFolders(Inventory& sides);

}  // namespace qv
