// vCards onto the address book of Outlook Express.
#pragma once

#include "stores/addressbook/address_book_store.h"
#include "stores/addressbook/express_book.h"

namespace qv {

class CDataStoreOutlookExp final : public AddressBookStore {
 public:
  CDataStoreOutlookExp() : AddressBookStore(kOutlookExpTraits, std::make_unique<ExpressBook>()) {}
};

}  // namespace qv
