#include "host/engine/transfer.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

#include "host/engine/collection.h"
#include "host/engine/content.h"
#include "host/engine/engine_record.h"
#include "host/engine/errors.h"
#include "host/engine/exported_files.h"
#include "host/engine/item_names.h"
#include "host/engine/pc_side.h"
#include "host/engine/phone_id.h"
#include "host/engine/report_words.h"
#include "host/engine/runner.h"
#include "items/calendar_days.h"
#include "items/item_objects.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "support/vobject/item_files.h"
#include "support/vobject/marked_text.h"

namespace qv {
namespace {

// Lines of texts between engine and stores end in CR LF.
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

// `body` gives the item a name as soon as it knows one.
template <class Body>
void Try(TransferReport& report, const char* side, const std::string& item, Body&& body) {
  std::string name;
  try {
    body(name);
  } catch (const ItemError& error) {
    report.failed.push_back({side, item, error.what(), std::move(name)});
  } catch (const StatusError& error) {
    report.failed.push_back({side, item, StatusWords(error.status()), std::move(name)});
  }
}

class Import {
 public:
  Import(Profile& profile, Collection& phone, const FileJob& job, bool dryRun,
         TransferReport& report)
      : store_(profile, job), phone_(phone), job_(job), dryRun_(dryRun), report_(report) {}

  void Run(const ProgressSink& progress) {
    const int32_t count = store_.Count();
    // The store reads the file once more.
    if (static_cast<size_t>(count) != job_.places.size()) {
      throw StoreFailure("the file changed while it was read: " + std::to_string(count) +
                         " items were found in the place of " + std::to_string(job_.places.size()) +
                         "; nothing of it was taken");
    }
    phone_.LearnContents();
    if (!dryRun_ && count > 0) phone_.Make();
    ProgressMeter meter(progress, phone_.kind().name, static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
      if (IsSyncStopped()) throw SyncStopped();
      Try(report_, "file", job_.places[static_cast<size_t>(i)],
          [&](std::string& name) { One(i, name); });
      meter.Done();
    }
  }

 private:
  void One(int32_t index, std::string& title) {
    ComPtr<IItemCommon> item;
    std::string text = store_.Get(index, item);
    title = NameOfItem(*item);
    FollowSeries(*item, text);
    SetRight(index, *item, text);
    const std::u16string uid = UidOf(*item);
    const ComPtr<IItemCommon> copy = ReadItem(phone_.kind(), text);
    if (!copy) throw ItemError("its text cannot be read again");
    const Collection::Known& known = phone_.Find(*copy, uid);
    const auto place = static_cast<size_t>(index);
    if (place < job_.uids.size()) renamed_.emplace(job_.uids[place], known.uid);
    if (known.uid != uid) {
      ++(known.isNew ? report_.repeated : report_.alreadyThere);
      return;
    }
    if (dryRun_) {
      ++report_.done;
    } else {
      Stage(index, title, uid, text);
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
    text = WriteItem(phone_.kind(), &item);
  }

  // Moments that the store could not make of a cell.
  void SetRight(int32_t index, IItemCommon& item, std::string& text) {
    const auto right = job_.moments.find(static_cast<size_t>(index));
    if (right == job_.moments.end()) return;
    SetMoments(*CalendarOf(&item), right->second);
    SettleDaysHere(*CalendarOf(&item));
    text = WriteItem(phone_.kind(), &item);
  }

  // The report outlives this.
  void Stage(int32_t index, const std::string& title, const std::u16string& uid,
             const std::string& text) {
    const std::string& place = job_.places[static_cast<size_t>(index)];
    const auto placed = [&report = report_, &place, title](const std::error_code& error) {
      if (error) {
        report.failed.push_back({"file", place, error.message(), title});
      } else {
        ++report.done;
      }
    };
    const std::error_code error = phone_.Stage(uid, text, placed);
    if (!error) return;
    phone_.Place();
    // What one file cannot take, the next cannot either: the names are all alike.
    throw StoreFailure("cannot write to " + phone_.folder() + ": " + error.message() + "; " +
                       std::to_string(report_.done) +
                       " items are there, and the import can be run again for the rest");
  }

  FileStore store_;
  Collection& phone_;
  const FileJob& job_;
  const bool dryRun_;
  TransferReport& report_;
  std::unordered_map<std::u16string, std::u16string> renamed_;
};

class Export {
 public:
  Export(Profile& profile, Collection& phone, const FileJob& job, size_t place,
         const ExportForm& form, TransferReport& report)
      : phone_(phone),
        job_(job),
        place_(place),
        form_(form),
        folder_(ToNativePath(job.folder).value_or("")),
        report_(report) {
    before_ = FilesInFolder();
    store_.emplace(profile, job);
  }

  void Run(const ProgressSink& progress) {
    report_.left = phone_.left();
    try {
      HandOver(progress);
    } catch (const SyncStopped&) {
      Finish();
      RemoveHalf();
      throw;
    } catch (...) {
      Finish();
      throw;
    }
    Finish();
    if (report_.done >= handed_) return;
    if (report_.files.empty())
      throw StoreFailure("nothing was written to " + folder_ + ": " + Why());
    throw StoreFailure("of " + std::to_string(handed_) + " items " + std::to_string(report_.done) +
                       " are in what was written to " + folder_ +
                       "; export them again, or in another format");
  }

 private:
  void HandOver(const ProgressSink& progress) {
    ProgressMeter meter(progress, phone_.kind().name, phone_.files().size());
    for (const FolderEntry& file : phone_.files()) {
      if (IsSyncStopped()) throw SyncStopped();
      Try(report_, "phone", file.name, [&](std::string& name) { One(file.name, name); });
      meter.Done();
    }
  }

  void One(const std::string& name, std::string& title) {
    const StoreKind& kind = phone_.kind();
    std::string text;
    if (const std::error_code error = phone_.Read(name, text)) throw ItemError(error.message());
    if (CountItems(kind, text) > 1) throw ItemError("it holds more than one item");
    std::string buffer;
    const ComPtr<IItemCommon> item = ReadItem(kind, WithoutMark(text, buffer));
    if (!item) throw ItemError("it holds no item that can be read");
    title = NameOfItem(*item);
    if (const StoreKind& itsKind = KindOf(kind, *item); &itsKind != &kind) {
      throw ItemError("it belongs in the folder \"" + std::string(itsKind.name) + "\"");
    }
    if (form_.nothing) {
      if (const std::string why = form_.nothing(place_, *item); !why.empty()) throw ItemError(why);
    }
    // A file of events has no room for what stands round them: zones, a mark, a newer version. And
    // of a card some text may look like its end.
    std::string whole = WithWholeLineEnds(WithoutMark(text, buffer));
    const bool isCard = job_.row->format == FileFormat::VCard;
    const bool isCalendar = job_.row->format == FileFormat::VCal;
    if (isCalendar || (isCard && !LastsInAFile(whole))) whole = WriteItem(kind, item.get());
    store_->Add(whole, [&](IItemCommon& given) {
      if (!form_.mend) return;
      for (std::string& what : form_.mend(place_, given)) {
        report_.altered.push_back({"phone", name, std::move(what), title});
      }
    });
    ++handed_;
    bytes_ += whole.size();
    if (form_.look) form_.look(place_, *item);
  }

  // What the store still has to write it writes now. What counts is what lies there then, for good.
  void Finish() {
    store_.reset();
    std::vector<std::string> paths;
    for (const std::string& name : FilesInFolder()) {
      if (before_.contains(name)) continue;
      report_.files.push_back(name);
      paths.push_back(folder_ + "/" + name);
    }
    for (const std::string& path : paths) report_.done += CountExported(*job_.row, path);
    if (paths.empty()) return;
    const std::string folders[] = {folder_};
    if (const std::error_code error = Service<Files>::Get().Settle(paths, folders)) {
      throw StoreFailure("what was written to " + folder_ + " may not last: " + error.message());
    }
  }

  // Why there is no file. The store does not say.
  std::string Why() const {
    const auto name = FromUtf8(std::string(job_.row->filePrefix).append(job_.row->extension));
    if (job_.row->format == FileFormat::VCal) {
      if (const auto reason = LacksRoom(job_.folder, name)) return *reason;
    }
    constexpr size_t kMostProbed = size_t{64} << 20;
    return ProbeFolder(folder_, std::min(bytes_, kMostProbed))
        .value_or(
            "the store of files could not make one, and does not say why; try another folder");
  }

  // One file of some of the items would look like one of all of them.
  void RemoveHalf() {
    if (job_.row->writesAtOnce) return;
    for (const std::string& name : report_.files)
      Service<Files>::Get().Remove(folder_ + "/" + name);
    report_.files.clear();
    report_.done = 0;
  }

  std::set<std::string> FilesInFolder() const {
    std::vector<FolderEntry> entries;
    if (const std::error_code error = Service<Files>::Get().List(folder_, entries)) {
      throw StoreFailure("cannot read " + folder_ + ": " + error.message());
    }
    std::set<std::string> names;
    for (FolderEntry& entry : entries) {
      const bool isOurs =
          entry.name.starts_with(job_.row->filePrefix) && entry.name.ends_with(job_.row->extension);
      if (isOurs && !entry.info.isFolder) names.insert(std::move(entry.name));
    }
    return names;
  }

  Collection& phone_;
  const FileJob& job_;
  const size_t place_;
  const ExportForm& form_;
  const std::string folder_;
  TransferReport& report_;
  int64_t handed_ = 0;  // items
  size_t bytes_ = 0;    // of them
  std::set<std::string> before_;
  std::optional<FileStore> store_;
};

template <class Body>
void RunJob(TransferReport& report, Body&& body) {
  const auto fail = [&](SyncResult result, const std::string& message) {
    report.result = result;
    report.message = message;
  };
  try {
    body(report);
  } catch (const SyncStopped&) {
    fail(SyncResult::Stopped, "stopped before all of it was done");
  } catch (const StoreRefusal& refusal) {
    fail(SyncResult::Refused, refusal.what());
  } catch (const StatusError& error) {
    fail(SyncResult::Failed, StatusWords(error.status()));
  } catch (const std::bad_alloc&) {
    fail(SyncResult::Failed, "out of memory");
  } catch (const std::exception& error) {
    fail(SyncResult::Failed, error.what());
  }
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
  // Each collection is looked at once, and waits for the disk with what all files bring to it.
  std::map<std::string_view, Collection> collections;
  run.jobs.reserve(jobs.size());  // what is still on its way keeps hold of its report
  for (size_t i = 0; i < jobs.size(); ++i) {
    const StoreKind& kind = *FindStoreKind(jobs[i].row->kind);
    Collection& collection = collections.try_emplace(kind.name, phone.folder, kind).first->second;
    RunJob(run.jobs.emplace_back(), [&](TransferReport& report) {
      collection.List();
      body(collection, i, report);
    });
    if (run.jobs.back().result == SyncResult::Stopped) break;
  }
  for (auto& [kind, collection] : collections) {
    TransferReport rest;
    RunJob(rest, [&](TransferReport&) { collection.Place(); });
    run.result = std::max(run.result, rest.result);
    if (!rest.message.empty()) run.message = rest.message;
  }
  for (TransferReport& job : run.jobs) {
    const bool isPartial = !job.failed.empty() || !job.altered.empty();
    if (isPartial && job.result == SyncResult::Ok) job.result = SyncResult::Partial;
    run.result = std::max(run.result, job.result);
  }
  return run;
}

}  // namespace

TransferRun RunImport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const TransferOptions& options,
                      const ProgressSink& progress) {
  return RunJobs(profile, phoneFolder, jobs, options, !options.dryRun,
                 [&](Collection& phone, size_t job, TransferReport& report) {
                   Import(profile, phone, jobs[job], options.dryRun, report).Run(progress);
                 });
}

TransferRun RunExport(Profile& profile, const std::string& phoneFolder,
                      const std::vector<FileJob>& jobs, const ExportForm& form,
                      const ProgressSink& progress) {
  return RunJobs(profile, phoneFolder, jobs, {}, false,
                 [&](Collection& phone, size_t job, TransferReport& report) {
                   Export(profile, phone, jobs[job], job, form, report).Run(progress);
                 });
}

}  // namespace qv
