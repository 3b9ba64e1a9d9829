// Any bytes into the vNote converter. What was read must be written, read again as the same note,
// and written as the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "extras.h"
#include "items/vnote.h"
#include "marked.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::string_view note : qv::VNotesIn(text)) {
    if (IsMarked(note)) continue;
    Require(qv::ParseVNote(note).has_value());
    Require(qv::VNotesIn(note).size() == 1);
  }
  if (const std::optional<qv::Note> read = qv::ParseVNote(text)) {
    const std::string written = qv::WriteVNote(*read);
    const std::optional<qv::Note> again = qv::ParseVNote(written);
    Require(again.has_value());
    Require(read->body == again->body);
    Require(read->fields.objUid == again->fields.objUid);
    Require(read->fields.objModified == again->fields.objModified);
    Require(Written(read->fields.extras, "VNOTE") == Written(again->fields.extras, "VNOTE"));
    Require(qv::WriteVNote(*again) == written);
  }
  qv::PlainTextOf(qv::NoteFromPlainText(text));
  return 0;
}
