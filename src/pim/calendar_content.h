// The stored form of the content of an appointment or a task, and its name for a person.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "items/calendar.h"

namespace qv {

std::string PackCalendar(const CalendarContent& calendar);
// Nothing, with the reason and the place in `why`, for bytes that are damaged or of a newer form.
std::optional<CalendarContent> UnpackCalendar(std::string_view bytes, std::string& why);

}  // namespace qv
