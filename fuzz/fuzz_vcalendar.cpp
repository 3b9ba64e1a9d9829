// Any bytes into the vCalendar converter. What was read must be written, read again as the same
// item, and written as the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "extras.h"
#include "items/recurrence.h"
#include "items/vcalendar.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Where a quoted-printable value is broken says nothing: an alarm breaks elsewhere without its
// time.
std::vector<std::string> Extras(const qv::Calendar& item) {
  constexpr std::string_view kNames[] = {"CATEGORIES", "RESOURCES"};
  std::vector<std::string> extras = Written(item.fields.extras, "VEVENT,VTODO", {kNames, u';'});
  for (std::string& extra : extras) {
    for (size_t at = 0; (at = extra.find("=\r\n", at)) != extra.npos;) extra.erase(at, 3);
  }
  return extras;
}

void CheckRoundTrip(const qv::Calendar& read) {
  const std::string written = qv::WriteVCalendar(read);
  const std::optional<qv::Calendar> again = qv::ParseVCalendar(written);
  Require(again.has_value());
  Require(static_cast<const qv::CalendarContent&>(read) == *again);
  Require(read.parentRecurUid == again->parentRecurUid);
  Require(read.fields.objUid == again->fields.objUid);
  Require(read.fields.objModified == again->fields.objModified);
  Require(Extras(read) == Extras(*again));
  Require(qv::WriteVCalendar(*again) == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const qv::CalendarText all(text);
  for (size_t i = 0; i < all.Count() && i < 20; ++i) {
    const std::optional<qv::Calendar> item = all.Read(i);
    if (!item) continue;
    CheckRoundTrip(*item);
    int taken = 0;
    qv::ForEachOccurrence(*item, 45000, 45400,
                          [&](const qv::Occurrence&) { return ++taken < 400; });
  }
  if (const std::optional<qv::Calendar> read = qv::ParseVCalendar(text)) CheckRoundTrip(*read);
  return 0;
}
