// A contact as plain values. Kind numbers are part of the contract with stores and other programs'
// files; they stand in one table each.
#pragma once

#include <array>
#include <optional>

#include "items/item.h"

namespace qv {

enum class PhoneKind : int32_t {
  Assistant = 1,
  WorkFax = 2,
  Work = 3,
  Callback = 4,
  Car = 5,
  Company = 6,
  HomeFax = 7,
  Home = 8,
  Isdn = 9,
  Mobile = 10,
  OtherFax = 11,
  Other = 12,
  Pager = 13,
  Default = 14,
  Radio = 15,
  Telex = 16,
  TtyTdd = 17,
  Video = 21,
};
enum class MailKind : int32_t { Home = 2, Work = 3, Other = 4, Mobile = 5 };
enum class PlaceKind : int32_t { Home = 2, Work = 3, Other = 4 };  // web and postal addresses
enum class OrganisationKind : int32_t { Work = 2, Other = 3 };
enum class MessengerKind : int32_t {
  GoogleTalk = 1,
  Aim = 2,
  Msn = 3,
  Yahoo = 4,
  Skype = 5,
  Qq = 6,
  Icq = 7,
  Jabber = 8,
  Other = 9,
};
enum class EventKind : int32_t { Birthday = 1, Anniversary = 2 };

template <class Kind>
struct Kinded {
  Kind kind;
  std::u16string value;

  friend bool operator==(const Kinded&, const Kinded&) = default;
};
using Telephone = Kinded<PhoneKind>;
using Mail = Kinded<MailKind>;
using WebAddress = Kinded<PlaceKind>;
using Messenger = Kinded<MessengerKind>;

// Post office box, extended address, street, locality, region, postal code, country.
using AddressParts = std::array<std::u16string, 7>;

struct PostalAddress {
  PlaceKind kind = PlaceKind::Other;
  AddressParts parts;

  friend bool operator==(const PostalAddress&, const PostalAddress&) = default;
};

struct Organisation {
  OrganisationKind kind = OrganisationKind::Work;
  std::u16string name;
  std::u16string department;

  friend bool operator==(const Organisation&, const Organisation&) = default;
};

struct DatedEvent {
  EventKind kind = EventKind::Birthday;
  DATE date = 0.0;  // midnight, never shifted between zones

  friend bool operator==(const DatedEvent&, const DatedEvent&) = default;
};

// Everything of a contact that the PC side keeps: content only, no identifiers, no times.
struct ContactContent {
  std::u16string givenName;
  std::u16string familyName;
  std::u16string additionalNames;
  std::u16string namePrefix;
  std::u16string nameSuffix;
  std::u16string formattedName;
  std::u16string nickname;
  std::vector<Telephone> telephones;
  std::vector<Mail> mails;
  std::vector<WebAddress> webAddresses;
  // By position; a gap is a position without an address and is not written.
  std::vector<std::optional<PostalAddress>> addresses;
  std::vector<Organisation> organisations;
  std::vector<std::u16string> jobTitles;  // parallel to the organisations
  std::vector<Messenger> messengers;
  std::vector<DatedEvent> events;
  std::string photo;         // the picture's bytes
  std::u16string photoType;  // "JPEG", "PNG"; empty with an empty photo
  std::u16string note;
  std::vector<std::u16string> groupUids;
  std::vector<std::u16string> groupNames;

  friend bool operator==(const ContactContent&, const ContactContent&) = default;
};

struct Contact : ContactContent {
  ItemFields fields;
  std::vector<HiddenLabel> hidden;
};

// An empty formatted name becomes family, given and additional names, joined by blanks; nothing
// else is derived.
void Normalize(ContactContent& contact);

}  // namespace qv
