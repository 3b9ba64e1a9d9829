#include "stores/outlook/filter_rules.h"

#include "items/calendar_days.h"
#include "support/text.h"

namespace qv {
namespace {

// Persisted contract: the words of a filter text.
constexpr std::u16string_view kSince = u"SINCE&EQ;";
constexpr std::u16string_view kAnd = u"&AND;";
constexpr std::u16string_view kBefore = u"BEFORE&EQ;";
constexpr std::u16string_view kNotCompleted = u"STATUS&NE;COMPLETED";

// What stands behind a word; nothing for a text without it.
std::u16string_view Behind(std::u16string_view text, std::u16string_view word) {
  const size_t at = text.find(word);
  return at == text.npos ? std::u16string_view() : text.substr(at + word.size());
}

int NumberAt(std::u16string_view text, size_t at, size_t digits) {
  return at < text.size() ? ToInt(text.substr(at, digits)) : 0;
}

// By position, "YYYYMMDDThhmmss"; whatever else the value holds only tells, by a "Z", that it is
// UTC.
DateTimeValue ParseBound(std::u16string_view text) {
  if (text.empty()) return DateTimeValue::Null();
  const int hour = NumberAt(text, 9, 2);
  const bool nextDay = hour == 24;
  DateTimeValue bound;
  bound.SetDateTime(NumberAt(text, 0, 4), NumberAt(text, 4, 2), NumberAt(text, 6, 2),
                    nextDay ? 0 : hour, NumberAt(text, 11, 2), NumberAt(text, 13, 2));
  if (nextDay) bound = bound + DateTimeSpan(1, 0, 0, 0);
  return text.find(u'Z') == text.npos ? LocalToUtc(bound, true) : bound;
}

bool IsOutside(const DateTimeValue& moment, const DateWindow& window) {
  return moment < window.since || moment > window.before;
}

bool Touches(const CalendarContent& item, const DateWindow& window) {
  const DateTimeValue start(MomentOf(item, item.start));
  DateTimeValue end(MomentOf(item, item.end));
  // A day's appointment ends at midnight and does not reach into the next day.
  if (item.allDay && item.end != 0.0) end = end - DateTimeSpan(0, 0, 0, 1);
  if (item.start == 0.0) return item.end == 0.0 || !IsOutside(end, window);
  if (item.end == 0.0) return !IsOutside(start, window);
  return !(start > window.before || end < window.since);
}

}  // namespace

DateWindow ParseDateWindow(std::u16string_view filterText) {
  const std::u16string_view since = Behind(filterText, kSince);
  return {ParseBound(since.substr(0, since.find(kAnd))), ParseBound(Behind(filterText, kBefore))};
}

FilterTest DateWindowTest(std::u16string_view filterText) {
  const DateWindow window = ParseDateWindow(filterText);
  if (window.since.status != DateStatus::Valid || window.before.status != DateStatus::Valid) {
    return {};
  }
  return
      [window](const CalendarContent& item) { return item.isRecurring || Touches(item, window); };
}

FilterTest OpenTaskTest(std::u16string_view filterText) {
  if (filterText.find(kNotCompleted) == filterText.npos) return {};
  return
      [](const CalendarContent& item) { return item.isRecurring || item.status != kTaskCompleted; };
}

}  // namespace qv
