// The two types of text that every bookmark store takes and gives, behind their converters.
#pragma once

#include <string_view>

#include "framework/store_base.h"
#include "items/converters.h"
#include "items/item_objects.h"

namespace qv {

inline constexpr std::u16string_view kBookmarkMimeType = u"text/x-vBookmark";
// The one name under which all bookmark stores are configured.
inline constexpr std::u16string_view kBookmarkConfig = u"DataStore.Bookmark";

// The values of an item of this kind. Throw StatusError(E_FAIL) for one of another kind, or none.
Bookmark& AsBookmark(const ComPtr<IItemCommon>& item);
Folder& AsFolder(const ComPtr<IItemCommon>& item);

class BookmarkTexts {
 public:
  // Throws StatusError when the bookmarks' converter cannot be made or started; the result tells of
  // the making of the folders' one.
  HRESULT Open(IEngineConfig* bag);

  // Null for another type, for a text that gives no item, and before `Open`. Types compare without
  // regard to case.
  ComPtr<IItemCommon> Parse(const IncomingText& text) const;
  // Throws StatusError.
  ComPtr<IUnknown> WriteBookmark(IUnknown* item) const;
  ComPtr<IUnknown> WriteFolder(IUnknown* item) const;

 private:
  ComPtr<IBookmarkConverter> bookmarks_;
  ComPtr<IFolderConverter> folders_;
};

}  // namespace qv
