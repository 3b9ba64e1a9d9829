#include "items/flat_text.h"

#include "items/extra.h"
#include "items/kinds.h"
#include "items/moment_text.h"
#include "items/nesting.h"
#include "items/uid_text.h"
#include "support/vobject/decode.h"
#include "support/vobject/encode.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

enum class CommonField { None, Dropped, Uid, Modified };

struct CommonProperty {
  std::string_view name;
  CommonField field;
};
constexpr CommonProperty kCommon[] = {
    {"X-IRMC-LUID", CommonField::Uid}, {"UID", CommonField::Uid},
    {"X-UID", CommonField::Uid},       {"LAST-MODIFIED", CommonField::Modified},
    {"VERSION", CommonField::Dropped}, {"PRODID", CommonField::Dropped},
};

CommonField CommonFieldOf(std::string_view name) {
  for (const CommonProperty& property : kCommon) {
    if (SameWord(property.name, name)) return property.field;
  }
  return CommonField::None;
}

bool IsWrapper(const Line& line, const FlatForm& form) {
  return !form.wrapper.empty() && SameWord(Trimmed(line.value), form.wrapper);
}

bool IsNoUrlCharacter(char16_t c) {
  return c == u'\t' || c == u'\r' || c == u'\n' || c == u'\0';
}

class FlatReader {
 public:
  FlatReader(std::string_view text, const FlatForm& form, std::span<const FlatSlot> slots,
             ItemFields& fields)
      : reader_(text), form_(form), slots_(slots), fields_(fields) {}

  bool Read() {
    for (Line line; reader_.Next(line);) {
      if (EnvelopeOf(line, form_.component) == Envelope::BeginOwn) break;
    }
    for (Line line; !ended_ && !overfull_ && reader_.Next(line);) ReadLine(line);
    return ended_ && !overfull_;
  }

 private:
  void ReadLine(const Line& line) {
    const Envelope envelope = EnvelopeOf(line, form_.component);
    ended_ = envelope == Envelope::EndOwn;
    if (ended_) return;
    if (IsBegin(envelope)) {
      if (IsWrapper(line, form_)) return;
      const std::string_view header = line.header;
      KeepExtra(ExtraOf(header, ReadNested(reader_, line, form_.component, ended_), Dialect::Old));
    } else if (envelope == Envelope::EndOther) {
      if (!IsWrapper(line, form_)) KeepExtra(ExtraOf(line, Dialect::Old));
    } else if (CommonFieldOf(line.name) == CommonField::Dropped) {
      return;  // whatever is wrong with it
    } else if (line.malformed || line.bare || !ReadProperty(line)) {
      KeepExtra(ExtraOf(line, Dialect::Old));
    }
  }

  // False for what has no place in the item.
  bool ReadProperty(const Line& line) {
    switch (CommonFieldOf(line.name)) {
      case CommonField::Uid:
        return ReadUid(line);
      case CommonField::Modified:
        return ReadModified(line);
      case CommonField::Dropped:
      case CommonField::None:
        break;
    }
    for (const FlatSlot& slot : slots_) {
      if (SameWord(slot.name, line.name)) return ReadSlot(line, slot);
    }
    return false;
  }

  bool ReadSlot(const Line& line, const FlatSlot& slot) {
    if (!slot.value->empty()) return false;
    const bool isUrl = slot.kind == FlatKind::Url;
    const auto text = decoder_.Text(line, isUrl ? Dialect::Modern : Dialect::Old, isUrl);
    if (!text) return false;
    *slot.value = Unescape(*text, Dialect::Old);
    if (isUrl) std::erase_if(*slot.value, IsNoUrlCharacter);
    return true;
  }

  bool ReadUid(const Line& line) {
    if (!fields_.objUid.empty()) return false;
    const auto text = decoder_.Text(line, Dialect::Old, true);
    if (text) fields_.objUid = EncodeUid(Unescape(*text, Dialect::Old));
    return text.has_value();
  }

  bool ReadModified(const Line& line) {
    const auto token = decoder_.Octets(line, Dialect::Modern);
    if (!token || fields_.objModified != 0.0) return false;
    if (token->empty()) return true;
    const std::optional<DATE> moment = ParseMoment(*token);
    fields_.objModified = moment.value_or(0.0);
    return moment.has_value();
  }

  void KeepExtra(ExtraProperty extra) {
    overfull_ = fields_.extras.size() >= kMaxExtras;
    if (!overfull_) fields_.extras.push_back(std::move(extra));
  }

  LineReader reader_;
  ValueDecoder decoder_;
  const FlatForm& form_;
  std::span<const FlatSlot> slots_;
  ItemFields& fields_;
  bool ended_ = false;
  bool overfull_ = false;
};

bool ReadFirst(std::string_view text, const FlatForm& form, std::span<const FlatSlot> slots,
               ItemFields& fields) {
  fields = ItemFields();
  for (const FlatSlot& slot : slots) slot.value->clear();
  return FlatReader(text, form, slots, fields).Read();
}

// A line of the wrapper would be read as the wrapper's.
bool IsWrapperLine(const ExtraProperty& extra, const FlatForm& form) {
  const std::string bytes = BytesOf(extra);
  LineReader reader(bytes);
  Line line;
  return reader.Next(line) && EnvelopeOf(line, form.component) != Envelope::None &&
         IsWrapper(line, form);
}

}  // namespace

bool ReadFlat(std::string_view text, const FlatForm& form, std::span<const FlatSlot> slots,
              ItemFields& fields) {
  std::string buffer;
  text = WithoutMark(text, buffer);
  if (ReadFirst(text, form, slots, fields)) return true;
  // One that is cut off may stand before a whole one.
  const std::vector<std::string_view> whole = SplitComponents(text, form.component);
  return !whole.empty() && ReadFirst(whole.front(), form, slots, fields);
}

std::string WriteFlat(const FlatForm& form, const ItemFields& fields, DATE modified,
                      std::span<const FlatValue> values) {
  LineWriter writer;
  size_t characters = 0;
  for (const FlatValue& value : values) characters += value.value.size();
  writer.Reserve(256 + characters * 2);
  const auto plain = [&](std::string_view header, std::string_view value) {
    writer.Begin(header);
    writer.Plain(value);
  };
  const auto text = [&](std::string_view header, std::u16string_view value) {
    writer.Begin(header);
    writer.Text(value);
  };
  plain("BEGIN", form.component);
  plain("VERSION", form.version);
  if (!fields.objUid.empty()) text("X-IRMC-LUID", DecodeUid(fields.objUid));
  const std::string moment = MomentText(modified);
  if (!moment.empty()) plain("LAST-MODIFIED", moment);
  for (const FlatValue& value : values) text(value.name, value.value);
  for (const ExtraProperty& extra : fields.extras) {
    if (!IsWrapperLine(extra, form)) WriteExtra(writer, extra, form.component);
  }
  plain("END", form.component);
  return writer.Take();
}

}  // namespace qv
