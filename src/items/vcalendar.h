// vCalendar text from and to appointments and tasks: reads vCalendar 1.0 and iCalendar 2.0
// (RFC 5545), writes 1.0.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "items/calendar.h"

namespace qv {

// The first event or task of the text; nothing when there is none that is whole, or when it holds
// more properties than any has. A UTF-16 text needs its mark. Linear in the text's size; never
// throws on its account.
std::optional<Calendar> ParseVCalendar(std::string_view text);

// One VCALENDAR with one VEVENT or VTODO. CR LF line ends, UTF-8. Extras are written back.
std::string WriteVCalendar(const Calendar& calendar);

// A text with any number of events and tasks, in one or more VCALENDARs. The text must outlive it.
// Time zones that the text brings along are read once, whatever the number of components.
class CalendarText {
 public:
  // A text with a mark must be converted first, see support/vobject/marked_text.h.
  explicit CalendarText(std::string_view text);
  CalendarText(const CalendarText&) = delete;
  CalendarText& operator=(const CalendarText&) = delete;
  ~CalendarText();

  size_t Count() const;
  // A view from BEGIN to the line end behind END of one event or task.
  std::string_view At(size_t index) const;
  // Nothing for one that cannot be read.
  std::optional<Calendar> Read(size_t index) const;
  // Names of time zones that what was read so far names and nobody knows: their times were taken
  // for local ones.
  const std::set<std::string>& UnknownZones() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qv
