// Which grammar a component is written in, before the first of its values is decoded.
#pragma once

#include <string_view>

#include "support/vobject/dialect.h"
#include "support/vobject/lines.h"

namespace qv {

// Looks ahead from where `reader` stands, behind the BEGIN of an own component, to its END: its
// first VERSION decides, wherever it stands; those of components inside are their own. `modern`
// holds the first digits of modern versions. Without a VERSION the lines' looks decide: one that
// only the old grammar has, else one that only the modern has, else it is old. Decodes nothing;
// stops at the VERSION.
Dialect DialectAhead(LineReader reader, std::string_view own, std::string_view modern);

}  // namespace qv
