#include "host/spreadsheet/labels.h"

#include <algorithm>
#include <optional>
#include <span>
#include <unordered_map>

#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kMaxWords = 7;
constexpr size_t kMaxFields = 5;

// The fields for a label, the best first; the label in the form that PlainHeading gives. The last
// row of a table may also serve labels that are empty or unknown.
struct Label {
  std::u16string_view words[kMaxWords];
  std::u16string_view fields[kMaxFields];
};

constexpr Label kPhoneLabels[] = {
    {{u"mobile", u"mobil", u"handy", u"cell"},
     {u"Mobile", u"Other Telephone", u"Default Telephone", u"Callback"}},
    {{u"home", u"privat", u"zuhause"},
     {u"Home Telephone", u"Other Telephone", u"Default Telephone", u"Callback"}},
    {{u"work", u"arbeit", u"gesch\u00E4ftlich", u"dienstlich", u"business"},
     {u"Work Telephone", u"Company Telephone", u"Other Telephone", u"Default Telephone"}},
    {{u"main", u"haupt", u"hauptnummer", u"primary"},
     {u"Default Telephone", u"Company Telephone", u"Other Telephone"}},
    {{u"homefax", u"faxprivat", u"faxprivatnummer"}, {u"Home Fax", u"Other Fax", u"Work Fax"}},
    {{u"workfax", u"faxgesch\u00E4ftlich", u"faxarbeit", u"fax"},
     {u"Work Fax", u"Other Fax", u"Home Fax"}},
    {{u"otherfax", u"faxandere"}, {u"Other Fax", u"Home Fax", u"Work Fax"}},
    {{u"pager"}, {u"Pager"}},
    {{u"other", u"andere", u"sonstige", u"sonstiges", u"weitere"},
     {u"Other Telephone", u"Default Telephone", u"Home Telephone", u"Work Telephone", u"Callback"}},
};

constexpr Label kMailLabels[] = {
    {{u"work", u"arbeit", u"gesch\u00E4ftlich", u"dienstlich", u"business"},
     {u"Work Email", u"Other Email", u"Home Email"}},
    {{u"other", u"andere", u"sonstige", u"sonstiges", u"weitere"},
     {u"Other Email", u"Home Email", u"Work Email"}},
    {{u"home", u"privat"}, {u"Home Email", u"Other Email", u"Work Email"}},
};

constexpr Label kWebLabels[] = {
    {{u"home", u"privat", u"homepage", u"profile", u"profil", u"blog"},
     {u"Home Url", u"Other Url", u"Work Url"}},
    {{u"work", u"arbeit", u"gesch\u00E4ftlich"}, {u"Work Url", u"Other Url", u"Home Url"}},
    {{u"other", u"andere", u"sonstige"}, {u"Other Url", u"Home Url", u"Work Url"}},
};

constexpr Label kMessengerLabels[] = {
    {{u"googletalk", u"hangouts"}, {u"Google Messenger", u"Other Messenger"}},
    {{u"aim"}, {u"AIM Messenger", u"Other Messenger"}},
    {{u"msn"}, {u"MSN Messenger", u"Other Messenger"}},
    {{u"yahoo"}, {u"Yahoo Messenger", u"Other Messenger"}},
    {{u"skype"}, {u"Skype Messenger", u"Other Messenger"}},
    {{u"qq"}, {u"QQ Messenger", u"Other Messenger"}},
    {{u"icq"}, {u"ICQ Messenger", u"Other Messenger"}},
    {{u"jabber", u"xmpp"}, {u"Jabber Messenger", u"Other Messenger"}},
    {{u"other"}, {u"Other Messenger"}},
};

constexpr Label kEventLabels[] = {
    {{u"birthday", u"geburtstag"}, {u"BirthDay"}},
    {{u"anniversary", u"jahrestag"}, {u"Anniversary"}},
};

// Of an address the fields' names go on with the part.
constexpr Label kAddressLabels[] = {
    {{u"work", u"arbeit", u"gesch\u00E4ftlich", u"dienstlich"},
     {u"Work Address ", u"Other Address ", u"Home Address "}},
    {{u"other", u"andere", u"sonstige"}, {u"Other Address ", u"Home Address ", u"Work Address "}},
    {{u"home", u"privat"}, {u"Home Address ", u"Other Address ", u"Work Address "}},
};

// What stands behind the number in a heading, and what it adds to a field's name.
struct Part {
  std::u16string_view tail;
  std::u16string_view field;
};
constexpr Part kValue[] = {{u"value", u""}};
constexpr Part kAddressParts[] = {
    {u"pobox", u"Postoffice"}, {u"extendedaddress", u"Extended"},
    {u"street", u"Street"},    {u"city", u"Locality"},
    {u"region", u"Region"},    {u"postalcode", u"Postalcode"},
    {u"country", u"Country"},
};

struct Family {
  std::u16string_view stem;
  std::u16string_view shown;
  std::span<const Part> parts;
  std::span<const Label> labels;
  bool takesUnknown;  // a label that is empty or unknown counts as the last one
  bool severalInCell;
};

constexpr Family kFamilies[] = {
    {u"phone", u"Phone by label", kValue, kPhoneLabels, true, true},
    {u"email", u"E-mail by label", kValue, kMailLabels, true, true},
    {u"website", u"Website by label", kValue, kWebLabels, true, true},
    {u"im", u"Messenger by label", kValue, kMessengerLabels, true, true},
    {u"event", u"Event by label", kValue, kEventLabels, false, false},
    {u"address", u"Address by label", kAddressParts, kAddressLabels, true, false},
};

// "phone1value": which family, which number, which part.
struct Place {
  const Family* family = nullptr;
  const Part* part = nullptr;
  std::u16string group;  // "phone1"
};

Place PlaceFor(std::u16string_view heading) {
  const std::u16string plain = PlainHeading(heading);
  for (const Family& family : kFamilies) {
    if (!plain.starts_with(family.stem)) continue;
    const size_t end = plain.find_first_not_of(u"0123456789", family.stem.size());
    if (end == plain.npos || end == family.stem.size()) continue;
    const auto part =
        std::ranges::find(family.parts, std::u16string_view(plain).substr(end), &Part::tail);
    if (part != family.parts.end()) return {&family, &*part, plain.substr(0, end)};
  }
  return {};
}

// The columns by their plain headings, of equal ones the first.
using Headings = std::unordered_map<std::u16string, size_t>;

Headings HeadingsOf(const Sheet& sheet) {
  Headings headings;
  for (size_t i = 0; i < sheet.header.size(); ++i) {
    headings.try_emplace(PlainHeading(sheet.header[i]), i);
  }
  return headings;
}

// The column of a group's labels.
std::optional<size_t> LabelColumn(const Headings& headings, const std::u16string& group) {
  for (const std::u16string_view tail : {u"service", u"label", u"type"}) {
    const auto found = headings.find(group + std::u16string(tail));
    if (found != headings.end()) return found->second;
  }
  return std::nullopt;
}

// What is labelled together: one value, or the parts of one address.
struct Group {
  const Family* family = nullptr;
  size_t label = 0;
  std::vector<std::pair<size_t, const Part*>> columns;
};

class Spreader {
 public:
  Spreader(Sheet& sheet, SheetMapping& mapping)
      : sheet_(sheet), mapping_(mapping), columns_(sheet.header.size()) {
    FindGroups();
    for (size_t i = 0; i < columns_; ++i) {
      if (!mapping.columns[i].field.empty()) places_.emplace(mapping.columns[i].field, i);
    }
  }

  std::vector<Conversion> Run() {
    for (SheetRow& row : sheet_.rows) {
      for (const Group& group : groups_) Spread(row, group);
    }
    for (const Group& group : groups_) {
      mapping_.columns[group.label].reason = "not a label that is known, or nothing has it";
    }
    std::vector<Conversion> done;
    for (const auto& [family, values] : moved_) {
      done.push_back(
          {std::u16string(family->shown), "values moved to the field of their label", values});
    }
    return done;
  }

 private:
  void FindGroups() {
    const Headings headings = HeadingsOf(sheet_);
    std::unordered_map<std::u16string, size_t> known;
    for (size_t i = 0; i < columns_; ++i) {
      if (mapping_.columns[i].field != kByLabel) continue;
      const Place place = PlaceFor(sheet_.header[i]);
      mapping_.columns[i] = {{}, "no field was free for a further value"};
      if (place.family == nullptr) continue;
      const std::optional<size_t> label = LabelColumn(headings, place.group);
      if (!label) continue;
      const auto [found, isNew] = known.try_emplace(place.group, groups_.size());
      if (isNew) groups_.push_back({place.family, *label, {}});
      groups_[found->second].columns.emplace_back(i, place.part);
    }
  }

  std::u16string& Cell(SheetRow& row, size_t column) {
    if (column >= row.cells.size()) row.cells.resize(column + 1);
    return row.cells[column];
  }

  // The field's column, made when it is the first.
  size_t ColumnOf(std::u16string field, const Family& family) {
    const auto [found, isNew] = places_.try_emplace(field, sheet_.header.size());
    if (isNew) {
      sheet_.header.emplace_back(family.shown);
      mapping_.columns.push_back({std::move(field), {}});
    }
    return found->second;
  }

  bool IsFree(const SheetRow& row, const std::u16string& field) const {
    const auto found = places_.find(field);
    return found == places_.end() || found->second >= row.cells.size() ||
           row.cells[found->second].empty();
  }

  void Spread(SheetRow& row, const Group& group) {
    const bool any = std::ranges::any_of(group.columns, [&](const auto& column) {
      return column.first < row.cells.size() && !row.cells[column.first].empty();
    });
    if (!any) return;
    const Label* label = FindLabel(row, group);
    if (label == nullptr) return;
    if (group.family->severalInCell) {
      SpreadValues(row, group, *label);
    } else {
      SpreadParts(row, group, *label);
    }
  }

  // A known label is used up; what follows from an unknown one is told of it.
  const Label* FindLabel(SheetRow& row, const Group& group) {
    const std::span<const Label> labels = group.family->labels;
    const Label* otherwise = group.family->takesUnknown ? &labels.back() : nullptr;
    if (group.label >= row.cells.size()) return otherwise;
    std::u16string& cell = row.cells[group.label];
    const std::u16string plain = PlainHeading(cell);  // without the "* " of a preferred one
    for (const Label& label : labels) {
      if (plain.empty() || std::ranges::find(label.words, plain) == std::end(label.words)) continue;
      cell.clear();
      return &label;
    }
    if (plain.empty()) cell.clear();
    return otherwise;
  }

  void SpreadValues(SheetRow& row, const Group& group, const Label& label) {
    constexpr std::u16string_view kBetween = u":::";
    const size_t column = group.columns[0].first;
    const std::u16string cell = std::move(row.cells[column]);
    std::u16string left;
    for (std::u16string_view rest = cell; !rest.empty();) {
      const size_t end = std::min(rest.find(kBetween), rest.size());
      const std::u16string_view value = TrimBlanks(rest.substr(0, end));
      rest.remove_prefix(std::min(end + kBetween.size(), rest.size()));
      if (value.empty() || Put(row, *group.family, label, value)) continue;
      left.append(left.empty() ? u"" : u" ::: ").append(value);
    }
    row.cells[column] = std::move(left);
  }

  bool Put(SheetRow& row, const Family& family, const Label& label, std::u16string_view value) {
    for (const std::u16string_view name : label.fields) {
      if (name.empty()) break;
      const std::u16string field(name);
      if (!IsFree(row, field)) continue;
      Cell(row, ColumnOf(field, family)) = value;
      ++moved_[&family];
      return true;
    }
    return false;
  }

  // All parts go to one address, or stay.
  void SpreadParts(SheetRow& row, const Group& group, const Label& label) {
    for (const std::u16string_view name : label.fields) {
      if (name.empty()) return;
      const bool isFree = std::ranges::all_of(group.family->parts, [&](const Part& part) {
        return IsFree(row, std::u16string(name).append(part.field));
      });
      if (!isFree) continue;
      for (const auto& [column, part] : group.columns) {
        if (column >= row.cells.size() || row.cells[column].empty()) continue;
        std::u16string value = std::move(row.cells[column]);
        row.cells[column].clear();
        Cell(row, ColumnOf(std::u16string(name).append(part->field), *group.family)) =
            std::move(value);
        ++moved_[group.family];
      }
      return;
    }
  }

  Sheet& sheet_;
  SheetMapping& mapping_;
  const size_t columns_;  // as the file has them
  std::vector<Group> groups_;
  std::unordered_map<std::u16string, size_t> places_;  // columns by field
  std::unordered_map<const Family*, int64_t> moved_;
};

}  // namespace

std::vector<bool> LabelledColumns(const Sheet& sheet) {
  const Headings headings = HeadingsOf(sheet);
  std::vector<bool> labelled;
  for (const std::u16string& heading : sheet.header) {
    const Place place = PlaceFor(heading);
    labelled.push_back(place.family != nullptr && LabelColumn(headings, place.group));
  }
  return labelled;
}

std::vector<Conversion> SpreadByLabel(Sheet& sheet, SheetMapping& mapping) {
  return Spreader(sheet, mapping).Run();
}

}  // namespace qv
