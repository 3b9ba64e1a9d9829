#include <algorithm>
#include <memory>
#include <set>

#include "host/cli/commands.h"
#include "host/cli/open_profile.h"
#include "host/cli/paths.h"
#include "host/cli/progress_line.h"
#include "host/cli/stop_signal.h"
#include "host/cli/sync_report.h"
#include "host/engine/phone_id.h"
#include "host/engine/sync_database.h"
#include "host/engine/transfer.h"
#include "host/spreadsheet/account.h"
#include "platform/system/code_page.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr const char* kFooter =
    "Formats: csv, a file for each of contacts, calendar and notes; vcf, a file for each contact;\n"
    "vcs, one file for the calendar. Files are never replaced: names that are taken get a number.\n"
    "A CSV file is in the code page of the profile, and a cell that begins with = is one that a\n"
    "spreadsheet computes: how many there are is told.\n"
    "Example: qvsync export -d /media/phone --to ~/phone-files contacts";

constexpr size_t kMaxShown = 5;

struct Arguments {
  std::string phone;
  std::string folder;
  std::vector<std::string> stores;
  std::string format = "csv";
};

FileFormat FormatOf(const std::string& word) {
  for (const FileFormat format : {FileFormat::VCard, FileFormat::VCal}) {
    if (word == FormatWord(format)) return format;
  }
  return FileFormat::Csv;
}

// What a file cannot say of the items that go into it.
struct ContentAccount {
  int64_t formulas = 0;    // cells
  int64_t foreign = 0;     // cells with characters that the code page lacks
  int64_t incomplete = 0;  // items

  void Add(const SheetKind& kind, IItemCommon& item, const GroupTable& groups) {
    const std::vector<FieldCell> cells = kind.fields.write(&item, groups);
    formulas += CountFormulas(cells);
    CodePages& pages = Service<CodePages>::Get();
    foreign += std::ranges::count_if(cells, [&](const FieldCell& cell) {
      const bool isAscii =
          std::ranges::all_of(cell.text, [](char16_t unit) { return unit < 0x80; });
      return !isAscii && pages.Decode(pages.Encode(cell.text, kAnsiPage), kAnsiPage) != cell.text;
    });
    incomplete += LosesInCells(kind, item, groups);
  }
};

struct ExportOutcome {
  const FileStoreRow* row = nullptr;
  TransferReport report;
  ContentAccount account;
  std::vector<std::string> files;  // that were made
};

std::set<std::string> FilesIn(const std::string& folder) {
  std::vector<FolderEntry> entries;
  if (const std::error_code error = Service<Files>::Get().List(folder, entries)) {
    throw CommandError(Exit::Failed, "cannot read " + folder + ": " + error.message());
  }
  std::set<std::string> names;
  for (FolderEntry& entry : entries) {
    if (!entry.info.isFolder) names.insert(std::move(entry.name));
  }
  return names;
}

std::vector<const FileStoreRow*> ChosenStores(const Arguments& given, FileFormat format) {
  std::vector<const FileStoreRow*> rows;
  if (given.stores.empty()) {
    for (const StoreKind& kind : StoreKinds()) {
      if (const FileStoreRow* row = FindFileStore(format, kind.name)) rows.push_back(row);
    }
    return rows;
  }
  for (const std::string& name : given.stores) {
    const FileStoreRow* row = FindFileStore(format, KindNamed(name).name);
    if (row == nullptr) {
      throw UsageError("there is no " + given.format + " form of " + name +
                       "; csv is for contacts, calendar and notes, vcf for contacts, vcs for "
                       "calendar");
    }
    if (std::ranges::find(rows, row) == rows.end()) rows.push_back(row);
  }
  return rows;
}

std::u16string OpenFolder(const std::string& folder, const std::string& phone) {
  if (IsWithin(folder, phone)) {
    throw UsageError("the folder " + folder +
                     " lies on the phone, where the files would be its items; name another");
  }
  const std::optional<std::u16string> wide = FromNativePath(folder);
  if (!wide) {
    throw UsageError("the folder " + folder +
                     " has a sign in its path that cannot be used (one "
                     "of : * ? \" < > | \\ or a control character); name another");
  }
  if (const std::error_code error = Service<Files>::Get().MakeFolder(folder)) {
    throw UsageError("cannot make the folder " + folder + ": " + error.message());
  }
  return *wide;
}

// Runs one store; the files that it makes are those that were not there before.
TransferRun ExportOne(Profile& profile, const std::string& phone, const std::string& folder,
                      const FileJob& job, const ProgressSink& progress, ExportOutcome& outcome) {
  const std::set<std::string> before = FilesIn(folder);
  outcome.row = job.row;
  const SyncDatabase database;
  const GroupTable groups(database.session(), QuoteRule::AsTheyStand);
  ExportLook look;
  if (job.row->format == FileFormat::Csv) {
    look = [&](const std::string&, IItemCommon& item) {
      outcome.account.Add(*FindSheetKind(job.row->kind), item, groups);
    };
  }
  TransferRun run = RunExport(profile, phone, {job}, look, {}, progress);
  if (run.jobs.empty()) return run;
  outcome.report = run.jobs.front();
  for (const std::string& name : FilesIn(folder)) {
    if (!before.contains(name)) outcome.files.push_back(name);
  }
  if (outcome.report.done > 0 && outcome.files.empty() && outcome.report.message.empty()) {
    outcome.report.result = run.result = SyncResult::Failed;
    outcome.report.message =
        "nothing was written to " + folder + ": " +
        ProbeFolder(folder).value_or("the disk may be full, or the path of the folder too long");
  }
  return run;
}

std::string OutcomeText(const ExportOutcome& outcome, const std::string& folder) {
  const TransferReport& report = outcome.report;
  std::string text = std::string(outcome.row->kind) + ": ";
  if (report.done == 0 && report.message.empty()) {
    text += "nothing to write\n";
  } else if (!outcome.files.empty()) {
    text += std::to_string(report.done) + " in " + std::to_string(outcome.files.size()) +
            (outcome.files.size() == 1 ? " file" : " files") + " in " + Printable(folder) + "\n";
  } else {
    text += Printable(report.message) + "\n";
  }
  for (size_t i = 0; i < std::min(outcome.files.size(), kMaxShown); ++i) {
    text += "  " + Printable(outcome.files[i]) + "\n";
  }
  if (outcome.files.size() > kMaxShown) {
    text += "  ... and " + std::to_string(outcome.files.size() - kMaxShown) + " more\n";
  }
  const ContentAccount& account = outcome.account;
  if (account.formulas > 0) {
    text += "  cells that a spreadsheet takes for formulas: " + std::to_string(account.formulas) +
            "; they are written as they are\n";
  }
  if (account.foreign > 0) {
    text += "  cells with characters that the code page " + Service<CodePages>::Get().AnsiPage() +
            " lacks, now \"?\": " + std::to_string(account.foreign) + "\n";
  }
  if (account.incomplete > 0) {
    text += "  items of which a CSV file does not bring everything back: " +
            std::to_string(account.incomplete) + "; vcf and vcs files hold it all\n";
  }
  for (const ItemFailure& failure : report.failed) {
    text += "  " + Printable(failure.item) + ": " + Printable(failure.reason) + "\n";
  }
  if (!outcome.files.empty() && !report.message.empty()) {
    text += "  " + Printable(report.message) + "\n";
  }
  return text;
}

ordered_json OutcomeJson(const ExportOutcome& outcome) {
  ordered_json failed = ordered_json::array();
  for (const ItemFailure& failure : outcome.report.failed) {
    failed.push_back({{"item", failure.item}, {"reason", failure.reason}});
  }
  ordered_json document = {{"store", outcome.row->kind},
                           {"items", outcome.report.done},
                           {"files", outcome.files},
                           {"formulas", outcome.account.formulas},
                           {"lacking_characters", outcome.account.foreign},
                           {"incomplete", outcome.account.incomplete},
                           {"failed", failed}};
  if (!outcome.report.message.empty()) document["message"] = outcome.report.message;
  return document;
}

Exit Export(const CommonOptions& common, const Arguments& given) {
  OpenedProfile profile(common);
  const FileFormat format = FormatOf(given.format);
  const std::vector<const FileStoreRow*> rows = ChosenStores(given, format);
  const std::string phone = AbsolutePath(given.phone);
  FileInfo info;
  if (Service<Files>::Get().Stat(phone, info) || !info.isFolder) {
    throw UsageError("there is no folder " + phone);
  }
  const std::string folder = AbsolutePath(given.folder);
  FileJob job;
  job.isImport = false;
  job.folder = OpenFolder(folder, phone);
  const StopSignal signals;
  ProgressLine line(!common.json);
  SyncResult worst = SyncResult::Ok;
  ordered_json stores = ordered_json::array();
  std::string text;
  std::string message;
  for (const FileStoreRow* row : rows) {
    job.row = row;
    ExportOutcome outcome;
    const TransferRun run = ExportOne(
        profile, phone, folder, job,
        [&](std::string_view store, int64_t done, int64_t total) {
          line.Update(store, done, total);
        },
        outcome);
    line.Erase();
    worst = std::max(worst, run.result);
    message = run.message;
    if (run.jobs.empty() || run.result == SyncResult::Stopped) break;
    stores.push_back(OutcomeJson(outcome));
    text += OutcomeText(outcome, folder);
  }
  const Exit exit = ExitOf(worst);
  if (common.json) {
    ordered_json document = {{"result", ExitWord(exit)}, {"folder", folder}, {"stores", stores}};
    if (!message.empty()) document["message"] = message;
    PrintJson(document);
  } else {
    Print(text);
  }
  if (!message.empty()) PrintMessage(message);
  return exit;
}

}  // namespace

void AddExportCommand(CLI::App& app, Action& chosen) {
  const auto given = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("export", "Take a phone's content out into files");
  command->footer(kFooter);
  command->add_option("-d,--device", given->phone, "The phone's folder")
      ->type_name("PHONE")
      ->required();
  command->add_option("--to", given->folder, "Where the files go; made when it is missing")
      ->type_name("DIR")
      ->required();
  command->add_option("STORE", given->stores, "Only these stores (default: all that there are)");
  command->add_option("--format", given->format, "Of the files (default: csv)")
      ->check(CLI::IsMember({"csv", "vcf", "vcs"}));
  command->callback([given, &chosen] {
    chosen = [given](const CommonOptions& common) { return Export(common, *given); };
  });
}

}  // namespace qv
