#include "items/extra.h"

#include "items/nesting.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

struct Mark {
  std::u16string_view text;
  Dialect dialect;
  bool bare;
  bool label = false;
};
// Persisted.
constexpr Mark kMarks[] = {
    {u":old", Dialect::Old, false},         {u":modern", Dialect::Modern, false},
    {u":bare", Dialect::Old, true},         {u":bare-modern", Dialect::Modern, true},
    {u":label", Dialect::Old, false, true},
};

// The first line that says anything decides.
Dialect LooksOf(std::string_view bytes) {
  LineReader reader(bytes);
  for (Line line; reader.Next(line);) {
    if (const std::optional<Dialect> look = DialectByLook(line)) return *look;
  }
  return Dialect::Old;
}

}  // namespace

ExtraProperty ExtraOf(const Line& line, Dialect dialect) {
  ExtraProperty extra = ExtraOf(line.header, line.value, dialect);
  extra.bare = line.bare;
  return extra;
}

ExtraProperty ExtraOf(std::string_view header, std::string_view value, Dialect dialect) {
  return {TextFromRaw(header), TextFromRaw(value), dialect, false};
}

std::string BytesOf(const ExtraProperty& extra) {
  std::string bytes;
  bytes.reserve(extra.property.size() + extra.value.size() + 1);
  AppendRaw(extra.property, bytes);
  if (extra.bare) return bytes;
  bytes += ':';
  AppendRaw(extra.value, bytes);
  return bytes;
}

std::u16string MarkedProperty(const ExtraProperty& extra) {
  // The modern grammar is always told, so that what looks say may be learned better some day.
  const bool plain = extra.dialect == Dialect::Old && !extra.bare && !extra.label;
  if (plain && LooksOf(BytesOf(extra)) == Dialect::Old) return extra.property;
  for (const Mark& mark : kMarks) {
    if (mark.dialect != extra.dialect || mark.bare != extra.bare || mark.label != extra.label) {
      continue;
    }
    std::u16string marked = extra.property;
    marked += mark.text;
    return marked;
  }
  return extra.property;
}

ExtraProperty ExtraFromMarked(std::u16string property, std::u16string value) {
  ExtraProperty extra{std::move(property), std::move(value)};
  for (const Mark& mark : kMarks) {
    if (!extra.property.ends_with(mark.text)) continue;
    extra.property.resize(extra.property.size() - mark.text.size());
    extra.dialect = mark.dialect;
    extra.bare = mark.bare && extra.value.empty();
    extra.label = mark.label;
    return extra;
  }
  extra.dialect = LooksOf(BytesOf(extra));
  return extra;
}

bool WriteExtra(LineWriter& writer, const ExtraProperty& extra, std::string_view own,
                const ListProperties& lists) {
  if (extra.label) return false;
  std::string bytes = BytesOf(extra);
  // Without a ':' it could be taken for more of a base64 value above it; a blank line ends that.
  if (extra.bare && IsBase64Text(bytes) && !writer.text().ends_with("\r\n\r\n")) writer.Bare();
  bytes += "\r\n";
  const size_t before = writer.text().size();
  if (extra.dialect == Dialect::Modern) {
    WriteInOldGrammar(bytes, lists, writer);
  } else if (!WriteHidden(bytes, writer)) {
    writer.Begin(bytes);
  }
  if (IsOneProperty(writer.text().substr(before), own)) return true;
  writer.Cut(before);
  return false;
}

}  // namespace qv
