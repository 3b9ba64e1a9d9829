#include "support/vobject/old_grammar.h"

#include <algorithm>

#include "support/vobject/decode.h"

namespace qv {
namespace {

bool SaysOld(const Line& line) {
  if (line.encoding == ValueEncoding::QuotedPrintable || !line.charset.empty()) return true;
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    if (parameter.name.empty()) return true;
  }
  return false;
}

bool SaysModern(const Parameter& parameter) {
  if (parameter.raw.find('"') != parameter.raw.npos) return true;
  if (SameWord(parameter.name, "TYPE")) return parameter.value.find(',') != parameter.value.npos;
  if (SameWord(parameter.name, "ENCODING")) return SameWord(parameter.value, "B");
  return SameWord(parameter.name, "VALUE") && !SameWord(parameter.value, "URL") &&
         !SameWord(parameter.value, "INLINE") && !SameWord(parameter.value, "CONTENT-ID");
}

bool HasModernEscape(std::string_view value) {
  for (size_t i = value.find('\\'); i != value.npos && i + 1 < value.size();
       i = value.find('\\', i + 2)) {
    const char c = value[i + 1];
    if (c == ',' || c == 'n' || c == 'N') return true;
  }
  return false;
}

bool IsEnvelope(const Line& line) {
  return SameWord(line.name, "BEGIN") || SameWord(line.name, "END");
}

// Quotes hide what would end the value, and blanks that would be taken off it.
bool NeedsQuotes(std::string_view value) {
  return value.find_first_of(":;,=") != value.npos || Trimmed(value).size() != value.size();
}

// Without encoding and charset, which the value gets anew; of base64 the charset is the bytes' own.
template <class Spelling>
std::string HeaderOf(const Line& line, Spelling&& spelling) {
  const bool isBytes = line.encoding == ValueEncoding::Base64;
  std::string header;
  if (!line.group.empty()) header.append(line.group).append(".");
  header.append(line.name);
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    const bool isCharset = SameWord(parameter.name, "CHARSET");
    const bool isValueKind = SameWord(parameter.name, "VALUE");
    if (IsTransport(parameter) && !isValueKind && !(isCharset && isBytes)) continue;
    header.append(";").append(spelling(parameter));
  }
  return header;
}

class OldGrammarWriter {
 public:
  OldGrammarWriter(const ListProperties& lists, LineWriter& writer)
      : lists_(lists), writer_(writer) {}

  void Write(const Line& line) {
    if (line.bare || line.malformed || IsEnvelope(line) || !WriteAnew(line)) {
      writer_.Begin(line.header);
      if (line.bare) return writer_.Bare();
      writer_.Plain(line.value);
    }
  }

 private:
  bool WriteAnew(const Line& line) {
    if (line.encoding == ValueEncoding::Base64) {
      const auto bytes = decoder_.Octets(line, Dialect::Modern);
      if (!bytes) return false;
      writer_.Begin(HeaderOf(line, OldParameter));
      writer_.Append(";ENCODING=BASE64");
      writer_.Base64(*bytes);
      return true;
    }
    const auto text = decoder_.Text(line, Dialect::Modern, true);
    writer_.Begin(HeaderOf(line, OldParameter));
    const bool isList = std::ranges::any_of(
        lists_.names, [&](std::string_view name) { return SameWord(name, line.name); });
    writer_.Escaped(OldEscapes(*text, isList ? lists_.separator : u'\0'));
    return true;
  }

  const ListProperties& lists_;
  LineWriter& writer_;
  ValueDecoder decoder_;
};

// A component tells by its own VERSION how it is to be read, wherever it stands.
bool SaysItsVersion(std::string_view text) {
  LineReader reader(text);
  Line line;
  if (!reader.Next(line) || !SameWord(line.name, "BEGIN")) return false;
  while (reader.Next(line)) {
    if (SameWord(line.name, "VERSION")) return true;
  }
  return false;
}

}  // namespace

std::optional<Dialect> DialectByLook(const Line& line) {
  if (SaysOld(line)) return Dialect::Old;
  ParameterReader parameters(line.parameters);
  for (Parameter parameter; parameters.Next(parameter);) {
    if (SaysModern(parameter)) return Dialect::Modern;
  }
  const bool isPlain = line.encoding == ValueEncoding::Plain;
  if (isPlain && (line.folded || HasModernEscape(line.value))) return Dialect::Modern;
  return std::nullopt;
}

std::string OldParameter(const Parameter& parameter) {
  const std::string_view value = parameter.value;
  // Quotes that are not those around the whole value belong to what is not understood.
  if (parameter.name.empty() || value.empty() || value.find('"') != value.npos) {
    return std::string(parameter.raw);
  }
  std::string old;
  const auto put = [&](std::string_view word, bool quoted) {
    if (!old.empty()) old += ';';
    const std::string_view quote = quoted ? "\"" : "";
    old.append(parameter.name).append("=").append(quote).append(word).append(quote);
  };
  const bool quoted = parameter.raw.find('"') != parameter.raw.npos;
  if (SameWord(parameter.name, "TYPE")) {
    std::string_view list = value;
    for (std::string_view word; NextWord(list, word);) put(word, quoted && NeedsQuotes(word));
  } else if (SameWord(parameter.name, "VALUE") && SameWord(value, "URI")) {
    put("URL", false);
  } else if (quoted) {
    put(value, NeedsQuotes(value));
  }
  return old.empty() ? std::string(parameter.raw) : old;
}

void WriteInOldGrammar(std::string_view modern, const ListProperties& lists, LineWriter& writer) {
  if (SaysItsVersion(modern)) {
    return writer.Begin(modern);
  }
  LineReader reader(modern);
  OldGrammarWriter old(lists, writer);
  for (Line line; reader.Next(line);) old.Write(line);
}

bool WriteHidden(std::string_view text, LineWriter& writer) {
  LineReader reader(text);
  Line line;
  Line more;
  const bool isText = reader.Next(line) && !line.bare && !line.malformed && !IsEnvelope(line) &&
                      line.encoding != ValueEncoding::Base64 && LooksLikeEnvelope(line.value);
  if (!isText || reader.Next(more)) return false;
  ValueDecoder decoder;
  writer.Begin(HeaderOf(line, [](const Parameter& kept) { return std::string(kept.raw); }));
  writer.Escaped(*decoder.Text(line, Dialect::Old, true));
  return true;
}

}  // namespace qv
