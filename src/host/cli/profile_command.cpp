#include <map>

#include "host/cli/commands.h"
#include "host/cli/open_profile.h"
#include "host/cli/pc_folder.h"
#include "host/engine/sync.h"

namespace qv {
namespace {

using nlohmann::ordered_json;

Exit Init(const CommonOptions& common, const BookmarkSettings& bookmarks) {
  Profile::Create(common.folder, bookmarks);
  if (common.json) {
    PrintJson({{"result", ExitWord(Exit::Ok)}, {"profile", common.folder}});
  } else {
    Print("The profile " + Printable(common.folder) + " is ready.\n");
  }
  return Exit::Ok;
}

Exit Stop(const CommonOptions& common) {
  OpenedProfile profile(common);
  profile.SetStop(true);
  if (common.json) {
    PrintJson({{"result", ExitWord(Exit::Ok)}});
  } else {
    Print("A running sync of this profile stops at its next item.\n");
  }
  return Exit::Ok;
}

// One store with the phones that it has met.
struct StoreStatus {
  const StoreKind* kind;
  int64_t pcItems;
  std::vector<PendingChanges> phones;
};

std::vector<StoreStatus> CollectStatus(Profile& profile) {
  std::vector<StoreStatus> stores;
  for (const StoreKind* kind : profile.EnabledKinds()) {
    stores.push_back({kind, PcFolder::Open(profile, *kind)->Count(), {}});
  }
  for (PendingChanges& pending : ReadStatus(profile)) {
    for (StoreStatus& store : stores) {
      const bool met = !pending.phoneId.empty() || !pending.phoneFolder.empty();
      if (store.kind->name == pending.store && met) store.phones.push_back(std::move(pending));
    }
  }
  return stores;
}

ordered_json CountsJson(const SideCounts& counts) {
  return {{"added", counts.added}, {"replaced", counts.replaced}, {"deleted", counts.deleted}};
}

ordered_json PhoneJson(const PendingChanges& phone) {
  ordered_json lastSync;
  if (!phone.lastSync.empty()) lastSync = phone.lastSync;
  ordered_json document = {{"folder", phone.phoneFolder},       {"id", phone.phoneId},
                           {"paired", phone.pairedItems},       {"last_sync", lastSync},
                           {"reachable", phone.phoneReachable}, {"pc", CountsJson(phone.pc)}};
  if (phone.phoneReachable) document["phone"] = CountsJson(phone.phone);
  if (phone.leavePhone > 0) document["outside_filter"] = phone.leavePhone;
  if (!phone.note.empty()) document["note"] = phone.note;
  return document;
}

std::string CountsText(const SideCounts& counts) {
  if (counts.added + counts.replaced + counts.deleted == 0) return "nothing";
  return std::to_string(counts.added) + " added, " + std::to_string(counts.replaced) +
         " replaced, " + std::to_string(counts.deleted) + " deleted";
}

std::string PhoneText(const PendingChanges& phone) {
  std::string text = "  phone " + Printable(phone.phoneFolder) + "\n    last sync             " +
                     (phone.lastSync.empty() ? "never" : Printable(phone.lastSync)) + ", " +
                     std::to_string(phone.pairedItems) + " paired\n";
  if (!phone.note.empty()) text += "    note                  " + Printable(phone.note) + "\n";
  text += "    pending on the PC     " + CountsText(phone.pc) + "\n";
  if (phone.leavePhone > 0) {
    text += "    outside the filter    " + std::to_string(phone.leavePhone) +
            " that the phone holds; they stay on the PC alone\n";
  }
  text += "    pending on the phone  " +
          (phone.phoneReachable ? CountsText(phone.phone) : "not known: it is not reachable") +
          "\n";
  return text;
}

Exit Status(const CommonOptions& common) {
  OpenedProfile profile(common);
  const std::vector<StoreStatus> stores = CollectStatus(profile);
  if (common.json) {
    ordered_json list = ordered_json::array();
    for (const StoreStatus& store : stores) {
      ordered_json phones = ordered_json::array();
      for (const PendingChanges& phone : store.phones) phones.push_back(PhoneJson(phone));
      list.push_back(
          {{"store", store.kind->name}, {"pc_items", store.pcItems}, {"phones", phones}});
    }
    PrintJson({{"result", ExitWord(Exit::Ok)}, {"profile", profile.folder()}, {"stores", list}});
    return Exit::Ok;
  }
  Print("profile " + Printable(profile.folder()) + "\n");
  if (stores.empty()) Print("no store is switched on\n");
  for (const StoreStatus& store : stores) {
    Print(std::string(store.kind->name) + ": " + std::to_string(store.pcItems) + " on the PC\n");
    if (store.phones.empty()) Print("  no phone yet\n");
    for (const PendingChanges& phone : store.phones) Print(PhoneText(phone));
  }
  return Exit::Ok;
}

struct ProfileCommand {
  const char* name;
  const char* about;
  const char* footer;
  Exit (*run)(const CommonOptions&);
};

constexpr ProfileCommand kCommands[] = {
    {"status", "Tell stores, counts, last sync, and what the next sync would find",
     "Example: qvsync status --json", Status},
    {"stop", "Make a running sync of the profile stop at its next item", "Example: qvsync stop",
     Stop},
};

void AddInitCommand(CLI::App& app, Action& chosen) {
  const auto given = std::make_shared<BookmarkSettings>();
  CLI::App* command =
      app.add_subcommand("init", "Make a profile; one that is there is not touched");
  command->footer("Example: qvsync -p ~/sync init --favorites ~/Favorites");
  command
      ->add_option("--favorites", given->favorites,
                   "The folder of the bookmarks (default: favorites in the profile)")
      ->type_name("DIR");
  command->add_option("--device", given->device, "The number of the device (default: 1)");
  command->add_flag("--flat", given->flat,
                    "The device takes no folders: bookmarks sync with one folder alone,\n"
                    "\"Quovia Mobile Bookmarks\"");
  command->callback([given, &chosen] {
    chosen = [given](const CommonOptions& common) { return Init(common, *given); };
  });
}

}  // namespace

void AddProfileCommands(CLI::App& app, Action& chosen) {
  AddInitCommand(app, chosen);
  for (const ProfileCommand& row : kCommands) {
    CLI::App* command = app.add_subcommand(row.name, row.about);
    command->footer(row.footer);
    command->callback([&chosen, run = row.run] { chosen = run; });
  }
}

}  // namespace qv
