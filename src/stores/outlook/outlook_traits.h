// The members of the Outlook family side by side: every difference that is a value is a cell here.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "framework/store_base.h"
#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/outlook_manager.h"
#include "stores/key_field_list.h"
#include "stores/outlook/filter_rules.h"
#include "stores/text_types.h"
#include "syncdb/status_table.h"

namespace qv {

struct OutlookTraits {
  StoreIdentity identity;
  std::u16string_view logTag;           // "[DataStoreContact]"
  std::u16string_view duplicationEnd;   // logged behind a walk for duplicates; empty for nothing
  std::span<const TextType> textTypes;  // the types that are parsed, and those that `Get` hands out
  OlObjectClass kind;
  CLSID itemClass;
  CLSID converter;
  const StatusTableInfo* status;
  MatchRule match;
  std::u16string (*keyText)(IUnknown* item);  // null where no key text is compared
  FilterTest (*filter)(std::u16string_view);  // null for a store without a filter
  bool recurs;                                // has series with exceptions
  bool hasHiddenLabels;                       // keeps rows in HiddenDB
  bool softDeleteRefused;                     // a soft delete does nothing and answers E_FAIL
  bool rowFailureEndsDelete;                  // otherwise only the last row's result counts
  bool emptyFolderEndsSlowSync;               // before the map is read
  HRESULT noOutputResult;                     // what `Get` answers for a type that gives no text
};

inline constexpr OutlookTraits kContactTraits = {
    .identity = {StoreFamily::Pim, u"CDataStoreContact", u"DataStore.Contact"},
    .logTag = u"[DataStoreContact]",
    .duplicationEnd = {},
    .textTypes = kContactTypes,
    .kind = olContact,
    .itemClass = CLSID_ContactItem,
    .converter = CLSID_VCardConverter,
    .status = &kContactStatus,
    .match = MatchRule::UidThenKeyBothUids,
    .keyText = [](IUnknown* item) { return KeyTextOf(ContactOf(item), MakeContactKey); },
    .filter = nullptr,
    .recurs = false,
    .hasHiddenLabels = true,
    .softDeleteRefused = false,
    .rowFailureEndsDelete = false,
    .emptyFolderEndsSlowSync = false,
    .noOutputResult = S_OK,
};

inline constexpr OutlookTraits kCalendarTraits = {
    .identity = {StoreFamily::Pim, u"CDataStoreCalendar", u"DataStore.Schedule"},
    .logTag = u"[DataStoreCalendar]",
    .duplicationEnd = {},
    .textTypes = kCalendarTypes,
    .kind = olAppointment,
    .itemClass = CLSID_CalendarItem,
    .converter = CLSID_VCalendarConverter,
    .status = &kCalendarStatus,
    .match = MatchRule::UidOrKey,
    .keyText = [](IUnknown* item) { return KeyTextOf(CalendarOf(item), MakeCalendarKey); },
    .filter = DateWindowTest,
    .recurs = true,
    .hasHiddenLabels = false,
    .softDeleteRefused = true,
    .rowFailureEndsDelete = true,
    .emptyFolderEndsSlowSync = true,
    .noOutputResult = E_FAIL,
};

inline constexpr OutlookTraits kTodoTraits = {
    .identity = {.family = StoreFamily::Pim,
                 .className = u"CDataStoreTodo",
                 .configName = u"DataStore.Task",
                 .duplicationStart = u"[CDataStoreTodo] ProcessDuplication Start"},
    .logTag = u"[DataStoreTodo]",
    .duplicationEnd = u"[CDataStoreTodo] ProcessDuplication End Succefully",
    .textTypes = kCalendarTypes,
    .kind = olTask,
    .itemClass = CLSID_CalendarItem,
    .converter = CLSID_VCalendarConverter,
    .status = &kTaskStatus,
    .match = MatchRule::UidOnly,
    .keyText = nullptr,
    .filter = OpenTaskTest,
    .recurs = true,
    .hasHiddenLabels = false,
    .softDeleteRefused = true,
    .rowFailureEndsDelete = true,
    .emptyFolderEndsSlowSync = true,
    .noOutputResult = E_FAIL,
};

inline constexpr OutlookTraits kNoteTraits = {
    .identity = {StoreFamily::Pim, u"CDataStoreNote", u"DataStore.Note"},
    .logTag = u"[DataStoreNote]",
    .duplicationEnd = {},
    .textTypes = kNoteTypes,
    .kind = olNote,
    .itemClass = CLSID_NoteItem,
    .converter = CLSID_VNoteConverter,
    .status = &kNoteStatus,
    .match = MatchRule::UidOrKey,
    .keyText = [](IUnknown* item) { return KeyTextOf(NoteOf(item), MakeNoteKey); },
    .filter = nullptr,
    .recurs = false,
    .hasHiddenLabels = false,
    .softDeleteRefused = true,
    .rowFailureEndsDelete = true,
    .emptyFolderEndsSlowSync = true,
    .noOutputResult = E_FAIL,
};

}  // namespace qv
