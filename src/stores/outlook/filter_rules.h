// Which items of a store go to the phone: the rules behind the configuration's filter text.
#pragma once

#include <functional>
#include <string_view>

#include "items/calendar.h"
#include "support/date_time.h"

namespace qv {

// Whether an item is included; an empty function includes everything.
using FilterTest = std::function<bool(const CalendarContent&)>;

// Moments in UTC. In force only when both are valid.
struct DateWindow {
  DateTimeValue since = DateTimeValue::Null();
  DateTimeValue before = DateTimeValue::Null();
};
// "SINCE&EQ;20110101T000000Z&AND;BEFORE&EQ;20111231T235959Z", in either order. A value without "Z"
// is local time.
DateWindow ParseDateWindow(std::u16string_view filterText);

// Appointments that lie in or touch the window, and every series.
FilterTest DateWindowTest(std::u16string_view filterText);
// With "STATUS&NE;COMPLETED": tasks that are not completed, and every series.
FilterTest OpenTaskTest(std::u16string_view filterText);

}  // namespace qv
