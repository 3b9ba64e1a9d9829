#include "host/cli/sync_report.h"

#include <array>

#include "host/engine/left_alone.h"
#include "host/engine/report_words.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr std::array<Exit, 5> kExits = {Exit::Ok, Exit::Partial, Exit::Refused, Exit::Stopped,
                                        Exit::Failed};

// Of what a run only mentions; what failed is named in full.
constexpr size_t kShownRows = 10;

std::string Word(DS_SYNCTYPE mode) {
  const char* word = ModeName(mode);
  return word == nullptr ? "" : word;
}

ordered_json CountsJson(const SideCounts& counts) {
  return {{"added", counts.added}, {"replaced", counts.replaced}, {"deleted", counts.deleted}};
}

ordered_json Named(ordered_json object, const std::string& name) {
  if (!name.empty()) object["name"] = name;
  return object;
}

template <class Note>
ordered_json NotedJson(const Note& note) {
  return Named({{"side", note.side}, {"item", note.item}, {"reason", note.reason}}, note.name);
}

ordered_json ActionJson(const PlannedAction& planned) {
  ordered_json object;
  if (!planned.side.empty()) object["side"] = planned.side;
  object["action"] = planned.action;
  object["item"] = planned.item;
  return Named(std::move(object), planned.name);
}

ordered_json StoreJson(const StoreReport& store, bool dryRun) {
  ordered_json failed = ordered_json::array();
  for (const ItemFailure& failure : store.failed) failed.push_back(NotedJson(failure));
  ordered_json document = {
      {"store", store.store},
      {"mode", Word(store.mode)},
      {"pc", CountsJson(store.pc)},
      {"phone", CountsJson(store.phone)},
      {"matched", store.matched},
      {"conflicts", {{"pc_won", store.pcWon}, {"phone_won", store.phoneWon}, {"same", store.same}}},
      {"failed", failed}};
  if (!store.message.empty()) document["message"] = store.message;
  if (!store.note.empty()) document["note"] = store.note;
  for (const ConflictNote& note : store.conflicts) {
    document["kept"].push_back(
        Named({{"item", note.item}, {"winner", note.winner}, {"file", note.kept}}, note.name));
  }
  for (const PartNote& note : store.parts) document["in_part"].push_back(NotedJson(note));
  for (const LeftAlone& left : store.left) {
    document["left_alone"].push_back({{"item", left.name}, {"what", LeftKey(left.kind)}});
  }
  if (dryRun) document["steps"] = store.steps;
  for (const PlannedAction& planned : store.actions)
    document["actions"].push_back(ActionJson(planned));
  return document;
}

// The first of a long row, a line each.
template <class Row, class Words>
std::string Block(const char* head, const std::vector<Row>& rows, Words&& words) {
  if (rows.empty()) return {};
  std::string text = "  ";
  text.append(head).append(std::to_string(rows.size())).append("\n");
  for (size_t i = 0; i < rows.size() && i < kShownRows; ++i) {
    text += "    " + Printable(words(rows[i])) + "\n";
  }
  if (rows.size() > kShownRows) {
    text +=
        "    ... and " + std::to_string(rows.size() - kShownRows) + " more (--json names all)\n";
  }
  return text;
}

template <class Note>
std::string NotedLine(const Note& note) {
  return note.side + " " + WithName(note.item, note.name) + ": " + note.reason;
}

std::string CountsLine(const char* side, const SideCounts& counts) {
  std::string line = side;
  line += "added " + std::to_string(counts.added) + ", replaced " +
          std::to_string(counts.replaced) + ", deleted " + std::to_string(counts.deleted) + "\n";
  return line;
}

std::string StoreText(const StoreReport& store, bool dryRun) {
  std::string text = store.store + ": " + Word(store.mode) + ", " + ExitWord(ExitOf(store.result)) +
                     (dryRun ? " (dry run)\n" : "\n");
  if (!store.note.empty()) text += "  note          " + Printable(store.note) + "\n";
  text += CountsLine("  on the PC     ", store.pc);
  text += CountsLine("  on the phone  ", store.phone);
  text += "  matched       " + std::to_string(store.matched) + "\n";
  if (store.pcWon + store.phoneWon + store.same != 0) {
    text += "  conflicts     PC won " + std::to_string(store.pcWon) + ", phone won " +
            std::to_string(store.phoneWon) + ", same on both " + std::to_string(store.same) + "\n";
  }
  for (const ConflictNote& note : store.conflicts) {
    text += "    " + Printable(WithName(note.item, note.name)) + ": the " +
            (note.winner == "pc" ? "PC" : note.winner) + " won";
    text += note.kept.empty() ? "\n" : "; the other text lies in " + Printable(note.kept) + "\n";
  }
  if (!store.failed.empty())
    text += "  failed        " + std::to_string(store.failed.size()) + "\n";
  for (const ItemFailure& failure : store.failed) {
    text += "    " + Printable(NotedLine(failure)) + "\n";
  }
  text += Block("in part       ", store.parts, NotedLine<PartNote>);
  text += Block("left alone    ", store.left, [](const LeftAlone& left) {
    return left.name + " (" + LeftWords(left.kind) + ")";
  });
  if (dryRun) {
    for (const std::string& step : store.steps) text += "  " + Printable(step) + "\n";
  }
  return text;
}

}  // namespace

Exit ExitOf(SyncResult result) {
  return kExits.at(static_cast<size_t>(result));
}

ordered_json SyncReportJson(const SyncReport& report, bool dryRun) {
  ordered_json stores = ordered_json::array();
  for (const StoreReport& store : report.stores) stores.push_back(StoreJson(store, dryRun));
  ordered_json document = {{"result", ExitWord(ExitOf(report.result))}, {"stores", stores}};
  if (!report.message.empty()) document["message"] = report.message;
  if (dryRun) document["dry_run"] = true;
  return document;
}

std::string SyncReportText(const SyncReport& report, bool dryRun) {
  std::string text;
  for (const StoreReport& store : report.stores) text += StoreText(store, dryRun);
  if (dryRun) text += "nothing was changed\n";
  return text;
}

void PrintSyncReport(const SyncReport& report, bool dryRun, bool json) {
  if (json) {
    PrintJson(SyncReportJson(report, dryRun));
  } else {
    Print(SyncReportText(report, dryRun));
  }
  FlushOutput();
  for (const StoreReport& store : report.stores) {
    if (!store.message.empty()) PrintMessage(store.store + ": " + store.message);
  }
  PrintMessage(report.message);
}

}  // namespace qv
