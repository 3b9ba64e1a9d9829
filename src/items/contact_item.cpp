#include "items/contact_item.h"

#include "items/item_objects.h"

namespace qv {
namespace {

std::u16string& NameOf(Organisation& organisation) {
  return organisation.name;
}
std::u16string& DepartmentOf(Organisation& organisation) {
  return organisation.department;
}
std::u16string& TitleOf(std::u16string& title) {
  return title;
}
std::u16string& AddressOf(Messenger& messenger) {
  return messenger.value;
}

}  // namespace

void Normalize(ContactContent& contact) {
  if (!contact.formattedName.empty()) return;
  for (const std::u16string* name :
       {&contact.familyName, &contact.givenName, &contact.additionalNames}) {
    if (name->empty()) continue;
    if (!contact.formattedName.empty()) contact.formattedName += u' ';
    contact.formattedName += *name;
  }
}

HRESULT ContactItem::Normalize() noexcept {
  return Guarded([&] {
    qv::Normalize(value_);
    return S_OK;
  });
}

HRESULT ContactItem::DropSideData() noexcept {
  value_.hidden.clear();
  return ItemObject::DropSideData();
}

HRESULT ContactItem::get_GivenName(BSTR* value) noexcept {
  return GetText(value_.givenName, value);
}

HRESULT ContactItem::put_GivenName(BSTR value) noexcept {
  return PutText(value_.givenName, value);
}

HRESULT ContactItem::get_FamilyName(BSTR* value) noexcept {
  return GetText(value_.familyName, value);
}

HRESULT ContactItem::put_FamilyName(BSTR value) noexcept {
  return PutText(value_.familyName, value);
}

HRESULT ContactItem::get_AdditionalNames(BSTR* value) noexcept {
  return GetText(value_.additionalNames, value);
}

HRESULT ContactItem::put_AdditionalNames(BSTR value) noexcept {
  return PutText(value_.additionalNames, value);
}

HRESULT ContactItem::get_NamePrefix(BSTR* value) noexcept {
  return GetText(value_.namePrefix, value);
}

HRESULT ContactItem::put_NamePrefix(BSTR value) noexcept {
  return PutText(value_.namePrefix, value);
}

HRESULT ContactItem::get_NameSuffix(BSTR* value) noexcept {
  return GetText(value_.nameSuffix, value);
}

HRESULT ContactItem::put_NameSuffix(BSTR value) noexcept {
  return PutText(value_.nameSuffix, value);
}

HRESULT ContactItem::get_FormattedName(BSTR* value) noexcept {
  return GetText(value_.formattedName, value);
}

HRESULT ContactItem::put_FormattedName(BSTR value) noexcept {
  return PutText(value_.formattedName, value);
}

HRESULT ContactItem::get_Nickname(BSTR* value) noexcept {
  return GetText(value_.nickname, value);
}

HRESULT ContactItem::put_Nickname(BSTR value) noexcept {
  return PutText(value_.nickname, value);
}

HRESULT ContactItem::get_Note(BSTR* value) noexcept {
  return GetText(value_.note, value);
}

HRESULT ContactItem::put_Note(BSTR value) noexcept {
  return PutText(value_.note, value);
}

HRESULT ContactItem::get_CompanyName(BSTR* value) noexcept {
  return GetFirst(value_.organisations, NameOf, value);
}

HRESULT ContactItem::put_CompanyName(BSTR value) noexcept {
  return PutFirst(value_.organisations, {}, NameOf, value);
}

HRESULT ContactItem::get_Department(BSTR* value) noexcept {
  return GetFirst(value_.organisations, DepartmentOf, value);
}

HRESULT ContactItem::put_Department(BSTR value) noexcept {
  return PutFirst(value_.organisations, {}, DepartmentOf, value);
}

HRESULT ContactItem::get_JobTitle(BSTR* value) noexcept {
  return GetFirst(value_.jobTitles, TitleOf, value);
}

HRESULT ContactItem::put_JobTitle(BSTR value) noexcept {
  return PutFirst(value_.jobTitles, {}, TitleOf, value);
}

HRESULT ContactItem::get_MessengerAddress(BSTR* value) noexcept {
  return GetFirst(value_.messengers, AddressOf, value);
}

HRESULT ContactItem::put_MessengerAddress(BSTR value) noexcept {
  return PutFirst(value_.messengers, {MessengerKind::Other, {}}, AddressOf, value);
}

ComPtr<IItemCommon> MakeContactItem(Contact contact) {
  return MakeObject<ContactItem>(std::move(contact));
}

Contact* ContactOf(IUnknown* item) {
  const ComPtr<IContactAccess> access = Query<IContactAccess>(item);
  return access ? &access->contact() : nullptr;
}

ItemFields* FieldsOf(IUnknown* item) {
  const ComPtr<IItemAccess> access = Query<IItemAccess>(item);
  return access ? &access->fields() : nullptr;
}

}  // namespace qv
