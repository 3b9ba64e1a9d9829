// The reference sync engine: one run between a profile's PC side and a phone folder.
//
// It knows the stores through their component interfaces alone. A run loads both sides, builds a
// plan (a value), checks it, shows or runs it, and reports; a dry run stops before running and
// leaves both sides and every database as they were.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/store_contract.h"
#include "host/engine/phone_folder.h"
#include "host/profile.h"

namespace qv {

struct SyncOptions {
  // DS_SYNCTYPE_NONE chooses: two-way where there is a record of the last sync, else slow.
  DS_SYNCTYPE mode = DS_SYNCTYPE_NONE;
  bool dryRun = false;
  bool allowMassDelete = false;
  bool allowMassAdd = false;
  bool newPhone = false;
};

// The words of `--mode`; null for a value without one.
const char* ModeName(DS_SYNCTYPE mode);

struct SideCounts {
  int64_t added = 0;
  int64_t replaced = 0;
  int64_t deleted = 0;
};

struct ItemFailure {
  std::string side;  // "pc" or "phone": where the item could not be read or written
  std::string item;  // file name or identifier
  std::string reason;
  std::string name = {};  // what a person calls the item; empty where that is not known
};

struct ConflictNote {
  std::string item;    // the phone's file name
  std::string winner;  // "pc" or "phone"
  std::string kept;    // path of the losing text, relative to the profile
  std::string name = {};
};

// Part of an item that stays on the side it came from; told when the item goes to the other.
struct PartNote {
  std::string side;  // "pc" or "phone": where it does not go
  std::string item;
  std::string reason;
  std::string name = {};
};

// One planned action.
struct PlannedAction {
  std::string side;    // "pc" or "phone"; empty for a pair, which changes neither
  std::string action;  // "add", "replace", "move", "delete", "pair"
  std::string item;
  std::string name = {};
};

enum class SyncResult { Ok, Partial, Refused, Stopped, Failed };

struct StoreReport {
  std::string store;
  DS_SYNCTYPE mode = DS_SYNCTYPE_NONE;
  SyncResult result = SyncResult::Ok;
  SideCounts pc;
  SideCounts phone;
  int64_t matched = 0;
  int64_t pcWon = 0;
  int64_t phoneWon = 0;
  int64_t same = 0;
  std::vector<ItemFailure> failed;
  std::vector<ConflictNote> conflicts;
  std::vector<PartNote> parts;
  std::vector<LeftAlone> left;         // what lies in the phone's folder and is no item
  std::vector<std::string> steps;      // one line per planned action, as `--dry-run` prints them
  std::vector<PlannedAction> actions;  // the same for programs
  std::string message;                 // why refused or failed, and the way out
  std::string note = {};               // what the user should know of the run itself
};

struct SyncReport {
  SyncResult result = SyncResult::Ok;  // the worst of the stores
  std::vector<StoreReport> stores;
  std::string message;  // when no store was reached
};

// Called now and then during a run: items done of items planned.
using ProgressSink = std::function<void(std::string_view store, int64_t done, int64_t total)>;

// `stores` empty means every enabled one. Throws UsageError for wrong use (an unknown store).
SyncReport RunSync(Profile& profile, const std::string& phoneFolder,
                   const std::vector<std::string>& stores, const SyncOptions& options,
                   const ProgressSink& progress = {});

// What `status` tells of one store and one phone it has met.
struct PendingChanges {
  std::string store;
  std::string phoneFolder;
  std::string phoneId;
  int64_t pcItems = 0;
  int64_t pairedItems = 0;
  std::string lastSync;  // UTC, "YYYY-MM-DDThh:mm:ssZ"; empty for never
  bool phoneReachable = false;
  SideCounts pc;     // what changed on the PC side since then
  SideCounts phone;  // what changed on the phone; zeros when it is not reachable
  // Known items that the filter keeps back from now on: the phone loses them, the PC does not.
  int64_t leavePhone = 0;
  std::string note = {};  // as that of a StoreReport
};
std::vector<PendingChanges> ReadStatus(Profile& profile);

}  // namespace qv
