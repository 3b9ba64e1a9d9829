#include "host/engine/transfer.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_map>

#include "host/engine/content.h"
#include "host/engine/engine_record.h"
#include "host/engine/errors.h"
#include "host/engine/phone_folder.h"
#include "host/engine/phone_id.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"
#include "items/item_objects.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

// So many new files share a sync to disk.
constexpr int32_t kBatch = 256;

struct DigestHash {
  size_t operator()(const Md5Digest& digest) const noexcept {
    size_t hash = 0;
    std::memcpy(&hash, digest.data(), sizeof hash);
    return hash;
  }
};

ComPtr<IItemCommon> ReadText(const StoreKind& kind, std::string_view text) {
  std::string buffer;
  return ReadItem(kind, WithoutMark(text, buffer));
}

std::string WithWholeLineEnds(std::string_view text) {
  std::string whole;
  whole.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isLoneLf = text[i] == '\n' && (i == 0 || text[i - 1] != '\r');
    if (isLoneLf) whole.push_back('\r');
    whole.push_back(text[i]);
  }
  return whole;
}

class Transfer {
 public:
  Transfer(Profile& profile, const std::string& phoneFolder, const FileJob& job,
           const ProgressSink& progress, TransferReport& report)
      : profile_(profile),
        job_(job),
        kind_(*FindStoreKind(job.row->kind)),
        phone_(phoneFolder + "/" + std::string(kind_.name), kind_.extension),
        progress_(progress),
        report_(report) {}

  void Import(bool dryRun) {
    FileStore store(profile_, job_);
    ReadPhone(true);
    const int32_t count = store.Count();
    if (!dryRun && count > 0) MakePhoneFolder();
    ProgressMeter meter(progress_, kind_.name, static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
      if (IsSyncStopped()) throw SyncStopped();
      Try("file", "item " + std::to_string(i + 1), [&] { ImportOne(store, i, dryRun); });
      if (!dryRun && i % kBatch == kBatch - 1) SyncPhone();
      meter.Done();
    }
    if (!dryRun && count > 0) SyncPhone();
  }

  void Export(const ExportLook& look, bool dryRun) {
    ReadPhone(false);
    std::optional<FileStore> store;
    if (!dryRun) store.emplace(profile_, job_);
    ProgressMeter meter(progress_, kind_.name, files_.size());
    for (const FolderEntry& file : files_) {
      if (IsSyncStopped()) throw SyncStopped();
      Try("phone", file.name, [&] { ExportOne(file.name, look, store ? &*store : nullptr); });
      meter.Done();
    }
  }

 private:
  template <class Body>
  void Try(const char* side, const std::string& name, Body&& body) {
    try {
      body();
    } catch (const ItemError& error) {
      report_.failed.push_back({side, name, error.what()});
    } catch (const StatusError& error) {
      report_.failed.push_back({side, name, StatusWords(error.status())});
    }
  }

  void ReadPhone(bool withContents) {
    const std::error_code error = phone_.List(files_);
    if (error && error != std::errc::no_such_file_or_directory) {
      throw StoreFailure("the folder " + phone_.folder() + " cannot be read: " + error.message());
    }
    if (!withContents) return;
    for (const FolderEntry& file : files_) {
      std::string text;
      // What cannot be read is nothing that an import could double.
      if (phone_.Read(file.name, text)) continue;
      if (const ComPtr<IItemCommon> item = ReadText(kind_, text)) {
        std::u16string uid = UidOf(*item);
        known_.emplace(ExactPrintOf(kind_, *item), std::move(uid));
      }
    }
  }

  void MakePhoneFolder() {
    if (const std::error_code error = phone_.Make()) {
      throw StoreFailure("cannot make " + phone_.folder() + ": " + error.message());
    }
  }

  void SyncPhone() {
    if (const std::error_code error = phone_.Sync()) {
      throw StoreFailure("cannot write to " + phone_.folder() + ": " + error.message());
    }
  }

  // An exception takes the identifier that its series went in under.
  void FollowSeries(IItemCommon& item, std::string& text) {
    Calendar* calendar = CalendarOf(&item);
    if (calendar == nullptr || calendar->parentRecurUid.empty()) return;
    const auto series = renamed_.find(calendar->parentRecurUid);
    if (series == renamed_.end()) {
      throw ItemError("it is an exception of the series " + ToUtf8(calendar->parentRecurUid) +
                      ", which is not in the file");
    }
    calendar->parentRecurUid = series->second;
    text = WriteItem(kind_, &item);
  }

  void ImportOne(FileStore& store, int32_t index, bool dryRun) {
    ComPtr<IItemCommon> item;
    std::string text = store.Get(index, item);
    FollowSeries(*item, text);
    const std::u16string uid = UidOf(*item);
    const ComPtr<IItemCommon> copy = ReadText(kind_, text);
    if (!copy) throw ItemError("its text cannot be read again");
    const auto [known, isNew] = known_.try_emplace(ExactPrintOf(kind_, *copy), uid);
    const auto place = static_cast<size_t>(index);
    if (place < job_.uids.size()) renamed_.emplace(job_.uids[place], known->second);
    if (!isNew) {
      ++report_.alreadyThere;
      return;
    }
    if (!dryRun) Write(uid, text);
    ++report_.done;
    store.Sent(index);
  }

  void Write(const std::u16string& uid, const std::string& text) {
    const std::string name = phone_.FreeName(uid);
    const std::error_code error = phone_.Write(name, text);
    if (!error) return;
    // What one file cannot take, the next cannot either: the names are all alike.
    throw StoreFailure("cannot write to " + phone_.folder() + ": " + error.message() + "; " +
                       std::to_string(report_.done) +
                       " items are there, and the import can be run again for the rest");
  }

  void ExportOne(const std::string& name, const ExportLook& look, FileStore* store) {
    std::string text;
    if (const std::error_code error = phone_.Read(name, text)) throw ItemError(error.message());
    const ComPtr<IItemCommon> item = ReadText(kind_, text);
    if (!item) throw ItemError("it holds no item that can be read");
    if (const StoreKind& itsKind = KindOf(kind_, *item); &itsKind != &kind_) {
      throw ItemError("it belongs in the folder \"" + std::string(itsKind.name) + "\"");
    }
    // Lines of texts between engine and stores end in CR LF.
    if (job_.row->format == FileFormat::VCard) text = WithWholeLineEnds(text);
    // A file of events has no room for what stands round them: zones, a mark, a newer version.
    if (job_.row->format == FileFormat::VCal) text = WriteItem(kind_, item.get());
    std::string buffer;
    if (store != nullptr) store->Add(WithoutMark(text, buffer));
    ++report_.done;
    if (look) look(name, *item);
  }

  Profile& profile_;
  const FileJob& job_;
  const StoreKind& kind_;
  PhoneFolder phone_;
  const ProgressSink& progress_;
  TransferReport& report_;
  std::vector<FolderEntry> files_;
  std::unordered_map<Md5Digest, std::u16string, DigestHash> known_;  // uid by content
  std::unordered_map<std::u16string, std::u16string> renamed_;
};

template <class Body>
TransferReport RunJob(Body&& body) {
  TransferReport report;
  const auto fail = [&](const std::string& message) {
    report.result = SyncResult::Failed;
    report.message = message;
  };
  try {
    body(report);
    if (!report.failed.empty()) report.result = SyncResult::Partial;
  } catch (const SyncStopped&) {
    report.result = SyncResult::Stopped;
  } catch (const StatusError& error) {
    fail(StatusWords(error.status()));
  } catch (const std::bad_alloc&) {
    fail("out of memory");
  } catch (const std::exception& error) {
    fail(error.what());
  }
  return report;
}

template <class Body>
TransferRun RunJobs(Profile& profile, const std::string& phoneFolder,
                    const std::vector<FileJob>& jobs, const TransferOptions& options,
                    bool changesPhone, Body&& body) {
  if (IsWithin(phoneFolder, profile.folder())) {
    throw UsageError("the folder " + phoneFolder +
                     " belongs to the profile itself; a phone needs a folder of its own");
  }
  const Profile::Lock lock = profile.LockForSync();
  if (IsSyncStopped()) profile.SetStop(false);
  TransferRun run;
  EngineRecord record(EngineRecord::PathFor(profile.EngineDatabase(), !changesPhone));
  PhoneIdentity phone = MeetPhone(record, phoneFolder, options.newPhone);
  if (!phone.refusal.empty()) {
    run.result = SyncResult::Refused;
    run.message = phone.refusal;
    return run;
  }
  if (changesPhone) WelcomePhone(record, phone);
  for (const FileJob& job : jobs) {
    run.jobs.push_back(RunJob([&](TransferReport& report) { body(phone.folder, job, report); }));
    run.result = std::max(run.result, run.jobs.back().result);
    if (run.jobs.back().result == SyncResult::Stopped) break;
  }
  return run;
}

}  // namespace

TransferRun RunImport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const TransferOptions& options,
                      const ProgressSink& progress) {
  return RunJobs(profile, phoneFolder, jobs, options, !options.dryRun,
                 [&](const std::string& phone, const FileJob& job, TransferReport& report) {
                   Transfer(profile, phone, job, progress, report).Import(options.dryRun);
                 });
}

TransferRun RunExport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const ExportLook& look,
                      const TransferOptions& options, const ProgressSink& progress) {
  return RunJobs(profile, phoneFolder, jobs, options, false,
                 [&](const std::string& phone, const FileJob& job, TransferReport& report) {
                   Transfer(profile, phone, job, progress, report).Export(look, options.dryRun);
                 });
}

}  // namespace qv
