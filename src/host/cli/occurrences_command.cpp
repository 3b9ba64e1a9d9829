#include <algorithm>
#include <cmath>
#include <memory>

#include "host/agenda.h"
#include "host/cli/commands.h"
#include "host/cli/open_profile.h"
#include "host/cli/outlook_folder.h"
#include "items/item_objects.h"
#include "items/moment_text.h"
#include "platform/system/clock.h"
#include "platform/system/service.h"
#include "support/date_time.h"
#include "support/text.h"
#include "support/wall_clock.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr size_t kMostLines = 100'000;
constexpr double kUsualDays = 30;

struct OccurrencesArguments {
  std::string store;
  std::string from;
  std::string to;
};

// Midnight of a day on the command line.
DATE DayNamed(const std::string& option, const std::string& text) {
  const std::optional<Stamp> stamp = ParseStamp(text);
  if (!stamp || stamp->hasTime) {
    throw UsageError(option + " takes a date as 2026-05-31, not \"" + text + "\"");
  }
  return stamp->date;
}

DATE Today() {
  return std::floor(WallClock().FromUtc(DateFromUnixSeconds(Service<Clock>::Get().UtcSeconds())));
}

std::string DayWords(DATE day) {
  return ToUtf8(FormatDateTime(day)).substr(0, 10);
}

// An all-day entry shows days, the last one included; any other the minutes.
std::string ShownStart(const AgendaEntry& entry) {
  return entry.allDay ? DayWords(entry.start) : ToUtf8(FormatDateTimeMinutes(entry.start));
}
std::string ShownEnd(const AgendaEntry& entry) {
  if (entry.allDay) return DayWords(entry.end > entry.start ? entry.end - 1 : entry.end);
  return ToUtf8(FormatDateTimeMinutes(entry.end));
}

std::string IsoTime(std::string shown) {
  std::ranges::replace(shown, ' ', 'T');
  return shown;
}

const StoreKind& DatedKindNamed(const std::string& name) {
  const StoreKind& kind = KindNamed(name);
  if (kind.pcKind != olAppointment && kind.pcKind != olTask) {
    throw UsageError("items of the store " + name + " have no dates; `occurrences` takes " +
                     "calendar or tasks");
  }
  return kind;
}

Exit PrintAgenda(const CommonOptions& common, const Agenda& agenda,
                 const std::vector<AgendaEntry>& entries, const std::vector<std::string>& failed) {
  const Exit result = failed.empty() ? Exit::Ok : Exit::Partial;
  for (const std::string& reason : failed) PrintMessage(reason);
  if (common.json) {
    ordered_json list = ordered_json::array();
    for (const AgendaEntry& entry : entries) {
      list.push_back({{"start", IsoTime(ShownStart(entry))},
                      {"end", IsoTime(ShownEnd(entry))},
                      {"all_day", entry.allDay},
                      {"name", ToUtf8(entry.name)},
                      {"id", ToUtf8(entry.id)}});
    }
    ordered_json document = {{"result", ExitWord(result)}, {"occurrences", std::move(list)}};
    for (const std::u16string& id : agenda.unexpanded()) {
      document["unexpanded"].push_back(ToUtf8(id));
    }
    if (!failed.empty()) document["failed"] = failed;
    PrintJson(document);
    return result;
  }
  std::vector<std::vector<std::string>> rows;
  for (const AgendaEntry& entry : entries) {
    rows.push_back({ShownStart(entry), ShownEnd(entry), ToUtf8(entry.name), ToUtf8(entry.id)});
  }
  Print(FormatTable({"START", "END", "NAME", "ID"}, rows));
  for (const std::u16string& id : agenda.unexpanded()) {
    PrintMessage("note: the rule of " + ToUtf8(id) +
                 " is none that is followed here; only its first day is shown");
  }
  return result;
}

Exit ListOccurrences(const CommonOptions& common, const OccurrencesArguments& given) {
  const StoreKind& kind = DatedKindNamed(given.store);
  const DATE from = given.from.empty() ? Today() : DayNamed("--from", given.from);
  const DATE to = given.to.empty() ? from + kUsualDays : DayNamed("--to", given.to);
  if (to < from) {
    throw UsageError("the span ends (" + DayWords(to) + ") before it begins (" + DayWords(from) +
                     ")");
  }
  const OpenedProfile profile(common);
  OutlookFolder pc(profile, kind);
  Agenda agenda(from, to + 1, kMostLines);
  std::vector<std::string> failed;
  pc.ForEach(
      [&](const std::u16string& id, const ComPtr<IItemCommon>& item, const std::string& reason) {
        if (!item) {
          failed.push_back(reason);
          return;
        }
        const Calendar& calendar = *CalendarOf(item.get());
        IsSubItemId(id) ? agenda.AddException(id, calendar) : agenda.Add(id, calendar);
      });
  const std::vector<AgendaEntry> entries = agenda.Finish();
  if (entries.size() > kMostLines) {
    throw UsageError("more than " + std::to_string(kMostLines) +
                     " occurrences lie in this span; ask for a shorter one");
  }
  return PrintAgenda(common, agenda, entries, failed);
}

}  // namespace

void AddOccurrencesCommand(CLI::App& app, Action& chosen) {
  const auto given = std::make_shared<OccurrencesArguments>();
  CLI::App* command = app.add_subcommand(
      "occurrences", "List what a calendar shows for a span of days, series expanded (local time)");
  command->footer(
      "Changed occurrences stand where they were moved to, deleted ones are left out. What only\n"
      "overlaps the span is shown too.\n"
      "Example: qvsync occurrences calendar --from 2026-06-01 --to 2026-06-30");
  command->add_option("STORE", given->store, "calendar or tasks")->required();
  command->add_option("--from", given->from, "The first day (default: today)")->type_name("DATE");
  command->add_option("--to", given->to, "The last day (default: 30 days behind the first)")
      ->type_name("DATE");
  command->callback([given, &chosen] {
    chosen = [given](const CommonOptions& common) { return ListOccurrences(common, *given); };
  });
}

}  // namespace qv
