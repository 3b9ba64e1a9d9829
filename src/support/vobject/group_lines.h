// The groups of a card: identifiers between the engine and the stores, names in files.
//
// A card carries "X-GRPUUID:a;b", a file one "X-GROUP:name" line for each. Names are UTF-8 and not
// escaped; a line end within one would break the card and becomes a blank.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

// From a group's name to its identifier, or the other way; empty for one that is not known.
using GroupLookup = std::function<std::u16string(std::u16string_view)>;

// Adds the identifiers of the names to a card that is read from a file, as a line before its end.
// The names stay.
void AddGroupUids(std::string& card, const std::vector<std::u16string>& names,
                  const GroupLookup& uidOf);

// Puts names in the place of the line of identifiers in a card that goes to a file. Identifiers
// that are not known are lost.
void PutGroupNames(std::string& card, const std::vector<std::u16string>& uids,
                   const GroupLookup& nameOf);

bool HasGroupNames(std::string_view card);

}  // namespace qv
