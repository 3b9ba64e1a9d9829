// Which numbers are kinds: what comes in through an interface is tested here before it is one.
#pragma once

#include "items/calendar.h"
#include "items/contact.h"

namespace qv {

constexpr bool IsKind(PhoneKind kind) {
  return (kind >= PhoneKind::Assistant && kind <= PhoneKind::TtyTdd) || kind == PhoneKind::Video;
}
constexpr bool IsKind(MailKind kind) {
  return kind >= MailKind::Home && kind <= MailKind::Mobile;
}
constexpr bool IsKind(PlaceKind kind) {
  return kind >= PlaceKind::Home && kind <= PlaceKind::Other;
}
constexpr bool IsKind(OrganisationKind kind) {
  return kind == OrganisationKind::Work || kind == OrganisationKind::Other;
}
constexpr bool IsKind(MessengerKind kind) {
  return kind >= MessengerKind::GoogleTalk && kind <= MessengerKind::Other;
}
constexpr bool IsKind(EventKind kind) {
  return kind == EventKind::Birthday || kind == EventKind::Anniversary;
}
constexpr bool IsKind(RecurrenceType type) {
  return type >= RecurrenceType::None && type <= RecurrenceType::YearlyByWeekday;
}

// A list of a contact holds at most this many entries from a text; what is beyond stays in the
// text's own form as extras.
inline constexpr size_t kMaxListEntries = 1000;
// The addresses of a contact that comes otherwise may be more. Each position up to the last costs
// memory, whether it holds one or not.
inline constexpr size_t kMaxAddressPositions = 100'000;
// A text with more extras is no card: each costs memory many times its shortest form.
inline constexpr size_t kMaxExtras = 100'000;

}  // namespace qv
