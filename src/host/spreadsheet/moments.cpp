#include "host/spreadsheet/moments.h"

#include <algorithm>

#include "host/spreadsheet/date_cells.h"
#include "items/calendar_days.h"
#include "support/date_time.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::u16string_view kDayFields[] = {u"BirthDay", u"Anniversary"};

constexpr MomentField kMomentFields[] = {
    {u"Start Date", &RightMoments::start},
    {u"End Date", &RightMoments::end},
    {u"Alarm Date", &RightMoments::alarm},
    {u"Recurrence UntileDate", &RightMoments::until},
};

constexpr const char* kSkipped = "the clocks skip that time; it is taken as if they did not";
constexpr const char* kDoubled = "that time comes twice; it is taken as the first";

// The two dates out of which a rule that may add daylight time can make `target`: that without, and
// that with it. `plain` is the way back without daylight time.
std::optional<DATE> Inverse(DATE target, int sign,
                            DateTimeValue (*rule)(const DateTimeValue&, bool),
                            DateTimeValue (*back)(const DateTimeValue&, bool)) {
  int32_t bias = 0;
  IsDaylightTime(target, bias);
  const DateTimeValue plain = back(target, false);
  const DateTimeValue shifted = plain - DateTimeSpan(0, 0, static_cast<double>(sign) * bias, 0);
  for (const DateTimeValue& date : {plain, shifted}) {
    if (date.IsDate() && CompareDateTime(rule(date, true).value, target) == 0) return date.value;
  }
  return std::nullopt;
}

void Tell(Sheet& sheet, size_t line, const std::u16string& heading, const std::u16string& cell,
          const char* doubt) {
  std::string problem(1, '"');
  problem.append(ToUtf8(heading)).append("\", ").append(ToUtf8(cell)).append(": ").append(doubt);
  AddProblem(sheet, line, problem);
}

}  // namespace

DATE CellClock::WallTime(DATE utc) const {
  return DateFromUnixSeconds(zone_->UtcToLocal(UnixSecondsFromDate(utc)));
}

std::optional<CellClock::Handed> CellClock::HandOver(std::u16string_view cell) const {
  const std::optional<PlainDate> plain = ReadPlainDate(cell);
  if (!plain) return std::nullopt;
  Handed handed;
  if (plain->isUtc) {
    handed.utc = plain->date;
  } else {
    const int64_t local = UnixSecondsFromDate(plain->date);
    const int64_t utc = zone_->LocalToUtc(local);
    handed.utc = DateFromUnixSeconds(utc);
    // Behind a change that lies ahead the same local time may come again.
    constexpr int64_t kDay = 86400;
    const int64_t second = local - (zone_->UtcToLocal(utc + kDay) - (utc + kDay));
    if (zone_->UtcToLocal(utc) != local) {
      handed.doubt = kSkipped;
    } else if (second != utc && zone_->UtcToLocal(second) == local) {
      handed.doubt = kDoubled;
    }
  }
  if (handed.utc == 0.0) return std::nullopt;
  const std::optional<DATE> told = Inverse(handed.utc, 1, LocalToUtc, UtcToLocal);
  handed.isExact = told.has_value();
  handed.cell = PlainDateText(told ? *told : UtcToLocal(handed.utc, true).value);
  return handed;
}

DATE CellClock::ForStore(DATE utc, bool& isExact) const {
  const std::optional<DATE> told = Inverse(WallTime(utc), -1, UtcToLocal, LocalToUtc);
  isExact = isExact && told;
  return told ? *told : LocalToUtc(WallTime(utc), true).value;
}

const MomentField* FindMomentField(const SheetKind& kind, std::u16string_view field) {
  if (kind.store != "calendar") return nullptr;
  const auto found = std::ranges::find(kMomentFields, field, &MomentField::field);
  return found == std::end(kMomentFields) ? nullptr : &*found;
}

bool IsDateField(std::u16string_view field) {
  return std::ranges::find(kMomentFields, field, &MomentField::field) != std::end(kMomentFields) ||
         std::ranges::find(kDayFields, field) != std::end(kDayFields);
}

std::map<size_t, RightMoments> HandOverDates(Sheet& sheet, const SheetMapping& mapping) {
  const CellClock clock;
  std::map<size_t, RightMoments> beyond;
  for (size_t i = 0; i < sheet.rows.size(); ++i) {
    SheetRow& row = sheet.rows[i];
    RightMoments moments;
    bool isExact = true;
    for (size_t column = 0; column < std::min(row.cells.size(), sheet.header.size()); ++column) {
      const std::u16string& field = mapping.columns[column].field;
      std::u16string& cell = row.cells[column];
      if (cell.empty() || !IsDateField(field)) continue;
      const MomentField* const target = FindMomentField(*mapping.kind, field);
      if (target == nullptr) {
        if (!ReadPlainDate(cell)) cell.clear();
        continue;
      }
      std::optional<CellClock::Handed> handed = clock.HandOver(cell);
      if (handed && handed->doubt != nullptr) {
        Tell(sheet, row.line, sheet.header[column], cell, handed->doubt);
      }
      isExact = isExact && (!handed || handed->isExact);
      if (handed) moments.*(target->moment) = handed->utc;
      cell = handed ? std::move(handed->cell) : std::u16string();
    }
    if (!isExact) beyond.emplace(i, moments);
  }
  return beyond;
}

std::vector<std::string> MendForCells(const CellClock& clock, Calendar& calendar) {
  std::vector<std::string> told;
  if (calendar.allDay) return told;  // its cells are days
  const auto mend = [&](DATE utc, const char* what) {
    bool isExact = true;
    const DATE mended = clock.ForStore(utc, isExact);
    if (!isExact) {
      told.push_back(std::string("the time ") + what + ", " +
                     ToUtf8(PlainDateText(clock.WallTime(utc))) + ", stands in the file as " +
                     ToUtf8(PlainDateText(UtcToLocal(mended, true).value)));
    }
    return mended;
  };
  RightMoments moments = MomentsOf(calendar);
  constexpr std::pair<DATE RightMoments::*, const char*> kWhat[] = {
      {&RightMoments::start, "at which it begins"},
      {&RightMoments::end, "at which it ends"},
      {&RightMoments::alarm, "of its reminder"},
      {&RightMoments::until, "until which it repeats"}};
  for (const auto& [moment, what] : kWhat) {
    if (moments.*moment != 0.0) moments.*moment = mend(moments.*moment, what);
  }
  SetMoments(calendar, moments);
  return told;
}

void ReadMended(const CellClock& clock, const std::vector<std::u16string>& texts,
                const SheetKind& kind, Calendar& calendar) {
  RightMoments moments;
  for (size_t i = 0; i < texts.size(); ++i) {
    const MomentField* const target = FindMomentField(kind, kind.fields.names[i]);
    if (target == nullptr) continue;
    if (const auto handed = clock.HandOver(texts[i])) moments.*(target->moment) = handed->utc;
  }
  SetMoments(calendar, moments);
  SettleDaysHere(calendar);
}

}  // namespace qv
