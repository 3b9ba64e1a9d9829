// The stored form of a note's content, and its name for a person.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/note.h"

namespace qv {

std::string PackNote(const Note& note);
// Nothing, with the reason and the place in `why`, for bytes that are damaged or of a newer form.
std::optional<Note> UnpackNote(std::string_view bytes, std::string& why);

// What a list shows for a note: its first line that is not blank, at most 200 characters of it.
std::u16string DisplayName(const Note& note);

}  // namespace qv
