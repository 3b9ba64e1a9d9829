#include "items/vcard.h"
#include "items/vcard_nesting.h"
#include "items/vcard_tables.h"

namespace qv {

Envelope EnvelopeOf(const Line& line) {
  const VCardProperty* property = FindVCardProperty(line.name);
  if (property == nullptr) return Envelope::None;
  const bool card = SameWord(Trimmed(line.value), "VCARD");
  if (property->field == VCardField::Begin) {
    return card ? Envelope::BeginCard : Envelope::BeginOther;
  }
  if (property->field == VCardField::End) return card ? Envelope::EndCard : Envelope::EndOther;
  return Envelope::None;
}

std::vector<std::string_view> SplitVCards(std::string_view text) {
  struct Range {
    size_t begin;
    size_t end;
  };
  constexpr size_t kNone = std::string_view::npos;
  std::vector<Range> ranges;
  Nesting<size_t> nesting;
  LineReader reader(text);
  for (Line line; reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line);
    if (envelope == Envelope::BeginCard || (envelope == Envelope::BeginOther && !nesting.empty())) {
      nesting.Push(envelope == Envelope::BeginCard, line.begin);
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, kNone);
    } else if (envelope == Envelope::EndCard) {
      const size_t begin = nesting.Pop(true, kNone);
      if (begin == kNone) continue;
      while (!ranges.empty() && ranges.back().begin > begin) ranges.pop_back();
      ranges.push_back({begin, reader.position()});
    }
  }
  std::vector<std::string_view> cards;
  cards.reserve(ranges.size());
  for (const Range& range : ranges) {
    cards.push_back(text.substr(range.begin, range.end - range.begin));
  }
  return cards;
}

}  // namespace qv
