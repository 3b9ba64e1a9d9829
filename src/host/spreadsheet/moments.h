// The moments of appointments in cells.
//
// Cells hold local times, and stores turn them into moments and back by a rule of their own, which
// near a change of the clocks is another than that of the clocks. So a store is handed cells, and
// items, out of which its rule makes what the clocks say.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/engine/right_moments.h"
#include "host/spreadsheet/mapping.h"
#include "items/calendar.h"
#include "platform/system/named_zones.h"
#include "platform/system/service.h"

namespace qv {

// The zone that held when it was made; no other is looked at while it lives.
class CellClock {
 public:
  CellClock() : zone_(held_.History()), scope_(held_) {}

  // What a cell with a date becomes.
  struct Handed {
    DATE utc = 0.0;               // the right moment
    std::u16string cell;          // for the store
    bool isExact = true;          // the store makes that moment of that cell
    const char* doubt = nullptr;  // what a person should know of the time; null for nothing
  };
  // Nothing for a cell that is no plain date.
  std::optional<Handed> HandOver(std::u16string_view cell) const;

  // What the clocks show.
  DATE WallTime(DATE utc) const;
  // The moment out of which a store makes a cell with the local time of this one. Where there is
  // none `isExact` gets false.
  DATE ForStore(DATE utc, bool& isExact) const;

 private:
  HeldTimeZone held_;
  const std::shared_ptr<const ZoneRules> zone_;
  ScopedService<TimeZone> scope_;
};

// A field of calendars with a date, and where its moment stands.
struct MomentField {
  std::u16string_view field;
  DATE RightMoments::*moment;
};
// Null for any other.
const MomentField* FindMomentField(const SheetKind& kind, std::u16string_view field);
bool IsDateField(std::u16string_view field);

// The last step before a sheet is handed over: its dates become cells for the store, what is no
// plain date becomes empty. Doubtful times are told among the sheet's problems. Answers the moments
// of those rows, by place, that no cells can say.
std::map<size_t, RightMoments> HandOverDates(Sheet& sheet, const SheetMapping& mapping);

// Before an appointment goes to a store that writes cells. What the file cannot say is told.
std::vector<std::string> MendForCells(const CellClock& clock, Calendar& calendar);
// Sets what cells that a store wrote of such an appointment say: `calendar` was read from them by
// the store's rule.
void ReadMended(const CellClock& clock, const std::vector<std::u16string>& texts,
                const SheetKind& kind, Calendar& calendar);

}  // namespace qv
