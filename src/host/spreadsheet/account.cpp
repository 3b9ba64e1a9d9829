#include "host/spreadsheet/account.h"

#include <algorithm>

#include "host/engine/content.h"
#include "host/spreadsheet/date_cells.h"
#include "host/store_kinds.h"
#include "items/calendar_days.h"
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

// A store writes quotes round telephones, and takes all that are there away.
bool IsSame(std::u16string_view in, std::u16string_view out) {
  if (in == out) return true;
  if (out.size() < 2 || !out.starts_with(u'"') || !out.ends_with(u'"')) return false;
  std::u16string bare(in);
  std::erase(bare, u'"');
  return bare == out.substr(1, out.size() - 2);
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
        places_.push_back({i, static_cast<size_t>(FieldNumber(set_, field)), IsDateField(field),
                           FindMomentField(*mapping.kind, field)});
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
    bool isDate;
    const MomentField* moment;  // null for none
  };

  std::u16string_view CellOf(const SheetRow& row, size_t column) const {
    return column < row.cells.size() ? std::u16string_view(row.cells[column])
                                     : std::u16string_view();
  }

  void AddRow(const SheetRow& row) {
    for (size_t i = 0; i < lostPlaces_.size(); ++i) {
      account_.lost[i].cells += !CellOf(row, lostPlaces_[i]).empty();
    }
    RightMoments right;
    const ComPtr<IItemCommon> item = ItemOf(row, right);
    ShowTitles(item.get());
    const std::vector<FieldCell> cells = set_.write(item.get(), groups_);
    const Calendar* const calendar = CalendarOf(item.get());
    const RightMoments held = calendar == nullptr ? RightMoments() : MomentsOf(*calendar);
    for (size_t i = 0; i < places_.size(); ++i) {
      const Place& place = places_[i];
      const std::u16string_view cell = CellOf(row, place.column);
      if (cell.empty()) continue;
      FieldAccount& account = account_.fields[i];
      if (place.moment != nullptr) {
        const DATE moment = held.*(place.moment->moment);
        const bool isKept = CompareDateTime(moment, right.*(place.moment->moment)) == 0;
        const bool isLost = texts_[place.field].empty() || moment == 0.0;
        Add(row, cell,
            isLost   ? u""
            : isKept ? cell
                     : PlainDateText(clock_.WallTime(moment)),
            account);
      } else {
        const auto found =
            std::ranges::find(cells, static_cast<int32_t>(place.field), &FieldCell::field);
        Add(row, cell, found == cells.end() ? std::u16string() : found->text, account);
      }
    }
  }

  // As it comes to the phone: what the store makes of the row, and the moments behind it.
  ComPtr<IItemCommon> ItemOf(const SheetRow& row, RightMoments& right) {
    bool isExact = true;
    for (const Place& place : places_) {
      const std::u16string_view cell = CellOf(row, place.column);
      std::u16string& text = texts_[place.field];
      text = cell;
      if (place.moment != nullptr) {
        const auto handed = clock_.HandOver(cell);
        text = handed ? handed->cell : std::u16string();
        right.*(place.moment->moment) = handed ? handed->utc : 0.0;
        isExact = isExact && (!handed || handed->isExact);
      } else if (place.isDate && !ReadPlainDate(cell)) {
        text.clear();
      }
    }
    ComPtr<IItemCommon> item = set_.read(texts_, groups_);
    if (!isExact) {
      SetMoments(*CalendarOf(item.get()), right);
      SettleDaysHere(*CalendarOf(item.get()));
    }
    return item;
  }

  // `out` is empty for a cell of which nothing comes.
  void Add(const SheetRow& row, std::u16string_view text, std::u16string_view out,
           FieldAccount& account) {
    if (!out.empty() && IsSame(text, out)) {
      ++account.kept;
      return;
    }
    ++(out.empty() ? account.dropped : account.changed);
    if (account.examples.size() >= kMaxExamples) return;
    std::string example = "line " + std::to_string(row.line) + ": " + Shown(text);
    example += out.empty() ? " cannot be held" : " became " + Shown(out);
    account.examples.push_back(std::move(example));
  }

  const Sheet& sheet_;
  const CsvFieldSet& set_;
  const GroupTable& groups_;
  const CellClock clock_;
  FieldTexts texts_;
  std::vector<Place> places_;
  std::vector<size_t> lostPlaces_;
  SheetAccount account_;
};

// Empty for a row that counts. A date that cannot be read is nothing.
std::string WhyUseless(const SheetRow& row, const SheetMapping& mapping, bool needsStart) {
  bool isEmpty = true;
  bool hasStart = false;
  std::u16string_view start;
  for (size_t i = 0; i < std::min(row.cells.size(), mapping.columns.size()); ++i) {
    const std::u16string& field = mapping.columns[i].field;
    const std::u16string& cell = row.cells[i];
    if (field.empty() || cell.empty()) continue;
    const bool isRead = !IsDateField(field) || ReadPlainDate(cell);
    isEmpty = isEmpty && !isRead;
    if (field != u"Start Date") continue;
    hasStart = isRead;
    start = cell;
  }
  const std::string what = start.empty() ? "" : " (" + Shown(start) + ")";
  if (needsStart && !hasStart && !(isEmpty && start.empty())) {
    return "no start that can be read" + what + "; left out";
  }
  return isEmpty ? "nothing in a column that is taken; left out" : "";
}

}  // namespace

SheetAccount AccountFor(const Sheet& sheet, const SheetMapping& mapping, const GroupTable& groups) {
  return Accountant(sheet, mapping, groups).Run();
}

std::vector<SheetProblem> DropUselessRows(Sheet& sheet, const SheetMapping& mapping) {
  const bool needsStart = mapping.kind->store == "calendar";
  std::vector<SheetProblem> told;
  std::erase_if(sheet.rows, [&](const SheetRow& row) {
    std::string why = WhyUseless(row, mapping, needsStart);
    const bool isUseless = !why.empty();
    if (isUseless) told.push_back({row.line, std::move(why)});
    return isUseless;
  });
  return told;
}

int64_t CountFormulas(const std::vector<FieldCell>& cells) {
  return std::ranges::count_if(cells, [](const FieldCell& cell) {
    constexpr std::u16string_view kSigns = u"=+-@";
    return !cell.text.empty() && kSigns.find(cell.text[0]) != kSigns.npos;
  });
}

bool LosesInCells(const SheetKind& kind, IItemCommon& item, const GroupTable& groups,
                  const CellClock& clock) {
  FieldTexts texts(kind.fields.names.size());
  ComPtr<IItemCommon> mended(&item);
  if (const Calendar* calendar = CalendarOf(&item)) {
    Calendar copy = *calendar;
    MendForCells(clock, copy);
    mended = MakeCalendarItem(std::move(copy));
  }
  for (FieldCell& cell : kind.fields.write(mended.get(), groups)) {
    texts[static_cast<size_t>(cell.field)] = std::move(cell.text);
  }
  const StoreKind& store = *FindStoreKind(kind.store);
  const ComPtr<IItemCommon> back = kind.fields.read(texts, groups);
  if (Calendar* calendar = CalendarOf(back.get())) ReadMended(clock, texts, kind, *calendar);
  const ComPtr<IItemCommon> copy = ReadItem(store, WriteItem(store, &item));
  if (!copy) return true;
  for (IUnknown* one : {static_cast<IUnknown*>(copy.get()), static_cast<IUnknown*>(back.get())}) {
    if (Contact* contact = ContactOf(one)) Settle(*contact);
  }
  return ExactPrintOf(store, *copy) != ExactPrintOf(store, *back);
}

}  // namespace qv
