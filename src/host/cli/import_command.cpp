#include <algorithm>
#include <filesystem>
#include <memory>

#include "host/cli/commands.h"
#include "host/cli/import_report.h"
#include "host/cli/open_profile.h"
#include "host/cli/paths.h"
#include "host/cli/progress_line.h"
#include "host/cli/stop_signal.h"
#include "host/cli/sync_report.h"
#include "host/engine/sync_database.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr const char* kFooter =
    "Files: .csv (contacts, a calendar or notes), .vcf (contacts), .vcs and .ics (a calendar). "
    "The\n"
    "items become new files on the phone; the next sync brings them to the PC. What the phone "
    "holds\n"
    "already with the same content is not written again.\n"
    "Of a CSV file the columns are found by their headings, English or German, or as an export\n"
    "writes them; what becomes of each is shown. --map \"Work mail=Work Email\" names the field of "
    "a\n"
    "column (or of \"#3\"), --map \"Remarks=\" leaves one out; --save-map keeps it all for the "
    "next "
    "time.\n"
    "Example: qvsync import -d /media/phone people.csv --dry-run";

struct Arguments {
  std::string phone;
  std::vector<std::string> files;
  std::string separator;
  std::string codePage;
  std::string dates;
  ImportArguments import;
  TransferOptions options;
};

std::optional<char16_t> SeparatorOf(const std::string& word) {
  if (word.empty()) return std::nullopt;
  return word == "tab" ? u'\t' : word == "semicolon" ? u';' : u',';
}

bool IsSheet(const std::string& path) {
  return EqualsIgnoreCase(std::filesystem::path(path).extension().string(), ".csv");
}

// What is only for files of separated values is no slip of the pen where there is one of them.
void CheckArguments(const Arguments& given) {
  const auto sheets = std::ranges::count_if(given.files, IsSheet);
  const bool speaksOfSheets = !given.import.map.empty() || !given.import.mapFile.empty() ||
                              !given.import.saveMap.empty() || !given.codePage.empty() ||
                              !given.separator.empty() || !given.dates.empty();
  if (sheets == 0 && speaksOfSheets) {
    throw UsageError(
        "--map, --map-file, --save-map, --code-page, --separator and --dates are for .csv files, "
        "and there is none");
  }
  if (given.import.saveMap.empty()) {
    if (given.import.replaceMap) throw UsageError("--replace-map is for --save-map");
    return;
  }
  if (sheets != 1) {
    throw UsageError("--save-map keeps the mapping of one CSV file; there are " +
                     std::to_string(sheets));
  }
  for (const std::string& file : given.files) {
    std::error_code error;
    if (std::filesystem::equivalent(file, given.import.saveMap, error)) {
      throw UsageError("--save-map " + given.import.saveMap + " is a file to import; name another");
    }
  }
  EntryStat taken;
  const bool isTaken = !Service<Files>::Get().StatEntry(AbsolutePath(given.import.saveMap), taken);
  if (isTaken && (!given.import.replaceMap || taken.kind == EntryKind::Folder)) {
    throw UsageError("--save-map " + given.import.saveMap +
                     (taken.kind == EntryKind::Folder
                          ? " is a folder; name a file"
                          : " would replace a file; name another, or --replace-map replaces it"));
  }
}

std::vector<ImportFile> Prepare(const Arguments& given, ScratchFolder& scratch) {
  const SyncDatabase database;
  const GroupTable groups(database.session(), QuoteRule::AsTheyStand);
  std::vector<ImportFile> files;
  for (const std::string& path : given.files) {
    files.push_back(PrepareImport(path, given.import, scratch, groups, files.size() + 1));
  }
  const bool anyUsable = std::ranges::any_of(files, &std::string::empty, &ImportFile::problem);
  if (!anyUsable) {
    std::string message;
    for (const ImportFile& file : files) {
      message += (message.empty() ? "" : "\n") + file.path + ": " + file.problem;
    }
    throw UsageError(message);
  }
  return files;
}

// Once the phone has been met. Empty, or why the mapping could not be kept.
std::string SaveMap(const std::vector<ImportFile>& files, const ImportArguments& given) {
  const std::string& path = given.saveMap;
  const auto file =
      std::ranges::find_if(files, [](const ImportFile& f) { return f.sheet.has_value(); });
  if (path.empty() || file == files.end()) return {};
  try {
    SaveMapping(file->sheet->asMapped, AbsolutePath(path), given.replaceMap);
  } catch (const UsageError& error) {
    return error.what();
  }
  return {};
}

Exit ResultOf(const TransferRun& run, const std::vector<ImportFile>& files) {
  const bool allRead = std::ranges::all_of(
      files, [](const ImportFile& file) { return file.problem.empty() && file.unread.empty(); });
  return ExitOf(allRead ? run.result : std::max(run.result, SyncResult::Partial));
}

void PrintResult(const TransferRun& run, const std::vector<ImportFile>& files, Exit exit,
                 const Arguments& given, bool json) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::string text;
  size_t job = 0;
  for (const ImportFile& file : files) {
    const TransferReport* report = nullptr;
    if (file.problem.empty() && job < run.jobs.size()) report = &run.jobs[job];
    job += file.problem.empty();
    list.push_back(ImportJson(file, report));
    text += ImportResultText(file, report, given.options.dryRun);
  }
  if (json) {
    nlohmann::ordered_json document = {{"result", ExitWord(exit)}, {"files", list}};
    if (!run.message.empty()) document["message"] = run.message;
    PrintJson(document);
  } else {
    Print(text);
  }
  if (!run.message.empty()) PrintMessage(run.message);
}

Exit Import(const CommonOptions& common, Arguments given) {
  CheckArguments(given);
  OpenedProfile profile(common);
  const StopSignal signals;
  given.import.form.separator = SeparatorOf(given.separator);
  if (!given.codePage.empty()) given.import.form.codePage = given.codePage;
  if (!given.dates.empty()) {
    given.import.dates = given.dates == "dmy" ? DateOrder::DayFirst : DateOrder::MonthFirst;
  }
  if (!given.import.mapFile.empty()) given.import.mapFile = AbsolutePath(given.import.mapFile);
  ScratchFolder scratch;
  const std::vector<ImportFile> files = Prepare(given, scratch);
  std::vector<FileJob> jobs;
  for (const ImportFile& file : files) {
    if (!common.json) Print(ImportPlanText(file));
    if (file.problem.empty()) jobs.push_back(file.job);
  }
  ProgressLine line(!common.json);
  TransferRun run = RunImport(profile, AbsolutePath(given.phone), jobs, given.options,
                              [&](std::string_view store, int64_t done, int64_t total) {
                                line.Update(store, done, total);
                              });
  line.Erase();
  Exit exit = ResultOf(run, files);
  const bool isBroken = run.result == SyncResult::Refused || run.result == SyncResult::Stopped;
  if (!isBroken && !given.options.dryRun) {
    if (const std::string trouble = SaveMap(files, given.import); !trouble.empty()) {
      run.message = trouble;
      exit = Exit::Failed;
    }
  }
  PrintResult(run, files, exit, given, common.json);
  return exit;
}

}  // namespace

void AddImportCommand(CLI::App& app, Action& chosen) {
  const auto given = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("import", "Bring files to a phone");
  command->footer(kFooter);
  command->add_option("-d,--device", given->phone, "The phone's folder")
      ->type_name("PHONE")
      ->required();
  command->add_option("FILE", given->files, "What to import")->required();
  command->add_option("--store", given->import.store, "What a CSV file holds (default: guessed)")
      ->check(CLI::IsMember({"contacts", "calendar", "notes"}));
  command->add_option("--map", given->import.map, "The field of a column of a CSV file")
      ->type_name("COLUMN=FIELD")
      ->allow_extra_args(false);
  command->add_option("--map-file", given->import.mapFile, "Take a mapping that was kept")
      ->type_name("FILE");
  command->add_option("--save-map", given->import.saveMap, "Keep the mapping")->type_name("FILE");
  command->add_flag("--replace-map", given->import.replaceMap,
                    "Let --save-map replace a file that stands there");
  command
      ->add_option("--code-page", given->codePage,
                   "Encoding of a CSV file without a mark (default: UTF-8, else windows-1252)")
      ->type_name("CP");
  command->add_option("--separator", given->separator, "Of a CSV file (default: guessed)")
      ->check(CLI::IsMember({"comma", "semicolon", "tab"}));
  command->add_option("--dates", given->dates, "Order of days and months in it (default: guessed)")
      ->check(CLI::IsMember({"dmy", "mdy"}));
  command->add_flag("--dry-run", given->options.dryRun, "Show what would come, and change nothing");
  command->add_flag("--new-phone", given->options.newPhone,
                    "Take the folder as a phone that was not met before");
  command->callback([given, &chosen] {
    chosen = [given](const CommonOptions& common) { return Import(common, *given); };
  });
}

}  // namespace qv
