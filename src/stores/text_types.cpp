#include "stores/text_types.h"

#include <algorithm>

#include "items/item_objects.h"
#include "items/vnote.h"
#include "platform/com/status_error.h"
#include "support/text.h"

namespace qv {

const TextType* FindIncoming(std::span<const TextType> types, std::u16string_view mimeType) {
  const auto found = std::ranges::find_if(
      types, [&](const TextType& type) { return EqualsIgnoreCase(type.mimeType, mimeType); });
  return found == types.end() ? nullptr : &*found;
}

const TextType* FindOutgoing(std::span<const TextType> types, std::u16string_view mimeType) {
  const auto found = std::ranges::find(types, mimeType, &TextType::mimeType);
  return found == types.end() ? nullptr : &*found;
}

ComPtr<IItemCommon> ReadTyped(std::span<const TextType> types, std::u16string_view mimeType,
                              IConverter& converter, IUnknown* cdata) {
  const TextType* type = FindIncoming(types, mimeType);
  if (type == nullptr) return nullptr;
  if (type->read != nullptr) return type->read(cdata);
  ComPtr<IUnknown> item;
  Check(converter.Parse(cdata, item.Out()));
  return Query<IItemCommon>(item);
}

ComPtr<IUnknown> WriteTyped(const TextType& type, IConverter& converter, IUnknown* item) {
  if (type.write != nullptr) return type.write(item);
  ComPtr<IUnknown> cdata;
  Check(converter.Serialize(item, cdata.Out()));
  return cdata;
}

ComPtr<IItemCommon> ReadPlainNote(IUnknown* cdata) {
  return MakeNoteItem(NoteFromPlainText(ContentBytes(cdata)));
}

ComPtr<IUnknown> WritePlainNote(IUnknown* item) {
  const Note* note = NoteOf(item);
  if (note == nullptr) throw StatusError(E_FAIL);
  return MakeContentData(PlainTextOf(*note));
}

}  // namespace qv
