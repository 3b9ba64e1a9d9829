#include "items/note_item.h"

#include "items/item_objects.h"

namespace qv {

HRESULT NoteItem::get_Body(BSTR* value) noexcept {
  return GetText(value_.body, value);
}

HRESULT NoteItem::put_Body(BSTR value) noexcept {
  return PutText(value_.body, value);
}

HRESULT NoteItem::ExtraPropertyCount(int32_t* count) noexcept {
  return CountOf(value_.fields.extras, count);
}

HRESULT NoteItem::GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept {
  return GetExtraEntry(value_.fields.extras, index, name, value);
}

HRESULT NoteItem::AddExtraProperty(BSTR name, BSTR value) noexcept {
  return AddExtraEntry(value_.fields.extras, name, value);
}

ComPtr<IItemCommon> MakeNoteItem(Note note) {
  return MakeObject<NoteItem>(std::move(note));
}

Note* NoteOf(IUnknown* item) {
  const ComPtr<INoteAccess> access = Query<INoteAccess>(item);
  return access ? &access->note() : nullptr;
}

}  // namespace qv
