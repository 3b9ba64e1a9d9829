// `BookmarkItem`: a bookmark behind its component interfaces.
#pragma once

#include "items/bookmark.h"
#include "items/item_object.h"

namespace qv {

class BookmarkItem final : public ItemObject<Bookmark, IBookmarkItem, IBookmarkAccess> {
 public:
  using ItemObject::ItemObject;

  Bookmark& bookmark() noexcept override { return value_; }

  // IBookmarkItem
  HRESULT GetURL(BSTR* value) noexcept override;
  HRESULT SetURL(BSTR value) noexcept override;
  HRESULT GetTitle(BSTR* value) noexcept override;
  HRESULT SetTitle(BSTR value) noexcept override;
  HRESULT ExtraPropertyCount(int32_t* count) noexcept override;
  HRESULT GetExtraProperty(int32_t index, BSTR* name, BSTR* value) noexcept override;
  HRESULT AddExtraProperty(BSTR name, BSTR value) noexcept override;
};

}  // namespace qv
