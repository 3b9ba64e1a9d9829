#include "host/spreadsheet/mapping.h"

#include <algorithm>

#include "host/profile.h"
#include "host/spreadsheet/labels.h"
#include "platform/system/files.h"
#include "support/text.h"
#include "support/xml/xml_tree.h"

namespace qv {
namespace {

std::string Quoted(std::u16string_view text) {
  return "\"" + ToUtf8(text) + "\"";
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
constexpr std::u16string_view kFamilies[][4] = {
    {u"Other Telephone", u"Default Telephone", u"Company Telephone", u"Callback"},
    {u"Other Fax", u"Home Fax", u"Work Fax", u""},
    {u"Other Email", u"Work Email", u"Home Email", u""},
    {u"Other Url", u"Work Url", u"Home Url", u""},
};
constexpr std::pair<std::u16string_view, size_t> kFamilyOf[] = {
    {u"Telephone", 0}, {u"Mobile", 0}, {u"Fax", 1}, {u"Email", 2}, {u"Url", 3}};

// What a heading may be, the best first; the rest is empty.
Heading ChoicesOf(const SheetKind& kind, std::u16string_view heading) {
  const std::u16string plain = PlainHeading(heading);
  const auto found = std::ranges::find(kind.headings, std::u16string_view(plain), &Heading::name);
  const std::u16string_view own = FieldNamed(kind, WithoutNumber(heading));
  if (own.empty()) return found == kind.headings.end() ? Heading{} : *found;
  Heading choices{{}, {own}};
  for (const auto& [tail, family] : kFamilyOf) {
    if (!own.ends_with(tail) || WithoutNumber(heading) == heading) continue;
    std::copy_n(kFamilies[family], kMaxChoices - 1, choices.fields + 1);
  }
  return choices;
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

void GuessColumns(const Sheet& sheet, SheetMapping& mapping) {
  const bool mayBeLabelled = mapping.kind->store == "contacts";
  const std::vector<bool> labelled = LabelledColumns(sheet);
  for (size_t i = 0; i < sheet.header.size(); ++i) {
    if (mayBeLabelled && labelled[i]) {
      mapping.columns.push_back({std::u16string(kByLabel), {}});
      continue;
    }
    const Heading choices = ChoicesOf(*mapping.kind, sheet.header[i]);
    ColumnChoice choice;
    for (const std::u16string_view field : choices.fields) {
      if (field.empty() || IsTaken(mapping, field)) continue;
      choice.field = std::u16string(field);
      break;
    }
    if (choice.field.empty()) {
      choice.reason = choices.fields[0].empty()
                          ? "no field is known by this heading"
                          : Quoted(choices.fields[0]) + " is taken from another column";
    }
    mapping.columns.push_back(std::move(choice));
  }
}

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
      other = {{}, Quoted(field) + " is taken from another column"};
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
  GuessColumns(sheet, mapping);
  ApplyAll(sheet, given, mapping);
  return mapping;
}

SheetMapping LoadMapping(const Sheet& sheet, const std::string& store, const MapArguments& given,
                         const std::string& file) {
  const std::optional<std::u16string> path = FromNativePath(file);
  XmlResults results;
  const XmlTreeNode columns =
      ParseXmlFile(path.value_or(u""), u"Msg", results).Child(u"Msg").Child(u"Body").Child(u"Put");
  if (!columns) {
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
  for (const std::u16string& field : fields) {
    const bool isKnown =
        field.empty() || field == kByLabel || FieldNumber(mapping.kind->fields, field) >= 0;
    mapping.columns.push_back(
        isKnown ? ColumnChoice{field, {}}
                : ColumnChoice{
                      {}, Quoted(field) + " is no field of " + std::string(mapping.kind->store)});
  }
  ApplyAll(sheet, given, mapping);
  return mapping;
}

void SaveMapping(const SheetMapping& mapping, const std::string& file) {
  const std::optional<std::u16string> path = FromNativePath(file);
  const XmlError error =
      path ? MappingTree(mapping, {}).WriteFile(*path, true) : XmlError::CannotOpen;
  if (error == XmlError::None) return;
  throw UsageError("the mapping cannot be written to " + file + ": " + ToUtf8(XmlErrorText(error)));
}

std::u16string MappingXml(const SheetMapping& mapping, std::u16string_view path) {
  return MappingTree(mapping, path).ToText(false);
}

}  // namespace qv
