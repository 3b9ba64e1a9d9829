// Class identifiers of the snapshot objects. Persisted contract.
#pragma once

#include "platform/com/guid.h"

namespace qv {

inline constexpr CLSID CLSID_StatusDBItem = "{E5150374-78CE-403A-BDFF-68AE008E7E20}"_guid;
inline constexpr CLSID CLSID_StatusDBItemTree = "{02DA789E-FBD0-4ED7-BAB7-CE1A8057DF8B}"_guid;

}  // namespace qv
