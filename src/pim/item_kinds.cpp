#include "pim/item_kinds.h"

#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/contact_content.h"

namespace qv {
namespace {

bool PackContactItem(IUnknown* item, PackedItem& packed) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) return false;
  packed = {PackContact(*contact), MakeContactKey(*contact), DisplayName(*contact)};
  return true;
}

ComPtr<IItemCommon> UnpackContactItem(std::string_view content, std::string& why) {
  std::optional<ContactContent> unpacked = UnpackContact(content, why);
  if (!unpacked) return nullptr;
  Contact contact;
  static_cast<ContactContent&>(contact) = std::move(*unpacked);
  return MakeContactItem(std::move(contact));
}

constexpr ItemKind kKinds[] = {
    {olContact, "contact", u"Contacts", PackContactItem, UnpackContactItem},
};

}  // namespace

std::span<const ItemKind> ItemKinds() {
  return kKinds;
}

const ItemKind* FindItemKind(OlObjectClass kind) {
  for (const ItemKind& row : kKinds) {
    if (row.kind == kind) return &row;
  }
  return nullptr;
}

}  // namespace qv
