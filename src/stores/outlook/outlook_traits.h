// The members of the Outlook family side by side: every difference that is a value is a cell here.
#pragma once

#include <string>
#include <string_view>

#include "framework/store_base.h"
#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/outlook_manager.h"
#include "syncdb/status_table.h"

namespace qv {

struct OutlookTraits {
  StoreIdentity identity;
  std::u16string_view logTag;    // "[DataStoreContact]"
  std::u16string_view mimeType;  // the type that is parsed, and the one that `Get` hands out
  OlObjectClass kind;
  CLSID itemClass;
  CLSID converter;
  const StatusTableInfo* status;
  bool hasHiddenLabels;    // keeps rows in HiddenDB
  bool softDeleteRefused;  // a soft delete does nothing and answers E_FAIL
  HRESULT noOutputResult;  // what `Get` answers for a type that gives no text
  std::u16string (*keyText)(IUnknown* item);
};

inline constexpr OutlookTraits kContactTraits = {
    .identity = {StoreFamily::Pim, u"CDataStoreContact", u"DataStore.Contact"},
    .logTag = u"[DataStoreContact]",
    .mimeType = u"text/x-vCard",
    .kind = olContact,
    .itemClass = CLSID_ContactItem,
    .converter = CLSID_VCardConverter,
    .status = &kContactStatus,
    .hasHiddenLabels = true,
    .softDeleteRefused = false,
    .noOutputResult = S_OK,
    .keyText =
        [](IUnknown* item) {
          const Contact* contact = ContactOf(item);
          return contact == nullptr ? std::u16string() : MakeContactKey(*contact);
        },
};

}  // namespace qv
