#include "items/contact_item.h"

#include "items/item_slots.h"

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

HRESULT ContactItem::get_SourceUid(BSTR* value) noexcept {
  return GetText(contact_.fields.sourceUid, value);
}

HRESULT ContactItem::put_SourceUid(BSTR value) noexcept {
  return PutText(contact_.fields.sourceUid, value);
}

HRESULT ContactItem::get_ParentUid(BSTR* value) noexcept {
  return GetText(contact_.fields.parentUid, value);
}

HRESULT ContactItem::put_ParentUid(BSTR value) noexcept {
  return PutText(contact_.fields.parentUid, value);
}

HRESULT ContactItem::get_Modified(DATE* value) noexcept {
  return GetDate(contact_.fields.modified, value);
}

HRESULT ContactItem::put_Modified(DATE value) noexcept {
  contact_.fields.modified = value;
  return S_OK;
}

HRESULT ContactItem::get_ObjUid(BSTR* value) noexcept {
  return GetText(contact_.fields.objUid, value);
}

HRESULT ContactItem::put_ObjUid(BSTR value) noexcept {
  return PutText(contact_.fields.objUid, value);
}

HRESULT ContactItem::get_ObjModified(DATE* value) noexcept {
  return GetDate(contact_.fields.objModified, value);
}

HRESULT ContactItem::put_ObjModified(DATE value) noexcept {
  contact_.fields.objModified = value;
  return S_OK;
}

HRESULT ContactItem::get_KeyFields(BSTR* value) noexcept {
  return GetText(contact_.fields.keyFields, value);
}

HRESULT ContactItem::put_KeyFields(BSTR value) noexcept {
  return PutText(contact_.fields.keyFields, value);
}

HRESULT ContactItem::get_Md5(BSTR* value) noexcept {
  return GetText(contact_.fields.md5, value);
}

HRESULT ContactItem::put_Md5(BSTR value) noexcept {
  return PutText(contact_.fields.md5, value);
}

HRESULT ContactItem::DropSideData() noexcept {
  contact_.fields.extras.clear();
  contact_.hidden.clear();
  return S_OK;
}

HRESULT ContactItem::get_GivenName(BSTR* value) noexcept {
  return GetText(contact_.givenName, value);
}

HRESULT ContactItem::put_GivenName(BSTR value) noexcept {
  return PutText(contact_.givenName, value);
}

HRESULT ContactItem::get_FamilyName(BSTR* value) noexcept {
  return GetText(contact_.familyName, value);
}

HRESULT ContactItem::put_FamilyName(BSTR value) noexcept {
  return PutText(contact_.familyName, value);
}

HRESULT ContactItem::get_AdditionalNames(BSTR* value) noexcept {
  return GetText(contact_.additionalNames, value);
}

HRESULT ContactItem::put_AdditionalNames(BSTR value) noexcept {
  return PutText(contact_.additionalNames, value);
}

HRESULT ContactItem::get_NamePrefix(BSTR* value) noexcept {
  return GetText(contact_.namePrefix, value);
}

HRESULT ContactItem::put_NamePrefix(BSTR value) noexcept {
  return PutText(contact_.namePrefix, value);
}

HRESULT ContactItem::get_NameSuffix(BSTR* value) noexcept {
  return GetText(contact_.nameSuffix, value);
}

HRESULT ContactItem::put_NameSuffix(BSTR value) noexcept {
  return PutText(contact_.nameSuffix, value);
}

HRESULT ContactItem::get_FormattedName(BSTR* value) noexcept {
  return GetText(contact_.formattedName, value);
}

HRESULT ContactItem::put_FormattedName(BSTR value) noexcept {
  return PutText(contact_.formattedName, value);
}

HRESULT ContactItem::get_Nickname(BSTR* value) noexcept {
  return GetText(contact_.nickname, value);
}

HRESULT ContactItem::put_Nickname(BSTR value) noexcept {
  return PutText(contact_.nickname, value);
}

HRESULT ContactItem::get_Note(BSTR* value) noexcept {
  return GetText(contact_.note, value);
}

HRESULT ContactItem::put_Note(BSTR value) noexcept {
  return PutText(contact_.note, value);
}

HRESULT ContactItem::get_CompanyName(BSTR* value) noexcept {
  return GetFirst(contact_.organisations, NameOf, value);
}

HRESULT ContactItem::put_CompanyName(BSTR value) noexcept {
  return PutFirst(contact_.organisations, {}, NameOf, value);
}

HRESULT ContactItem::get_Department(BSTR* value) noexcept {
  return GetFirst(contact_.organisations, DepartmentOf, value);
}

HRESULT ContactItem::put_Department(BSTR value) noexcept {
  return PutFirst(contact_.organisations, {}, DepartmentOf, value);
}

HRESULT ContactItem::get_JobTitle(BSTR* value) noexcept {
  return GetFirst(contact_.jobTitles, TitleOf, value);
}

HRESULT ContactItem::put_JobTitle(BSTR value) noexcept {
  return PutFirst(contact_.jobTitles, {}, TitleOf, value);
}

HRESULT ContactItem::get_MessengerAddress(BSTR* value) noexcept {
  return GetFirst(contact_.messengers, AddressOf, value);
}

HRESULT ContactItem::put_MessengerAddress(BSTR value) noexcept {
  return PutFirst(contact_.messengers, {MessengerKind::Other, {}}, AddressOf, value);
}

ComPtr<IItemCommon> MakeContactItem(Contact contact) {
  return MakeObject<ContactItem>(std::move(contact));
}

Contact* ContactOf(IUnknown* item) {
  const ComPtr<IContactAccess> access = Query<IContactAccess>(item);
  return access ? &access->contact() : nullptr;
}

ItemFields* FieldsOf(IUnknown* item) {
  Contact* contact = ContactOf(item);
  return contact == nullptr ? nullptr : &contact->fields;
}

}  // namespace qv
