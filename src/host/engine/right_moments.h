// The moments of an appointment from a file of cells, where a store cannot make them of any cell.
#pragma once

#include "items/calendar.h"
#include "platform/com/types.h"

namespace qv {

// UTC; 0.0 where the row says nothing.
struct RightMoments {
  DATE start = 0.0;
  DATE end = 0.0;
  DATE alarm = 0.0;
  DATE until = 0.0;
};

RightMoments MomentsOf(const Calendar& calendar);

// From the alarm to the start, in whole minutes; below zero for an alarm behind it.
int32_t LeadMinutes(DATE start, DATE alarm);

// Sets those that are told, as moments: an all-day item becomes days again by `SettleDaysHere`.
void SetMoments(Calendar& calendar, const RightMoments& moments);

}  // namespace qv
