#include "items/vcard_tables.h"

#include <algorithm>
#include <array>

#include "support/text.h"
#include "support/vobject/lines.h"

namespace qv {
namespace {

constexpr int32_t Number(MessengerKind kind) {
  return static_cast<int32_t>(kind);
}
constexpr int32_t Number(EventKind kind) {
  return static_cast<int32_t>(kind);
}

using enum VCardField;
constexpr bool kForeign = true;
constexpr bool kList = true;

constexpr VCardProperty kProperties[] = {
    {"BEGIN", Begin},
    {"END", End},
    {"VERSION", Version},
    {"PRODID", Producer},
    {"UID", Uid},
    {"REV", Revision},
    {"N", Name},
    {"FN", Text, 0, &ContactContent::formattedName},
    {"X-NICKNAME", Text, 0, &ContactContent::nickname, !kForeign, kList},
    {"NICKNAME", Text, 0, &ContactContent::nickname, kForeign, kList},
    {"NOTE", Text, 0, &ContactContent::note},
    {"TEL", Telephone},
    {"EMAIL", Mail},
    {"URL", Web},
    {"ADR", Address},
    {"ORG", Organisation},
    {"TITLE", Title},
    {"X-IMPP", Messenger},
    {"IMPP", Messenger, 0, nullptr, kForeign},
    {"X-GOOGLE-TALK", Messenger, Number(MessengerKind::GoogleTalk), nullptr, kForeign},
    {"X-AIM", Messenger, Number(MessengerKind::Aim), nullptr, kForeign},
    {"X-MSN", Messenger, Number(MessengerKind::Msn), nullptr, kForeign},
    {"X-YAHOO", Messenger, Number(MessengerKind::Yahoo), nullptr, kForeign},
    {"X-SKYPE", Messenger, Number(MessengerKind::Skype), nullptr, kForeign},
    {"X-SKYPE-USERNAME", Messenger, Number(MessengerKind::Skype), nullptr, kForeign},
    {"X-QQ", Messenger, Number(MessengerKind::Qq), nullptr, kForeign},
    {"X-ICQ", Messenger, Number(MessengerKind::Icq), nullptr, kForeign},
    {"X-JABBER", Messenger, Number(MessengerKind::Jabber), nullptr, kForeign},
    {"BDAY", Event, Number(EventKind::Birthday)},
    {"X-ANNIVERSARY", Event, Number(EventKind::Anniversary)},
    {"ANNIVERSARY", Event, Number(EventKind::Anniversary), nullptr, kForeign},
    {"PHOTO", Photo},
    {"X-GRPUUID", GroupUids},
    {"X-GROUP", GroupName},
};

// Open addressing over a hash of length and two letters, laid out by the compiler.
constexpr size_t kSlots = 256;

constexpr size_t SlotOf(std::string_view name) {
  const auto letter = [](char c) { return static_cast<size_t>(c & 0x1F); };
  return (name.size() * 37 + letter(name.back()) * 5 + letter(name[name.size() / 2]) * 11) % kSlots;
}

constexpr auto kSlotTable = [] {
  std::array<uint8_t, kSlots> slots{};  // index into kProperties from 1, 0 for none
  for (size_t i = 0; i < std::size(kProperties); ++i) {
    size_t slot = SlotOf(kProperties[i].name);
    while (slots[slot] != 0) slot = (slot + 1) % kSlots;
    slots[slot] = static_cast<uint8_t>(i + 1);
  }
  return slots;
}();

struct Scheme {
  std::u16string_view prefix;
  MessengerKind kind;
};

constexpr Scheme kSchemes[] = {
    {u"xmpp:", MessengerKind::Jabber},   {u"skype:", MessengerKind::Skype},
    {u"aim:", MessengerKind::Aim},       {u"msnim:", MessengerKind::Msn},
    {u"msn:", MessengerKind::Msn},       {u"ymsgr:", MessengerKind::Yahoo},
    {u"icq:", MessengerKind::Icq},       {u"gtalk:", MessengerKind::GoogleTalk},
    {u"mqq:", MessengerKind::Qq},        {u"qq:", MessengerKind::Qq},
    {u"jabber:", MessengerKind::Jabber}, {u"yahoo:", MessengerKind::Yahoo},
};

template <class Matches>
std::string_view NameWhere(Matches matches) {
  const auto found = std::find_if(
      std::begin(kProperties), std::end(kProperties),
      [&](const VCardProperty& property) { return !property.foreign && matches(property); });
  return found->name;
}

}  // namespace

const VCardProperty* FindVCardProperty(std::string_view name) {
  if (name.empty()) return nullptr;
  for (size_t slot = SlotOf(name); kSlotTable[slot] != 0; slot = (slot + 1) % kSlots) {
    const VCardProperty& property = kProperties[kSlotTable[slot] - 1u];
    if (SameWord(property.name, name)) return &property;
  }
  return nullptr;
}

std::string_view WrittenName(TextMember text) {
  return NameWhere([&](const VCardProperty& property) { return property.text == text; });
}

std::string_view WrittenName(EventKind kind) {
  return NameWhere([&](const VCardProperty& property) {
    return property.field == Event && property.kind == Number(kind);
  });
}

int32_t TakeMessengerScheme(std::u16string& address) {
  for (const Scheme& scheme : kSchemes) {
    const std::u16string_view front = std::u16string_view(address).substr(0, scheme.prefix.size());
    if (!EqualsIgnoreCase(front, scheme.prefix)) continue;
    address.erase(0, scheme.prefix.size());
    return Number(scheme.kind);
  }
  return 0;
}

}  // namespace qv
