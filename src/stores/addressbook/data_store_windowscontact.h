// vCards onto the `.contact` files of the user's contacts folder.
#pragma once

#include "stores/addressbook/address_book_store.h"
#include "stores/addressbook/contact_files_book.h"

namespace qv {

class CDataStoreWindowsContact final : public AddressBookStore {
 public:
  CDataStoreWindowsContact()
      : AddressBookStore(kWindowsContactTraits, std::make_unique<ContactFilesBook>()) {}
};

}  // namespace qv
