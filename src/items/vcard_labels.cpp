#include "items/vcard_labels.h"

#include <algorithm>
#include <bit>
#include <tuple>

#include "support/text.h"
#include "support/vobject/decode.h"
#include "support/vobject/old_grammar.h"
#include "support/vobject/raw_text.h"

namespace qv {
namespace {

// A number without FAX is for the voice whether it says so or not.
constexpr uint32_t kFax = 1u << 0;
constexpr uint32_t kVoice = 1u << 31;

constexpr TypeWord kPhoneWords[] = {
    {"HOME", 1u << 1},       {"WORK", 1u << 2},        {"CELL", 1u << 3},
    {"FAX", kFax},           {"VOICE", kVoice},        {"PREF", 1u << 4},
    {"PAGER", 1u << 5},      {"CAR", 1u << 6},         {"ISDN", 1u << 7},
    {"VIDEO", 1u << 8},      {"X-ASSISTANT", 1u << 9}, {"X-CALLBACK", 1u << 10},
    {"X-RADIO", 1u << 11},   {"X-TELEX", 1u << 12},    {"X-COMPANY-MAIN", 1u << 13},
    {"X-TTY-TDD", 1u << 14},
};
constexpr TypeWord kMailWords[] = {
    {"INTERNET", 0}, {"HOME", 1}, {"WORK", 2}, {"MOBILE", 4}, {"X-MOBILE", 4}};
constexpr TypeWord kPlaceWords[] = {{"HOME", 1}, {"WORK", 2}};
constexpr TypeWord kOrganisationWords[] = {{"WORK", 1}, {"X-OTHER", 2}};
constexpr TypeWord kMessengerWords[] = {
    {"GOOGLE_TALK", 1}, {"AOL", 2},  {"MSN", 4},      {"YAHOO", 8},     {"SKYPE", 16},
    {"QQ", 32},         {"ICQ", 64}, {"JABBER", 128}, {"X-OTHER", 256},
};

constexpr bool Says(std::string_view parameters, std::string_view word) {
  for (size_t at = parameters.find(word); at != parameters.npos;
       at = parameters.find(word, at + 1)) {
    const size_t end = at + word.size();
    if (parameters[at - 1] == ';' && (end == parameters.size() || parameters[end] == ';')) {
      return true;
    }
  }
  return false;
}

// The words' bits of a kind follow from what is written for it.
constexpr uint32_t BitsOf(std::span<const TypeWord> words, std::string_view parameters) {
  uint32_t bits = 0;
  for (const TypeWord& word : words) bits |= Says(parameters, word.word) ? word.bits : 0;
  return bits & ~kVoice;
}

template <class Kind, size_t kWords>
constexpr KindRow Row(Kind kind, const TypeWord (&words)[kWords], std::string_view parameters) {
  return {static_cast<int32_t>(kind), parameters, BitsOf(words, parameters)};
}

constexpr KindRow kPhoneRows[] = {
    Row(PhoneKind::WorkFax, kPhoneWords, ";WORK;FAX"),
    Row(PhoneKind::HomeFax, kPhoneWords, ";HOME;FAX"),
    Row(PhoneKind::OtherFax, kPhoneWords, ";FAX"),
    Row(PhoneKind::Mobile, kPhoneWords, ";CELL"),
    Row(PhoneKind::Pager, kPhoneWords, ";PAGER"),
    Row(PhoneKind::Car, kPhoneWords, ";CAR"),
    Row(PhoneKind::Isdn, kPhoneWords, ";ISDN"),
    Row(PhoneKind::Video, kPhoneWords, ";VIDEO"),
    Row(PhoneKind::Assistant, kPhoneWords, ";X-ASSISTANT"),
    Row(PhoneKind::Callback, kPhoneWords, ";X-CALLBACK"),
    Row(PhoneKind::Company, kPhoneWords, ";X-COMPANY-MAIN"),
    Row(PhoneKind::Radio, kPhoneWords, ";X-RADIO"),
    Row(PhoneKind::Telex, kPhoneWords, ";X-TELEX"),
    Row(PhoneKind::TtyTdd, kPhoneWords, ";X-TTY-TDD"),
    Row(PhoneKind::Work, kPhoneWords, ";WORK;VOICE"),
    Row(PhoneKind::Home, kPhoneWords, ";HOME;VOICE"),
    Row(PhoneKind::Default, kPhoneWords, ";PREF"),
    Row(PhoneKind::Other, kPhoneWords, ""),
};
constexpr KindRow kMailRows[] = {
    Row(MailKind::Home, kMailWords, ";INTERNET;HOME"),
    Row(MailKind::Work, kMailWords, ";INTERNET;WORK"),
    Row(MailKind::Mobile, kMailWords, ";MOBILE"),
    Row(MailKind::Other, kMailWords, ";INTERNET"),
};
constexpr KindRow kPlaceRows[] = {
    Row(PlaceKind::Home, kPlaceWords, ";HOME"),
    Row(PlaceKind::Work, kPlaceWords, ";WORK"),
    Row(PlaceKind::Other, kPlaceWords, ""),
};
constexpr KindRow kOrganisationRows[] = {
    Row(OrganisationKind::Work, kOrganisationWords, ";WORK"),
    Row(OrganisationKind::Other, kOrganisationWords, ";X-OTHER"),
};
constexpr KindRow kMessengerRows[] = {
    Row(MessengerKind::GoogleTalk, kMessengerWords, ";GOOGLE_TALK"),
    Row(MessengerKind::Aim, kMessengerWords, ";AOL"),
    Row(MessengerKind::Msn, kMessengerWords, ";MSN"),
    Row(MessengerKind::Yahoo, kMessengerWords, ";YAHOO"),
    Row(MessengerKind::Skype, kMessengerWords, ";SKYPE"),
    Row(MessengerKind::Qq, kMessengerWords, ";QQ"),
    Row(MessengerKind::Icq, kMessengerWords, ";ICQ"),
    Row(MessengerKind::Jabber, kMessengerWords, ";JABBER"),
    Row(MessengerKind::Other, kMessengerWords, ";X-OTHER"),
};

constexpr std::string_view kGroupParameter = "GROUP=";

// What stands in the parameters of one property.
struct Words {
  uint32_t bits = 0;
  bool foreign = false;  // more than the family's own words
  bool custom = false;
  std::string kept;  // without the parameters of transport
};

void TakeWord(const LabelFamily& family, std::string_view word, Words& words) {
  for (const TypeWord& known : family.words) {
    if (!SameWord(known.word, word)) continue;
    words.bits |= known.bits;
    return;
  }
  words.foreign = true;
  words.custom |= word.size() > 2 && SameWord(word.substr(0, 2), "X-");
}

Words ReadWords(const LabelFamily& family, std::string_view parameters,
                Dialect dialect = Dialect::Old) {
  Words words;
  ParameterReader reader(parameters);
  for (Parameter parameter; reader.Next(parameter);) {
    if (IsTransport(parameter)) continue;
    if (!words.kept.empty()) words.kept += ';';
    if (dialect == Dialect::Modern) {
      words.kept += OldParameter(parameter);
    } else {
      words.kept += parameter.raw;
    }
    if (parameter.name.empty() || SameWord(parameter.name, "TYPE")) {
      std::string_view list = parameter.value;
      for (std::string_view word; NextWord(list, word);) TakeWord(family, word, words);
    } else {
      words.foreign = true;
    }
  }
  if ((words.bits & kFax) == 0) words.bits &= ~kVoice;
  return words;
}

const KindRow& BestRow(const LabelFamily& family, uint32_t bits) {
  const KindRow* best = nullptr;
  for (const KindRow& row : family.rows) {
    if ((row.bits & bits) != row.bits || (row.bits == 0 && bits == 0)) continue;
    if (best == nullptr || std::popcount(row.bits) > std::popcount(best->bits)) best = &row;
  }
  return best == nullptr ? family.RowOf(family.plainKind) : *best;
}

int32_t KindSaid(const LabelFamily& family, std::string_view parameters) {
  return BestRow(family, ReadWords(family, parameters).bits).kind;
}

std::string_view GroupInFront(std::string_view parameters) {
  if (!parameters.starts_with(kGroupParameter)) return {};
  const std::string_view group =
      parameters.substr(0, parameters.find(';')).substr(kGroupParameter.size());
  return IsGroupName(group) ? group : std::string_view();
}

// Not every row comes from the reader: one that would break the line is not written.
bool IsWritable(std::string_view parameters) {
  bool quoted = false;
  for (const char c : parameters) {
    if (c == '\r' || c == '\n' || (c == ':' && !quoted)) return false;
    if (c == '"') quoted = !quoted;
  }
  if (quoted) return false;
  ParameterReader reader(parameters);
  for (Parameter parameter; reader.Next(parameter);) {
    if (IsTransport(parameter)) return false;
  }
  return true;
}

auto KeyOf(int32_t kind, const HiddenLabel& row) {
  return std::tuple(kind, std::u16string_view(row.value));
}

}  // namespace

constinit const LabelFamily kPhoneLabels = {
    "TEL", u"TEL", u"TEL", kPhoneWords, kPhoneRows, static_cast<int32_t>(PhoneKind::Other)};
constinit const LabelFamily kMailLabels = {"EMAIL",          u"EMAIL",
                                           u"X-EMAILCUSTOM", kMailWords,
                                           kMailRows,        static_cast<int32_t>(MailKind::Other)};
constinit const LabelFamily kWebLabels = {
    "URL", u"URL", u"URL", kPlaceWords, kPlaceRows, static_cast<int32_t>(PlaceKind::Other)};
constinit const LabelFamily kAddressLabels = {
    "ADR", u"ADR", u"ADR", kPlaceWords, kPlaceRows, static_cast<int32_t>(PlaceKind::Other)};
constinit const LabelFamily kOrganisationLabels = {"ORG",
                                                   u"ORG",
                                                   u"X-ORGCUSTOM",
                                                   kOrganisationWords,
                                                   kOrganisationRows,
                                                   static_cast<int32_t>(OrganisationKind::Work)};
constinit const LabelFamily kMessengerLabels = {
    "X-IMPP",        u"X-IMPP",      u"X-IMPPCUSTOM",
    kMessengerWords, kMessengerRows, static_cast<int32_t>(MessengerKind::Other)};

const KindRow& LabelFamily::RowOf(int32_t kind) const {
  const auto row = std::find_if(rows.begin(), rows.end(),
                                [&](const KindRow& candidate) { return candidate.kind == kind; });
  return row == rows.end() ? rows.back() : *row;
}

Label ReadLabel(const LabelFamily& family, const Line& line, Dialect dialect, int32_t impliedKind) {
  Words words;
  if (!line.parameters.empty()) words = ReadWords(family, line.parameters, dialect);
  // What the name said must be said by a word once the property is written under its own name.
  if (impliedKind != 0) {
    const KindRow& implied = family.RowOf(impliedKind);
    if ((words.bits & implied.bits) != implied.bits) {
      words.bits |= implied.bits;
      const std::string_view word = implied.parameters.substr(1);
      words.kept = words.kept.empty() ? std::string(word) : std::string(word) + ';' + words.kept;
    }
  }
  const KindRow& row = BestRow(family, words.bits);
  Label label;
  label.kind = row.kind;
  label.hidden =
      words.foreign || !line.group.empty() || (words.bits != 0 && words.bits != row.bits);
  if (!label.hidden) return label;
  label.custom = words.custom;
  std::string extended;
  if (!line.group.empty()) extended.append(kGroupParameter).append(line.group);
  if (!extended.empty() && !words.kept.empty()) extended += ';';
  extended += words.kept;
  label.extended = TextFromRaw(extended);
  return label;
}

void BeginLabelled(LineWriter& writer, const LabelFamily& family, int32_t kind,
                   const HiddenLabel* label) {
  std::string parameters;
  if (label != nullptr) AppendRaw(label->extended, parameters);
  if (parameters.empty() || !IsWritable(parameters) || KindSaid(family, parameters) != kind) {
    writer.Begin(family.property);
    writer.Append(family.RowOf(kind).parameters);
    return;
  }
  std::string_view rest = parameters;
  const std::string_view group = GroupInFront(rest);
  if (group.empty()) {
    writer.Begin(family.property);
  } else {
    rest.remove_prefix(std::min(rest.size(), kGroupParameter.size() + group.size() + 1));
    writer.Begin(group);
    writer.Append(".");
    writer.Append(family.property);
  }
  if (rest.empty()) return;
  writer.Append(";");
  writer.Append(rest);
}

ExtraProperty WebLabelExtra(const HiddenLabel& row) {
  ExtraProperty extra{row.property + u";" + row.extended, row.value};
  extra.label = true;
  return extra;
}

HiddenLabel WebLabelOf(const ExtraProperty& extra) {
  const size_t end = std::min(extra.property.find(u';'), extra.property.size());
  return {extra.property.substr(0, end), extra.value,
          extra.property.substr(std::min(end + 1, extra.property.size())), false};
}

ExtraProperty ListExtra(std::string_view name, std::u16string_view list) {
  ExtraProperty extra{FromUtf8(name), std::u16string(list)};
  extra.label = true;
  return extra;
}

const std::u16string* FindList(std::span<const ExtraProperty> extras, std::string_view name,
                               std::u16string_view text) {
  const auto found = std::ranges::find_if(extras, [&](const ExtraProperty& extra) {
    return extra.label && extra.property == FromUtf8(name) && OldListText(extra.value) == text;
  });
  return found == extras.end() ? nullptr : &found->value;
}

bool IsOf(const LabelFamily& family, const HiddenLabel& row) {
  return EqualsIgnoreCase(row.property, family.hiddenProperty) ||
         EqualsIgnoreCase(row.property, family.customProperty);
}

ValueLabels::ValueLabels(const LabelFamily& family, std::span<const HiddenLabel> rows) {
  for (const HiddenLabel& row : rows) {
    if (!IsOf(family, row) || row.extended.empty()) continue;
    std::string parameters;
    AppendRaw(row.extended, parameters);
    entries_.push_back({KindSaid(family, parameters), &row});
  }
  std::stable_sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
    return KeyOf(a.kind, *a.row) < KeyOf(b.kind, *b.row);
  });
}

const HiddenLabel* ValueLabels::Take(int32_t kind, std::u16string_view value) {
  const auto key = std::tuple(kind, value);
  const auto first = std::lower_bound(entries_.begin(), entries_.end(), key,
                                      [](const Entry& entry, const auto& wanted) {
                                        return KeyOf(entry.kind, *entry.row) < wanted;
                                      });
  if (first == entries_.end()) return nullptr;
  const auto next = first + static_cast<std::ptrdiff_t>(std::min(
                                first->taken, static_cast<size_t>(entries_.end() - first)));
  if (next == entries_.end() || KeyOf(next->kind, *next->row) != key) return nullptr;
  ++first->taken;
  return next->row;
}

}  // namespace qv
