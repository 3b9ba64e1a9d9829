#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>

#include "host/cli/commands.h"
#include "host/profile.h"
#include "platform/com/status_error.h"
#include "platform/database/sqlite_accessor.h"
#include "platform/system/debug_log.h"
#include "platform/system/service.h"

namespace qv {
namespace {

constexpr const char* kVersion = "qvsync 1.0.0";
constexpr const char* kAbout =
    "Keeps a PC's personal data and a phone's the same.\n"
    "The phone is a folder with one item a file: PHONE/contacts/*.vcf, PHONE/calendar/*.vcs,\n"
    "PHONE/tasks/*.vcs, PHONE/notes/*.vnt and PHONE/bookmarks/ with its folders of *.vbm.";
constexpr const char* kFooter =
    "Exit codes: 0 ok; 1 done, but some items failed; 2 wrong use or configuration;\n"
    "3 refused by a safety stop; 4 stopped; 5 a store failed.\n"
    "Example: qvsync init && qvsync sync -d /media/phone\n"
    "`qvsync COMMAND --help` tells more of one command.";

constexpr const char* kCommonFooter =
    "Common to all commands: -p DIR, --json, -v; `qvsync --help` tells of them.";

// A file that opens in the place of a closed standard stream would take what is printed. The
// stand-ins are opened the wrong way round, so that using one fails.
void HoldStandardStreams() {
  for (const int fd : {0, 1, 2}) {
    if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", fd == 0 ? O_WRONLY : O_RDONLY) != fd) {
      _exit(static_cast<int>(Exit::Failed));
    }
  }
}

// For arguments that could not be read: did they ask for JSON?
bool AsksForJson(int argc, char** argv) {
  for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
    if (std::string_view(argv[i]) == "--json") return true;
  }
  return false;
}

void SetUp(CLI::App& app, CommonOptions& common, Action& chosen) {
  app.fallthrough();  // the common options may stand behind the subcommand
  app.require_subcommand(1);
  app.set_version_flag("--version", kVersion);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.footer(kFooter);
  app.add_option("-p,--profile", common.folder,
                 "The profile's folder (default: qvsync below the user's data folder)")
      ->type_name("DIR");
  app.add_flag("--json", common.json, "Print one JSON document on standard output");
  app.add_flag("-v,--verbose", common.verbose, "Print the debug log on standard error");
  AddProfileCommands(app, chosen);
  AddSyncCommand(app, chosen);
  AddItemCommands(app, chosen);
  AddOccurrencesCommand(app, chosen);
  AddImportCommand(app, chosen);
  AddExportCommand(app, chosen);
  for (CLI::App* command : app.get_subcommands({})) {
    command->footer(command->get_footer() + "\n" + kCommonFooter);
  }
}

Exit PrintInformation(const std::string& text, bool json) {
  if (json) {
    PrintJson({{"result", ExitWord(Exit::Ok)}, {"message", text}});
  } else {
    Print(text);
  }
  return Exit::Ok;
}

Exit RunAction(const Action& action, const CommonOptions& common) {
  SilentLog silent;
  std::optional<ScopedService<DebugLog>> quiet;
  if (!common.verbose) quiet.emplace(silent);
  return action(common);
}

Exit ParseAndRun(int argc, char** argv, bool& json) {
  CLI::App app(kAbout, "qvsync");
  CommonOptions common;
  Action chosen;
  SetUp(app, common, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return PrintInformation(app.help(), json);
  } catch (const CLI::CallForVersion& version) {
    return PrintInformation(std::string(version.what()) + "\n", json);
  } catch (const CLI::ParseError& error) {
    throw UsageError(std::string(error.what()) + "\n`qvsync --help` tells how to call it");
  }
  json = common.json;
  if (app.count("--profile") == 0) {
    common.folder = Profile::DefaultFolder();
  } else if (common.folder.empty()) {
    throw UsageError("the folder of the profile (-p) is empty");
  }
  return RunAction(chosen, common);
}

Exit RunReported(int argc, char** argv) {
  bool json = AsksForJson(argc, argv);
  const auto report = [&](Exit exit, std::string_view message) {
    PrintError(exit, message, json);
    return exit;
  };
  try {
    return ParseAndRun(argc, argv, json);
  } catch (const CommandError& error) {
    return report(error.exit(), error.what());
  } catch (const UsageError& error) {
    return report(Exit::Usage, error.what());
  } catch (const std::bad_alloc&) {
    return report(Exit::Failed, "out of memory");
  } catch (const StatusError& error) {
    const std::string& database = LastDatabaseError();
    return report(Exit::Failed, database.empty() ? error.what() : database);
  } catch (const std::exception& error) {
    return report(Exit::Failed, error.what());
  }
}

}  // namespace

int RunProgram(int argc, char** argv) noexcept {
  HoldStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  try {
    Exit exit = RunReported(argc, argv);
    if (!FlushOutput()) exit = Exit::Failed;
    return static_cast<int>(exit);
  } catch (...) {
    return static_cast<int>(Exit::Failed);
  }
}

}  // namespace qv
