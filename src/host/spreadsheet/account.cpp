#include "host/spreadsheet/account.h"

#include <algorithm>

#include "host/engine/content.h"
#include "host/store_kinds.h"
#include "items/item_objects.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr size_t kMaxExamples = 3;
constexpr size_t kMaxShown = 60;

std::string Shown(std::u16string_view text) {
  const bool isLong = text.size() > kMaxShown;
  return std::string("\"").append(ToUtf8(text.substr(0, kMaxShown))) + (isLong ? "...\"" : "\"");
}

// Quotes round telephones come and go, a day gets its midnight: neither is a change.
bool IsSame(std::u16string_view in, std::u16string_view out) {
  const auto bare = [](std::u16string_view text) {
    std::u16string plain(text);
    std::erase(plain, u'"');
    return plain;
  };
  if (in == out || bare(in) == bare(out)) return true;
  const DateTimeValue before = ParseLooseDateTime(in);
  return before.IsDate() && before == ParseLooseDateTime(out);
}

// A title has its column beside an organisation.
void ShowTitles(IUnknown* item) {
  Contact* contact = ContactOf(item);
  if (contact == nullptr || contact->jobTitles.empty() || !contact->organisations.empty()) return;
  contact->organisations.emplace_back();
}

// In one order whatever order the columns have.
void Settle(Contact& contact) {
  const auto byKind = [](auto& list) {
    std::ranges::stable_sort(list, {}, [](const auto& entry) { return entry.kind; });
  };
  byKind(contact.telephones);
  byKind(contact.mails);
  byKind(contact.webAddresses);
  byKind(contact.messengers);
  byKind(contact.organisations);
  byKind(contact.events);
  std::erase(contact.addresses, std::nullopt);
  std::ranges::stable_sort(contact.addresses, {}, [](const auto& entry) {
    return entry ? entry->kind : PlaceKind{};  // there is none without a value any more
  });
  std::ranges::sort(contact.groupUids);
  contact.groupNames.clear();
  Normalize(contact);
}

class Accountant {
 public:
  Accountant(const Sheet& sheet, const SheetMapping& mapping, const GroupTable& groups)
      : sheet_(sheet), set_(mapping.kind->fields), groups_(groups), texts_(set_.names.size()) {
    for (size_t i = 0; i < mapping.columns.size(); ++i) {
      const std::u16string& field = mapping.columns[i].field;
      if (mapping.columns[i].isUsed) continue;
      if (field.empty()) {
        lostPlaces_.push_back(i);
        account_.lost.push_back({sheet.header[i], mapping.columns[i].reason, 0});
      } else {
        places_.push_back({i, static_cast<size_t>(FieldNumber(set_, field))});
        account_.fields.push_back({field, sheet.header[i], 0, 0, 0, {}});
      }
    }
  }

  SheetAccount Run() {
    for (const SheetRow& row : sheet_.rows) AddRow(row);
    std::erase_if(account_.lost, [](const LostColumn& column) { return column.cells == 0; });
    return std::move(account_);
  }

 private:
  struct Place {
    size_t column;
    size_t field;
  };

  std::u16string_view CellOf(const SheetRow& row, size_t column) const {
    return column < row.cells.size() ? std::u16string_view(row.cells[column])
                                     : std::u16string_view();
  }

  void AddRow(const SheetRow& row) {
    for (size_t i = 0; i < lostPlaces_.size(); ++i) {
      account_.lost[i].cells += !CellOf(row, lostPlaces_[i]).empty();
    }
    for (const Place& place : places_) texts_[place.field] = CellOf(row, place.column);
    const ComPtr<IItemCommon> item = set_.read(texts_, groups_);
    ShowTitles(item.get());
    const std::vector<FieldCell> cells = set_.write(item.get(), groups_);
    for (size_t i = 0; i < places_.size(); ++i) {
      Add(row, texts_[places_[i].field], cells, places_[i].field, account_.fields[i]);
    }
  }

  void Add(const SheetRow& row, const std::u16string& text, const std::vector<FieldCell>& cells,
           size_t field, FieldAccount& account) {
    if (text.empty()) return;
    const auto found = std::ranges::find(cells, static_cast<int32_t>(field), &FieldCell::field);
    if (found != cells.end() && IsSame(text, found->text)) {
      ++account.kept;
      return;
    }
    const bool isChanged = found != cells.end();
    ++(isChanged ? account.changed : account.dropped);
    if (account.examples.size() >= kMaxExamples) return;
    std::string example = "line " + std::to_string(row.line) + ": " + Shown(text);
    example += isChanged ? " became " + Shown(found->text) : " cannot be held";
    account.examples.push_back(std::move(example));
  }

  const Sheet& sheet_;
  const CsvFieldSet& set_;
  const GroupTable& groups_;
  FieldTexts texts_;
  std::vector<Place> places_;
  std::vector<size_t> lostPlaces_;
  SheetAccount account_;
};

// Null for a row that counts.
const char* WhyUseless(const SheetRow& row, const SheetMapping& mapping, bool needsStart) {
  bool isEmpty = true;
  bool hasStart = false;
  for (size_t i = 0; i < std::min(row.cells.size(), mapping.columns.size()); ++i) {
    const std::u16string& field = mapping.columns[i].field;
    if (field.empty() || row.cells[i].empty()) continue;
    isEmpty = false;
    hasStart |= field == u"Start Date" && ParseLooseDateTime(row.cells[i]).IsDate();
  }
  if (isEmpty) return "nothing in a column that is taken; left out";
  return needsStart && !hasStart ? "no start that can be read; left out" : nullptr;
}

}  // namespace

SheetAccount AccountFor(const Sheet& sheet, const SheetMapping& mapping, const GroupTable& groups) {
  return Accountant(sheet, mapping, groups).Run();
}

std::vector<SheetProblem> DropUselessRows(Sheet& sheet, const SheetMapping& mapping) {
  const bool needsStart = mapping.kind->store == "calendar";
  std::vector<SheetProblem> told;
  std::erase_if(sheet.rows, [&](const SheetRow& row) {
    const char* why = WhyUseless(row, mapping, needsStart);
    if (why != nullptr) told.push_back({row.line, why});
    return why != nullptr;
  });
  return told;
}

int64_t CountFormulas(const std::vector<FieldCell>& cells) {
  return std::ranges::count_if(cells, [](const FieldCell& cell) {
    constexpr std::u16string_view kSigns = u"=+-@";
    return !cell.text.empty() && kSigns.find(cell.text[0]) != kSigns.npos;
  });
}

bool LosesInCells(const SheetKind& kind, IItemCommon& item, const GroupTable& groups) {
  FieldTexts texts(kind.fields.names.size());
  for (FieldCell& cell : kind.fields.write(&item, groups)) {
    texts[static_cast<size_t>(cell.field)] = std::move(cell.text);
  }
  const StoreKind& store = *FindStoreKind(kind.store);
  const ComPtr<IItemCommon> back = kind.fields.read(texts, groups);
  const ComPtr<IItemCommon> copy = ReadItem(store, WriteItem(store, &item));
  if (!copy) return true;
  for (IUnknown* one : {static_cast<IUnknown*>(copy.get()), static_cast<IUnknown*>(back.get())}) {
    if (Contact* contact = ContactOf(one)) Settle(*contact);
  }
  return ExactPrintOf(store, *copy) != ExactPrintOf(store, *back);
}

}  // namespace qv
