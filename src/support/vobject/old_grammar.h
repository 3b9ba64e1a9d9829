// Properties of a modern text put down in the old grammar, for texts that are written in it.
//
// What a reader of the new line sees is what one of the old line saw: the same group and name, the
// same parameters in the old spelling, the same value. The value goes out as any other text does
// (see encode.h), bytes in base64 stay bytes.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/vobject/dialect.h"
#include "support/vobject/encode.h"
#include "support/vobject/lines.h"

namespace qv {

// What the looks of a line say of the text that it stands in; nothing where both dialects could
// have it.
std::optional<Dialect> DialectByLook(const Line& line);

// A modern parameter in the old spelling: each word of a TYPE by itself, no quotes that only the
// modern grammar needs, URL for the kind of value that is called URI.
std::string OldParameter(const Parameter& parameter);

// The properties of a kind of text whose values are lists, with commas between them in the modern
// grammar, and what stands there in the old one.
struct ListProperties {
  std::span<const std::string_view> names;
  char16_t separator = u',';
};

// Writes the lines of `modern`, a property or a component from its BEGIN to its END, line break
// included. Of a component that says its VERSION itself, and of a line whose end of the header
// cannot be told or whose base64 is none, the bytes stay as they are.
void WriteInOldGrammar(std::string_view modern, const ListProperties& lists, LineWriter& writer);

// Writes an old line whose value must not stand there as it is, because it looks like an envelope
// (see encode.h). False, and nothing is written, for any other, and for more than one line.
bool WriteHidden(std::string_view line, LineWriter& writer);

}  // namespace qv
