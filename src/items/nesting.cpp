#include "items/nesting.h"

namespace qv {
namespace {

// A word that is folded, or has a line of blanks or the blank line of base64 behind it, without
// any break.
std::string_view Unfolded(std::string_view value, std::string& buffer) {
  for (size_t i = 0; i < value.size(); ++i) {
    const bool isBreak = value[i] == '\r' || value[i] == '\n';
    const bool isBehind = !isBreak && i > 0 && (value[i - 1] == '\r' || value[i - 1] == '\n');
    if (!isBreak && !isBehind) buffer.push_back(value[i]);
  }
  return buffer;
}

}  // namespace

Envelope EnvelopeOf(const Line& line, std::string_view own) {
  if (line.bare) return Envelope::None;
  const bool begin = SameWord(line.name, "BEGIN");
  if (!begin && !SameWord(line.name, "END")) return Envelope::None;
  std::string buffer;
  const std::string_view name = Trimmed(line.folded ? Unfolded(line.value, buffer) : line.value);
  bool isOwn = false;
  for (std::string_view word; !isOwn && NextWord(own, word);) isOwn = SameWord(name, word);
  if (begin) return isOwn ? Envelope::BeginOwn : Envelope::BeginOther;
  return isOwn ? Envelope::EndOwn : Envelope::EndOther;
}

std::string_view ReadNested(LineReader& reader, const Line& begin, std::string_view own,
                            bool& ended) {
  const size_t valueBegin = static_cast<size_t>(begin.value.data() - reader.text().data());
  size_t valueEnd = begin.end;
  Nesting<bool> nesting;
  nesting.Push(EnvelopeOf(begin, own) == Envelope::BeginOwn, true);
  for (Line line; !nesting.empty() && !ended && reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, own);
    if (IsBegin(envelope)) {
      nesting.Push(envelope == Envelope::BeginOwn, true);
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, false);
    } else if (envelope == Envelope::EndOwn) {
      ended = !nesting.Pop(true, false);
    }
    if (!ended) valueEnd = line.end;
  }
  return reader.text().substr(valueBegin, valueEnd - valueBegin);
}

bool IsOneProperty(std::string_view rendered, std::string_view own) {
  LineReader reader(rendered);
  Line line;
  if (!reader.Next(line) || line.begin != 0) return false;
  Nesting<bool> nesting;
  const Envelope first = EnvelopeOf(line, own);
  if (first == Envelope::EndOwn) return false;
  if (IsBegin(first)) nesting.Push(first == Envelope::BeginOwn, true);
  if (SameWord(line.name, "VERSION")) return false;
  if (line.encoding == ValueEncoding::QuotedPrintable && line.value.ends_with('=')) return false;
  while (reader.Next(line)) {
    if (nesting.empty()) return false;
    const Envelope envelope = EnvelopeOf(line, own);
    if (IsBegin(envelope)) {
      nesting.Push(envelope == Envelope::BeginOwn, true);
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, false);
    } else if (envelope == Envelope::EndOwn && !nesting.Pop(true, false)) {
      return false;
    }
  }
  // A component may lack its end, an own one may not: the outer one's end would be taken for it.
  return !nesting.Pop(true, false);
}

std::vector<std::string_view> SplitComponents(std::string_view text, std::string_view own) {
  struct Range {
    size_t begin;
    size_t end;
  };
  constexpr size_t kNone = std::string_view::npos;
  std::vector<Range> ranges;
  Nesting<size_t> nesting;
  LineReader reader(text);
  for (Line line; reader.Next(line);) {
    const Envelope envelope = EnvelopeOf(line, own);
    if (envelope == Envelope::BeginOwn || (envelope == Envelope::BeginOther && !nesting.empty())) {
      nesting.Push(envelope == Envelope::BeginOwn, line.begin);
    } else if (envelope == Envelope::EndOther) {
      nesting.Pop(false, kNone);
    } else if (envelope == Envelope::EndOwn) {
      const size_t begin = nesting.Pop(true, kNone);
      if (begin == kNone) continue;
      while (!ranges.empty() && ranges.back().begin > begin) ranges.pop_back();
      ranges.push_back({begin, reader.position()});
    }
  }
  std::vector<std::string_view> components;
  components.reserve(ranges.size());
  for (const Range& range : ranges) {
    components.push_back(text.substr(range.begin, range.end - range.begin));
  }
  return components;
}

}  // namespace qv
