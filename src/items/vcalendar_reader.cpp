#include "items/nesting.h"
#include "items/vcalendar.h"
#include "items/vcalendar_fields.h"
#include "items/version.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

// text      := (BEGIN:VCALENDAR | END:VCALENDAR | VERSION | zone | component | line)*
// zone      := BEGIN:VTIMEZONE line* END:VTIMEZONE
// component := BEGIN:VEVENT line* END:VEVENT | BEGIN:VTODO line* END:VTODO
//
// The first VERSION of a calendar holds for all of its components, wherever it stands; a component
// without one is read by its looks. Lines around the components say nothing else of any item.
constexpr std::string_view kOwn = "VEVENT,VTODO";
constexpr std::string_view kModernVersions = "2";

bool IsZoneBegin(const Line& line) {
  return SameWord(line.name, "BEGIN") && SameWord(Trimmed(line.value), "VTIMEZONE");
}

bool IsTaskBegin(const Line& line) {
  return SameWord(Trimmed(line.value), "VTODO");
}

// What was said of one calendar does not hold beyond it.
bool IsCalendarBound(const Line& line, Envelope envelope) {
  return (envelope == Envelope::BeginOther || envelope == Envelope::EndOther) &&
         SameWord(Trimmed(line.value), "VCALENDAR");
}

bool IsVersion(const Line& line) {
  return SameWord(line.name, "VERSION") && !line.bare;
}

Dialect DialectOf(const Line& version) {
  return Trimmed(version.value).starts_with('2') ? Dialect::Modern : Dialect::Old;
}

// A component behind its BEGIN line. False when it has no end, or more properties than any item.
bool ReadComponent(LineReader& reader, VCalendarFields& fields) {
  bool ended = false;
  for (Line line; !ended && !fields.isOverfull() && reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, kOwn);
    if (envelope == Envelope::EndOwn) return true;
    if (IsBegin(envelope)) {
      const std::string_view header = line.header;
      fields.ReadNested(header, ReadNested(reader, line, kOwn, ended));
    } else {
      fields.Read(line);
    }
  }
  return ended && !fields.isOverfull();
}

// The first component of a text that begins with it, as texts of one item do. Nothing where that
// is not so plain: no end, or a zone or a VERSION that may stand behind it.
std::optional<Calendar> ReadPlain(std::string_view text) {
  LineReader reader(text);
  CalendarZones zones;
  Dialect dialect = Dialect::Old;
  bool known = false;  // a VERSION told it
  for (Line line; reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, kOwn);
    if (IsZoneBegin(line)) {
      zones.Read(reader);
    } else if (IsVersion(line)) {
      if (!known) dialect = DialectOf(line);
      known = true;
    } else if (IsCalendarBound(line, envelope)) {
      known = false;
    } else if (envelope == Envelope::BeginOwn) {
      if (!known) return std::nullopt;
      VCalendarFields fields(IsTaskBegin(line), dialect, zones);
      if (!ReadComponent(reader, fields) || fields.missedZone()) return std::nullopt;
      return fields.Take();
    }
  }
  return std::nullopt;
}

}  // namespace

struct CalendarText::State {
  struct Component {
    size_t begin;
    size_t end;
    bool isTask;
    std::optional<Dialect> dialect;
  };
  std::string_view text;
  std::vector<Component> components;
  mutable CalendarZones zones;
};

CalendarText::CalendarText(std::string_view text) : state_(std::make_unique<State>()) {
  state_->text = text;
  std::vector<State::Component>& components = state_->components;
  struct Mark {
    size_t begin = std::string_view::npos;
    bool isTask = false;
  };
  Nesting<Mark> nesting;
  LineReader reader(text);
  std::optional<Dialect> dialect;  // of the calendar
  size_t first = 0;                // of its components
  for (Line line; reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, kOwn);
    if (nesting.empty() && IsCalendarBound(line, envelope)) {
      dialect.reset();
      first = components.size();
    } else if (envelope == Envelope::None) {
      if (!nesting.empty() || dialect || !IsVersion(line)) continue;
      dialect = DialectOf(line);
      for (size_t i = first; i < components.size(); ++i) components[i].dialect = dialect;
    } else if (nesting.empty() && IsZoneBegin(line)) {
      state_->zones.Read(reader);
    } else if (envelope == Envelope::BeginOwn) {
      nesting.Push(true, {line.begin, IsTaskBegin(line)});
    } else if (envelope == Envelope::BeginOther) {
      if (!nesting.empty()) nesting.Push(false, {});
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, {});
    } else {
      const Mark mark = nesting.Pop(true, {});
      if (mark.begin == std::string_view::npos) continue;
      while (!components.empty() && components.back().begin > mark.begin) components.pop_back();
      components.push_back({mark.begin, reader.position(), mark.isTask, dialect});
    }
  }
}

CalendarText::~CalendarText() = default;

size_t CalendarText::Count() const {
  return state_->components.size();
}

std::string_view CalendarText::At(size_t index) const {
  const State::Component& component = state_->components[index];
  return state_->text.substr(component.begin, component.end - component.begin);
}

const std::set<std::string>& CalendarText::UnknownZones() const {
  return state_->zones.unknown();
}

std::optional<Calendar> CalendarText::Read(size_t index) const {
  const State::Component& component = state_->components[index];
  LineReader reader(At(index));
  Line begin;
  if (!reader.Next(begin)) return std::nullopt;
  const Dialect dialect =
      component.dialect ? *component.dialect : DialectAhead(reader, kOwn, kModernVersions);
  VCalendarFields fields(component.isTask, dialect, state_->zones);
  if (!ReadComponent(reader, fields)) return std::nullopt;
  return fields.Take();
}

std::optional<Calendar> ParseVCalendar(std::string_view text) {
  std::string buffer;
  text = WithoutMark(text, buffer);
  if (std::optional<Calendar> plain = ReadPlain(text)) return plain;
  const CalendarText whole(text);
  return whole.Count() == 0 ? std::nullopt : whole.Read(0);
}

}  // namespace qv
