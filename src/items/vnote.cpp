#include "items/vnote.h"

#include "items/flat_text.h"
#include "items/nesting.h"
#include "platform/system/code_page.h"
#include "platform/system/service.h"

namespace qv {
namespace {

constexpr FlatForm kForm = {.component = "VNOTE", .version = "1.1", .wrapper = "VMEMO"};

constexpr FlatProperty<Note> kProperties[] = {{"BODY", FlatKind::Text, &Note::body}};

}  // namespace

std::optional<Note> ParseVNote(std::string_view text) {
  return ParseFlat(text, kForm, kProperties);
}

std::string WriteVNote(const Note& note) {
  return RenderFlat(note, note.fields.objModified, kForm, kProperties);
}

std::vector<std::string_view> VNotesIn(std::string_view text) {
  return SplitComponents(text, kForm.component);
}

Note NoteFromPlainText(std::string_view bytes) {
  Note note;
  note.body = Service<CodePages>::Get().Decode(bytes.substr(0, bytes.find('\0')), kAnsiPage);
  return note;
}

std::string PlainTextOf(const Note& note) {
  return Service<CodePages>::Get().Encode(note.body, kAnsiPage);
}

}  // namespace qv
