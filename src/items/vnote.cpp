#include "items/vnote.h"

#include <algorithm>

#include "items/kinds.h"
#include "items/moment_text.h"
#include "items/nesting.h"
#include "items/uid_text.h"
#include "platform/system/code_page.h"
#include "platform/system/service.h"
#include "support/vobject/decode.h"
#include "support/vobject/encode.h"
#include "support/vobject/marked_text.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

constexpr std::string_view kOwn = "VNOTE";
constexpr std::string_view kMemo = "VMEMO";

enum class NoteField { Extra, Dropped, Body, Uid, Modified };

struct NoteProperty {
  std::string_view name;
  NoteField field;
};
constexpr NoteProperty kProperties[] = {
    {"BODY", NoteField::Body},
    {"X-IRMC-LUID", NoteField::Uid},
    {"UID", NoteField::Uid},
    {"X-UID", NoteField::Uid},
    {"LAST-MODIFIED", NoteField::Modified},
    {"VERSION", NoteField::Dropped},
    {"PRODID", NoteField::Dropped},
};

NoteField FieldOf(std::string_view name) {
  const auto found = std::ranges::find_if(
      kProperties, [&](const NoteProperty& property) { return SameWord(property.name, name); });
  return found == std::end(kProperties) ? NoteField::Extra : found->field;
}

bool IsMemo(const Line& line) {
  return SameWord(Trimmed(line.value), kMemo);
}

// note := BEGIN:VNOTE line* END:VNOTE
//
// A VMEMO inside only wraps: its lines are the note's. Any other component inside is an extra. Of
// each field the first that is not empty counts, the others are extras.
class NoteReader {
 public:
  explicit NoteReader(std::string_view text) : reader_(text) {}

  bool Read() {
    for (Line line; reader_.Next(line);) {
      if (EnvelopeOf(line, kOwn) == Envelope::BeginOwn) break;
    }
    for (Line line; !ended_ && !overfull_ && reader_.Next(line);) ReadLine(line);
    return ended_ && !overfull_;
  }
  Note Take() { return std::move(note_); }

 private:
  void ReadLine(const Line& line) {
    const Envelope envelope = EnvelopeOf(line, kOwn);
    ended_ = envelope == Envelope::EndOwn;
    if (ended_) return;
    if (IsBegin(envelope)) {
      if (!IsMemo(line)) KeepExtra(line.header, ReadNested(reader_, line, kOwn, ended_));
    } else if (envelope == Envelope::EndOther) {
      if (!IsMemo(line)) KeepExtra(line.header, line.value);
    } else if (line.malformed || !ReadField(line)) {
      KeepExtra(line.header, line.value);
    }
  }

  // False for what has no place in the note.
  bool ReadField(const Line& line) {
    switch (FieldOf(line.name)) {
      case NoteField::Dropped:
        return true;
      case NoteField::Body:
        return ReadBody(line);
      case NoteField::Uid:
        return ReadUid(line);
      case NoteField::Modified:
        return ReadModified(line);
      case NoteField::Extra:
        break;
    }
    return false;
  }

  bool ReadBody(const Line& line) {
    if (!note_.body.empty()) return false;
    const auto text = decoder_.Text(line, Dialect::Old);
    if (text) note_.body = Unescape(*text, Dialect::Old);
    return text.has_value();
  }

  bool ReadUid(const Line& line) {
    if (!note_.fields.objUid.empty()) return false;
    const auto text = decoder_.Text(line, Dialect::Old, true);
    if (text) note_.fields.objUid = EncodeUid(Unescape(*text, Dialect::Old));
    return text.has_value();
  }

  bool ReadModified(const Line& line) {
    const auto token = decoder_.Octets(line, Dialect::Modern);
    if (!token || note_.fields.objModified != 0.0) return false;
    if (token->empty()) return true;
    const std::optional<DATE> moment = ParseMoment(*token);
    note_.fields.objModified = moment.value_or(0.0);
    return moment.has_value();
  }

  void KeepExtra(std::string_view header, std::string_view value) {
    std::vector<ExtraProperty>& extras = note_.fields.extras;
    overfull_ = extras.size() >= kMaxExtras;
    if (!overfull_) extras.push_back({TextFromRaw(header), TextFromRaw(value)});
  }

  LineReader reader_;
  ValueDecoder decoder_;
  Note note_;
  bool ended_ = false;
  bool overfull_ = false;
};

std::optional<Note> ReadFirstNote(std::string_view text) {
  NoteReader reader(text);
  if (!reader.Read()) return std::nullopt;
  return reader.Take();
}

// Would the rendered extra be read as this one extra again?
bool IsOneExtra(std::string_view rendered) {
  LineReader reader(rendered);
  Line line;
  if (!reader.Next(line)) return false;
  const Envelope envelope = EnvelopeOf(line, kOwn);
  if (envelope != Envelope::None && IsMemo(line)) return false;
  return IsOneProperty(rendered, kOwn);
}

}  // namespace

std::optional<Note> ParseVNote(std::string_view text) {
  std::string buffer;
  text = WithoutMark(text, buffer);
  if (std::optional<Note> note = ReadFirstNote(text)) return note;
  // A note that is cut off may stand before a whole one.
  const std::vector<std::string_view> notes = SplitVNotes(text);
  return notes.empty() ? std::nullopt : ReadFirstNote(notes.front());
}

std::string WriteVNote(const Note& note) {
  LineWriter writer;
  writer.Reserve(256 + note.body.size() * 2);
  const auto line = [&](std::string_view header, std::string_view value) {
    writer.Begin(header);
    writer.Plain(value);
  };
  line("BEGIN", kOwn);
  line("VERSION", "1.1");
  if (!note.fields.objUid.empty()) {
    writer.Begin("X-IRMC-LUID");
    writer.Text(DecodeUid(note.fields.objUid));
  }
  const std::string modified = MomentText(note.fields.objModified);
  if (!modified.empty()) line("LAST-MODIFIED", modified);
  writer.Begin("BODY");
  writer.Text(note.body);
  for (const ExtraProperty& extra : note.fields.extras) {
    const size_t before = writer.text().size();
    writer.Raw(extra.property, extra.value);
    if (!IsOneExtra(writer.text().substr(before))) writer.Cut(before);
  }
  line("END", kOwn);
  return writer.Take();
}

std::vector<std::string_view> SplitVNotes(std::string_view text) {
  return SplitComponents(text, kOwn);
}

Note NoteFromPlainText(std::string_view bytes) {
  Note note;
  note.body = Service<CodePages>::Get().Decode(bytes.substr(0, bytes.find('\0')), kAnsiPage);
  return note;
}

std::string PlainTextOf(const Note& note) {
  return Service<CodePages>::Get().Encode(note.body, kAnsiPage);
}

}  // namespace qv
