#include "pim/contact_content.h"

#include "pim/content_form.h"

namespace qv {
namespace {

constexpr auto kKindedParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartText(entry.value);
};
constexpr auto kTextParts = [](auto& pack, auto& text) { pack.PartText(text); };
constexpr auto kAddressParts = [](auto& pack, auto& entry) {
  if (!pack.PartPresent(entry)) return;
  pack.PartKind(entry->kind);
  for (auto& part : entry->parts) pack.PartText(part);
};
constexpr auto kOrganisationParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartText(entry.name);
  pack.PartText(entry.department);
};
constexpr auto kEventParts = [](auto& pack, auto& entry) {
  pack.PartKind(entry.kind);
  pack.PartDate(entry.date);
};

// Persisted: the tags. A new field takes the next one, so that the bytes, and with them the content
// hashes, of contacts without it stay as they are.
constexpr auto kFields = [](auto& pack, auto& contact) {
  pack.Text(1, contact.givenName);
  pack.Text(2, contact.familyName);
  pack.Text(3, contact.additionalNames);
  pack.Text(4, contact.namePrefix);
  pack.Text(5, contact.nameSuffix);
  pack.Text(6, contact.formattedName);
  pack.Text(7, contact.nickname);
  pack.List(8, contact.telephones, kKindedParts);
  pack.List(9, contact.mails, kKindedParts);
  pack.List(10, contact.webAddresses, kKindedParts);
  pack.List(11, contact.addresses, kAddressParts);
  pack.List(12, contact.organisations, kOrganisationParts);
  pack.List(13, contact.jobTitles, kTextParts);
  pack.List(14, contact.messengers, kKindedParts);
  pack.List(15, contact.events, kEventParts);
  pack.Bytes(16, contact.photo);
  pack.Text(17, contact.photoType);
  pack.Text(18, contact.note);
  pack.List(19, contact.groupUids, kTextParts);
  pack.List(20, contact.groupNames, kTextParts);
};

std::u16string FullName(const ContactContent& contact) {
  std::u16string name = contact.givenName;
  if (!name.empty() && !contact.familyName.empty()) name.push_back(u' ');
  return name + contact.familyName;
}

template <class Entry>
std::u16string FirstText(const std::vector<Entry>& entries, std::u16string Entry::*text) {
  for (const Entry& entry : entries) {
    if (!(entry.*text).empty()) return entry.*text;
  }
  return {};
}

}  // namespace

std::string PackContact(const ContactContent& contact) {
  return Pack(contact, kFields);
}

std::optional<ContactContent> UnpackContact(std::string_view bytes, std::string& why) {
  return Unpack<ContactContent>(bytes, kFields, "contact", why);
}

std::u16string DisplayName(const ContactContent& contact) {
  std::u16string candidates[] = {
      contact.formattedName,
      FullName(contact),
      contact.nickname,
      FirstText(contact.organisations, &Organisation::name),
      FirstText(contact.mails, &Mail::value),
      FirstText(contact.telephones, &Telephone::value),
  };
  for (std::u16string& candidate : candidates) {
    if (!candidate.empty()) return std::move(candidate);
  }
  return {};
}

}  // namespace qv
