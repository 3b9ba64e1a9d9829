#include "stores/bookmark/bookmark_texts.h"

#include "platform/com/class_factory.h"
#include "support/text.h"

namespace qv {

Bookmark& AsBookmark(const ComPtr<IItemCommon>& item) {
  Bookmark* bookmark = BookmarkOf(item.get());
  if (bookmark == nullptr) throw StatusError(E_FAIL);
  return *bookmark;
}

Folder& AsFolder(const ComPtr<IItemCommon>& item) {
  Folder* folder = FolderOf(item.get());
  if (folder == nullptr) throw StatusError(E_FAIL);
  return *folder;
}

HRESULT BookmarkTexts::Open(IEngineConfig* bag) {
  bookmarks_ = CreateInstance<IBookmarkConverter>(CLSID_BookmarkConverter);
  Check(bookmarks_->Initialize(bag));
  return CoCreateInstance(CLSID_FolderConverter, nullptr, CLSCTX_ALL, IFolderConverter::kIid,
                          reinterpret_cast<void**>(folders_.Out()));
}

ComPtr<IItemCommon> BookmarkTexts::Parse(const IncomingText& text) const {
  ComPtr<IUnknown> item;
  if (EqualsIgnoreCase(text.mimeType, kBookmarkMimeType)) {
    if (bookmarks_) Check(bookmarks_->FromText(text.cdata, item.Out()));
  } else if (EqualsIgnoreCase(text.mimeType, kFolderMimeType)) {
    if (folders_) Check(folders_->FromText(text.cdata, item.Out()));
  }
  return Query<IItemCommon>(item);
}

ComPtr<IUnknown> BookmarkTexts::WriteBookmark(IUnknown* item) const {
  if (!bookmarks_) throw StatusError(E_FAIL);
  ComPtr<IUnknown> text;
  Check(bookmarks_->ToText(item, text.Out()));
  return text;
}

ComPtr<IUnknown> BookmarkTexts::WriteFolder(IUnknown* item) const {
  if (!folders_) throw StatusError(E_FAIL);
  ComPtr<IUnknown> text;
  Check(folders_->ToText(item, text.Out()));
  return text;
}

}  // namespace qv
