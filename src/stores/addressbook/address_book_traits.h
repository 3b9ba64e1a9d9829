// The members of the address-book family side by side: every difference that is a value is a cell
// here.
#pragma once

#include <memory>
#include <string_view>

#include "framework/store_base.h"
#include "stores/addressbook/address_book.h"
#include "syncdb/number_map.h"
#include "syncdb/shared_tables.h"
#include "syncdb/status_table.h"

namespace qv {

struct AddressBookTraits {
  StoreIdentity identity;
  // The system's major version that the book is of; on another the store does not come up.
  bool (*isOfVersion)(uint32_t major);
  std::u16string_view otherVersion;  // logged then
  DatastoreType rows;
  const NumberMapInfo* map;
  const StatusTableInfo* status;
};

inline constexpr uint32_t kFirstVersionOfFiles = 6;

inline constexpr AddressBookTraits kWindowsContactTraits = {
    .identity = {StoreFamily::AddressBook, u"CDataStoreWindowsContact",
                 u"DataStore.WindowsContact"},
    .isOfVersion = [](uint32_t major) { return major >= kFirstVersionOfFiles; },
    .otherVersion = u"[QVSyncEngine] OS Version less than Window Vista(6.0)",
    .rows = DatastoreType::WindowsContacts,
    .map = &kWindowsContactMap,
    .status = &kWindowsContactStatus,
};

inline constexpr AddressBookTraits kOutlookExpTraits = {
    .identity = {StoreFamily::AddressBook, u"CDataStoreOutlookExp", u"DataStore.OutlookExpress"},
    .isOfVersion = [](uint32_t major) { return major < kFirstVersionOfFiles; },
    .otherVersion = u"[QVSyncEngine] OS version is greater than or equal to Window Vista(6.0)",
    .rows = DatastoreType::OutlookExpress,
    .map = &kOutlookExpMap,
    .status = &kOutlookExpStatus,
};

}  // namespace qv
