#include "items/nesting.h"
#include "items/vcalendar.h"
#include "items/vcalendar_fields.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

// text      := (BEGIN:VCALENDAR | END:VCALENDAR | VERSION | zone | component | line)*
// zone      := BEGIN:VTIMEZONE line* END:VTIMEZONE
// component := BEGIN:VEVENT line* END:VEVENT | BEGIN:VTODO line* END:VTODO
//
// A VERSION holds for what follows it. Lines around the components say nothing of any item.
constexpr std::string_view kOwn = "VEVENT,VTODO";

bool IsZoneBegin(const Line& line) {
  return SameWord(line.name, "BEGIN") && SameWord(Trimmed(line.value), "VTIMEZONE");
}

bool IsTaskBegin(const Line& line) {
  return SameWord(Trimmed(line.value), "VTODO");
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
// is not so plain: no end, or a zone that may stand behind it.
std::optional<Calendar> ReadPlain(std::string_view text) {
  LineReader reader(text);
  CalendarZones zones;
  Dialect dialect = Dialect::Old;
  for (Line line; reader.Next(line);) {
    if (IsZoneBegin(line)) {
      zones.Read(reader);
    } else if (SameWord(line.name, "VERSION")) {
      dialect = DialectOf(line);
    } else if (EnvelopeOf(line, kOwn) == Envelope::BeginOwn) {
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
    Dialect dialect;
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
    Dialect dialect = Dialect::Old;
  };
  Nesting<Mark> nesting;
  LineReader reader(text);
  Dialect dialect = Dialect::Old;
  for (Line line; reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, kOwn);
    if (envelope == Envelope::None) {
      if (SameWord(line.name, "VERSION")) dialect = DialectOf(line);
    } else if (nesting.empty() && IsZoneBegin(line)) {
      state_->zones.Read(reader);
    } else if (envelope == Envelope::BeginOwn) {
      nesting.Push(true, {line.begin, IsTaskBegin(line), dialect});
    } else if (envelope == Envelope::BeginOther) {
      if (!nesting.empty()) nesting.Push(false, {});
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, {});
    } else {
      const Mark mark = nesting.Pop(true, {});
      if (mark.begin == std::string_view::npos) continue;
      while (!components.empty() && components.back().begin > mark.begin) components.pop_back();
      components.push_back({mark.begin, reader.position(), mark.isTask, mark.dialect});
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
  VCalendarFields fields(component.isTask, component.dialect, state_->zones);
  Line begin;
  if (!reader.Next(begin) || !ReadComponent(reader, fields)) return std::nullopt;
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
