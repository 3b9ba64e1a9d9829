// Extras: how a property that an item has no place for is kept, and written again.
//
// It is written as its bytes into a text of its own grammar, unless its value looks like an
// envelope, and into one of the other grammar as a line that says the same there. Whoever needs
// more of it than its bytes reads `BytesOf` with a LineReader and decodes with the extra's dialect.
#pragma once

#include <string>
#include <string_view>

#include "items/item.h"
#include "support/vobject/encode.h"
#include "support/vobject/lines.h"
#include "support/vobject/old_grammar.h"

namespace qv {

ExtraProperty ExtraOf(const Line& line, Dialect dialect);
// A component inside, from its BEGIN line on; `value` is what ReadNested gave for it.
ExtraProperty ExtraOf(std::string_view header, std::string_view value, Dialect dialect);

// Its line or lines as they stood, without the last line break.
std::string BytesOf(const ExtraProperty& extra);

// Extras leave the item, for rows and for other programs, as two texts. The first is the property,
// with a mark behind it where its looks alone would not tell the grammar and the form again:
//
//   marked := property [":" ("old" | "modern" | "bare" | "bare-modern" | "label")]
//
// A property's own text never ends in these, since a ':' stands in it between quotes alone. Texts
// without a mark, as rows of earlier versions are, are what they look like.
std::u16string MarkedProperty(const ExtraProperty& extra);
ExtraProperty ExtraFromMarked(std::u16string property, std::u16string value);

// Appends the extra to a text of the old grammar. `own` names the component that it stands in, as
// for ReadNested. False, with nothing written, for what would not be read as one property again,
// and for a label, which goes with its value.
bool WriteExtra(LineWriter& writer, const ExtraProperty& extra, std::string_view own,
                const ListProperties& lists = {});

}  // namespace qv
