// Which items of the PC the recorded ones of a tree are now. Pure but for the looks into files that
// it asks for.
//
// The PC's numbers stand for paths, and a path soon stands for another file: two exchange their
// names, one takes the place of another, a folder around it is renamed. What a recorded item is now
// is told by the file itself, as far as the file system knows one again, and by what it says.
#pragma once

#include <functional>

#include "host/engine/model.h"

namespace qv {

// What a bookmark of the PC says now; what is not known where it cannot be read.
using SaysOf = std::function<const Meaning&(int32_t pc)>;

// Gives each record the number that its item has now, or one that nobody has where another has
// taken its place. Only what does not lie where and as it was recorded is looked into.
void FollowFiles(Inventory& sides, const SaysOf& saysOf);

}  // namespace qv
