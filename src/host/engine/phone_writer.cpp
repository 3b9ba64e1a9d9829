// The runner's work on the phone: batches that share one sync to disk.
#include <algorithm>
#include <system_error>

#include "host/engine/bookmark_text.h"
#include "host/engine/runner.h"
#include "host/engine/runner_try.h"
#include "host/engine/scan.h"
#include "platform/system/service.h"
#include "support/user_flags.h"

namespace qv {
namespace {

constexpr size_t kBatchBytes = 4u << 20;
constexpr const char* kChanged =
    "it changed on the phone during the sync; it is taken up next time";

// Failures that are not one file's own.
bool IsWholePhone(const std::error_code& error) {
  constexpr std::errc kCauses[] = {
      std::errc::no_space_on_device,
      std::errc::read_only_file_system,
      std::errc::io_error,
      std::errc::no_such_device,
      std::errc::permission_denied,
      std::errc::operation_not_permitted,
      std::errc::no_such_file_or_directory,
      std::errc::not_a_directory,
      std::errc::no_such_device_or_address,
  };
  return std::ranges::any_of(kCauses, [&](std::errc cause) { return error == cause; });
}

}  // namespace

struct Runner::Outgoing {
  const PlanStep* step = nullptr;
  RecordRow row;  // as it will stand in the record
  std::string text;
  std::optional<ConflictNote> note;
  bool isNew = false;
  bool failed = false;
};

void Runner::RequirePhoneUnchanged(const PhoneItem& item, bool mayBeGone) const {
  FileInfo info;
  const std::error_code error = run_.phone.Stat(item.name, info);
  if (mayBeGone && error == std::errc::no_such_file_or_directory) return;
  if (error) throw ItemError(error.message());
  if (info.size != item.size || info.modifiedNs != item.modifiedNs) throw ItemError(kChanged);
}

// The text for the phone, and the loser of a conflict put aside.
void Runner::Gather(const PlanStep& step, Outgoing& out) {
  ItemLink& link = At(run_.sides.links, step.link);
  const PcItem& source = At(run_.sides.pc, link.pc);
  if (unplaced_.contains(step.link)) throw ItemError("it could not be moved on the PC");
  out.step = &step;
  out.isNew = link.phone < 0;
  out.row.sourceUid = source.id;
  PcText onPc = run_.pc.Get(source.id, true);
  if (source.isFolder) return GatherFolder(link, *onPc.item, out);
  out.text = std::move(onPc.text);
  if (run_.sides.isTree && !out.isNew) {
    out.text = WithExtrasOf(TextOf(run_.phone, At(run_.sides.phone, link.phone)), out.text);
  }
  out.row.uid = UidOf(*onPc.item);
  const auto hash = Service<Md5Provider>::Get().Digest(out.text);
  if (!hash) throw ItemError("the checksum service failed");
  out.row.hash = *hash;
  if (out.isNew) {
    out.row.name = run_.sides.isTree
                       ? run_.phone.FreeName(PhonePlaceFor(link), TitleOf(*onPc.item), false)
                       : run_.phone.FreeName(out.row.uid);
    return;
  }
  const PhoneItem& item = At(run_.sides.phone, link.phone);
  out.row.name = item.name;
  if (step.conflict == Conflict::PcWon) {
    out.note = KeepLoser(step, item, TextOf(run_.phone, item));
  }
}

// Noted at once: what goes into it in the same batch must know its name.
void Runner::GatherFolder(ItemLink& link, IItemCommon& folder, Outgoing& out) {
  PhoneItem made;
  made.name = run_.phone.FreeName(PhonePlaceFor(link), TitleOf(folder), true);
  made.isFolder = true;
  out.row.name = made.name;
  link.phone = IndexOf(run_.sides.phone);
  link.phoneParent = link.pcParent;
  run_.sides.phone.push_back(std::move(made));
}

// A file or folder of the phone; the failure is that of the device.
std::error_code Runner::WriteOne(const Outgoing& out) {
  return IsFolderName(out.row.name) ? run_.phone.MakeFolder(out.row.name)
                                    : run_.phone.Write(out.row.name, out.text);
}

void Runner::WriteFiles(std::vector<Outgoing>& batch) {
  size_t written = 0;
  std::error_code last;
  for (Outgoing& out : batch) {
    const ItemLink& link = At(run_.sides.links, out.step->link);
    const bool done = Try("phone", out.row.name, [&] {
      FileInfo info;
      if (!out.isNew) {
        RequirePhoneUnchanged(At(run_.sides.phone, link.phone), false);
      } else if (!run_.phone.Stat(out.row.name, info)) {
        throw ItemError(kChanged);
      }
      const std::error_code error = WriteOne(out);
      if (!error) return;
      last = error;
      throw ItemError("cannot be written: " + error.message());
    });
    out.failed = !done;
    written += done;
    // What should have been overwritten stands: its copy would be one more at each try.
    if (!done && out.note) {
      run_.conflicts.Drop(out.note->kept);
      out.note.reset();
    }
  }
  if (written == 0 && IsWholePhone(last)) {
    throw StoreFailure("nothing can be written to " + run_.phone.folder() + ": " + last.message());
  }
}

void Runner::SyncPhone() {
  const std::error_code error = run_.phone.Sync();
  if (error) {
    throw StoreFailure("the folder " + run_.phone.folder() +
                       " cannot be brought to disk: " + error.message());
  }
}

// Only now is anything noted: the files are there to stay.
void Runner::Confirm(std::vector<Outgoing>& batch) {
  PcTransaction transaction(run_.pc.side());
  for (Outgoing& out : batch) {
    if (out.failed) continue;
    out.failed = !Try("phone", out.row.name, [&] {
      FileInfo info;
      if (const std::error_code error = run_.phone.Stat(out.row.name, info)) {
        throw ItemError(error.message());
      }
      if (!info.isFolder) {
        out.row.size = info.size;
        out.row.modifiedNs = info.modifiedNs;
      }
      run_.pc.Sent(out.step->act == Act::PhoneAdd ? SENTCMD_ADD : SENTCMD_REPL,
                   At(run_.sides.pc, At(run_.sides.links, out.step->link).pc));
    });
  }
  transaction.Commit();
  SqliteTransaction group = run_.record.Group();
  for (const Outgoing& out : batch) {
    if (!out.failed) Put(out.row);
  }
  group.Commit();
}

// Takes steps off the front, up to a stop or as many texts as may lie in memory.
bool Runner::GatherBatch(Steps& steps, std::vector<Outgoing>& batch) {
  // The identifiers that the texts carry must be known before a file with them can be found.
  PcTransaction transaction(run_.pc.side());
  bool stopped = false;
  for (size_t bytes = 0; !steps.empty() && bytes < kBatchBytes; steps = steps.subspan(1)) {
    stopped = IsSyncStopped();
    if (stopped) break;
    const PlanStep& step = steps.front();
    Outgoing out;
    if (Try("pc", At(run_.sides.links, step.link), [&] { Gather(step, out); })) {
      bytes += out.text.size();
      batch.push_back(std::move(out));
    }
    progress_.Done();
  }
  transaction.Commit();
  return !stopped;
}

bool Runner::WritePhone(Steps steps) {
  while (!steps.empty()) {
    std::vector<Outgoing> batch;
    const bool goOn = GatherBatch(steps, batch);
    if (!batch.empty()) {
      WriteFiles(batch);
      SyncPhone();
      Confirm(batch);
    }
    for (const Outgoing& out : batch) {
      if (out.note) report_.conflicts.push_back(*out.note);
      if (out.failed) continue;
      ++(out.step->act == Act::PhoneAdd ? report_.phone.added : report_.phone.replaced);
      report_.pcWon += out.step->conflict == Conflict::PcWon;
    }
    if (!goOn) return false;
  }
  return true;
}

bool Runner::DeletePhone(Steps steps) {
  std::vector<const ItemLink*> removed;
  bool stopped = false;
  for (const PlanStep& step : steps) {
    stopped = IsSyncStopped();
    if (stopped) break;
    const ItemLink& link = At(run_.sides.links, step.link);
    const PhoneItem& item = At(run_.sides.phone, link.phone);
    const bool done = Try("phone", item.name, [&] {
      if (!item.isFolder) RequirePhoneUnchanged(item, true);
      const std::error_code error = run_.phone.Remove(item.name);
      if (error && !(item.isFolder && error == std::errc::no_such_file_or_directory)) {
        throw ItemError("cannot be deleted: " + error.message());
      }
    });
    if (done) removed.push_back(&link);
    progress_.Done();
  }
  if (removed.empty()) return !stopped;
  SyncPhone();
  {
    PcTransaction transaction(run_.pc.side());
    std::erase_if(removed, [&](const ItemLink* link) {
      if (link->pc < 0) return false;
      return !Try("pc", *link, [&] { Forget(At(run_.sides.pc, link->pc)); });
    });
    transaction.Commit();
  }
  SqliteTransaction group = run_.record.Group();
  for (const ItemLink* link : removed) Drop(*link);
  group.Commit();
  report_.phone.deleted += static_cast<int64_t>(removed.size());
  return !stopped;
}

}  // namespace qv
