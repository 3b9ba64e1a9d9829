#include "items/key_text.h"

#include <array>

#include "items/calendar_days.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

// Both home slots are filled in list order. An empty number leaves the first one open for the next
// entry, but fills the second for good.
std::array<std::u16string_view, 3> PhoneSlots(const std::vector<Telephone>& telephones) {
  std::array<std::u16string_view, 3> slots;
  bool mobileClosed = false;
  bool homeClosed = false;
  for (const Telephone& telephone : telephones) {
    if (telephone.kind == PhoneKind::Mobile && !mobileClosed) {
      slots[0] = telephone.value;
      mobileClosed = true;
    } else if (telephone.kind == PhoneKind::Home && !homeClosed) {
      homeClosed = !slots[1].empty();
      slots[homeClosed ? 2 : 1] = telephone.value;
    }
    if (mobileClosed && homeClosed) break;
  }
  return slots;
}

// Local time. A day is the midnight that it begins with, whatever zone holds here.
std::u16string MomentKey(const CalendarContent& calendar, DATE held) {
  constexpr int kFirstYear = 1900;
  constexpr int kLastYear = 3999;
  const DATE day = calendar.allDay ? DayOf(held) : 0.0;
  const bool isDay = day != 0.0 && MomentOf(calendar, day) == MomentOf(calendar, held);
  const int year = DateTimeValue(isDay ? day : held).GetYear();
  if (year < kFirstYear || year > kLastYear) return {};
  return FormatDateTime(isDay ? DateTimeValue(day) : UtcToLocal(held, true));
}

}  // namespace

std::u16string MakeContactKey(const ContactContent& contact) {
  constexpr size_t kMails = 3;
  std::u16string key = contact.familyName;
  key += contact.givenName;
  key += contact.additionalNames;
  key += contact.namePrefix;
  key += contact.nameSuffix;
  for (const std::u16string_view number : PhoneSlots(contact.telephones)) key += number;
  for (size_t i = 0; i < contact.mails.size() && i < kMails; ++i) key += contact.mails[i].value;
  return ComputeMd5(key);
}

std::u16string MakeCalendarKey(const CalendarContent& calendar) {
  std::u16string key = calendar.subject;
  key += MomentKey(calendar, calendar.start);
  key += MomentKey(calendar, calendar.end);
  return ComputeMd5(key);
}

std::u16string MakeNoteKey(const Note& note) {
  return ComputeMd5(note.body);
}

}  // namespace qv
