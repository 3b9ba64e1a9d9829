#include <algorithm>
#include <memory>

#include "host/cli/commands.h"
#include "host/cli/export_report.h"
#include "host/cli/open_profile.h"
#include "host/cli/paths.h"
#include "host/cli/progress_line.h"
#include "host/cli/stop_signal.h"
#include "host/cli/sync_report.h"
#include "host/engine/phone_id.h"
#include "host/engine/sync_database.h"
#include "host/engine/transfer.h"
#include "items/item_objects.h"
#include "platform/system/files.h"
#include "platform/system/service.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

constexpr const char* kFooter =
    "Formats: csv, a file for each of contacts, calendar and notes; vcf, a file for each contact;\n"
    "vcs, one file for the calendar. Files are never replaced: names that are taken get a number.\n"
    "A CSV file is in the code page of the profile, and a cell that begins with = is one that a\n"
    "spreadsheet computes: how many there are is told.\n"
    "Example: qvsync export -d /media/phone --to ~/phone-files contacts";

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

std::vector<FileJob> JobsFor(const std::vector<const FileStoreRow*>& rows,
                             const std::u16string& folder) {
  std::vector<FileJob> jobs;
  for (const FileStoreRow* row : rows) {
    FileJob& job = jobs.emplace_back();
    job.row = row;
    job.isImport = false;
    job.folder = folder;
  }
  return jobs;
}

void RequirePhone(const std::string& phone) {
  FileInfo info;
  if (const std::error_code error = Service<Files>::Get().Stat(phone, info)) {
    throw CommandError(Exit::Refused,
                       "the phone folder " + phone + " cannot be reached: " + error.message());
  }
  if (!info.isFolder) {
    throw CommandError(Exit::Refused, "the phone folder " + phone + " is no folder");
  }
}

Exit Export(const CommonOptions& common, const Arguments& given) {
  OpenedProfile profile(common);
  const StopSignal signals;
  const std::vector<const FileStoreRow*> rows = ChosenStores(given, FormatOf(given.format));
  const std::string phone = AbsolutePath(given.phone);
  RequirePhone(phone);
  const std::string folder = AbsolutePath(given.folder);
  const std::vector<FileJob> jobs = JobsFor(rows, OpenFolder(folder, phone));
  const SyncDatabase database;
  const GroupTable groups(database.session(), QuoteRule::AsTheyStand);
  std::vector<ContentAccount> accounts(jobs.size());
  ProgressLine line(!common.json);
  const CellClock clock;
  const auto sheetOf = [&](size_t job) {
    return jobs[job].row->format == FileFormat::Csv ? FindSheetKind(jobs[job].row->kind) : nullptr;
  };
  const ExportForm form{
      .nothing =
          [&](size_t job, IItemCommon& item) {
            const SheetKind* const kind = sheetOf(job);
            return kind == nullptr ? std::string() : NothingInCells(*kind, item, groups);
          },
      .mend =
          [&](size_t job, IItemCommon& item) {
            Calendar* const calendar = sheetOf(job) == nullptr ? nullptr : CalendarOf(&item);
            return calendar == nullptr ? std::vector<std::string>()
                                       : MendForCells(clock, *calendar);
          },
      .look =
          [&](size_t job, IItemCommon& item) {
            const SheetKind* const kind = sheetOf(job);
            if (kind != nullptr) accounts[job].Add(*kind, item, groups, clock);
          }};
  TransferRun run = RunExport(profile, phone, jobs, form,
                              [&](std::string_view store, int64_t done, int64_t total) {
                                line.Update(store, done, total);
                              });
  line.Erase();
  ordered_json stores = ordered_json::array();
  std::string text;
  for (size_t i = 0; i < run.jobs.size(); ++i) {
    const ExportOutcome outcome{jobs[i].row, std::move(run.jobs[i]), accounts[i]};
    stores.push_back(ExportJson(outcome));
    text += ExportText(outcome, folder);
  }
  const Exit exit = ExitOf(run.result);
  if (common.json) {
    ordered_json document = {{"result", ExitWord(exit)}, {"folder", folder}, {"stores", stores}};
    if (!run.message.empty()) document["message"] = run.message;
    PrintJson(document);
  } else {
    Print(text);
  }
  if (!run.message.empty()) PrintMessage(run.message);
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
