#include "items/item_objects.h"
#include "items/stamp.h"
#include "platform/com/status_error.h"
#include "stores/importexport/csv_fields.h"

namespace qv {
namespace {

constexpr std::u16string_view kNames[] = {u"Memo"};

ComPtr<IItemCommon> ReadMemo(const FieldTexts& texts, const GroupTable&) {
  Note note;
  note.body = texts[0];
  StampNew(note.fields);
  return MakeNoteItem(std::move(note));
}

std::vector<FieldCell> WriteMemo(IUnknown* item, const GroupTable&) {
  const Note* note = NoteOf(item);
  if (note == nullptr) throw StatusError(E_FAIL);
  if (note->body.empty()) return {};
  return {{0, 0, note->body}};
}

}  // namespace

const CsvFieldSet kMemoFields = {kNames, ReadMemo, WriteMemo};

}  // namespace qv
