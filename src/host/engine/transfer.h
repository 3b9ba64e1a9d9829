// Files to a phone and back, past the PC side: runs of a store of files with the phone's folder as
// the other side.
//
// An import puts every item that the phone does not hold yet into its folder, each as a new file;
// a later sync brings them to the PC. An export hands every item of the phone's collections to the
// store. Nothing on the PC side changes in either.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/engine/file_store.h"
#include "host/engine/sync.h"

namespace qv {

struct TransferOptions {
  bool dryRun = false;
  bool newPhone = false;
};

// Of one job.
struct TransferReport {
  SyncResult result = SyncResult::Ok;
  int64_t done = 0;          // items written, or that would be; of an export those in its files
  int64_t alreadyThere = 0;  // import: the phone holds one with the same content
  int64_t repeated = 0;      // import: this run has brought one with the same content
  // Import: exceptions whose series went in under a new identifier follow it there; those of a
  // series that is not among the items are failures.
  std::vector<ItemFailure> failed;
  std::vector<ItemFailure> altered;  // export: what its files say otherwise than the item
  std::vector<std::string> files;    // export: the names of those that were made
  // What lies beside the phone's items and is none, of the first job of a kind.
  std::vector<LeftAlone> left;
  std::string message;  // why it ended early, and the way out
};

// What whoever knows the form of the files has to say of each item of an export.
struct ExportForm {
  // Before it is handed over: why nothing of it would be in a file; empty for an item that goes.
  std::function<std::string(size_t job, IItemCommon& item)> nothing;
  // Changes what a store was given, so that the file says what the item means; what it will say
  // otherwise all the same.
  std::function<std::vector<std::string>(size_t job, IItemCommon& item)> mend;
  // After it was handed over.
  std::function<void(size_t job, IItemCommon& item)> look;
};

struct TransferRun {
  SyncResult result = SyncResult::Ok;  // the worst of the jobs
  std::vector<TransferReport> jobs;    // those that were reached, in order
  std::string message;                 // when none was
};

// Throw UsageError.
TransferRun RunImport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const TransferOptions& options,
                      const ProgressSink& progress = {});
TransferRun RunExport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const ExportForm& form,
                      const ProgressSink& progress = {});

}  // namespace qv
