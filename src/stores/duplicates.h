// How an incoming item finds the local one that it is, in a slow sync.
#pragma once

#include <functional>
#include <string_view>

#include "framework/store_base.h"
#include "stores/key_field_list.h"

namespace qv {

// The first waiting item that the incoming one is, with its uid and key text, goes into the answer
// and out of the list, once `writeStatus` has noted it as agreed. S_OK with or without one. Throws
// what keeps it from its end.
HRESULT MatchIncoming(KeyFieldList& waiting, const ItemFields& incoming, std::u16string_view parent,
                      const std::function<HRESULT(const StatusRow& row)>& writeStatus,
                      DuplicateAnswer& answer);

}  // namespace qv
