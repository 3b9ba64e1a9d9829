#include "host/engine/lacking.h"

#include "items/item_objects.h"

namespace qv {
namespace {

// Properties that matter to a person, where they could not become a field.
struct LackRow {
  std::u16string_view property;
  const char* words;
};
constexpr LackRow kContactRows[] = {
    {u"BDAY", "its birthday is no whole date"},
    {u"ANNIVERSARY", "its anniversary is no whole date"},
    {u"PHOTO", "its picture is none that can be shown"},
};
constexpr LackRow kCalendarRows[] = {
    {u"DTSTART", "its start is no date"},
    {u"DTEND", "its end is no date"},
    {u"DUE", "its due day is no date"},
    {u"RDATE", "further days of it (RDATE) are not shown"},
    {u"EXRULE", "the days that its EXRULE takes out are shown"},
};
constexpr const char* kNoRule =
    "its rule of repetition cannot be held there: it stands on its first day alone";

bool IsNamed(std::u16string_view property, std::u16string_view name) {
  return property.starts_with(name) &&
         (property.size() == name.size() || property[name.size()] == u';');
}

template <size_t kCount>
void AddLacks(const std::vector<ExtraProperty>& extras, const LackRow (&rows)[kCount],
              std::string& words) {
  for (const LackRow& row : rows) {
    for (const ExtraProperty& extra : extras) {
      if (!IsNamed(extra.property, row.property)) continue;
      words.append(words.empty() ? "" : "; ").append(row.words);
      break;
    }
  }
}

}  // namespace

std::string WhatPcLacks(IItemCommon& item) {
  std::string words;
  const ItemFields* fields = FieldsOf(&item);
  if (fields == nullptr || fields->extras.empty()) return words;
  if (ContactOf(&item) != nullptr) AddLacks(fields->extras, kContactRows, words);
  const Calendar* calendar = CalendarOf(&item);
  if (calendar == nullptr) return words;
  const bool hasNoRule = calendar->isRecurring && calendar->recurrence.type == RecurrenceType::None;
  if (hasNoRule) words = kNoRule;
  AddLacks(fields->extras, kCalendarRows, words);
  return words;
}

}  // namespace qv
