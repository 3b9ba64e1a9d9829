#include "items/bookmark_item.h"
#include "items/calendar_item.h"
#include "items/contact_item.h"
#include "items/content_data.h"
#include "items/folder_document.h"
#include "items/folder_item.h"
#include "items/note_item.h"
#include "items/text_converter.h"
#include "items/vbookmark.h"
#include "items/vcalendar.h"
#include "items/vcard.h"
#include "items/vnote.h"
#include "platform/com/class_factory.h"
#include "platform/com/component_ids.h"

namespace qv {
namespace {

using VCardConverter =
    TextConverter<IVCardConverter, ParseVCard, WriteVCard, MakeContactItem, ContactOf>;
using VCalendarConverter = TextConverter<IVCalendarConverter, ParseVCalendar, WriteVCalendar,
                                         MakeCalendarItem, CalendarOf>;
using VNoteConverter = TextConverter<IVNoteConverter, ParseVNote, WriteVNote, MakeNoteItem, NoteOf>;
using BookmarkConverter =
    TextConverter<IBookmarkConverter, ParseVBookmark, WriteVBookmark, MakeBookmarkItem, BookmarkOf>;
using FolderConverter = TextConverter<IFolderConverter, ParseFolderDocument, WriteFolderDocument,
                                      MakeFolderItem, FolderOf>;

}  // namespace

void RegisterItemClasses() {
  RegisterClass(CLSID_ContactItem, &CreateClass<ContactItem>);
  RegisterClass(CLSID_CalendarItem, &CreateClass<CalendarItem>);
  RegisterClass(CLSID_NoteItem, &CreateClass<NoteItem>);
  RegisterClass(CLSID_BookmarkItem, &CreateClass<BookmarkItem>);
  RegisterClass(CLSID_FolderItem, &CreateClass<FolderItem>);
  RegisterClass(CLSID_ContentData, &CreateClass<ContentData>);
  RegisterClass(CLSID_VCardConverter, &CreateClass<VCardConverter>);
  RegisterClass(CLSID_VCalendarConverter, &CreateClass<VCalendarConverter>);
  RegisterClass(CLSID_VNoteConverter, &CreateClass<VNoteConverter>);
  RegisterClass(CLSID_BookmarkConverter, &CreateClass<BookmarkConverter>);
  RegisterClass(CLSID_FolderConverter, &CreateClass<FolderConverter>);
}

}  // namespace qv
