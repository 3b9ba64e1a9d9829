// What a person sees in a calendar for a span of days: series expanded, exceptions applied.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "items/calendar.h"
#include "support/wall_clock.h"

namespace qv {

// Wall-clock times. Of a task without a start both are when it is due.
struct AgendaEntry {
  DATE start = 0.0;
  DATE end = 0.0;  // not before `start`; of an all-day entry the midnight behind its last day
  bool allDay = false;
  std::u16string name;
  std::u16string id;  // of the item: of the series, or of the exception that takes its place
};

class Agenda {
 public:
  // The span [from, to), wall-clock time. At most `limit` entries are kept.
  Agenda(DATE from, DATE to, size_t limit) : from_(from), to_(to), limit_(limit) {}

  // An item that is no exception; what follows by `AddException` are its exceptions.
  void Add(std::u16string id, Calendar item);
  void AddException(std::u16string id, const Calendar& item);
  // Those that overlap the span, by start and then by name.
  std::vector<AgendaEntry> Finish();

  bool isOverfull() const { return entries_.size() > limit_; }
  // Identifiers of series in the order given whose rule is none that can be followed: of these only
  // the first day is there.
  const std::vector<std::u16string>& unexpanded() const { return unexpanded_; }

 private:
  struct Pending {
    std::u16string id;
    Calendar item;
    std::vector<DATE> absent;  // UTC
    bool open = false;
  };

  DATE OnTheWall(const Calendar& item, DATE held) const;
  double LengthOf(const Calendar& item) const;
  void Flush();
  void Put(const std::u16string& id, const Calendar& item, DATE localStart);

  const WallClock clock_;
  DATE from_;
  DATE to_;
  size_t limit_;
  Pending series_;
  std::vector<AgendaEntry> entries_;
  std::vector<std::u16string> unexpanded_;
};

}  // namespace qv
