#include "items/version.h"

#include "items/nesting.h"
#include "support/vobject/old_grammar.h"

namespace qv {

Dialect DialectAhead(LineReader reader, std::string_view own, std::string_view modern) {
  bool looksOld = false;
  bool looksModern = false;
  bool ended = false;
  for (Line line; !ended && reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, own);
    if (envelope == Envelope::EndOwn) break;
    if (IsBegin(envelope)) {
      ReadNested(reader, line, own, ended);
    } else if (!line.bare && SameWord(line.name, "VERSION")) {
      const std::string_view version = Trimmed(line.value);
      const bool isModern = !version.empty() && modern.find(version.front()) != modern.npos;
      return isModern ? Dialect::Modern : Dialect::Old;
    } else if (!looksOld) {
      const std::optional<Dialect> look = DialectByLook(line);
      looksOld = look == Dialect::Old;
      looksModern = looksModern || look == Dialect::Modern;
    }
  }
  return looksModern && !looksOld ? Dialect::Modern : Dialect::Old;
}

}  // namespace qv
