// The item objects: plain values behind their component interfaces.
#pragma once

#include <string>
#include <string_view>

#include "items/bookmark.h"
#include "items/calendar.h"
#include "items/contact.h"
#include "items/item_interfaces.h"
#include "items/note.h"
#include "platform/com/com_object.h"

namespace qv {

// A new item object with the given values.
ComPtr<IItemCommon> MakeContactItem(Contact contact);
ComPtr<IItemCommon> MakeCalendarItem(Calendar calendar);
ComPtr<IItemCommon> MakeNoteItem(Note note);
ComPtr<IItemCommon> MakeBookmarkItem(Bookmark bookmark);
ComPtr<IItemCommon> MakeFolderItem(Folder folder);
// The values of an item object, or null when it is none of this kind and module.
Contact* ContactOf(IUnknown* item);
Calendar* CalendarOf(IUnknown* item);
Note* NoteOf(IUnknown* item);
Bookmark* BookmarkOf(IUnknown* item);
Folder* FolderOf(IUnknown* item);
// The common fields of any item object of this module; null for a foreign one.
ItemFields* FieldsOf(IUnknown* item);

// A new `ContentData`.
ComPtr<IContentData> MakeContentData(std::string_view bytes);
// The bytes of any `cdata` object. Throws StatusError: E_FAIL for an object that is none.
std::string ContentBytes(IUnknown* cdata);

// Registers the items, ContentData and the converters with the class factory.
void RegisterItemClasses();

}  // namespace qv
