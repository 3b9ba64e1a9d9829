#include "items/vcalendar_moves.h"

#include <algorithm>
#include <string>

#include "items/calendar_days.h"
#include "items/extra.h"
#include "items/moment_text.h"
#include "items/vcalendar_alarm.h"
#include "platform/system/system_time.h"
#include "support/text.h"
#include "support/vobject/lines.h"
#include "support/vobject/raw_text.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

// How much of a value moves.
enum class Part : uint8_t { First, All };
struct MovingLine {
  std::string_view name;
  Part part;
  bool isPrefix = false;
};
constexpr MovingLine kLines[] = {
    {"AALARM", Part::First}, {"DALARM", Part::First}, {"MALARM", Part::First},
    {"PALARM", Part::First}, {"RDATE", Part::All},    {"X-MOZ-SNOOZE-TIME", Part::All, true},
};
// Inside a VALARM.
constexpr MovingLine kAlarmLines[] = {{"TRIGGER", Part::All},
                                      {"X-MOZ-SNOOZE-TIME", Part::All, true}};

template <size_t n>
const MovingLine* Find(const MovingLine (&lines)[n], const Line& line) {
  if (line.malformed || line.bare || line.encoding == ValueEncoding::Base64) return nullptr;
  const auto found = std::ranges::find_if(lines, [&](const MovingLine& known) {
    const std::string_view name =
        known.isPrefix ? line.name.substr(0, known.name.size()) : line.name;
    return SameWord(name, known.name);
  });
  return found == std::end(lines) ? nullptr : found;
}

// Whether the component that the reader is in says that nothing is to happen: some phones mark so,
// with a moment long ago, an item that shall have no alarm.
bool IsNone(LineReader reader) {
  int depth = 1;
  for (Line line; depth > 0 && reader.Next(line);) {
    if (SameWord(line.name, "BEGIN")) ++depth;
    if (SameWord(line.name, "END")) --depth;
    if (depth == 1 && SameWord(line.name, "ACTION") && !line.bare) {
      return SameWord(Trimmed(WithoutFolds(line.value)), "NONE");
    }
  }
  return false;
}

// Calls `visit(line, part)` for each line of the extra that moves.
template <class Visit>
void ForEachMovingLine(const std::string& bytes, Visit&& visit) {
  LineReader reader(bytes);
  Line line;
  if (!reader.Next(line)) return;
  const bool isAlarm = SameWord(line.name, "BEGIN") && SameWord(Trimmed(line.value), "VALARM");
  if (!isAlarm) {
    if (const MovingLine* known = Find(kLines, line)) visit(line, known->part);
    return;
  }
  if (IsNone(reader)) return;
  int depth = 1;
  while (depth > 0 && reader.Next(line)) {
    if (SameWord(line.name, "BEGIN")) ++depth;
    if (SameWord(line.name, "END")) --depth;
    const MovingLine* known = depth == 1 ? Find(kAlarmLines, line) : nullptr;
    if (known != nullptr) visit(line, known->part);
  }
}

struct Shift {
  int64_t utc = 0;
  int64_t wall = 0;
};

// Calls `take(at, size, stamp)` for each moment of the value, and date.
template <class Take>
void ForEachMoment(std::string_view value, Part part, Take&& take) {
  for (size_t at = 0; at <= value.size();) {
    const size_t end = std::min(value.find_first_of(",;/", at), value.size());
    if (const std::optional<Stamp> stamp = ParseStamp(WithoutFolds(value.substr(at, end - at)))) {
      take(at, end - at, *stamp);
    }
    if (part == Part::First) return;
    at = end + 1;
  }
}

std::string Shifted(std::string_view value, Part part, const Shift& shift) {
  constexpr int64_t kDaySeconds = 86400;
  std::string text;
  size_t done = 0;
  ForEachMoment(value, part, [&](size_t at, size_t size, const Stamp& stamp) {
    const int64_t days = shift.wall / kDaySeconds - (shift.wall % kDaySeconds < 0 ? 1 : 0);
    const int64_t by = stamp.hasZone ? shift.utc : stamp.hasTime ? shift.wall : days * kDaySeconds;
    const DATE moved = Later(stamp.date, by);
    const std::string moment = stamp.hasZone   ? MomentText(moved)
                               : stamp.hasTime ? WallText(moved)
                                               : DayText(moved);
    if (by == 0 || moment.empty()) return;
    text.append(value, done, at - done).append(moment);
    done = at + size;
  });
  return text.append(value, done);
}

int64_t SecondsOf(DATE date) {
  return VariantTimeToSeconds(date).value_or(0);
}
DATE DateOf(int64_t seconds) {
  return SecondsToVariantTime(seconds).value_or(0.0);
}

}  // namespace

std::optional<ItemPlace> PlaceOf(const CalendarContent& item) {
  const DATE begin = BeginningOf(item);
  if (begin == 0.0 || !VariantTimeToSeconds(begin)) return std::nullopt;
  ItemPlace place;
  place.isDay = item.allDay;
  place.begin = SecondsOf(MomentOf(item, begin));
  place.end = item.end != 0.0 ? SecondsOf(MomentOf(item, item.end)) : place.begin;
  place.wall = SecondsOf(item.allDay ? DayOf(begin) : WallClock().FromUtc(begin));
  return place;
}

// began := moment "/" moment | day "/" moment "/" moment
ExtraProperty BeganExtra(const ItemPlace& place) {
  std::string text = place.isDay ? WallText(DateOf(place.wall)) + "/" : std::string();
  text += MomentText(DateOf(place.begin)) + "/" + MomentText(DateOf(place.end));
  return {std::u16string(kBeganName), FromAscii(text)};
}

std::optional<ItemPlace> PlaceFrom(const ExtraProperty& began) {
  if (began.property != kBeganName) return std::nullopt;
  std::vector<Stamp> stamps;
  std::string text;
  AppendRaw(began.value, text);
  ForEachMoment(text, Part::All,
                [&](size_t, size_t, const Stamp& stamp) { stamps.push_back(stamp); });
  if (stamps.size() < 2 || stamps.size() > 3) return std::nullopt;
  ItemPlace place;
  place.isDay = stamps.size() == 3;
  place.begin = SecondsOf(stamps[stamps.size() - 2].date);
  place.end = SecondsOf(stamps.back().date);
  const DATE begin = DateOf(place.begin);
  place.wall = SecondsOf(place.isDay ? stamps.front().date : WallClock().FromUtc(begin));
  return place;
}

bool Moves(const ExtraProperty& extra) {
  if (!MayBe(extra, {u"ALARM", u"RDATE", u"X-MOZ-SNOOZE-TIME", u"BEGIN"})) return false;
  bool moves = false;
  ForEachMovingLine(BytesOf(extra), [&](const Line& line, Part part) {
    ForEachMoment(line.value, part, [&](size_t, size_t, const Stamp&) { moves = true; });
  });
  return moves;
}

ExtraProperty Moved(const ExtraProperty& extra, const ItemPlace& from, const ItemPlace& to) {
  Shift shift{to.begin - from.begin, to.wall - from.wall};
  // Days are the same whatever zone they were looked at from.
  if (from.isDay && to.isDay) shift.utc = shift.wall;
  if (shift.utc == 0 && shift.wall == 0) return extra;
  const std::string bytes = BytesOf(extra);
  std::string moved;
  size_t done = 0;
  ForEachMovingLine(bytes, [&](const Line& line, Part part) {
    const size_t begin = line.end - line.value.size();
    moved.append(bytes, done, begin - done).append(Shifted(line.value, part, shift));
    done = line.end;
  });
  moved.append(bytes, done);
  std::string header;
  AppendRaw(extra.property, header);
  ExtraProperty result = extra;
  if (!extra.bare) result.value = TextFromRaw(std::string_view(moved).substr(header.size() + 1));
  return result;
}

}  // namespace qv
