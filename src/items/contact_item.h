// `ContactItem`: a contact behind its component interfaces.
#pragma once

#include "items/contact.h"
#include "items/item_object.h"

namespace qv {

class ContactItem final : public ItemObject<Contact, IContactItem, IContactAccess> {
 public:
  using ItemObject::ItemObject;

  Contact& contact() noexcept override { return value_; }

  HRESULT DropSideData() noexcept override;

  // IContactItem
  HRESULT get_GivenName(BSTR* value) noexcept override;
  HRESULT put_GivenName(BSTR value) noexcept override;
  HRESULT get_FamilyName(BSTR* value) noexcept override;
  HRESULT put_FamilyName(BSTR value) noexcept override;
  HRESULT get_AdditionalNames(BSTR* value) noexcept override;
  HRESULT put_AdditionalNames(BSTR value) noexcept override;
  HRESULT get_NamePrefix(BSTR* value) noexcept override;
  HRESULT put_NamePrefix(BSTR value) noexcept override;
  HRESULT get_NameSuffix(BSTR* value) noexcept override;
  HRESULT put_NameSuffix(BSTR value) noexcept override;
  HRESULT get_FormattedName(BSTR* value) noexcept override;
  HRESULT put_FormattedName(BSTR value) noexcept override;
  HRESULT get_Nickname(BSTR* value) noexcept override;
  HRESULT put_Nickname(BSTR value) noexcept override;
  HRESULT get_CompanyName(BSTR* value) noexcept override;
  HRESULT put_CompanyName(BSTR value) noexcept override;
  HRESULT get_Department(BSTR* value) noexcept override;
  HRESULT put_Department(BSTR value) noexcept override;
  HRESULT get_JobTitle(BSTR* value) noexcept override;
  HRESULT put_JobTitle(BSTR value) noexcept override;
  HRESULT get_MessengerAddress(BSTR* value) noexcept override;
  HRESULT put_MessengerAddress(BSTR value) noexcept override;
  HRESULT get_Note(BSTR* value) noexcept override;
  HRESULT put_Note(BSTR value) noexcept override;
  HRESULT TelephoneCount(int32_t* count) noexcept override;
  HRESULT GetTelephone(int32_t index, int32_t* kind, BSTR* number) noexcept override;
  HRESULT AddTelephone(int32_t kind, BSTR number) noexcept override;
  HRESULT MailCount(int32_t* count) noexcept override;
  HRESULT GetMail(int32_t index, int32_t* kind, BSTR* address) noexcept override;
  HRESULT AddMail(int32_t kind, BSTR address) noexcept override;
  HRESULT WebAddressCount(int32_t* count) noexcept override;
  HRESULT GetWebAddress(int32_t index, int32_t* kind, BSTR* address) noexcept override;
  HRESULT AddWebAddress(int32_t kind, BSTR address) noexcept override;
  HRESULT MessengerCount(int32_t* count) noexcept override;
  HRESULT GetMessenger(int32_t index, int32_t* kind, BSTR* address) noexcept override;
  HRESULT AddMessenger(int32_t kind, BSTR address) noexcept override;
  HRESULT OrganisationCount(int32_t* count) noexcept override;
  HRESULT GetOrganisation(int32_t index, int32_t* kind, BSTR* name,
                          BSTR* department) noexcept override;
  HRESULT AddOrganisation(int32_t kind, BSTR name, BSTR department) noexcept override;
  HRESULT JobTitleCount(int32_t* count) noexcept override;
  HRESULT GetJobTitle(int32_t index, BSTR* title) noexcept override;
  HRESULT AddJobTitle(BSTR title) noexcept override;
  HRESULT EventCount(int32_t* count) noexcept override;
  HRESULT GetEvent(int32_t index, int32_t* kind, DATE* date) noexcept override;
  HRESULT AddEvent(int32_t kind, DATE date) noexcept override;
  HRESULT GroupUidCount(int32_t* count) noexcept override;
  HRESULT GetGroupUid(int32_t index, BSTR* uid) noexcept override;
  HRESULT AddGroupUid(BSTR uid) noexcept override;
  HRESULT GroupNameCount(int32_t* count) noexcept override;
  HRESULT GetGroupName(int32_t index, BSTR* name) noexcept override;
  HRESULT AddGroupName(BSTR name) noexcept override;
  HRESULT AddressCount(int32_t* count) noexcept override;
  HRESULT HasAddress(int32_t position, BOOL* present) noexcept override;
  HRESULT GetAddress(int32_t position, int32_t* kind, BSTR* postOffice, BSTR* extended,
                     BSTR* street, BSTR* locality, BSTR* region, BSTR* postalCode,
                     BSTR* country) noexcept override;
  HRESULT AddAddress(int32_t kind, BSTR postOffice, BSTR extended, BSTR street, BSTR locality,
                     BSTR region, BSTR postalCode, BSTR country) noexcept override;
  HRESULT SetAddress(int32_t position, BSTR postOffice, BSTR extended, BSTR street, BSTR locality,
                     BSTR region, BSTR postalCode, BSTR country) noexcept override;
  HRESULT GetPhoto(uint8_t* buffer, int32_t size, int32_t* length) noexcept override;
  HRESULT PutPhoto(const uint8_t* bytes, int32_t size, BSTR type) noexcept override;
  HRESULT get_PhotoType(BSTR* value) noexcept override;
  HRESULT ExtraCount(int32_t* count) noexcept override;
  HRESULT GetExtra(int32_t index, BSTR* property, BSTR* value) noexcept override;
  HRESULT AddExtra(BSTR property, BSTR value) noexcept override;
  HRESULT HiddenCount(int32_t* count) noexcept override;
  HRESULT GetHidden(int32_t index, BSTR* property, BSTR* value, BSTR* extended,
                    BOOL* iscustom) noexcept override;
  HRESULT AddHidden(BSTR property, BSTR value, BSTR extended, BOOL iscustom) noexcept override;
  HRESULT Normalize() noexcept override;
};

}  // namespace qv
