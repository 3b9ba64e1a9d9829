#include "pim/note_content.h"

#include <algorithm>

#include "pim/content_form.h"

namespace qv {
namespace {

// Persisted: the tags, see contact_content.cpp.
constexpr auto kFields = [](auto& pack, auto& note) { pack.Text(1, note.body); };

}  // namespace

std::string PackNote(const Note& note) {
  return Pack(note, kFields);
}

std::optional<Note> UnpackNote(std::string_view bytes, std::string& why) {
  return Unpack<Note>(bytes, kFields, "note", why);
}

std::u16string DisplayName(const Note& note) {
  constexpr size_t kLongest = 200;
  constexpr std::u16string_view kBlanks = u" \t\r\n\u00A0";
  const std::u16string_view body = note.body;
  const size_t begin = body.find_first_not_of(kBlanks);
  if (begin == body.npos) return {};
  const std::u16string_view line = body.substr(begin, body.find_first_of(u"\r\n", begin) - begin);
  return std::u16string(line.substr(0, kLongest));
}

}  // namespace qv
