// `NoteItem`: a note behind its component interfaces.
#pragma once

#include "items/item_object.h"
#include "items/note.h"

namespace qv {

class NoteItem final : public ItemObject<Note, INoteItem, INoteAccess> {
 public:
  using ItemObject::ItemObject;

  Note& note() noexcept override { return value_; }

  // INoteItem
  HRESULT get_Body(BSTR* value) noexcept override;
  HRESULT put_Body(BSTR value) noexcept override;
  HRESULT ExtraPropertyCount(int32_t* count) noexcept override;
  HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept override;
  HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept override;
};

}  // namespace qv
