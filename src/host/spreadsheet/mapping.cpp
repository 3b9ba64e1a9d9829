#include "host/spreadsheet/mapping.h"

#include <algorithm>

#include "host/profile.h"
#include "host/spreadsheet/labels.h"
#include "host/whole_file.h"
#include "platform/system/files.h"
#include "support/text.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

std::string Quoted(std::u16string_view text) {
  return std::string("\"").append(ToUtf8(text)).append("\"");
}

std::string HeadingList(const Sheet& sheet) {
  std::string list;
  for (const std::u16string& heading : sheet.header) {
    list += (list.empty() ? "" : ", ") + Quoted(heading);
  }
  return list;
}

std::string FieldList(const SheetKind& kind) {
  std::string list;
  for (const std::u16string_view name : kind.fields.names) {
    list += (list.empty() ? "" : ", ") + ToUtf8(name);
  }
  return list;
}

// The field of that name in whatever letter case; empty for none.
std::u16string_view FieldNamed(const SheetKind& kind, std::u16string_view name) {
  const auto found = std::ranges::find_if(
      kind.fields.names, [&](std::u16string_view field) { return EqualsIgnoreCase(field, name); });
  return found == kind.fields.names.end() ? std::u16string_view() : *found;
}

// Our own headings have a number behind them: "Mobile_2".
std::u16string_view WithoutNumber(std::u16string_view heading) {
  const size_t mark = heading.rfind(u'_');
  const bool isNumber = mark != heading.npos && mark + 1 < heading.size() &&
                        heading.find_first_not_of(u"0123456789", mark + 1) == heading.npos;
  return isNumber ? heading.substr(0, mark) : heading;
}

// Another of the list that a field belongs to, for a second value: "Other Telephone" beside "Home
// Telephone".
constexpr std::u16string_view kFamilies[][kMaxChoices - 1] = {
    {u"Other Telephone", u"Default Telephone", u"Company Telephone", u"Callback"},
    {u"Other Fax", u"Home Fax", u"Work Fax", u""},
    {u"Other Email", u"Work Email", u"Home Email", u""},
    {u"Other Url", u"Work Url", u"Home Url", u""},
};
constexpr std::pair<std::u16string_view, size_t> kFamilyOf[] = {
    {u"Telephone", 0}, {u"Mobile", 0}, {u"Fax", 1}, {u"Email", 2}, {u"Url", 3}};

// What a heading may be, the best first; the rest is empty.
Heading ChoicesOf(const SheetKind& kind, std::u16string_view heading) {
  const std::u16string_view own = FieldNamed(kind, WithoutNumber(heading));
  if (own.empty()) return FindHeading(kind, PlainHeading(heading));
  Heading choices{{}, {own}};
  for (const auto& [tail, family] : kFamilyOf) {
    if (!own.ends_with(tail) || WithoutNumber(heading) == heading) continue;
    std::ranges::copy(kFamilies[family], choices.fields + 1);
  }
  return choices;
}

// The second value of a field and those behind it: "Mobile_2".
bool IsFurtherValue(std::u16string_view heading) {
  const std::u16string_view name = WithoutNumber(heading);
  return name != heading && ToInt(heading.substr(name.size() + 1)) > 1;
}

size_t Matches(const Sheet& sheet, const SheetKind& kind) {
  return static_cast<size_t>(std::ranges::count_if(
      sheet.header,
      [&](const std::u16string& heading) { return !ChoicesOf(kind, heading).fields[0].empty(); }));
}

size_t Matches(const std::vector<std::u16string>& fields, const SheetKind& kind) {
  return static_cast<size_t>(std::ranges::count_if(
      fields, [&](const std::u16string& field) { return !FieldNamed(kind, field).empty(); }));
}

std::vector<std::u16string> FieldsOf(const MapArguments& given) {
  std::vector<std::u16string> fields;
  for (const std::string& argument : given) {
    const size_t sign = argument.rfind('=');
    if (sign != argument.npos) fields.push_back(FromUtf8(argument.substr(sign + 1)));
  }
  return fields;
}

const SheetKind& KindOfStore(const std::string& store) {
  const SheetKind* kind = FindSheetKind(store);
  if (kind == nullptr) {
    throw UsageError("\"" + store +
                     "\" has no spreadsheet form; contacts, calendar and notes have");
  }
  return *kind;
}

// The kind with the most points; `points` may not be the same for two.
template <class Points>
const SheetKind* BestKind(Points&& points) {
  const SheetKind* best = nullptr;
  size_t most = 0;
  for (const SheetKind& kind : SheetKinds()) {
    const size_t count = points(kind);
    if (count == most) best = nullptr;
    if (count > most) {
      best = &kind;
      most = count;
    }
  }
  return best;
}

const SheetKind& GuessKind(const Sheet& sheet, const MapArguments& given) {
  const std::vector<std::u16string> named = FieldsOf(given);
  const SheetKind* best =
      BestKind([&](const SheetKind& kind) { return Matches(sheet, kind) + Matches(named, kind); });
  if (best == nullptr) {
    throw UsageError("its headings do not tell whether it holds contacts, a calendar or notes: " +
                     HeadingList(sheet) +
                     "; name it with --store contacts, --store calendar or --store notes, and a "
                     "column's field with --map COLUMN=FIELD");
  }
  return *best;
}

bool IsTaken(const SheetMapping& mapping, std::u16string_view field) {
  return std::ranges::find(mapping.columns, field, &ColumnChoice::field) != mapping.columns.end();
}

std::string TakenElsewhere(std::u16string_view field) {
  return Quoted(field) + " is taken from another column";
}

// For each column whether it has text. Of a sheet without rows nobody knows, so all have.
std::vector<bool> ColumnsWithText(const Sheet& sheet) {
  std::vector<bool> columns(sheet.header.size(), sheet.rows.empty());
  for (const SheetRow& row : sheet.rows) {
    for (size_t i = 0; i < row.cells.size(); ++i) {
      if (!TrimBlanks(row.cells[i]).empty()) columns[i] = true;
    }
  }
  return columns;
}

// Columns with text go first, and each of them gets its first choice before any gets another one.
class Guesser {
 public:
  Guesser(const Sheet& sheet, SheetMapping& mapping)
      : sheet_(sheet), mapping_(mapping), hasText_(ColumnsWithText(sheet)) {
    for (const std::u16string& heading : sheet.header) {
      choices_.push_back(ChoicesOf(*mapping.kind, heading));
    }
    SettleName();
  }

  void Run() {
    mapping_.columns.resize(sheet_.header.size());
    if (mapping_.kind->store == "contacts") MarkLabelled();
    for (size_t i = 0; i < choices_.size(); ++i) {
      if (hasText_[i] && !IsFurtherValue(sheet_.header[i])) Take(i, 1);
    }
    for (size_t i = 0; i < choices_.size(); ++i) {
      if (hasText_[i]) Take(i, kMaxChoices);
    }
    for (size_t i = 0; i < choices_.size(); ++i) Take(i, 1);
    for (size_t i = 0; i < choices_.size(); ++i) Explain(i);
  }

 private:
  bool Has(std::u16string_view field) const {
    return std::ranges::any_of(choices_,
                               [&](const Heading& choices) { return choices.fields[0] == field; });
  }

  // "Name" beside a first name alone is the last name.
  void SettleName() {
    if (!Has(u"GivenName") || Has(u"FamilyName")) return;
    for (size_t i = 0; i < choices_.size(); ++i) {
      if (PlainHeading(sheet_.header[i]) == u"name") choices_[i].fields[0] = u"FamilyName";
    }
  }

  void MarkLabelled() {
    const std::vector<bool> labelled = LabelledColumns(sheet_);
    for (size_t i = 0; i < labelled.size(); ++i) {
      if (labelled[i]) mapping_.columns[i].field = kByLabel;
    }
  }

  void Take(size_t column, size_t choices) {
    ColumnChoice& choice = mapping_.columns[column];
    for (size_t i = 0; i < choices && choice.field.empty(); ++i) {
      const std::u16string_view field = choices_[column].fields[i];
      if (!field.empty() && !IsTaken(mapping_, field)) choice.field = field;
    }
  }

  void Explain(size_t column) {
    ColumnChoice& choice = mapping_.columns[column];
    if (!choice.field.empty()) return;
    const std::u16string_view first = choices_[column].fields[0];
    choice.reason = first.empty() ? "no field is known by this heading" : TakenElsewhere(first);
  }

  const Sheet& sheet_;
  SheetMapping& mapping_;
  const std::vector<bool> hasText_;
  std::vector<Heading> choices_;
};

size_t ColumnNamed(const Sheet& sheet, const std::string& name) {
  const std::u16string wide = FromUtf8(name);
  const auto exact = std::ranges::find(sheet.header, wide);
  if (exact != sheet.header.end()) return static_cast<size_t>(exact - sheet.header.begin());
  const auto like = std::ranges::find_if(sheet.header, [&](const std::u16string& heading) {
    return EqualsIgnoreCase(heading, std::u16string_view(wide));
  });
  if (like != sheet.header.end()) return static_cast<size_t>(like - sheet.header.begin());
  if (name.starts_with('#')) {
    const auto number = static_cast<size_t>(std::max(0, ToInt(wide.substr(1))));
    if (number >= 1 && number <= sheet.header.size()) return number - 1;
  }
  throw UsageError("--map: there is no column \"" + name + "\"; there are " + HeadingList(sheet) +
                   ", or #1 to #" + std::to_string(sheet.header.size()));
}

void Apply(const Sheet& sheet, const std::string& argument, SheetMapping& mapping) {
  const size_t sign = argument.rfind('=');
  if (sign == argument.npos) {
    throw UsageError("--map: \"" + argument + "\" is not COLUMN=FIELD");
  }
  const size_t column = ColumnNamed(sheet, argument.substr(0, sign));
  const std::u16string wanted = FromUtf8(argument.substr(sign + 1));
  const std::u16string field(FieldNamed(*mapping.kind, wanted));
  if (field.empty() && !wanted.empty()) {
    throw UsageError("--map: there is no field " + Quoted(wanted) + " for " +
                     std::string(mapping.kind->store) + "; there are " + FieldList(*mapping.kind));
  }
  for (ColumnChoice& other : mapping.columns) {
    if (!field.empty() && other.field == field) {
      other = {{}, TakenElsewhere(field)};
    }
  }
  mapping.columns[column] = {field, {}};
}

void ApplyAll(const Sheet& sheet, const MapArguments& given, SheetMapping& mapping) {
  for (const std::string& argument : given) Apply(sheet, argument, mapping);
  const bool any = std::ranges::any_of(
      mapping.columns, [](const ColumnChoice& choice) { return !choice.field.empty(); });
  if (!any) {
    throw UsageError("no column is mapped to a field of " + std::string(mapping.kind->store) +
                     "; the columns are " + HeadingList(sheet) +
                     "; --map COLUMN=FIELD maps one, and the fields are " +
                     FieldList(*mapping.kind));
  }
}

// For the next column of a mapping that a file holds.
ColumnChoice KeptChoice(const SheetMapping& mapping, const std::u16string& field) {
  if (field.empty() || field == kByLabel) return {field, {}};
  if (FieldNumber(mapping.kind->fields, field) < 0) {
    return {{}, Quoted(field) + " is no field of " + std::string(mapping.kind->store)};
  }
  if (IsTaken(mapping, field)) return {{}, TakenElsewhere(field)};
  return {field, {}};
}

XmlTreeNode MappingTree(const SheetMapping& mapping, std::u16string_view path) {
  XmlTreeNode message = XmlTreeNode::CreateTop(u"Msg");
  message.AddChild(u"Hdr").AddAttribute(u"Path", path);
  XmlTreeNode columns = message.AddChild(u"Body").AddChild(u"Put");
  for (const ColumnChoice& choice : mapping.columns) {
    columns.AddChild(u"Column").AddAttribute(u"Data", choice.field);
  }
  return message;
}

}  // namespace

SheetMapping MapColumns(const Sheet& sheet, const std::string& store, const MapArguments& given) {
  SheetMapping mapping;
  mapping.kind = store.empty() ? &GuessKind(sheet, given) : &KindOfStore(store);
  Guesser(sheet, mapping).Run();
  ApplyAll(sheet, given, mapping);
  return mapping;
}

SheetMapping LoadMapping(const Sheet& sheet, const std::string& store, const MapArguments& given,
                         const std::string& file) {
  const std::optional<std::u16string> path = FromNativePath(file);
  XmlResults results;
  const XmlTreeNode columns =
      ParseXmlFile(path.value_or(u""), u"Msg", results).Child(u"Msg").Child(u"Body").Child(u"Put");
  if (results.error == XmlError::FileNotFound) {
    throw UsageError(file + " cannot be read; --save-map writes a mapping");
  }
  // Half a mapping is none.
  if (!columns || results.error != XmlError::None) {
    const bool isXml = results.error == XmlError::None;
    throw UsageError(
        file + " is no mapping: " +
        (isXml ? "it has no Msg, Body and Put"
               : ToUtf8(XmlErrorText(results.error)) + ", line " + std::to_string(results.line)) +
        "; --save-map writes one");
  }
  std::vector<std::u16string> fields;
  for (int32_t i = 0; i < columns.ChildCount(); ++i) {
    fields.emplace_back(columns.Child(i).Attribute(u"Data").value_or(u""));
  }
  if (fields.size() != sheet.header.size()) {
    throw UsageError(file + " maps " + std::to_string(fields.size()) + " columns, and there are " +
                     std::to_string(sheet.header.size()) + ": " + HeadingList(sheet));
  }
  SheetMapping mapping;
  mapping.kind = store.empty()
                     ? BestKind([&](const SheetKind& kind) { return Matches(fields, kind); })
                     : &KindOfStore(store);
  if (mapping.kind == nullptr) throw UsageError(file + " names no fields of ours");
  for (const std::u16string& field : fields) mapping.columns.push_back(KeptChoice(mapping, field));
  ApplyAll(sheet, given, mapping);
  return mapping;
}

void SaveMapping(const SheetMapping& mapping, const std::string& file, bool replaces) {
  // UTF-16 with its mark, as mappings are read.
  const std::u16string text = u"\uFEFF<?xml version=\"1.0\" encoding=\"utf-16\"?>\n" +
                              MappingTree(mapping, {}).ToText(true);
  const std::error_code error = WriteWholeFile(file, ToUtf16Le(text), replaces);
  if (!error) return;
  const bool isTaken = error == std::errc::file_exists;
  throw UsageError("the mapping cannot be written to " + file + ": " +
                   (isTaken
                        ? "something stands there, and stays as it is; --replace-map replaces it"
                        : error.message()));
}

std::u16string MappingXml(const SheetMapping& mapping, std::u16string_view path) {
  return MappingTree(mapping, path).ToText(false);
}

}  // namespace qv
