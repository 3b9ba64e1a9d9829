// The command line of `qvsync`: one function adds each family of subcommands, and the one that the
// user chose leaves its action.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "host/cli/output.h"

namespace qv {

struct CommonOptions {
  std::string folder;  // of the profile
  bool json = false;
  bool verbose = false;
};

// Runs a command. Ends by an exception when nothing was printed yet.
using Action = std::function<Exit(const CommonOptions& common)>;

void AddProfileCommands(CLI::App& app, Action& chosen);  // init, status, stop
void AddSyncCommand(CLI::App& app, Action& chosen);
void AddItemCommands(CLI::App& app, Action& chosen);  // list, show, add, replace, delete
void AddOccurrencesCommand(CLI::App& app, Action& chosen);
void AddImportCommand(CLI::App& app, Action& chosen);
void AddExportCommand(CLI::App& app, Action& chosen);

// The whole program: reads the arguments, runs, prints, and gives the exit code. Never throws.
int RunProgram(int argc, char** argv) noexcept;

}  // namespace qv
