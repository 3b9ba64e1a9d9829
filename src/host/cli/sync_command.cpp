#include <memory>

#include "host/cli/commands.h"
#include "host/cli/open_profile.h"
#include "host/cli/paths.h"
#include "host/cli/pc_folder.h"
#include "host/cli/progress_line.h"
#include "host/cli/stop_signal.h"
#include "host/cli/sync_report.h"
#include "host/engine/sync.h"

namespace qv {
namespace {

constexpr DS_SYNCTYPE kModes[] = {DS_SYNCTYPE_TWO_NORMAL,     DS_SYNCTYPE_SLOW,
                                  DS_SYNCTYPE_ONEFROM_CLIENT, DS_SYNCTYPE_ONEFROM_SERVER,
                                  DS_SYNCTYPE_REFRESH_CLIENT, DS_SYNCTYPE_REFRESH_SERVER};
constexpr const char* kChooseMode = "auto";

constexpr const char* kFooter =
    "Modes: auto takes two-way where this phone was synced before, else slow; two-way sends the\n"
    "changes of each side to the other; slow compares everything and pairs what is the same;\n"
    "from-phone and from-pc send the changes of one side only; refresh-from-phone and\n"
    "refresh-from-pc make the other side a copy.\n"
    "Where both sides changed an item the later change wins; the other text is kept as a file\n"
    "under conflicts/ in the profile.\n"
    "Example: qvsync sync -d /media/phone --dry-run";

struct SyncArguments {
  std::string phone;
  std::vector<std::string> stores;
  std::string mode = kChooseMode;
  SyncOptions options;
};

std::vector<std::string> ModeWords() {
  std::vector<std::string> words = {kChooseMode};
  for (const DS_SYNCTYPE mode : kModes) words.push_back(ModeName(mode));
  return words;
}

DS_SYNCTYPE ModeOf(const std::string& word) {
  for (const DS_SYNCTYPE mode : kModes) {
    if (word == ModeName(mode)) return mode;
  }
  return DS_SYNCTYPE_NONE;
}

// The stores that will run, each with its folder on the PC side: a wrong one is told by its key
// before anything happens.
void CheckStores(const Profile& profile, const std::vector<std::string>& names) {
  const std::vector<const StoreKind*> enabled = profile.EnabledKinds();
  if (enabled.empty()) {
    throw UsageError(profile.ConfigFile() + ": no store is switched on; set the key " +
                     std::string(StoreKinds().front().configName) + " to \"true\"");
  }
  for (const std::string& name : names) {
    const StoreKind& kind = KindNamed(name);
    if (std::find(enabled.begin(), enabled.end(), &kind) == enabled.end()) {
      throw UsageError(profile.ConfigFile() + ": the store " + name +
                       " is switched off; set the keys " + std::string(kind.configName) + " and " +
                       std::string(kind.configName) + ".Sync to \"true\"");
    }
  }
  for (const StoreKind* kind : enabled) {
    const bool wanted =
        names.empty() || std::find(names.begin(), names.end(), kind->name) != names.end();
    if (wanted) PcFolder::Open(profile, *kind);
  }
}

Exit Sync(const CommonOptions& common, const SyncArguments& given) {
  if (given.phone.empty()) throw UsageError("the folder of the phone (-d) is empty");
  OpenedProfile profile(common);
  CheckStores(profile, given.stores);
  const StopSignal signals;
  ProgressLine line(!common.json);
  // The phone is remembered by its path.
  const SyncReport report = RunSync(profile, AbsolutePath(given.phone), given.stores, given.options,
                                    [&](std::string_view store, int64_t done, int64_t total) {
                                      line.Update(store, done, total);
                                    });
  line.Erase();
  PrintSyncReport(report, given.options.dryRun, common.json);
  return ExitOf(report.result);
}

}  // namespace

void AddSyncCommand(CLI::App& app, Action& chosen) {
  const auto given = std::make_shared<SyncArguments>();
  CLI::App* command = app.add_subcommand("sync", "Bring the PC side and a phone together");
  command->footer(kFooter);
  command->add_option("-d,--device", given->phone, "The phone's folder")
      ->type_name("PHONE")
      ->required();
  command->add_option("STORE", given->stores, "Only these stores: " + StoreKindNames());
  command->add_option("--mode", given->mode, "How to sync (default: auto)")
      ->type_name("MODE")
      ->check(CLI::IsMember(ModeWords()));
  command->add_flag("--dry-run", given->options.dryRun, "Print the steps and change nothing");
  command->add_flag("--allow-mass-delete", given->options.allowMassDelete,
                    "Delete even when that is most of the items of a side");
  command->add_flag("--allow-mass-add", given->options.allowMassAdd,
                    "Add even when that more than doubles the items of a side");
  command->add_flag("--new-phone", given->options.newPhone,
                    "Take the folder as a phone that was not met before");
  command->callback([given, &chosen] {
    given->options.mode = ModeOf(given->mode);
    chosen = [given](const CommonOptions& common) { return Sync(common, *given); };
  });
}

}  // namespace qv
