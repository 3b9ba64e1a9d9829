// vNote 1.1 text (IrMC) from and to notes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/note.h"

namespace qv {

// The first whole note of the text; nothing when there is none, or when it holds more properties
// than any note has. A UTF-16 text needs its mark. Linear in the text's size; never throws on its
// account.
std::optional<Note> ParseVNote(std::string_view text);

// CR LF line ends, UTF-8. Extras are written back.
std::string WriteVNote(const Note& note);

// The notes of a text, one view each from BEGIN to the line end behind END.
std::vector<std::string_view> VNotesIn(std::string_view text);

// A note from and to plain text in the ANSI code page. A text ends at its first NUL; characters
// that the page lacks become "?". A plain text has neither identifier nor time.
Note NoteFromPlainText(std::string_view bytes);
std::string PlainTextOf(const Note& note);

}  // namespace qv
