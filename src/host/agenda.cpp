#include "host/agenda.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "items/calendar_days.h"
#include "items/recurrence.h"
#include "pim/outlook_manager.h"
#include "support/date_time.h"

namespace qv {
namespace {

// A task may say only when it is due.
void GiveStart(Calendar& item) {
  if (item.start == 0.0) item.start = item.end;
}

}  // namespace

DATE Agenda::OnTheWall(const Calendar& item, DATE held) const {
  return item.allDay ? held : clock_.FromUtc(held);
}

// On the wall, so that three days stay three days when the clocks change. A task is due on its last
// day, an appointment ends behind it.
double Agenda::LengthOf(const Calendar& item) const {
  const double dueDay = item.isTask && item.allDay ? 1.0 : 0.0;
  if (item.end == 0.0) return dueDay;
  return std::max(0.0, OnTheWall(item, item.end) - OnTheWall(item, item.start) + dueDay);
}

void Agenda::Add(std::u16string id, Calendar item) {
  Flush();
  GiveStart(item);
  series_ = {std::move(id), std::move(item), {}, true};
}

void Agenda::AddException(std::u16string id, const Calendar& item) {
  const bool isDay = series_.item.allDay;
  const DATE replaced = isDay ? DayOf(ReplacedOccurrence(item)) : ReplacedOccurrence(item);
  // The series itself may have been beyond reading.
  if (replaced != 0.0 && series_.id == SeriesPartOf(id)) series_.absent.push_back(replaced);
  Calendar moved = item;
  GiveStart(moved);
  if (moved.start != 0.0) Put(id, moved, OnTheWall(moved, moved.start));
}

void Agenda::Put(const std::u16string& id, const Calendar& item, DATE localStart) {
  if (isOverfull()) return;
  constexpr DATE kLastDay = 2'958'465;  // of the year 9999
  const DATE end = std::min(kLastDay, localStart + LengthOf(item));
  AgendaEntry entry{localStart, std::max(localStart, end), item.allDay, item.subject, id};
  const bool overlaps = entry.start < to_ && (entry.end > from_ || entry.start >= from_);
  if (overlaps) entries_.push_back(std::move(entry));
}

void Agenda::Flush() {
  if (!std::exchange(series_.open, false)) return;
  const Calendar& item = series_.item;
  if (item.start == 0.0) return;
  if (item.isRecurring && item.recurrence.type == RecurrenceType::None) {
    unexpanded_.push_back(series_.id);
  }
  for (const RecurrenceEntry& entry : item.entries) {
    if (entry.kind == kDeletedOccurrence) series_.absent.push_back(entry.moment);
  }
  const OccurrenceSet absent(std::move(series_.absent));
  ForEachOccurrence(item, from_ - LengthOf(item), to_, [&](const Occurrence& occurrence) {
    if (!absent.Contains(occurrence.utc)) Put(series_.id, item, occurrence.local);
    return !isOverfull();
  });
}

std::vector<AgendaEntry> Agenda::Finish() {
  Flush();
  std::ranges::sort(entries_, {}, [](const AgendaEntry& entry) {
    return std::tie(entry.start, entry.name, entry.id);
  });
  return std::move(entries_);
}

}  // namespace qv
