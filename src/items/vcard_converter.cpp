#include "items/vcard_converter.h"

#include "items/item_objects.h"
#include "items/vcard.h"
#include "platform/com/edge.h"

namespace qv {

// No key of the bag bears on vCard text.
HRESULT VCardConverter::Initialize(IUnknown* pIConfig) noexcept {
  return Slot(Requires(pIConfig), Outs(), [] { return S_OK; });
}

HRESULT VCardConverter::Parse(IUnknown* cdata, IUnknown** item) noexcept {
  return Slot(Requires(cdata), Outs(item), [&] {
    std::optional<Contact> contact = ParseVCard(ContentBytes(cdata));
    return contact ? HandOut(item, MakeContactItem(*std::move(contact))) : S_OK;
  });
}

HRESULT VCardConverter::Serialize(IUnknown* item, IUnknown** cdata) noexcept {
  return Slot(Requires(item), Outs(cdata), [&] {
    const Contact* contact = ContactOf(item);
    if (contact == nullptr) return E_FAIL;
    return HandOut(cdata, MakeContentData(WriteVCard(*contact)));
  });
}

HRESULT VCardConverter::FromText(IUnknown* cdata, IUnknown** item) noexcept {
  return Parse(cdata, item);
}

HRESULT VCardConverter::ToText(IUnknown* item, IUnknown** cdata) noexcept {
  return Serialize(item, cdata);
}

}  // namespace qv
