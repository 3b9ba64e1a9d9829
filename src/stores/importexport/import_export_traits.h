// The members of the family side by side: every difference that is a value is a cell here.
#pragma once

#include <span>
#include <string_view>

#include "framework/store_base.h"
#include "platform/com/component_ids.h"
#include "stores/importexport/csv_fields.h"
#include "stores/text_types.h"

namespace qv {

struct ImportExportTraits {
  StoreIdentity identity;
  std::span<const TextType> textTypes;  // the types that are parsed, and those that `Get` hands out
  std::u16string_view refusedType;      // `Get` answers E_FAIL for it
  HRESULT noOutputResult;               // what it answers for any other type that gives no text
  CLSID converter;
  // The job is read before the store's configuration is loaded, and its file type is not looked at.
  bool checksJobFirst;
  bool stampsAtGet;  // an item is made new each time it is handed out, not once when it is read
};

// What one store of CSV files has of its own.
struct CsvTraits {
  ImportExportTraits frame;
  const CsvFieldSet& fields;
  std::u16string_view filePrefix;    // the name of an exported file begins with it
  std::u16string_view emptyMessage;  // logged where an export has nothing to write
};

constexpr StoreIdentity FileStoreIdentity(std::u16string_view className,
                                          std::u16string_view configName) {
  return {.family = StoreFamily::ImportExport,
          .className = className,
          .configName = configName,
          .logsInitialize = false,
          .isFileStore = true};
}

inline constexpr CsvTraits kCsvContactTraits = {
    .frame = {.identity = FileStoreIdentity(u"CDataStoreIECSVContact", u"DataStore.IECSVContact"),
              .textTypes = kContactTypes,
              .refusedType = {},
              .noOutputResult = S_OK,
              .converter = CLSID_VCardConverter,
              .checksJobFirst = false,
              .stampsAtGet = false},
    .fields = kContactFields,
    .filePrefix = u"\\Deskhub_contact_",
    .emptyMessage = u"[QVSyncEngine] No contact data synchronized",
};

inline constexpr CsvTraits kCsvCalendarTraits = {
    .frame = {.identity = FileStoreIdentity(u"CDataStoreIECSVCalendar", u"DataStore.IECSVSchedule"),
              .textTypes = kCalendarTypes,
              .refusedType = {},
              .noOutputResult = S_OK,
              .converter = CLSID_VCalendarConverter,
              .checksJobFirst = false,
              .stampsAtGet = false},
    .fields = kCalendarFields,
    .filePrefix = u"\\Deskhub_calendar_",
    .emptyMessage = u"[QVSyncEngine] No calendar data synchronized",
};

inline constexpr CsvTraits kCsvMemoTraits = {
    .frame = {.identity = FileStoreIdentity(u"CDataStoreIECSVMemo", u"DataStore.IECSVNote"),
              .textTypes = kNoteTypes,
              .refusedType = {},
              .noOutputResult = E_FAIL,
              .converter = CLSID_VNoteConverter,
              .checksJobFirst = false,
              .stampsAtGet = false},
    .fields = kMemoFields,
    .filePrefix = u"\\Deskhub_memo_",
    .emptyMessage = u"[QVSyncEngine] No memo data synchronized",
};

inline constexpr ImportExportTraits kVCardFileTraits = {
    .identity = FileStoreIdentity(u"CDataStoreIEVCard", u"DataStore.IEVCard"),
    .textTypes = kContactTypes,
    .refusedType = u"text/vcard",
    .noOutputResult = S_OK,
    .converter = CLSID_VCardConverter,
    .checksJobFirst = true,
    .stampsAtGet = true,
};

inline constexpr ImportExportTraits kVCalFileTraits = {
    .identity = FileStoreIdentity(u"CDataStoreIEVCal", u"DataStore.IEVCal"),
    .textTypes = kCalendarTypes,
    .refusedType = u"text/vcalendar",
    .noOutputResult = S_OK,
    .converter = CLSID_VCalendarConverter,
    .checksJobFirst = true,
    .stampsAtGet = true,
};

}  // namespace qv
