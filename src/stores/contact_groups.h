// The groups of contacts in files: names there, identifiers everywhere else.
#pragma once

#include <string>

#include "items/item_interfaces.h"
#include "syncdb/sync_session.h"

namespace qv {

// A card as it was read from a file gets the identifiers of the groups that it names. `item` is
// what the card says so far.
void TakeGroupNames(std::string& card, IUnknown* item, const SyncSession& session);
// A card on its way into a file gets the names of the contact's groups.
void GiveGroupNames(std::string& card, IUnknown* item, const SyncSession& session);

}  // namespace qv
