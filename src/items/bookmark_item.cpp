#include "items/bookmark_item.h"

#include "items/item_objects.h"

namespace qv {

HRESULT BookmarkItem::GetURL(BSTR* value) noexcept {
  return GetText(value_.url, value);
}

HRESULT BookmarkItem::SetURL(BSTR value) noexcept {
  return PutText(value_.url, value);
}

HRESULT BookmarkItem::GetTitle(BSTR* value) noexcept {
  return GetText(value_.title, value);
}

HRESULT BookmarkItem::SetTitle(BSTR value) noexcept {
  return PutText(value_.title, value);
}

HRESULT BookmarkItem::ExtraPropertyCount(int32_t* count) noexcept {
  return CountOf(value_.fields.extras, count);
}

HRESULT BookmarkItem::GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept {
  return GetExtraEntry(value_.fields.extras, index, name, value);
}

HRESULT BookmarkItem::AddExtraProperty(BSTR name, BSTR value) noexcept {
  return AddExtraEntry(value_.fields.extras, name, value);
}

ComPtr<IItemCommon> MakeBookmarkItem(Bookmark bookmark) {
  return MakeObject<BookmarkItem>(std::move(bookmark));
}

Bookmark* BookmarkOf(IUnknown* item) {
  const ComPtr<IBookmarkAccess> access = Query<IBookmarkAccess>(item);
  return access ? &access->bookmark() : nullptr;
}

}  // namespace qv
