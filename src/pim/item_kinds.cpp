#include "pim/item_kinds.h"

#include "items/item_objects.h"
#include "items/key_text.h"
#include "pim/calendar_content.h"
#include "pim/contact_content.h"
#include "pim/note_content.h"

namespace qv {
namespace {

bool PackContactItem(IUnknown* item, PackedItem& packed) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) return false;
  packed = {PackContact(*contact), MakeContactKey(*contact), DisplayName(*contact)};
  return true;
}

// The key text of an appointment is made when it is asked for, and that of a task compared by
// nobody.
template <bool isTask>
bool PackCalendarItem(IUnknown* item, PackedItem& packed) {
  const Calendar* calendar = CalendarOf(item);
  if (calendar == nullptr || calendar->isTask != isTask) return false;
  packed = {PackCalendar(*calendar), {}, calendar->subject};
  return true;
}

std::u16string CalendarKeyNow(std::string_view content) {
  std::string ignored;
  Calendar calendar;
  if (std::optional<CalendarContent> values = UnpackCalendar(content, ignored)) {
    static_cast<CalendarContent&>(calendar) = *std::move(values);
  }
  return MakeCalendarKey(calendar);
}

bool PackNoteItem(IUnknown* item, PackedItem& packed) {
  const Note* note = NoteOf(item);
  if (note == nullptr) return false;
  packed = {PackNote(*note), MakeNoteKey(*note), DisplayName(*note)};
  return true;
}

// `Content` is the half of `Values` that is stored.
template <class Values, class Content, auto unpack, auto make>
ComPtr<IItemCommon> UnpackItem(std::string_view bytes, std::string& why) {
  std::optional<Content> content = unpack(bytes, why);
  if (!content) return nullptr;
  Values values;
  static_cast<Content&>(values) = std::move(*content);
  return make(std::move(values));
}

constexpr auto kUnpackContact = UnpackItem<Contact, ContactContent, UnpackContact, MakeContactItem>;
constexpr auto kUnpackCalendar =
    UnpackItem<Calendar, CalendarContent, UnpackCalendar, MakeCalendarItem>;
constexpr auto kUnpackNote = UnpackItem<Note, Note, UnpackNote, MakeNoteItem>;

constexpr ItemKind kKinds[] = {
    {olContact, "contact", u"Contacts", PackContactItem, nullptr, kUnpackContact},
    {olAppointment, "appointment", u"Calendar", PackCalendarItem<false>, CalendarKeyNow,
     kUnpackCalendar},
    {olTask, "task", u"Tasks", PackCalendarItem<true>, nullptr, kUnpackCalendar},
    {olNote, "note", u"Notes", PackNoteItem, nullptr, kUnpackNote},
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
