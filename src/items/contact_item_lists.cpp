// The lists of a contact item: counts, entries by index, additions.
#include <algorithm>
#include <array>
#include <cmath>

#include "items/contact_item.h"
#include "items/item_slots.h"
#include "support/date_time.h"

namespace qv {
namespace {

// Text outs filled one by one; what was handed out is taken back when one fails.
HRESULT HandOutAll(std::initializer_list<std::pair<BSTR*, std::u16string_view>> texts) {
  std::vector<Bstr> made;
  made.reserve(texts.size());
  for (const auto& text : texts) made.emplace_back(text.second);
  size_t i = 0;
  for (const auto& text : texts) *text.first = made[i++].Detach();
  return S_OK;
}

AddressParts PartsOf(const std::array<BSTR, 7>& texts) {
  AddressParts parts;
  std::transform(texts.begin(), texts.end(), parts.begin(),
                 [](BSTR text) { return std::u16string(View(text)); });
  return parts;
}

constexpr int32_t kLastPosition = static_cast<int32_t>(kMaxAddressPositions) - 1;

}  // namespace

HRESULT ContactItem::TelephoneCount(int32_t* count) noexcept {
  return CountOf(value_.telephones, count);
}

HRESULT ContactItem::GetTelephone(int32_t index, int32_t* kind, BSTR* number) noexcept {
  return GetKinded(value_.telephones, index, kind, number);
}

HRESULT ContactItem::AddTelephone(int32_t kind, BSTR number) noexcept {
  return AddKinded(value_.telephones, kind, number);
}

HRESULT ContactItem::MailCount(int32_t* count) noexcept {
  return CountOf(value_.mails, count);
}

HRESULT ContactItem::GetMail(int32_t index, int32_t* kind, BSTR* address) noexcept {
  return GetKinded(value_.mails, index, kind, address);
}

HRESULT ContactItem::AddMail(int32_t kind, BSTR address) noexcept {
  return AddKinded(value_.mails, kind, address);
}

HRESULT ContactItem::WebAddressCount(int32_t* count) noexcept {
  return CountOf(value_.webAddresses, count);
}

HRESULT ContactItem::GetWebAddress(int32_t index, int32_t* kind, BSTR* address) noexcept {
  return GetKinded(value_.webAddresses, index, kind, address);
}

HRESULT ContactItem::AddWebAddress(int32_t kind, BSTR address) noexcept {
  return AddKinded(value_.webAddresses, kind, address);
}

HRESULT ContactItem::MessengerCount(int32_t* count) noexcept {
  return CountOf(value_.messengers, count);
}

HRESULT ContactItem::GetMessenger(int32_t index, int32_t* kind, BSTR* address) noexcept {
  return GetKinded(value_.messengers, index, kind, address);
}

HRESULT ContactItem::AddMessenger(int32_t kind, BSTR address) noexcept {
  return AddKinded(value_.messengers, kind, address);
}

HRESULT ContactItem::JobTitleCount(int32_t* count) noexcept {
  return CountOf(value_.jobTitles, count);
}

HRESULT ContactItem::GetJobTitle(int32_t index, BSTR* title) noexcept {
  return GetEntry(value_.jobTitles, index, title);
}

HRESULT ContactItem::AddJobTitle(BSTR title) noexcept {
  return AddEntry(value_.jobTitles, title);
}

HRESULT ContactItem::GroupUidCount(int32_t* count) noexcept {
  return CountOf(value_.groupUids, count);
}

HRESULT ContactItem::GetGroupUid(int32_t index, BSTR* uid) noexcept {
  return GetEntry(value_.groupUids, index, uid);
}

HRESULT ContactItem::AddGroupUid(BSTR uid) noexcept {
  return AddEntry(value_.groupUids, uid);
}

HRESULT ContactItem::GroupNameCount(int32_t* count) noexcept {
  return CountOf(value_.groupNames, count);
}

HRESULT ContactItem::GetGroupName(int32_t index, BSTR* name) noexcept {
  return GetEntry(value_.groupNames, index, name);
}

HRESULT ContactItem::AddGroupName(BSTR name) noexcept {
  return AddEntry(value_.groupNames, name);
}

HRESULT ContactItem::OrganisationCount(int32_t* count) noexcept {
  return CountOf(value_.organisations, count);
}

HRESULT ContactItem::GetOrganisation(int32_t index, int32_t* kind, BSTR* name,
                                     BSTR* department) noexcept {
  return Slot(Requires(), Outs(kind, name, department), [&] {
    if (!HasIndex(value_.organisations, index)) return E_INVALIDARG;
    const Organisation& entry = value_.organisations[static_cast<size_t>(index)];
    HandOutAll({{name, entry.name}, {department, entry.department}});
    return HandOut(kind, static_cast<int32_t>(entry.kind));
  });
}

HRESULT ContactItem::AddOrganisation(int32_t kind, BSTR name, BSTR department) noexcept {
  return Guarded([&] {
    const auto organisationKind = static_cast<OrganisationKind>(kind);
    if (!IsKind(organisationKind)) return E_INVALIDARG;
    value_.organisations.push_back(
        {organisationKind, std::u16string(View(name)), std::u16string(View(department))});
    return S_OK;
  });
}

HRESULT ContactItem::EventCount(int32_t* count) noexcept {
  return CountOf(value_.events, count);
}

HRESULT ContactItem::GetEvent(int32_t index, int32_t* kind, DATE* date) noexcept {
  return Slot(Requires(), Outs(kind, date), [&] {
    if (!HasIndex(value_.events, index)) return E_INVALIDARG;
    const DatedEvent& entry = value_.events[static_cast<size_t>(index)];
    HandOut(date, entry.date);
    return HandOut(kind, static_cast<int32_t>(entry.kind));
  });
}

// The time of day is cut off. A date that is none gives E_INVALIDARG.
HRESULT ContactItem::AddEvent(int32_t kind, DATE date) noexcept {
  return Guarded([&] {
    const auto eventKind = static_cast<EventKind>(kind);
    const bool isDate = std::isfinite(date) && DateTimeValue(date).GetYear() > 0;
    if (!IsKind(eventKind) || !isDate) return E_INVALIDARG;
    value_.events.push_back({eventKind, std::trunc(date)});
    return S_OK;
  });
}

HRESULT ContactItem::AddressCount(int32_t* count) noexcept {
  return CountOf(value_.addresses, count);
}

HRESULT ContactItem::HasAddress(int32_t position, BOOL* present) noexcept {
  return Slot(Requires(), Outs(present), [&] {
    const auto& list = value_.addresses;
    return HandOut(present, ToBool(HasIndex(list, position) &&
                                   list[static_cast<size_t>(position)].has_value()));
  });
}

HRESULT ContactItem::GetAddress(int32_t position, int32_t* kind, BSTR* postOffice, BSTR* extended,
                                BSTR* street, BSTR* locality, BSTR* region, BSTR* postalCode,
                                BSTR* country) noexcept {
  return Slot(Requires(),
              Outs(kind, postOffice, extended, street, locality, region, postalCode, country), [&] {
                const auto& list = value_.addresses;
                if (!HasIndex(list, position) || !list[static_cast<size_t>(position)])
                  return E_INVALIDARG;
                const PostalAddress& entry = *list[static_cast<size_t>(position)];
                HandOutAll({{postOffice, entry.parts[0]},
                            {extended, entry.parts[1]},
                            {street, entry.parts[2]},
                            {locality, entry.parts[3]},
                            {region, entry.parts[4]},
                            {postalCode, entry.parts[5]},
                            {country, entry.parts[6]}});
                return HandOut(kind, static_cast<int32_t>(entry.kind));
              });
}

HRESULT ContactItem::AddAddress(int32_t kind, BSTR postOffice, BSTR extended, BSTR street,
                                BSTR locality, BSTR region, BSTR postalCode,
                                BSTR country) noexcept {
  return Guarded([&] {
    const auto placeKind = static_cast<PlaceKind>(kind);
    if (!IsKind(placeKind)) return E_INVALIDARG;
    value_.addresses.push_back(PostalAddress{
        placeKind, PartsOf({postOffice, extended, street, locality, region, postalCode, country})});
    return S_OK;
  });
}

HRESULT ContactItem::SetAddress(int32_t position, BSTR postOffice, BSTR extended, BSTR street,
                                BSTR locality, BSTR region, BSTR postalCode,
                                BSTR country) noexcept {
  return Guarded([&] {
    if (position < 0 || position > kLastPosition) return E_INVALIDARG;
    AddressParts parts =
        PartsOf({postOffice, extended, street, locality, region, postalCode, country});
    auto& list = value_.addresses;
    const size_t index = static_cast<size_t>(position);
    if (index >= list.size()) list.resize(index + 1);
    if (!list[index]) list[index].emplace();
    list[index]->parts = std::move(parts);
    return S_OK;
  });
}

HRESULT ContactItem::GetPhoto(uint8_t* buffer, int32_t size, int32_t* length) noexcept {
  return Slot(Requires(), Outs(length), [&] {
    const std::string& photo = value_.photo;
    const auto photoSize = static_cast<int32_t>(photo.size());
    if (buffer != nullptr) {
      if (size < photoSize) return E_INVALIDARG;
      std::copy(photo.begin(), photo.end(), buffer);
    }
    return HandOut(length, photoSize);
  });
}

// No bytes take the picture away; no type means JPEG.
HRESULT ContactItem::PutPhoto(const uint8_t* bytes, int32_t size, BSTR type) noexcept {
  if (bytes == nullptr && size != 0) return E_POINTER;
  if (size < 0) return E_INVALIDARG;
  return Guarded([&] {
    std::u16string name(View(type));
    if (size == 0) {
      name.clear();
    } else if (name.empty()) {
      name = u"JPEG";
    }
    value_.photo.assign(bytes, bytes + size);
    value_.photoType = std::move(name);
    return S_OK;
  });
}

HRESULT ContactItem::get_PhotoType(BSTR* value) noexcept {
  return GetText(value_.photoType, value);
}

HRESULT ContactItem::ExtraCount(int32_t* count) noexcept {
  return CountOf(value_.fields.extras, count);
}

HRESULT ContactItem::GetExtra(int32_t index, BSTR* property, BSTR* value) noexcept {
  return GetExtraEntry(value_.fields.extras, index, property, value);
}

HRESULT ContactItem::AddExtra(BSTR property, BSTR value) noexcept {
  return AddExtraEntry(value_.fields.extras, property, value);
}

HRESULT ContactItem::HiddenCount(int32_t* count) noexcept {
  return CountOf(value_.hidden, count);
}

HRESULT ContactItem::GetHidden(int32_t index, BSTR* property, BSTR* value, BSTR* extended,
                               BOOL* iscustom) noexcept {
  return Slot(Requires(), Outs(property, value, extended, iscustom), [&] {
    if (!HasIndex(value_.hidden, index)) return E_INVALIDARG;
    const HiddenLabel& label = value_.hidden[static_cast<size_t>(index)];
    HandOutAll({{property, label.property}, {value, label.value}, {extended, label.extended}});
    return HandOut(iscustom, ToBool(label.isCustom));
  });
}

HRESULT ContactItem::AddHidden(BSTR property, BSTR value, BSTR extended, BOOL iscustom) noexcept {
  return Guarded([&] {
    value_.hidden.push_back({std::u16string(View(property)), std::u16string(View(value)),
                             std::u16string(View(extended)), iscustom != kFalse});
    return S_OK;
  });
}

}  // namespace qv
